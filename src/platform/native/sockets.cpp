#include "platform/native/sockets.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "platform/diagnostic_throttle.h"
#include "platform/native/descriptors.h"

namespace launchagent::native {
namespace {

// How long a listening socket rests once descriptors ran short; short enough that a
// peer is served again within a second after the others let go.
constexpr int kAcceptRetryMs = 250;
// Windows Sockets error numbers the agent may read back.
constexpr Long kWsaNotInitialised = 10093;
constexpr Long kWsaVersionNotSupported = 10092;
constexpr Long kWsaHostNotFound = 11001;
constexpr Long kWsaFault = 10014;
// Descriptors stay short for as long as an attack lasts: one line per this many seconds.
constexpr double kShortageLineSeconds = 10;

// A descriptor-shortage line on standard error, through the throttle of its kind.
void SayShort(DiagnosticThrottle& throttle, const std::string& sLine) {
  const double dNow =
      std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  if (const auto s = throttle.Pass(sLine, dNow)) std::fprintf(stderr, "Launch: %s\n", s->c_str());
}
DiagnosticThrottle& AcceptShortage() {
  static DiagnosticThrottle throttle(kShortageLineSeconds);
  return throttle;
}
DiagnosticThrottle& ConnectShortage() {
  static DiagnosticThrottle throttle(kShortageLineSeconds);
  return throttle;
}

Integer StateOf(const QTcpSocket& socket) {
  switch (socket.state()) {
    case QAbstractSocket::HostLookupState:
      return platform::kSckResolvingHost;
    case QAbstractSocket::ConnectingState:
      return platform::kSckConnecting;
    case QAbstractSocket::ConnectedState:
      return platform::kSckConnected;
    case QAbstractSocket::ClosingState:
      return platform::kSckClosing;
    case QAbstractSocket::BoundState:
      return platform::kSckOpen;
    default:
      return platform::kSckClosed;
  }
}

QHostAddress BindAddress(const std::string& s) {
  if (s.empty()) return QHostAddress(QHostAddress::AnyIPv4);
  return QHostAddress(QString::fromStdString(s));
}

}  // namespace

NativeSocketArray::NativeSocketArray(NativeEventLoop& loop, HostsFile& hosts,
                                     std::string sBindAddress)
    : loop_(loop), hosts_(hosts), sBindAddress_(std::move(sBindAddress)), ctx_(new QObject) {}

NativeSocketArray::~NativeSocketArray() {
  alive_.reset();
  ctx_.reset();  // no signal reaches this object any more
  for (QObject* o : released_) o->deleteLater();
  for (auto& [i, slot] : slots_) Release(slot);
  for (auto& [id, socket] : pending_) {
    socket->abort();
    socket->deleteLater();
  }
}

void NativeSocketArray::Release(Slot& slot) {
  if (slot.socket) {
    if (ctx_) QObject::disconnect(slot.socket, nullptr, ctx_.get(), nullptr);
    slot.socket->abort();
    Dispose(slot.socket);
    slot.socket = nullptr;
  }
  if (slot.server) {
    if (ctx_) QObject::disconnect(slot.server, nullptr, ctx_.get(), nullptr);
    slot.server->close();
    Dispose(slot.server);
    slot.server = nullptr;
  }
}

void NativeSocketArray::Dispose(QObject* object) {
  // Objects are only ever deleted later: the release may run inside their own signal.
  // While agent code runs, even later is too soon: it may pump events, and the nested
  // loop would delete a socket whose read signal is still on the stack below. Such
  // objects wait for the outermost handler to return.
  if (!loop_.Delivering() || !ctx_) {
    object->deleteLater();
    return;
  }
  if (released_.empty()) {
    const std::weak_ptr<bool> alive = alive_;
    loop_.AfterDeliveries([this, alive] {
      if (!alive.lock()) return;
      for (QObject* o : released_) o->deleteLater();
      released_.clear();
    });
  }
  released_.push_back(object);
}

Long NativeSocketArray::BoundPort(Long lngIndex) const {
  const Slot* slot = Find(lngIndex);
  if (!slot) return 0;
  if (slot->server) return slot->server->serverPort();
  if (slot->socket) return slot->socket->localPort();
  return 0;
}

bool NativeSocketArray::Listen(Long lngIndex) {
  Slot* slot = Find(lngIndex);
  if (!slot || slot->nState != platform::kSckClosed) return false;
  auto* server = new QTcpServer();
  if (!server->listen(BindAddress(sBindAddress_), static_cast<quint16>(slot->lngLocalPort))) {
    delete server;
    return false;
  }
  slot->server = server;
  slot->nState = platform::kSckListening;
  QObject::connect(server, &QTcpServer::newConnection, ctx_.get(),
                   [this, lngIndex] { OnNewConnections(lngIndex); });
  // Qt stops accepting by itself when the process has no descriptor left.
  QObject::connect(server, &QTcpServer::acceptError, ctx_.get(),
                   [this, server](QAbstractSocket::SocketError) { PauseAccepting(server); });
  return true;
}

void NativeSocketArray::PauseAccepting(QTcpServer* server) {
  server->pauseAccepting();
  if (!pausedServers_.insert(server).second) return;
  SayShort(AcceptShortage(),
           "out of descriptors, not accepting for " + std::to_string(kAcceptRetryMs) + " ms");
  // The requests wait in the listen queue meanwhile; the server may go with its position.
  QTimer::singleShot(kAcceptRetryMs, ctx_.get(), [this, server] {
    pausedServers_.erase(server);
    for (auto& [i, slot] : slots_)
      if (slot.server == server) server->resumeAccepting();
  });
}

void NativeSocketArray::OnNewConnections(Long lngIndex) {
  Slot* slot = Find(lngIndex);
  if (!slot || !slot->server) return;
  QTcpServer* server = slot->server;
  const std::weak_ptr<bool> alive = alive_;
  while (QTcpSocket* socket = server->nextPendingConnection()) {
    socket->setParent(nullptr);
    if (InAcceptReserve(socket->socketDescriptor())) {
      // Refused before anyone sees it: the reserve keeps the agent itself alive.
      socket->abort();
      socket->deleteLater();
      PauseAccepting(server);
      continue;
    }
    socket->setReadBufferSize(kMaxArrivalBytes);
    const Long lngId = lngNextRequest_;
    lngNextRequest_ = lngNextRequest_ >= 0x7ffffffe ? 1 : lngNextRequest_ + 1;
    pending_[lngId] = socket;
    loop_.Deliver([this, lngIndex, lngId] {
      if (OnConnectionRequest) OnConnectionRequest(lngIndex, lngId);
    });
    if (!alive.lock()) return;  // the table went with its form; it refused the rest
    // A request nobody accepted is refused.
    auto it = pending_.find(lngId);
    if (it != pending_.end()) {
      it->second->abort();
      it->second->deleteLater();
      pending_.erase(it);
    }
    if (!ctx_ || !Find(lngIndex) || Find(lngIndex)->server != server) return;
  }
}

bool NativeSocketArray::Accept(Long lngIndex, Long lngRequestId) {
  Slot* slot = Find(lngIndex);
  auto it = pending_.find(lngRequestId);
  if (!slot || it == pending_.end() || slot->nState != platform::kSckClosed) return false;
  QTcpSocket* socket = it->second;
  pending_.erase(it);
  slot->leftover.clear();
  slot->socket = socket;
  slot->sPeer = socket->peerAddress().toString().toStdString();
  slot->nState = StateOf(*socket);
  if (slot->nState != platform::kSckConnected) {
    // The peer gave up before we took it.
    slot->nState = platform::kSckClosing;
    slot->leftover.clear();
    Release(*slot);
    return true;
  }
  Wire(lngIndex, socket);
  // Bytes that came with the request arrive as soon as the loop runs.
  if (socket->bytesAvailable() > 0)
    QTimer::singleShot(0, ctx_.get(), [this, lngIndex, socket] { OnReadyRead(lngIndex, socket); });
  return true;
}

void NativeSocketArray::Wire(Long lngIndex, QTcpSocket* socket) {
  QObject::connect(socket, &QTcpSocket::readyRead, ctx_.get(),
                   [this, lngIndex, socket] { OnReadyRead(lngIndex, socket); });
  QObject::connect(
      socket, &QTcpSocket::stateChanged, ctx_.get(),
      [this, lngIndex, socket](QAbstractSocket::SocketState) {
        Slot* slot = Find(lngIndex);
        if (slot && slot->socket == socket && socket->state() != QAbstractSocket::UnconnectedState)
          slot->nState = StateOf(*socket);
      });
  QObject::connect(socket, &QTcpSocket::disconnected, ctx_.get(),
                   [this, lngIndex, socket] { OnGone(lngIndex, socket, false); });
  QObject::connect(socket, &QTcpSocket::errorOccurred, ctx_.get(),
                   [this, lngIndex, socket](QAbstractSocket::SocketError e) {
                     OnGone(lngIndex, socket, e != QAbstractSocket::RemoteHostClosedError);
                   });
}

void NativeSocketArray::OnReadyRead(Long lngIndex, QTcpSocket* socket) {
  Slot* slot = Find(lngIndex);
  if (!slot || slot->socket != socket) return;
  const qint64 lngWaiting = socket->bytesAvailable();
  if (lngWaiting <= 0) return;
  loop_.Deliver([this, lngIndex, lngWaiting] {
    if (OnDataArrival)
      OnDataArrival(lngIndex, static_cast<Long>(std::min<qint64>(lngWaiting, 0x7fffffff)));
  });
}

void NativeSocketArray::OnGone(Long lngIndex, QTcpSocket* socket, bool bError) {
  Slot* slot = Find(lngIndex);
  if (!slot || slot->socket != socket) return;
  const bool bWasConnected = slot->nState == platform::kSckConnected;
  // Keep what the peer sent last so a read still finds it; give the descriptor back.
  if (socket->bytesAvailable() > 0) {
    const QByteArray rest = socket->read(kMaxArrivalBytes);
    slot->leftover.assign(rest.begin(), rest.end());
  }
  slot->nState = bWasConnected && !bError ? platform::kSckClosing : platform::kSckError;
  Release(*slot);
}

bool NativeSocketArray::Connect(Long lngIndex) {
  Slot* slot = Find(lngIndex);
  if (!slot || slot->nState != platform::kSckClosed) return false;
  const std::string sHost = platform::TrimBlanks(slot->sRemoteHost);
  if (sHost.empty() || slot->lngRemotePort <= 0) return false;
  auto* socket = new QTcpSocket();
  socket->setReadBufferSize(kMaxArrivalBytes);
  if (!sBindAddress_.empty() || slot->lngLocalPort != 0) {
    if (!socket->bind(BindAddress(sBindAddress_), static_cast<quint16>(slot->lngLocalPort))) {
      delete socket;
      return false;
    }
  }
  slot->leftover.clear();
  slot->socket = socket;
  Wire(lngIndex, socket);
  const auto port = static_cast<quint16>(slot->lngRemotePort);
  std::optional<Ipv4> address = ParseIpv4(sHost);
  if (!address) address = hosts_.Lookup(sHost);
  if (address)
    socket->connectToHost(QHostAddress(QString::fromStdString(Ipv4Text(*address))), port);
  else
    socket->connectToHost(QString::fromStdString(sHost), port, QIODevice::ReadWrite,
                          QAbstractSocket::IPv4Protocol);
  if (InConnectReserve(socket->socketDescriptor())) {
    // Our own sends give way to the agent's reserve: this one fails as an unreachable
    // host does, and the next broadcast tries again.
    SayShort(ConnectShortage(), "out of descriptors, connection to " + sHost + " not tried");
    if (Slot* again = Find(lngIndex); again && again->socket == socket) {
      Release(*again);
      again->nState = platform::kSckError;
    }
    return true;
  }
  // A failure found at once (no address at all) is reported later, as Winsock does.
  if (Slot* again = Find(lngIndex); again && again->socket == socket)
    again->nState = socket->state() == QAbstractSocket::UnconnectedState
                        ? static_cast<Integer>(platform::kSckConnecting)
                        : StateOf(*socket);
  return true;
}

bool NativeSocketArray::SendData(Long lngIndex, const Bytes& data) {
  Slot* slot = Find(lngIndex);
  if (!slot || !slot->socket || slot->nState != platform::kSckConnected) return false;
  if (data.empty()) return true;
  const qint64 n = slot->socket->write(reinterpret_cast<const char*>(data.data()),
                                       static_cast<qint64>(data.size()));
  slot->socket->flush();
  return n == static_cast<qint64>(data.size());
}

void NativeSocketArray::ReadMore(Slot& slot, Bytes& out, std::size_t nRoom) {
  if (!slot.socket) return;
  const QByteArray data = slot.socket->read(static_cast<qint64>(nRoom));
  out.insert(out.end(), data.begin(), data.end());
}

std::optional<std::string> NativeSocketArray::RemoteHostIP(Long lngIndex) const {
  const Slot* slot = Find(lngIndex);
  if (!slot || slot->sPeer.empty()) return std::nullopt;
  return slot->sPeer;
}

Long NativeSocketsLibrary::Startup(std::uint16_t wVersionRequested,
                                   platform::SocketsStartupData& data) {
  const int nMajor = wVersionRequested & 0xff;
  data.wHighVersion = 0x0202;
  if (nMajor < 1) {
    lngLastError_ = kWsaVersionNotSupported;
    return kWsaVersionNotSupported;
  }
  // Up to 2.2 the requested version is granted as asked.
  data.wVersion = nMajor > 2 || (nMajor == 2 && ((wVersionRequested >> 8) & 0xff) > 2)
                      ? 0x0202
                      : wVersionRequested;
  data.lngMaxSockets = 32767;
  ++nStarts_;
  return 0;
}

Long NativeSocketsLibrary::Cleanup() {
  if (nStarts_ <= 0) {
    lngLastError_ = kWsaNotInitialised;
    return -1;
  }
  --nStarts_;
  return 0;
}

std::optional<std::string> NativeSocketsLibrary::SystemHostName() {
  char buf[256] = {};
  if (::gethostname(buf, sizeof buf - 1) != 0) {
    lngLastError_ = kWsaFault;
    return std::nullopt;
  }
  return std::string(buf);
}

std::optional<std::vector<Ipv4>> NativeSocketsLibrary::SystemAddresses(const std::string& sName) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* result = nullptr;
  if (::getaddrinfo(sName.c_str(), nullptr, &hints, &result) != 0 || !result) {
    lngLastError_ = kWsaHostNotFound;
    return std::nullopt;
  }
  std::vector<Ipv4> addresses;
  for (addrinfo* p = result; p; p = p->ai_next) {
    if (p->ai_family != AF_INET || !p->ai_addr) continue;
    const auto* sin = reinterpret_cast<const sockaddr_in*>(p->ai_addr);
    Ipv4 a{};
    std::memcpy(a.data(), &sin->sin_addr, 4);
    addresses.push_back(a);
  }
  ::freeaddrinfo(result);
  return addresses;
}

void NativeSocketsLibrary::SetHostNotFound() { lngLastError_ = kWsaHostNotFound; }

}  // namespace launchagent::native
