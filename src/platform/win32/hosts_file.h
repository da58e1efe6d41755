#pragma once
// The optional hosts file the agent consults before the system's resolver
// (platform/backend/host_names.h), watched and read with Win32 calls.
#include <string>

#include "platform/backend/host_names.h"

namespace launchagent::win32 {

using platform::Ipv4;
using platform::ParseIpv4;

class HostsFile : public platform::HostsFileNames {
 public:
  explicit HostsFile(std::string sPath);
};

}  // namespace launchagent::win32
