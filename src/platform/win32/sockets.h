#pragma once
// TCP socket arrays on non-blocking Winsock sockets whose events (FD_ACCEPT,
// FD_CONNECT, FD_READ, FD_CLOSE) arrive with WSAAsyncSelect at a hidden window of the
// array, and the sockets library's name and address services over Winsock 1.1.
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "platform/services.h"
#include "platform/win32/event_loop.h"
#include "platform/win32/hosts_file.h"

namespace launchagent::win32 {

// The most bytes one data arrival hands over. A message image is a few hundred bytes;
// anything beyond this is not an image, and reading it whole would let a peer fill
// our memory.
constexpr long long kMaxArrivalBytes = 64 * 1024;

class Win32SocketArray : public platform::SocketArray {
 public:
  Win32SocketArray(Win32EventLoop& loop, HostsFile& hosts, std::string sBindAddress);
  ~Win32SocketArray() override;

  bool Load(Long lngIndex) override;
  bool Exists(Long lngIndex) const override;
  Long UBound() const override;
  bool SetLocalPort(Long lngIndex, Long lngPort) override;
  bool SetRemoteHost(Long lngIndex, const std::string& sHost) override;
  bool SetRemotePort(Long lngIndex, Long lngPort) override;
  bool SetTag(Long lngIndex, const std::string& sTag) override;
  std::optional<std::string> Tag(Long lngIndex) const override;
  std::optional<Integer> State(Long lngIndex) const override;
  bool Listen(Long lngIndex) override;
  bool Accept(Long lngIndex, Long lngRequestId) override;
  bool Connect(Long lngIndex) override;
  bool SendData(Long lngIndex, const Bytes& data) override;
  std::optional<Bytes> GetData(Long lngIndex) override;
  bool Close(Long lngIndex) override;

  // The local port a position listens or is connected on (0 when none); for tests.
  Long BoundPort(Long lngIndex) const;

  // Window procedure work; public for the procedure only.
  void OnSocketEvent(std::uintptr_t socket, unsigned nEvent, unsigned nError);
  void OnDeferred(Long lngIndex, std::uintptr_t socket, bool bFailed);

 private:
  struct Slot {
    Long lngLocalPort = 0;
    std::string sRemoteHost;
    Long lngRemotePort = 0;
    std::string sTag;
    Integer nState = platform::kSckClosed;
    std::uintptr_t socket;  // INVALID_SOCKET when none
    Bytes leftover;         // what the peer sent before it closed, not read yet
  };
  Slot* Find(Long lngIndex);
  const Slot* Find(Long lngIndex) const;
  Slot NewSlot() const;
  void Release(Slot& slot);
  void OnAccept(Long lngIndex);
  void OnReadable(Long lngIndex);
  void OnGone(Long lngIndex, bool bError);
  bool Watch(std::uintptr_t socket, long lngEvents);
  void PostDeferred(Long lngIndex, std::uintptr_t socket, bool bFailed);

  Win32EventLoop& loop_;
  HostsFile& hosts_;
  std::string sBindAddress_;
  void* hWnd_ = nullptr;
  std::map<Long, Slot> slots_;
  std::map<Long, std::uintptr_t> pending_;  // connection requests by request id
  Long lngNextRequest_ = 1;
  // A handler may unload the form that owns this table; code after a handler checks it.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

class Win32Network : public platform::Network {
 public:
  Win32Network(Win32EventLoop& loop, HostsFile& hosts, std::string sBindAddress)
      : loop_(loop), hosts_(hosts), sBindAddress_(std::move(sBindAddress)) {}
  std::unique_ptr<platform::SocketArray> CreateSocketArray(const std::string& sName) override;

 private:
  Win32EventLoop& loop_;
  HostsFile& hosts_;
  std::string sBindAddress_;
};

class Win32SocketsLibrary : public platform::SocketsLibrary {
 public:
  Win32SocketsLibrary(HostsFile& hosts, std::string sHostNameOverride, std::string sBindAddress)
      : hosts_(hosts),
        sHostName_(std::move(sHostNameOverride)),
        sBindAddress_(std::move(sBindAddress)) {}
  Long Startup(std::uint16_t wVersionRequested, platform::SocketsStartupData& data) override;
  Long Cleanup() override;
  Long LastError() override;
  std::optional<std::string> HostName() override;
  std::optional<platform::HostEntry> HostByName(const std::string& sName) override;

 private:
  HostsFile& hosts_;
  std::string sHostName_;
  std::string sBindAddress_;
  int nStartups_ = 0;  // the agent's successful Startup calls not yet cleaned up
};

// Whether sAddress is an IPv4 address of this computer (a socket can be bound to it).
bool IsLocalAddress(const std::string& sAddress);

}  // namespace launchagent::win32
