#pragma once
// TCP socket arrays on non-blocking Winsock sockets whose events (FD_ACCEPT,
// FD_CONNECT, FD_READ, FD_CLOSE) arrive with WSAAsyncSelect at a hidden window of the
// array, and the sockets library's name and address services over Winsock 1.1.
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/backend/name_services.h"
#include "platform/backend/socket_positions.h"
#include "platform/diagnostic_throttle.h"
#include "platform/services.h"
#include "platform/win32/event_loop.h"
#include "platform/win32/hosts_file.h"

namespace launchagent::win32 {

using platform::kMaxArrivalBytes;

// A position's Winsock socket.
struct Win32SocketSlot : platform::SocketPosition {
  std::uintptr_t socket = ~std::uintptr_t{0};  // INVALID_SOCKET when none
};

class Win32SocketArray : public platform::SocketPositions<Win32SocketSlot> {
 public:
  Win32SocketArray(Win32EventLoop& loop, HostsFile& hosts, std::string sBindAddress);
  ~Win32SocketArray() override;

  bool Listen(Long lngIndex) override;
  bool Accept(Long lngIndex, Long lngRequestId) override;
  bool Connect(Long lngIndex) override;
  bool SendData(Long lngIndex, const Bytes& data) override;
  // The peer's address as the connected socket reports it (getpeername).
  std::optional<std::string> RemoteHostIP(Long lngIndex) const override;

  // The local port a position listens or is connected on (0 when none); for tests.
  Long BoundPort(Long lngIndex) const;

  // Tests make Winsock's accept() and socket() fail as when the system has no socket
  // left: a hook that answers an error number stands for a call that failed with it;
  // one that answers 0 lets the real call run.
  std::function<int()> acceptErrorForTest;
  std::function<int()> socketErrorForTest;

  // Window procedure work; public for the procedure only.
  void OnSocketEvent(std::uintptr_t socket, unsigned nEvent, unsigned nError);
  void OnDeferred(Long lngIndex, std::uintptr_t socket, bool bFailed);
  void OnRestOver(Long lngIndex);

 private:
  using Slot = Win32SocketSlot;
  void Release(Slot& slot) override;
  void ReadMore(Slot& slot, Bytes& out, std::size_t nRoom) override;
  void OnAccept(Long lngIndex);
  void Rest(Long lngIndex, std::uintptr_t listener, int nError);
  std::uintptr_t NewSocket();
  void OnReadable(Long lngIndex);
  void OnGone(Long lngIndex, bool bError);
  bool Watch(std::uintptr_t socket, long lngEvents);
  void PostDeferred(Long lngIndex, std::uintptr_t socket, bool bFailed);

  Win32EventLoop& loop_;
  HostsFile& hosts_;
  std::string sBindAddress_;
  void* hWnd_ = nullptr;
  std::map<Long, std::uintptr_t> pending_;  // connection requests by request id
  Long lngNextRequest_ = 1;
  std::map<Long, std::uintptr_t> resting_;  // listeners not accepting for a while, by position
  // Sockets stay short for as long as an attack lasts: one line per ten seconds per kind.
  DiagnosticThrottle acceptShortage_{10};
  DiagnosticThrottle connectShortage_{10};
  // A handler may unload the form that owns this table; code after a handler checks it.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

using Win32Network = platform::SocketTables<Win32SocketArray, Win32EventLoop, HostsFile>;

class Win32SocketsLibrary : public platform::NameServices {
 public:
  Win32SocketsLibrary(HostsFile& hosts, std::string sHostNameOverride, std::string sBindAddress)
      : platform::NameServices(hosts, std::move(sHostNameOverride), std::move(sBindAddress)) {}
  Long Startup(std::uint16_t wVersionRequested, platform::SocketsStartupData& data) override;
  Long Cleanup() override;
  Long LastError() override;

 private:
  std::optional<std::string> SystemHostName() override;
  std::optional<std::vector<Ipv4>> SystemAddresses(const std::string& sName) override;
  void SetHostNotFound() override;
  int nStartups_ = 0;  // the agent's successful Startup calls not yet cleaned up
};

// Whether sAddress is an IPv4 address of this computer (a socket can be bound to it).
bool IsLocalAddress(const std::string& sAddress);

}  // namespace launchagent::win32
