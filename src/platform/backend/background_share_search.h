#pragma once
// The share search's start/poll contract as both backends keep it: the listing runs on
// a background thread, the agent starts it, polls it and fetches its names one by one.
// A backend hands in only the listing itself.
#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/services.h"

namespace launchagent::platform {

class BackgroundShareSearch : public ShareSearch {
 public:
  // Fills names with "\\host\share" entries; false when the network cannot be listed.
  // It runs on the search's thread, so it must not touch the agent.
  using ListFn = std::function<bool(std::vector<std::string>& names)>;

  explicit BackgroundShareSearch(ListFn list) : list_(std::move(list)) {}
  ~BackgroundShareSearch() override;

  void FindResources() override;
  Long StillProcessing() override;
  Long ErrorOccurred() override;
  void GetNResources(Long& lngCount) override;
  void GetResource(std::array<char, 257>& buffer) override;
  void FreeResources() override;

 private:
  void Join();
  ListFn list_;
  std::thread worker_;
  std::atomic<bool> bRunning_{false};
  std::mutex mutex_;
  bool bError_ = false;
  std::vector<std::string> names_;
  size_t nNext_ = 0;
};

}  // namespace launchagent::platform
