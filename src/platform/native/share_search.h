#pragma once
// The search for \\host\share resources: the mount root holds one folder per host and
// one per share inside it (autofs and gvfs mounts look like this). The listing runs on
// a background thread; the agent starts it, polls it and fetches its names.
#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/native/clock.h"
#include "platform/services.h"

namespace launchagent::native {

class NativeShareSearch : public platform::ShareSearch {
 public:
  // dDelaySeconds: agent seconds a search keeps reporting that it still runs.
  NativeShareSearch(const TimeBase& time, std::string sMountRoot, double dDelaySeconds)
      : time_(time), sMountRoot_(std::move(sMountRoot)), dDelay_(dDelaySeconds) {}
  ~NativeShareSearch() override;

  void FindResources() override;
  Long StillProcessing() override;
  Long ErrorOccurred() override;
  void GetNResources(Long& lngCount) override;
  void GetResource(std::array<char, 257>& buffer) override;
  void FreeResources() override;

  // The listing itself: "\\host\share" for every share folder, sorted; false when the
  // mount root cannot be read.
  static bool ListShares(const std::string& sMountRoot, std::vector<std::string>& names);

 private:
  void Join();
  const TimeBase& time_;
  std::string sMountRoot_;
  double dDelay_;
  std::thread worker_;
  std::atomic<bool> bRunning_{false};
  double dReadyAt_ = 0;  // agent time before which the search still runs
  std::mutex mutex_;
  bool bError_ = false;
  std::vector<std::string> names_;
  size_t nNext_ = 0;
};

}  // namespace launchagent::native
