#pragma once
// This computer's identity on the network: the sockets library started and stopped, its
// own host name and address, and the addresses of other hosts by name. A fresh identity
// knows no name yet; GetHostInfo fills it in.
#include <string>

#include "platform/activity_sink.h"
#include "platform/services.h"
#include "platform/types.h"

namespace launchagent {

class HostIdentity {
 public:
  HostIdentity(platform::SocketsLibrary& sockets, platform::EventLoop& loop,
               LogActivityFn logActivity)
      : sockets_(sockets), loop_(loop), logActivity_(std::move(logActivity)) {}

  // Starts the sockets library; a library that cannot serve the agent ends the process.
  void SocketsInitialize();
  void SocketsCleanup();
  void GetHostInfo();
  std::string GetHostName();
  std::string GetIPAddress();
  std::string GetIPInfo(const std::string& hostname);
  static Long hibyte(Integer wParam);
  static Long lobyte(Integer wParam);

  std::string sHostName = std::string(256, '\0');  // fixed 256-character buffer
  std::string sIPAddress;

 private:
  platform::SocketsLibrary& sockets_;
  platform::EventLoop& loop_;
  LogActivityFn logActivity_;
};

}  // namespace launchagent
