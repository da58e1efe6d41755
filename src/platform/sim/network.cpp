// The network at the connection level: socket tables per form, listeners, connection
// requests, connects that resolve, connect, get refused or time out, sends that arrive
// as one data arrival after a latency, closes, partitions and crashes.
#include <algorithm>

#include "platform/sim/impl.h"

namespace launchagent::sim {

using platform::kSckClosed;
using platform::kSckClosing;
using platform::kSckConnected;
using platform::kSckConnecting;
using platform::kSckError;
using platform::kSckListening;
using platform::kSckResolvingHost;

namespace {
constexpr Long kMaxPosition = 32767;
constexpr Long kMaxPort = 65535;
}  // namespace

class SimSocketArray : public platform::SocketArray {
 public:
  SimSocketArray(WorldImpl& w, std::weak_ptr<ProcessState> proc, HostId host, ProcessId pid,
                 std::string sName)
      : w_(w), proc_(std::move(proc)), host_(host), pid_(pid), sName_(std::move(sName)) {
    slots_.emplace_back(0, Slot{});
  }
  ~SimSocketArray() override {
    alive_.reset();
    if (proc_.expired()) return;  // the world is gone
    for (auto& [i, slot] : slots_) CloseSlot(i, slot);
  }

  bool Load(Long i) override {
    if (!Live() || i < 1 || i > kMaxPosition || Get(i)) return false;
    const Slot& t = slots_.front().second;
    Slot s;
    s.localPort = t.localPort;
    s.remotePort = t.remotePort;
    s.remoteHost = t.remoteHost;
    slots_.emplace(Position(i), i, std::move(s));
    return true;
  }
  bool Exists(Long i) const override { return Get(i) != nullptr; }
  Long UBound() const override { return slots_.back().first; }
  bool SetLocalPort(Long i, Long port) override {
    Slot* s = Get(i);
    if (!s || port < 0 || port > kMaxPort) return false;
    s->localPort = port;
    return true;
  }
  bool SetRemoteHost(Long i, const std::string& sHost) override {
    Slot* s = Get(i);
    if (!s) return false;
    s->remoteHost = sHost;
    return true;
  }
  bool SetRemotePort(Long i, Long port) override {
    Slot* s = Get(i);
    if (!s || port < 0 || port > kMaxPort) return false;
    s->remotePort = port;
    return true;
  }
  bool SetTag(Long i, const std::string& sTag) override {
    Slot* s = Get(i);
    if (!s) return false;
    s->tag = sTag;
    return true;
  }
  std::optional<std::string> Tag(Long i) const override {
    const Slot* s = Get(i);
    if (!s) return std::nullopt;
    return s->tag;
  }
  std::optional<Integer> State(Long i) const override {
    const Slot* s = Get(i);
    if (!s) return std::nullopt;
    return StateOf(*s);
  }

  bool Listen(Long i) override {
    Slot* s = Get(i);
    if (!s || !Live() || StateOf(*s) != kSckClosed || s->ep) return false;
    HostState& h = *w_.hosts[host_];
    const Long port = s->localPort ? s->localPort : w_.net.EphemeralPort(h);
    auto it = h.listeners.find(port);
    if (it != h.listeners.end() && !it->second.alive.expired()) {
      if (w_.net.NetTracing())
        w_.net.NetLine(host_, "listen on port " + std::to_string(port) + " failed: in use");
      return false;
    }
    h.listeners[port] = ListenerRef{this, alive_, i, pid_};
    s->bListening = true;
    s->listenPort = port;
    if (w_.net.NetTracing()) w_.net.NetLine(host_, "listening on port " + std::to_string(port));
    return true;
  }

  bool Accept(Long i, Long lngRequestId) override {
    Slot* s = Get(i);
    if (!s || !Live() || StateOf(*s) != kSckClosed || s->ep) return false;
    auto it = requests_.find(lngRequestId);
    if (it == requests_.end()) return false;
    auto client = it->second.second.lock();
    const Long listenPort = Get(it->second.first) ? Get(it->second.first)->listenPort : 0;
    requests_.erase(it);
    if (!client || client->bDead || client->state != kSckConnecting) return false;
    auto server = w_.net.NewEndpoint(host_, pid_);
    server->array = this;
    server->arrayAlive = alive_;
    server->index = i;
    server->state = kSckConnected;
    server->localPort = listenPort;
    server->remotePort = client->localPort;
    server->peer = client;
    server->peerHost = client->host;
    client->peer = server;
    client->peerHost = host_;
    s->ep = server;
    w_.net.AcceptRequest(client, server);
    return true;
  }

