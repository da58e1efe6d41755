#include "platform/win32/sockets.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

constexpr UINT kSocketMessage = WM_APP + 1;    // WSAAsyncSelect events
constexpr UINT kDeferredMessage = WM_APP + 2;  // our own events that must come later
constexpr const char* kSocketsClass = "LaunchAgentSockets";
// How long a send waits for room in a full send buffer.
constexpr long kSendWaitMs = 2000;
// How long a listener rests once accepting failed (no socket left); short enough that a
// peer is served again within a second after the others let go.
constexpr UINT kAcceptRetryMs = 250;

SOCKET S(std::uintptr_t s) { return static_cast<SOCKET>(s); }

sockaddr_in Address(const Ipv4& a, Long lngPort) {
  sockaddr_in sin{};
  sin.sin_family = AF_INET;
  sin.sin_port = htons(static_cast<u_short>(lngPort));
  std::memcpy(&sin.sin_addr, a.data(), 4);
  return sin;
}

Ipv4 BindAddress(const std::string& s) {
  if (auto a = ParseIpv4(s)) return *a;
  return Ipv4{0, 0, 0, 0};
}

LRESULT CALLBACK SocketsProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
  auto* self = reinterpret_cast<Win32SocketArray*>(GetWindowLongPtrA(hWnd, GWLP_USERDATA));
  if (self && uMsg == kSocketMessage) {
    self->OnSocketEvent(wParam, WSAGETSELECTEVENT(lParam), WSAGETSELECTERROR(lParam));
    return 0;
  }
  if (self && uMsg == WM_TIMER) {
    // Only a listener's rest runs a timer here; its id is the position + 1.
    KillTimer(hWnd, wParam);
    self->OnRestOver(static_cast<Long>(wParam) - 1);
    return 0;
  }
  if (self && uMsg == kDeferredMessage) {
    // lParam carries the socket the event was meant for, so a reused slot ignores it.
    self->OnDeferred(static_cast<Long>(wParam & 0x7fffffff), static_cast<std::uintptr_t>(lParam),
                     (wParam & 0x80000000u) != 0);
    return 0;
  }
  return DefWindowProcA(hWnd, uMsg, wParam, lParam);
}

HWND MakeWindow(void* self) {
  static const bool bRegistered = [] {
    WNDCLASSA wc{};
    wc.lpfnWndProc = SocketsProc;
    wc.hInstance = GetModuleHandleA(nullptr);
    wc.lpszClassName = kSocketsClass;
    return RegisterClassA(&wc) != 0;
  }();
  (void)bRegistered;
  HWND h = CreateWindowExA(0, kSocketsClass, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                           GetModuleHandleA(nullptr), nullptr);
  if (h) SetWindowLongPtrA(h, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  return h;
}

// Every byte waiting on a non-blocking socket, up to nRoom.
void ReadWaiting(SOCKET s, Bytes& out, size_t nRoom) {
  char buf[8192];
  while (nRoom > 0) {
    const int n = recv(s, buf, static_cast<int>(std::min(nRoom, sizeof buf)), 0);
    if (n <= 0) break;
    out.insert(out.end(), buf, buf + n);
    nRoom -= static_cast<size_t>(n);
  }
}

// A line on the debug output, through the throttle of its kind.
void SayShort(DiagnosticThrottle& throttle, const std::string& sLine) {
  const double dNow =
      std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  if (const auto s = throttle.Pass(sLine, dNow))
    OutputDebugStringA(("launch agent: " + *s + "\n").c_str());
}

}  // namespace

Win32SocketArray::Win32SocketArray(Win32EventLoop& loop, HostsFile& hosts, std::string sBindAddress)
    : loop_(loop), hosts_(hosts), sBindAddress_(std::move(sBindAddress)) {
  hWnd_ = MakeWindow(this);
  if (!hWnd_) OutputDebugStringA("launch agent: a socket table's window could not be made\n");
}

Win32SocketArray::~Win32SocketArray() {
  alive_.reset();
  if (hWnd_) {
    SetWindowLongPtrA(static_cast<HWND>(hWnd_), GWLP_USERDATA, 0);
    DestroyWindow(static_cast<HWND>(hWnd_));
  }
  for (auto& [i, slot] : slots_) Release(slot);
  for (auto& [id, s] : pending_) closesocket(S(s));
}

