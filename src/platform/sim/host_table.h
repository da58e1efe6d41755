#pragma once
// The world's hosts, by id (the order they were added), by Winsock name (case does not
// count) and by address. A host once added stays; a crash only marks it down.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/sim/host_state.h"

namespace launchagent::sim {

class HostTable {
 public:
  const std::unique_ptr<HostState>& operator[](HostId id) const { return hosts_[id]; }
  std::size_t size() const { return hosts_.size(); }
  bool empty() const { return hosts_.empty(); }
  auto begin() const { return hosts_.begin(); }
  auto end() const { return hosts_.end(); }
  void clear();

  // Whether a host may take this name and address.
  bool Free(const std::string& sName, const Address& a) const;
  // Takes the host and indexes it by its name and address; its id is the next one.
  HostId Add(std::unique_ptr<HostState> host);
  std::optional<HostId> ByName(const std::string& sName) const;
  std::optional<HostId> ByAddress(const Address& a) const;

 private:
  std::vector<std::unique_ptr<HostState>> hosts_;
  // Hashed: every connect, name look-up and network path of a large LAN asks them.
  std::unordered_map<std::string, HostId> byName_;       // lower-case Winsock name
  std::unordered_map<std::uint32_t, HostId> byAddress_;  // address as a number
};

}  // namespace launchagent::sim
