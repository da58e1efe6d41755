#pragma once
// How the next launch of the main application runs: the check-in verification sets it
// from this computer's own registry entry, the launch reads it.
#include <string>

namespace launchagent {

struct LaunchGlobals {
  bool bLaunchIndexing = false;
  std::string sLaunchUserName;
};

}  // namespace launchagent