void Win32SocketArray::Release(Slot& slot) {
  if (slot.socket != INVALID_SOCKET) {
    // Events still queued for it find no slot and are dropped.
    closesocket(S(slot.socket));
    slot.socket = INVALID_SOCKET;
  }
}

bool Win32SocketArray::Watch(std::uintptr_t s, long lngEvents) {
  return hWnd_ && WSAAsyncSelect(S(s), static_cast<HWND>(hWnd_), kSocketMessage, lngEvents) == 0;
}

void Win32SocketArray::PostDeferred(Long lngIndex, std::uintptr_t s, bool bFailed) {
  const WPARAM w = static_cast<WPARAM>(lngIndex) | (bFailed ? 0x80000000u : 0u);
  PostMessageA(static_cast<HWND>(hWnd_), kDeferredMessage, w, static_cast<LPARAM>(s));
}

Long Win32SocketArray::BoundPort(Long lngIndex) const {
  const Slot* slot = Find(lngIndex);
  if (!slot || slot->socket == INVALID_SOCKET) return 0;
  sockaddr_in sin{};
  int nLen = sizeof sin;
  if (getsockname(S(slot->socket), reinterpret_cast<sockaddr*>(&sin), &nLen) != 0) return 0;
  return ntohs(sin.sin_port);
}

bool Win32SocketArray::Listen(Long lngIndex) {
  Slot* slot = Find(lngIndex);
  if (!slot || slot->nState != platform::kSckClosed) return false;
  const SOCKET s = S(NewSocket());
  if (s == INVALID_SOCKET) return false;
  // Nobody else may take the port while we hold it.
  BOOL bExclusive = TRUE;
  setsockopt(s, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&bExclusive),
             sizeof bExclusive);
  const sockaddr_in sin = Address(BindAddress(sBindAddress_), slot->lngLocalPort);
  if (bind(s, reinterpret_cast<const sockaddr*>(&sin), sizeof sin) != 0 ||
      listen(s, SOMAXCONN) != 0 || !Watch(s, FD_ACCEPT)) {
    closesocket(s);
    return false;
  }
  slot->leftover.clear();
  slot->socket = s;
  slot->nState = platform::kSckListening;
  resting_.erase(lngIndex);  // a rest of the position's last listener is over
  return true;
}

void Win32SocketArray::OnSocketEvent(std::uintptr_t s, unsigned nEvent, unsigned nError) {
  Long lngIndex = -1;
  for (auto& [i, slot] : slots_)
    if (slot.socket == s) lngIndex = i;
  if (lngIndex < 0) return;  // a request not taken yet, or a socket already closed
  switch (nEvent) {
    case FD_ACCEPT:
      // An event queued before the listener began to rest waits for the rest to end.
      if (auto it = resting_.find(lngIndex); it == resting_.end() || it->second != s)
        OnAccept(lngIndex);
      break;
    case FD_CONNECT: {
      Slot* slot = Find(lngIndex);
      if (nError != 0) {
        slot->nState = platform::kSckError;
        Release(*slot);
      } else {
        slot->nState = platform::kSckConnected;
      }
      break;
    }
    case FD_READ:
      OnReadable(lngIndex);
      break;
    case FD_CLOSE:
      OnGone(lngIndex, nError != 0);
      break;
    default:
      break;
  }
}

