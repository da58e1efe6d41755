#include "platform/sim/host_table.h"

namespace launchagent::sim {

namespace {

std::uint32_t AddressKey(const Address& a) {
  return (static_cast<std::uint32_t>(a[0]) << 24) | (static_cast<std::uint32_t>(a[1]) << 16) |
         (static_cast<std::uint32_t>(a[2]) << 8) | a[3];
}

}  // namespace

void HostTable::clear() {
  hosts_.clear();
  byName_.clear();
  byAddress_.clear();
}

bool HostTable::Free(const std::string& sName, const Address& a) const {
  return !byName_.count(ToLower(sName)) && !byAddress_.count(AddressKey(a));
}

HostId HostTable::Add(std::unique_ptr<HostState> host) {
  const auto id = static_cast<HostId>(hosts_.size());
  host->id = id;
  byName_[ToLower(host->sName)] = id;
  byAddress_[AddressKey(host->address)] = id;
  hosts_.push_back(std::move(host));
  return id;
}

std::optional<HostId> HostTable::ByName(const std::string& sName) const {
  const auto it = byName_.find(ToLower(sName));
  if (it == byName_.end()) return std::nullopt;
  return it->second;
}

std::optional<HostId> HostTable::ByAddress(const Address& a) const {
  const auto it = byAddress_.find(AddressKey(a));
  if (it == byAddress_.end()) return std::nullopt;
  return it->second;
}

}  // namespace launchagent::sim
