#include "platform/shared_steps.h"

#include <algorithm>

namespace launchagent {

void Pause(platform::Clock& clock, platform::EventLoop& loop, Long lngSeconds) {
  const Single sglStart = static_cast<Single>(clock.SecondsSinceMidnight());
  const Single sglEnd = sglStart + static_cast<Single>(lngSeconds);
  for (;;) {
    const Single sglNow = static_cast<Single>(clock.SecondsSinceMidnight());
    if (!(sglNow < sglEnd)) break;
    // Sleeps in the event loop until the next event or the deadline, never spins; and
    // never past midnight, where the clock starts again and the pause ends.
    const double dUntilMidnight = 86400.0 - clock.SecondsSinceMidnight() + 0.001;
    loop.WaitForEvents(std::min(static_cast<double>(sglEnd - sglNow), dUntilMidnight));
    // Past midnight the clock starts again from zero: the pause ends there.
    if (static_cast<Single>(clock.SecondsSinceMidnight()) + static_cast<Single>(lngSeconds) <
        sglStart)
      break;
  }
}

bool PathExists(platform::FileSystem& files, const std::string& sPath) {
  const auto normal = files.List(sPath, false, false);
  if (normal && !normal->empty()) return true;
  const auto withFolders = files.List(sPath, false, true);
  return withFolders && !withFolders->empty();
}

}  // namespace launchagent