void Win32SocketArray::OnAccept(Long lngIndex) {
  const std::uintptr_t listener = Find(lngIndex)->socket;
  const std::weak_ptr<bool> alive = alive_;
  while (true) {
    const int nInjected = acceptErrorForTest ? acceptErrorForTest() : 0;
    if (nInjected != 0) WSASetLastError(nInjected);
    const SOCKET s = nInjected != 0 ? INVALID_SOCKET : accept(S(listener), nullptr, nullptr);
    if (s == INVALID_SOCKET) {
      const int nError = WSAGetLastError();
      // A failed accept asks Winsock for the next FD_ACCEPT at once: with a request
      // still queued that would come back for as long as sockets stay short. Only
      // "nothing waiting" and a peer that gave up in the queue are no reason to rest.
      if (nError != WSAEWOULDBLOCK && nError != WSAECONNRESET) Rest(lngIndex, listener, nError);
      return;
    }
    const Long lngId = lngNextRequest_;
    lngNextRequest_ = lngNextRequest_ >= 0x7ffffffe ? 1 : lngNextRequest_ + 1;
    pending_[lngId] = s;
    loop_.Deliver([this, lngIndex, lngId] {
      if (OnConnectionRequest) OnConnectionRequest(lngIndex, lngId);
    });
    if (!alive.lock()) return;  // the table went with its form; it refused the rest
    // A request nobody accepted is refused.
    if (auto it = pending_.find(lngId); it != pending_.end()) {
      closesocket(S(it->second));
      pending_.erase(it);
    }
    const Slot* slot = Find(lngIndex);
    if (!slot || slot->socket != listener) return;
  }
}

void Win32SocketArray::Rest(Long lngIndex, std::uintptr_t listener, int nError) {
  // The requests wait in the listen queue meanwhile.
  WSAAsyncSelect(S(listener), static_cast<HWND>(hWnd_), 0, 0);
  resting_[lngIndex] = listener;
  if (SetTimer(static_cast<HWND>(hWnd_), static_cast<UINT_PTR>(lngIndex) + 1, kAcceptRetryMs,
               nullptr) == 0) {
    // Without a timer the rest would never end: listen again at once instead.
    resting_.erase(lngIndex);
    Watch(listener, FD_ACCEPT);
    return;
  }
  SayShort(acceptShortage_, "cannot accept (error " + std::to_string(nError) +
                                "), not accepting for " + std::to_string(kAcceptRetryMs) + " ms");
}

void Win32SocketArray::OnRestOver(Long lngIndex) {
  const auto it = resting_.find(lngIndex);
  if (it == resting_.end()) return;
  const std::uintptr_t listener = it->second;
  resting_.erase(it);
  // The listener may have gone with its position meanwhile.
  const Slot* slot = Find(lngIndex);
  if (!slot || slot->socket != listener || slot->nState != platform::kSckListening) return;
  if (!Watch(listener, FD_ACCEPT)) return;
  // What queued during the rest is taken now, not when Winsock next tells.
  OnAccept(lngIndex);
}

std::uintptr_t Win32SocketArray::NewSocket() {
  if (const int nInjected = socketErrorForTest ? socketErrorForTest() : 0) {
    WSASetLastError(nInjected);
    return INVALID_SOCKET;
  }
  return socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
}

bool Win32SocketArray::Accept(Long lngIndex, Long lngRequestId) {
  Slot* slot = Find(lngIndex);
  auto it = pending_.find(lngRequestId);
  if (!slot || it == pending_.end() || slot->nState != platform::kSckClosed) return false;
  const std::uintptr_t s = it->second;
  pending_.erase(it);
  slot->leftover.clear();
  slot->socket = s;
  if (!Watch(s, FD_READ | FD_CLOSE)) {
    slot->nState = platform::kSckError;
    Release(*slot);
    return true;
  }
  slot->nState = platform::kSckConnected;
  // Bytes that came with the request, or a peer that already left, show up as soon as
  // the loop runs.
  PostDeferred(lngIndex, s, false);
  return true;
}

void Win32SocketArray::OnDeferred(Long lngIndex, std::uintptr_t s, bool bFailed) {
  Slot* slot = Find(lngIndex);
  if (!slot || slot->socket != s) return;
  if (bFailed) {
    slot->nState = platform::kSckError;
    Release(*slot);
    return;
  }
  u_long lngWaiting = 0;
  if (ioctlsocket(S(s), FIONREAD, &lngWaiting) == 0 && lngWaiting > 0) {
    OnReadable(lngIndex);
    return;
  }
  char c;
  if (recv(S(s), &c, 1, MSG_PEEK) == 0) OnGone(lngIndex, false);  // the peer gave up
}

