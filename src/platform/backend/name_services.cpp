#include "platform/backend/name_services.h"

namespace launchagent::platform {

std::optional<std::string> NameServices::HostName() {
  if (!sHostName_.empty()) return sHostName_;
  return SystemHostName();
}

std::optional<HostEntry> NameServices::HostByName(const std::string& sNameIn) {
  const std::string sName = ResolvableName(sNameIn);
  if (sName.empty()) {
    SetHostNotFound();
    return std::nullopt;
  }
  if (auto e = KnownHost(sName, hosts_, sHostName_, sBindAddress_)) return e;
  const auto addresses = SystemAddresses(sName);
  if (!addresses) return std::nullopt;
  HostEntry e;
  for (const Ipv4& a : *addresses) AddAddress(e, a);
  if (e.addresses.empty()) {
    SetHostNotFound();
    return std::nullopt;
  }
  return e;
}

}  // namespace launchagent::platform
