#pragma once
// The search for \\host\share resources: the network's own enumeration (the global
// network, disk resources, descending into every container) on a background thread
// (platform/backend/background_share_search.h). A configured list, when given, is what
// the search finds instead: where the network has no neighbourhood (Wine), or to pin
// the list on a real network.
#include <optional>
#include <string>
#include <vector>

#include "platform/backend/background_share_search.h"

namespace launchagent::win32 {

class Win32ShareSearch : public platform::BackgroundShareSearch {
 public:
  // configured: the list to report instead of the network's (nullopt: the network).
  explicit Win32ShareSearch(std::optional<std::vector<std::string>> configured);

  // The network's disk shares; false when the network cannot be enumerated.
  static bool EnumerateNetwork(std::vector<std::string>& names);
};

}  // namespace launchagent::win32