void Win32SocketArray::OnReadable(Long lngIndex) {
  Slot* slot = Find(lngIndex);
  if (!slot || slot->socket == INVALID_SOCKET) return;
  const std::uintptr_t s = slot->socket;
  u_long lngWaiting = 0;
  if (ioctlsocket(S(s), FIONREAD, &lngWaiting) != 0) lngWaiting = 0;
  const unsigned long long ullTotal = slot->leftover.size() + lngWaiting;
  if (ullTotal == 0) return;
  const Long lngBytes = static_cast<Long>(std::min<unsigned long long>(ullTotal, kMaxArrivalBytes));
  const std::weak_ptr<bool> alive = alive_;
  loop_.Deliver([this, lngIndex, lngBytes] {
    if (OnDataArrival) OnDataArrival(lngIndex, lngBytes);
  });
  if (!alive.lock()) return;
  // What the handler left unread is taken into the table (up to the cap), so the
  // socket reports new bytes and the peer's close again, as it does after every read.
  slot = Find(lngIndex);
  if (slot && slot->socket == s && slot->leftover.size() < static_cast<size_t>(kMaxArrivalBytes))
    ReadWaiting(S(s), slot->leftover, kMaxArrivalBytes - slot->leftover.size());
}

void Win32SocketArray::OnGone(Long lngIndex, bool bError) {
  Slot* slot = Find(lngIndex);
  if (!slot || slot->socket == INVALID_SOCKET) return;
  const bool bWasConnected = slot->nState == platform::kSckConnected;
  // Keep what the peer sent last so a read still finds it; give the socket back. The
  // position stays, in state 8, until the agent closes it.
  if (slot->leftover.size() < static_cast<size_t>(kMaxArrivalBytes))
    ReadWaiting(S(slot->socket), slot->leftover, kMaxArrivalBytes - slot->leftover.size());
  slot->nState = bWasConnected && !bError ? platform::kSckClosing : platform::kSckError;
  Release(*slot);
}

