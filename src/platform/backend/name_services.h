#pragma once
// The sockets library's name services as both backends answer them: our overridden
// host name, else the system's; a name the agent knows itself (host_names.h), else the
// system's resolver. The backend brings the system calls and its error numbers.
#include <optional>
#include <string>
#include <vector>

#include "platform/backend/host_names.h"
#include "platform/services.h"

namespace launchagent::platform {

class NameServices : public SocketsLibrary {
 public:
  std::optional<std::string> HostName() final;
  std::optional<HostEntry> HostByName(const std::string& sName) final;

 protected:
  NameServices(HostsFileNames& hosts, std::string sHostNameOverride, std::string sBindAddress)
      : hosts_(hosts),
        sHostName_(std::move(sHostNameOverride)),
        sBindAddress_(std::move(sBindAddress)) {}
  // This computer's name from the system; nullopt, with the error set, when it fails.
  virtual std::optional<std::string> SystemHostName() = 0;
  // The resolver's IPv4 addresses of a name (empty when it has none); nullopt, with the
  // error set, when the look-up fails.
  virtual std::optional<std::vector<Ipv4>> SystemAddresses(const std::string& sName) = 0;
  virtual void SetHostNotFound() = 0;

 private:
  HostsFileNames& hosts_;
  std::string sHostName_;
  std::string sBindAddress_;
};

}  // namespace launchagent::platform
