#include <algorithm>

#include "agent/agent.h"
#include "launcher/launcher.h"

namespace launchagent {

void Launcher::NextAgentPort(Integer& nPort) {
  if (nPort < GetLastAgentPort()) {
    ++nPort;
  } else {
    nPort = GetFirstAgentPort();
  }
}

void Launcher::Pause(Long lngSeconds) {
  platform::Platform& p = agent_.Platform();
  const Single sglStart = static_cast<Single>(p.clock.SecondsSinceMidnight());
  const Single sglEnd = sglStart + static_cast<Single>(lngSeconds);
  for (;;) {
    const Single sglNow = static_cast<Single>(p.clock.SecondsSinceMidnight());
    if (!(sglNow < sglEnd)) break;
    // Sleeps in the event loop until the next event or the deadline, never spins; and
    // never past midnight, where the clock starts again and the pause ends.
    const double dUntilMidnight = 86400.0 - p.clock.SecondsSinceMidnight() + 0.001;
    p.loop.WaitForEvents(std::min(static_cast<double>(sglEnd - sglNow), dUntilMidnight));
    // Past midnight the clock starts again from zero: the pause ends there.
    if (static_cast<Single>(p.clock.SecondsSinceMidnight()) + static_cast<Single>(lngSeconds) <
        sglStart)
      break;
  }
}

bool Launcher::PathExists(const std::string& sPath) {
  platform::FileSystem& files = agent_.Platform().files;
  const auto normal = files.List(sPath, false, false);
  if (normal && !normal->empty()) return true;
  const auto withFolders = files.List(sPath, false, true);
  return withFolders && !withFolders->empty();
}

}  // namespace launchagent