bool Win32SocketArray::Connect(Long lngIndex) {
  Slot* slot = Find(lngIndex);
  if (!slot || slot->nState != platform::kSckClosed) return false;
  const std::string sHost = platform::TrimBlanks(slot->sRemoteHost);
  if (sHost.empty() || slot->lngRemotePort <= 0) return false;
  const SOCKET s = S(NewSocket());
  if (s == INVALID_SOCKET) {
    // No socket left: this send fails as to an unreachable host, and the next
    // broadcast tries again.
    SayShort(connectShortage_, "cannot make a socket (error " + std::to_string(WSAGetLastError()) +
                                   "), connection to " + sHost + " not tried");
    slot->nState = platform::kSckError;
    return true;
  }
  if (!sBindAddress_.empty() || slot->lngLocalPort != 0) {
    const sockaddr_in local = Address(BindAddress(sBindAddress_), slot->lngLocalPort);
    if (bind(s, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
      closesocket(s);
      return false;
    }
  }
  if (!Watch(s, FD_CONNECT | FD_READ | FD_CLOSE)) {
    closesocket(s);
    return false;
  }
  slot->leftover.clear();
  slot->socket = s;
  slot->nState = platform::kSckConnecting;
  std::optional<Ipv4> address = ParseIpv4(sHost);
  if (!address) address = hosts_.Lookup(sHost);
  if (!address) {
    if (const hostent* he = gethostbyname(sHost.c_str());
        he && he->h_addrtype == AF_INET && he->h_addr_list && he->h_addr_list[0]) {
      Ipv4 a{};
      std::memcpy(a.data(), he->h_addr_list[0], 4);
      address = a;
    }
  }
  bool bStarted = false;
  if (address) {
    const sockaddr_in remote = Address(*address, slot->lngRemotePort);
    bStarted = connect(s, reinterpret_cast<const sockaddr*>(&remote), sizeof remote) == 0 ||
               WSAGetLastError() == WSAEWOULDBLOCK;
  }
  // A failure found at once is reported later, as one found on the way would be.
  if (!bStarted) PostDeferred(lngIndex, s, true);
  return true;
}

bool Win32SocketArray::SendData(Long lngIndex, const Bytes& data) {
  Slot* slot = Find(lngIndex);
  if (!slot || slot->socket == INVALID_SOCKET || slot->nState != platform::kSckConnected)
    return false;
  const SOCKET s = S(slot->socket);
  size_t nDone = 0;
  while (nDone < data.size()) {
    const int n = send(s, reinterpret_cast<const char*>(data.data()) + nDone,
                       static_cast<int>(std::min<size_t>(data.size() - nDone, 1 << 20)), 0);
    if (n > 0) {
      nDone += static_cast<size_t>(n);
      continue;
    }
    if (WSAGetLastError() != WSAEWOULDBLOCK) return false;
    fd_set writable;
    FD_ZERO(&writable);
    FD_SET(s, &writable);
    timeval tv{kSendWaitMs / 1000, (kSendWaitMs % 1000) * 1000};
    if (select(0, nullptr, &writable, nullptr, &tv) <= 0) return false;
  }
  return true;
}

void Win32SocketArray::ReadMore(Slot& slot, Bytes& out, std::size_t nRoom) {
  if (slot.socket != INVALID_SOCKET) ReadWaiting(S(slot.socket), out, nRoom);
}

std::optional<std::string> Win32SocketArray::RemoteHostIP(Long lngIndex) const {
  const Slot* slot = Find(lngIndex);
  if (!slot || slot->socket == INVALID_SOCKET) return std::nullopt;
  sockaddr_in sin{};
  int nLen = sizeof sin;
  if (getpeername(S(slot->socket), reinterpret_cast<sockaddr*>(&sin), &nLen) != 0 ||
      sin.sin_family != AF_INET)
    return std::nullopt;
  Ipv4 a{};
  std::memcpy(a.data(), &sin.sin_addr, 4);
  return platform::Ipv4Text(a);
}

Long Win32SocketsLibrary::Startup(std::uint16_t wVersionRequested,
                                  platform::SocketsStartupData& data) {
  WSADATA wsa{};
  const int r = WSAStartup(wVersionRequested, &wsa);
  if (r != 0) return r;
  data.wVersion = wsa.wVersion;
  data.wHighVersion = wsa.wHighVersion;
  data.lngMaxSockets = wsa.iMaxSockets;
  ++nStartups_;
  return 0;
}

// The backend holds a Winsock reference of its own for its socket arrays, so Winsock
// alone would let the agent clean up more often than it started; count the agent's own.
Long Win32SocketsLibrary::Cleanup() {
  if (nStartups_ == 0) {
    WSASetLastError(WSANOTINITIALISED);
    return -1;
  }
  --nStartups_;
  return WSACleanup() == 0 ? 0 : -1;
}

Long Win32SocketsLibrary::LastError() { return WSAGetLastError(); }

std::optional<std::string> Win32SocketsLibrary::SystemHostName() {
  char buf[256] = {};
  if (gethostname(buf, sizeof buf - 1) != 0) return std::nullopt;
  return std::string(buf);
}

std::optional<std::vector<Ipv4>> Win32SocketsLibrary::SystemAddresses(const std::string& sName) {
  const hostent* he = gethostbyname(sName.c_str());
  if (!he || he->h_addrtype != AF_INET || he->h_length != 4 || !he->h_addr_list)
    return std::nullopt;
  std::vector<Ipv4> addresses;
  for (char** p = he->h_addr_list; *p; ++p) {
    Ipv4 a{};
    std::memcpy(a.data(), *p, 4);
    addresses.push_back(a);
  }
  return addresses;
}

void Win32SocketsLibrary::SetHostNotFound() { WSASetLastError(WSAHOST_NOT_FOUND); }

bool IsLocalAddress(const std::string& sAddress) {
  const auto a = ParseIpv4(sAddress);
  if (!a) return false;
  SOCKET s = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  if (s == INVALID_SOCKET) return false;
  const sockaddr_in sin = Address(*a, 0);
  const bool bLocal = bind(s, reinterpret_cast<const sockaddr*>(&sin), sizeof sin) == 0;
  closesocket(s);
  return bLocal;
}

}  // namespace launchagent::win32
