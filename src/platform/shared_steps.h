#pragma once
// Two steps that more than one subsystem takes, written once on top of the seam: the
// pause that lets events run, and the test whether a path names anything.
#include <string>

#include "platform/services.h"
#include "platform/types.h"

namespace launchagent {

// Returns after lngSeconds, or just after midnight, letting events run meanwhile.
void Pause(platform::Clock& clock, platform::EventLoop& loop, Long lngSeconds);
// True when a listing of sPath finds a file or a folder.
bool PathExists(platform::FileSystem& files, const std::string& sPath);

}  // namespace launchagent
