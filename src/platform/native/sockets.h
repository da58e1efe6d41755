#pragma once
// TCP socket arrays over QTcpServer/QTcpSocket, and the sockets library's name and
// address services over gethostname/getaddrinfo with an optional hosts file.
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/backend/name_services.h"
#include "platform/backend/socket_positions.h"
#include "platform/native/event_loop.h"
#include "platform/native/hosts_file.h"
#include "platform/services.h"

class QObject;
class QTcpServer;
class QTcpSocket;

namespace launchagent::native {

using platform::kMaxArrivalBytes;

// A position's Qt objects.
struct NativeSocketSlot : platform::SocketPosition {
  QTcpServer* server = nullptr;
  QTcpSocket* socket = nullptr;
  std::string sPeer;  // the address an accepted connection came from
};

class NativeSocketArray : public platform::SocketPositions<NativeSocketSlot> {
 public:
  NativeSocketArray(NativeEventLoop& loop, HostsFile& hosts, std::string sBindAddress);
  ~NativeSocketArray() override;

  bool Listen(Long lngIndex) override;
  bool Accept(Long lngIndex, Long lngRequestId) override;
  bool Connect(Long lngIndex) override;
  bool SendData(Long lngIndex, const Bytes& data) override;
  std::optional<std::string> RemoteHostIP(Long lngIndex) const override;

  // The local port a position listens or is connected on (0 when none); for tests.
  Long BoundPort(Long lngIndex) const;

 private:
  using Slot = NativeSocketSlot;
  void Release(Slot& slot) override;
  void ReadMore(Slot& slot, Bytes& out, std::size_t nRoom) override;
  void Wire(Long lngIndex, QTcpSocket* socket);
  void OnNewConnections(Long lngIndex);
  void PauseAccepting(QTcpServer* server);
  void OnReadyRead(Long lngIndex, QTcpSocket* socket);
  void OnGone(Long lngIndex, QTcpSocket* socket, bool bError);
  void Dispose(QObject* object);

  NativeEventLoop& loop_;
  HostsFile& hosts_;
  std::string sBindAddress_;
  std::map<Long, QTcpSocket*> pending_;  // connection requests by request id
  Long lngNextRequest_ = 1;
  std::set<QTcpServer*> pausedServers_;  // resting after descriptors ran short
  std::unique_ptr<QObject> ctx_;         // every signal connection hangs on it
  std::vector<QObject*> released_;       // deleted once the outermost handler returns
  // A handler may unload the form that owns this table; code after a handler checks it.
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

using NativeNetwork = platform::SocketTables<NativeSocketArray, NativeEventLoop, HostsFile>;

class NativeSocketsLibrary : public platform::NameServices {
 public:
  NativeSocketsLibrary(HostsFile& hosts, std::string sHostNameOverride, std::string sBindAddress)
      : platform::NameServices(hosts, std::move(sHostNameOverride), std::move(sBindAddress)) {}
  Long Startup(std::uint16_t wVersionRequested, platform::SocketsStartupData& data) override;
  Long Cleanup() override;
  Long LastError() override { return lngLastError_; }

 private:
  std::optional<std::string> SystemHostName() override;
  std::optional<std::vector<Ipv4>> SystemAddresses(const std::string& sName) override;
  void SetHostNotFound() override;
  int nStarts_ = 0;
  Long lngLastError_ = 0;
};

}  // namespace launchagent::native
