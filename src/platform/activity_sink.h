#pragma once
// The activity log as the subsystems below the launcher see it: one line with its level.
// The launcher owns the log; Agent hands this in when it wires the pieces together.
#include <functional>
#include <string>

#include "platform/types.h"

namespace launchagent {

using LogActivityFn = std::function<void(const std::string& sText, Integer nLevel)>;

}  // namespace launchagent
