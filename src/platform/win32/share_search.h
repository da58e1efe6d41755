#pragma once
// The search for \\host\share resources: the network's own enumeration (the global
// network, disk resources, descending into every container) on a background thread
// behind the start/poll contract. A configured list, when given, is what the search
// finds instead: where the network has no neighbourhood (Wine), or to pin the list on
// a real network.
#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/services.h"

namespace launchagent::win32 {

class Win32ShareSearch : public platform::ShareSearch {
 public:
  // configured: the list to report instead of the network's (nullopt: the network).
  explicit Win32ShareSearch(std::optional<std::vector<std::string>> configured)
      : configured_(std::move(configured)) {}
  ~Win32ShareSearch() override;

  void FindResources() override;
  Long StillProcessing() override;
  Long ErrorOccurred() override;
  void GetNResources(Long& lngCount) override;
  void GetResource(std::array<char, 257>& buffer) override;
  void FreeResources() override;

  // The network's disk shares; false when the network cannot be enumerated.
  static bool EnumerateNetwork(std::vector<std::string>& names);

 private:
  void Join();
  std::optional<std::vector<std::string>> configured_;
  std::thread worker_;
  std::atomic<bool> bRunning_{false};
  std::mutex mutex_;
  bool bError_ = false;
  std::vector<std::string> names_;
  size_t nNext_ = 0;
};

}  // namespace launchagent::win32