  bool Connect(Long i) override {
    Slot* s = Get(i);
    if (!s || !Live() || StateOf(*s) != kSckClosed || s->ep) return false;
    if (s->remoteHost.empty() || s->remotePort <= 0 || s->remotePort > kMaxPort) return false;
    auto ep = w_.net.NewEndpoint(host_, pid_);
    ep->array = this;
    ep->arrayAlive = alive_;
    ep->index = i;
    ep->localPort = s->localPort ? s->localPort : w_.net.EphemeralPort(*w_.hosts[host_]);
    s->ep = ep;
    w_.net.StartConnect(ep, s->remoteHost, s->remotePort);
    return true;
  }

  bool SendData(Long i, const Bytes& data) override {
    Slot* s = Get(i);
    if (!s || !Live() || !s->ep || s->ep->state != kSckConnected) return false;
    w_.net.Send(s->ep, data);
    return true;
  }

  std::optional<Bytes> GetData(Long i) override {
    Slot* s = Get(i);
    if (!s) return std::nullopt;
    if (!s->ep) return Bytes{};
    Bytes out;
    out.swap(s->ep->inbox);
    return out;
  }

  bool Close(Long i) override {
    Slot* s = Get(i);
    if (!s || proc_.expired()) return false;
    CloseSlot(i, *s);
    return true;
  }

  std::optional<std::string> RemoteHostIP(Long i) const override {
    const Slot* s = Get(i);
    if (!s || !s->ep) return std::nullopt;
    return FormatAddress(w_.hosts[s->ep->peerHost]->address);
  }

  // Network side.
  void AddRequest(Long index, Long id, std::weak_ptr<Endpoint> client) {
    requests_[id] = {index, std::move(client)};
  }
  void FireConnectionRequest(Long index, Long id) {
    Slot* s = Get(index);
    if (!s || !s->bListening || !requests_.count(id) || !OnConnectionRequest) return;
    auto handler = OnConnectionRequest;  // the handler may unload this table
    handler(index, id);
  }
  void FireDataArrival(Long index, const Endpoint* ep) {
    Slot* s = Get(index);
    if (!s || s->ep.get() != ep || !OnDataArrival) return;
    const Long total = static_cast<Long>(std::min<std::size_t>(ep->inbox.size(), INT32_MAX));
    auto handler = OnDataArrival;
    handler(index, total);
  }

 private:
  struct Slot {
    Long localPort = 0;
    Long remotePort = 0;
    std::string remoteHost;
    std::string tag;
    bool bListening = false;
    Long listenPort = 0;
    std::shared_ptr<Endpoint> ep;
  };

  static Integer StateOf(const Slot& s) {
    if (s.bListening) return kSckListening;
    if (s.ep) return s.ep->state;
    return kSckClosed;
  }
  // Where position i is or would go in slots_.
  std::vector<std::pair<Long, Slot>>::iterator Position(Long i) {
    return std::lower_bound(slots_.begin(), slots_.end(), i,
                            [](const std::pair<Long, Slot>& e, Long n) { return e.first < n; });
  }
  Slot* Get(Long i) {
    const auto it = Position(i);
    return it == slots_.end() || it->first != i ? nullptr : &it->second;
  }
  const Slot* Get(Long i) const { return const_cast<SimSocketArray*>(this)->Get(i); }
  bool Live() const {
    auto p = proc_.lock();
    return p && p->Alive();
  }
  void CloseSlot(Long i, Slot& s) {
    if (s.bListening) {
      HostState& h = *w_.hosts[host_];
      auto it = h.listeners.find(s.listenPort);
      if (it != h.listeners.end() && it->second.array == this && it->second.index == i)
        h.listeners.erase(it);
      for (auto r = requests_.begin(); r != requests_.end();) {
        if (r->second.first == i)
          r = requests_.erase(r);
        else
          ++r;
      }
      s.bListening = false;
      s.listenPort = 0;
    }
    if (s.ep) {
      w_.net.CloseEndpoint(s.ep, !w_.hosts[host_]->bCrashing);
      s.ep.reset();
    }
  }

