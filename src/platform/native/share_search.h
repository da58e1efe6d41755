#pragma once
// The search for \\host\share resources: the mount root holds one folder per host and
// one per share inside it (autofs and gvfs mounts look like this). The listing runs on
// a background thread (platform/backend/background_share_search.h).
#include <string>
#include <vector>

#include "platform/backend/background_share_search.h"
#include "platform/native/clock.h"

namespace launchagent::native {

class NativeShareSearch : public platform::BackgroundShareSearch {
 public:
  // dDelaySeconds: agent seconds a search keeps reporting that it still runs.
  NativeShareSearch(const TimeBase& time, std::string sMountRoot, double dDelaySeconds);

  void FindResources() override;
  Long StillProcessing() override;

  // The listing itself: "\\host\share" for every share folder, sorted; false when the
  // mount root cannot be read.
  static bool ListShares(const std::string& sMountRoot, std::vector<std::string>& names);

 private:
  const TimeBase& time_;
  double dDelay_;
  double dReadyAt_ = 0;  // agent time before which the search still runs
};

}  // namespace launchagent::native
