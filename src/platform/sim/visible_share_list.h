#pragma once
// What a share search lists by default: every share of every host that is up, in host
// order. Kept until a host or a share changes, since each search asks for it.
#include <cstdint>
#include <string>
#include <vector>

#include "platform/sim/host_table.h"

namespace launchagent::sim {

class VisibleShareList {
 public:
  // A host went up or down, or a share came or went.
  void Changed() { ++gen_; }
  const std::vector<std::string>& Default(const HostTable& hosts);

 private:
  std::uint64_t gen_ = 0;
  std::uint64_t cacheGen_ = UINT64_MAX;
  std::vector<std::string> cache_;
};

}  // namespace launchagent::sim