  WorldImpl& w_;
  std::weak_ptr<ProcessState> proc_;
  HostId host_;
  ProcessId pid_;
  std::string sName_;
  // By position, ascending: a table holds a few positions and every arrival, send and
  // state query looks one up, so they lie in one array rather than in a tree.
  std::vector<std::pair<Long, Slot>> slots_;
  std::map<Long, std::pair<Long, std::weak_ptr<Endpoint>>> requests_;  // id -> (position, client)
  std::shared_ptr<int> alive_ = std::make_shared<int>(0);
};

std::unique_ptr<platform::SocketArray> SimNetwork::CreateSocketArray(const std::string& sName) {
  std::weak_ptr<ProcessState> proc = w_.processes.Share(p_.pid);
  return std::make_unique<SimSocketArray>(w_, proc, p_.host, p_.pid, sName);
}

// ---- Model --------------------------------------------------------------------------------

void NetModel::NetLine(HostId host, const std::string& sText) {
  if (bNetTrace) w_.Record(host, TranscriptKind::Net, sText);
}

void NetModel::SendLine(const Endpoint& ep, const Bytes& data) {
  NetLine(ep.host, "send " + EndpointText(ep) + " " + describeSend(data));
}

std::string NetModel::EndpointText(const Endpoint& ep) const {
  std::string s = FormatAddress(hosts[ep.host]->address) + ":" + std::to_string(ep.localPort);
  if (ep.remotePort)
    s += " -> " + FormatAddress(hosts[ep.peerHost]->address) + ":" + std::to_string(ep.remotePort);
  return s;
}

HostState* NetModel::HostByAddress(const HostState& from, const Address& a) {
  if (a[0] == 127) return hosts[from.id].get();
  const auto id = hosts.ByAddress(a);
  return id ? hosts[*id].get() : nullptr;
}

Nanos NetModel::Latency(HostId from, HostId to) {
  if (from == to) return links.Settings().loopback;
  const auto [lo, hi] = links.LatencyRange(from, to);
  return hosts[from]->netRng.UniformInt(lo, hi);
}

Nanos NetModel::Arrival(Endpoint& from, Nanos t) {
  // One direction of a connection delivers in order.
  if (t < from.fifo) t = from.fifo;
  from.fifo = t;
  return t;
}

Long NetModel::EphemeralPort(HostState& h) {
  for (int tries = 0; tries < 16384; ++tries) {
    const Long port = h.nextEphemeral;
    h.nextEphemeral = port >= kMaxPort ? 49152 : port + 1;
    auto it = h.listeners.find(port);
    if (it == h.listeners.end() || it->second.alive.expired()) return port;
  }
  return h.nextEphemeral;
}

std::shared_ptr<Endpoint> NetModel::NewEndpoint(HostId host, ProcessId pid) {
  auto ep = std::make_shared<Endpoint>();
  ep->id = ++nextEndpoint;
  ep->host = host;
  ep->pid = pid;
  ep->peerHost = host;
  hosts[host]->endpoints[ep->id] = ep;
  return ep;
}

void NetModel::SetState(const std::shared_ptr<Endpoint>& ep, Integer state) {
  if (ep && !ep->bDead) ep->state = state;
}

void NetModel::StartConnect(const std::shared_ptr<Endpoint>& ep, const std::string& sRemote,
                            Long lngPort) {
  ep->remotePort = lngPort;
  if (auto a = ParseAddress(sRemote)) {
    ep->state = kSckConnecting;
    SendSyn(ep, *a, lngPort);
    return;
  }
  ep->state = kSckResolvingHost;
  std::weak_ptr<Endpoint> weak = ep;
  PostEndpoint(ep, now + links.Settings().resolveTime, [this, weak, sRemote, lngPort] {
    auto e = weak.lock();
    if (!e || e->bDead || e->state != kSckResolvingHost) return;
    auto a = Lookup(*hosts[e->host], sRemote, nullptr);
    if (!a) {
      e->state = kSckError;
      if (NetTracing()) NetLine(e->host, "connect to " + sRemote + " failed: unknown host");
      return;
    }
    e->state = kSckConnecting;
    SendSyn(e, *a, lngPort);
  });
}

void NetModel::SendSyn(const std::shared_ptr<Endpoint>& ep, const Address& a, Long lngPort) {
  HostState* target = HostByAddress(*hosts[ep->host], a);
  if (target) ep->peerHost = target->id;
  if (NetTracing())
    NetLine(ep->host, "connect " + FormatAddress(hosts[ep->host]->address) + ":" +
                          std::to_string(ep->localPort) + " -> " + FormatAddress(a) + ":" +
                          std::to_string(lngPort));
  std::weak_ptr<Endpoint> weak = ep;
  PostEndpoint(ep, now + links.Settings().connectTimeout, [this, weak] {
    auto e = weak.lock();
    if (!e || e->bDead || e->state != kSckConnecting) return;
    e->state = kSckError;
    if (NetTracing()) NetLine(e->host, "connect " + EndpointText(*e) + " timed out");
  });
  if (!target || links.Partitioned(ep->host, target->id, now)) return;
  const HostId tid = target->id;
  PostWorld(now + Latency(ep->host, tid),
            [this, weak, tid, lngPort] { SynArrives(weak, tid, lngPort); });
}

void NetModel::SynArrives(std::weak_ptr<Endpoint> weak, HostId target, Long lngPort) {
  auto ep = weak.lock();
  if (!ep || ep->bDead || ep->state != kSckConnecting) return;
  HostState& t = *hosts[target];
  if (!t.bUp) return;  // nobody answers: the connect times out
  auto it = t.listeners.find(lngPort);
  if (it == t.listeners.end() || it->second.alive.expired()) {
    if (NetTracing()) NetLine(target, "refused " + EndpointText(*ep));
    if (links.Partitioned(target, ep->host, now)) return;
    PostEndpoint(ep, now + Latency(target, ep->host), [this, weak] {
      auto e = weak.lock();
      if (!e || e->bDead || e->state != kSckConnecting) return;
      e->state = kSckError;
      if (NetTracing()) NetLine(e->host, "connect " + EndpointText(*e) + " refused");
    });
    return;
  }
  const ListenerRef l = it->second;
  ProcessState* lp = Proc(l.pid);
  if (!lp || !lp->Alive()) return;
  const Long id = t.nextRequestId;
  t.nextRequestId = t.nextRequestId >= INT32_MAX ? 1 : t.nextRequestId + 1;
  l.array->AddRequest(l.index, id, weak);
  if (NetTracing())
    NetLine(target, "connection request " + std::to_string(id) + " from " + EndpointText(*ep));
  SimSocketArray* array = l.array;
  std::weak_ptr<int> alive = l.alive;
  const Long index = l.index;
  sched.PostProcess(*lp, now, [array, alive, index, id] {
    if (alive.lock()) array->FireConnectionRequest(index, id);
  });
}

bool NetModel::AcceptRequest(const std::shared_ptr<Endpoint>& client,
                             const std::shared_ptr<Endpoint>& server) {
  if (NetTracing()) NetLine(server->host, "accepted " + EndpointText(*server));
  if (links.Partitioned(server->host, client->host, now)) return true;  // the client times out
  std::weak_ptr<Endpoint> weak = client;
  const Nanos t = Arrival(*server, now + Latency(server->host, client->host));
  PostEndpoint(client, t, [this, weak] {
    auto e = weak.lock();
    if (!e || e->bDead || e->state != kSckConnecting) return;
    e->state = kSckConnected;
    if (NetTracing()) NetLine(e->host, "connected " + EndpointText(*e));
    if (e->onConnected) {
      auto fn = e->onConnected;
      fn();
    }
  });
  return true;
}

void NetModel::Send(const std::shared_ptr<Endpoint>& ep, const Bytes& data) {
  if (ep->bDead || ep->state != kSckConnected) return;
  if (describeSend && NetTracing()) SendLine(*ep, data);
  auto peer = ep->peer.lock();
  if (!peer || peer->bDead) {
    HalfOpenSend(ep);
    return;
  }
  const HostId to = peer->host;
  if (!hosts[to]->bUp || links.Partitioned(ep->host, to, now)) {
    if (NetTracing())
      NetLine(ep->host,
              "send of " + std::to_string(data.size()) + " bytes lost " + EndpointText(*ep));
    std::weak_ptr<Endpoint> weak = ep;
    PostWorld(now + links.Settings().dataTimeout, [this, weak] { BreakConnection(weak); });
    return;
  }
  const Links::Shape shape = links.TakeShape(ep->host, to);
  const bool bSilent = shape == Links::Shape::Held;
  const bool bSplit = shape == Links::Shape::Split && data.size() >= 2;
  const auto deliver = [](std::weak_ptr<Endpoint> weak, Bytes bytes, bool bQuiet) {
    return [weak, bytes = std::move(bytes), bQuiet]() mutable {
      auto p = weak.lock();
      if (!p || p->bDead || (p->state != kSckConnected && p->state != kSckClosing)) return;
      // Nothing waiting (the usual case): the bytes themselves become what waits.
      if (p->inbox.empty())
        p->inbox = std::move(bytes);
      else
        p->inbox.insert(p->inbox.end(), bytes.begin(), bytes.end());
      if (bQuiet || !p->array || p->arrayAlive.expired()) return;
      p->array->FireDataArrival(p->index, p.get());
    };
  };
  const Nanos t = Arrival(*ep, now + Latency(ep->host, to));
  if (bSplit) {
    const auto half = static_cast<std::ptrdiff_t>(data.size() / 2);
    PostEndpoint(peer, t, deliver(peer, Bytes(data.begin(), data.begin() + half), false));
    const Nanos t2 = Arrival(*ep, t + links.Settings().splitGap);
    PostEndpoint(peer, t2, deliver(peer, Bytes(data.begin() + half, data.end()), false));
  } else {
    PostEndpoint(peer, t, deliver(peer, data, bSilent));
  }
}

// The peer's end has gone and word of it was lost (a partition, a crash): its host
// answers the data with a reset when the way there and back is open; otherwise nothing
// comes back and the connection times out, as a lost send's does.
void NetModel::HalfOpenSend(const std::shared_ptr<Endpoint>& ep) {
  std::weak_ptr<Endpoint> weak = ep;
  const HostId to = ep->peerHost;
  const bool bAnswers = hosts[to]->bUp && !links.Partitioned(ep->host, to, now) &&
                        !links.Partitioned(to, ep->host, now);
  if (!bAnswers) {
    PostWorld(now + links.Settings().dataTimeout, [this, weak] { BreakConnection(weak); });
    return;
  }
  const Nanos t = now + Latency(ep->host, to) + Latency(to, ep->host);
  PostEndpoint(ep, t, [this, weak] {
    auto e = weak.lock();
    if (!e || e->bDead || (e->state != kSckConnected && e->state != kSckClosing)) return;
    e->state = kSckError;
    if (NetTracing()) NetLine(e->host, "reset by peer " + EndpointText(*e));
  });
}

void NetModel::CloseEndpoint(const std::shared_ptr<Endpoint>& ep, bool bGraceful) {
  if (!ep || ep->bDead) return;
  const Integer state = ep->state;
  ep->bDead = true;
  ep->array = nullptr;
  hosts[ep->host]->endpoints.erase(ep->id);
  auto peer = ep->peer.lock();
  if (state != kSckConnected && state != kSckConnecting && state != kSckClosing) return;
  if (NetTracing()) NetLine(ep->host, (bGraceful ? "close " : "abort ") + EndpointText(*ep));
  if (!peer || peer->bDead) return;
  std::weak_ptr<Endpoint> weak = peer;
  if (bGraceful) {
    if (!hosts[peer->host]->bUp || links.Partitioned(ep->host, peer->host, now)) return;
    const Nanos t = Arrival(*ep, now + Latency(ep->host, peer->host));
    PostEndpoint(peer, t, [this, weak] {
      auto p = weak.lock();
      if (!p || p->bDead || p->state != kSckConnected) return;
      p->state = kSckClosing;
      if (NetTracing()) NetLine(p->host, "closed by peer " + EndpointText(*p));
    });
  } else {
    PostEndpoint(peer, now + Latency(ep->host, peer->host), [this, weak] {
      auto p = weak.lock();
      if (!p || p->bDead || p->state == kSckClosed || p->state == kSckError) return;
      p->state = kSckError;
      if (NetTracing()) NetLine(p->host, "reset by peer " + EndpointText(*p));
    });
  }
}

void NetModel::BreakConnection(std::weak_ptr<Endpoint> weak) {
  auto ep = weak.lock();
  if (!ep) return;
  for (auto side : {ep, ep->peer.lock()}) {
    if (!side || side->bDead) continue;
    std::weak_ptr<Endpoint> w = side;
    PostEndpoint(side, now, [this, w] {
      auto e = w.lock();
      if (!e || e->bDead || (e->state != kSckConnected && e->state != kSckClosing)) return;
      e->state = kSckError;
      if (NetTracing()) NetLine(e->host, "connection error " + EndpointText(*e));
    });
  }
}

}  // namespace launchagent::sim
