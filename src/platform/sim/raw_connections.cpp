#include "platform/sim/raw_connections.h"

#include "platform/sim/impl.h"

namespace launchagent::sim {

void RawConnections::Send(HostId from, const std::string& sTarget, Long lngPort, Bytes data,
                          bool bClose) {
  if (from >= w_.hosts.size() || !w_.hosts[from]->bUp) return;
  const Key key{from, ToLower(sTarget), lngPort};
  std::shared_ptr<Conn> conn = Kept(key);
  if (conn) {
    conn->queued.push_back(std::move(data));
    conn->bClose = bClose;
    if (bClose) kept_.erase(key);
    auto ep = conn->ep.lock();
    if (ep && ep->state == platform::kSckConnected) Flush(*conn);
    return;
  }
  conn = std::make_shared<Conn>();
  conn->queued.push_back(std::move(data));
  conn->bClose = bClose;
  auto ep = w_.net.NewEndpoint(from, 0);
  ep->localPort = w_.net.EphemeralPort(*w_.hosts[from]);
  conn->ep = ep;
  ep->onConnected = [this, conn] { Flush(*conn); };
  endpoints_.push_back(ep);
  if (!bClose) kept_[key] = conn;
  w_.net.StartConnect(ep, sTarget, lngPort);
}

std::shared_ptr<RawConnections::Conn> RawConnections::Kept(const Key& key) {
  const auto it = kept_.find(key);
  if (it == kept_.end()) return nullptr;
  const auto ep = it->second->ep.lock();
  const bool bOpen =
      ep && !ep->bDead &&
      (ep->state == platform::kSckConnected || ep->state == platform::kSckConnecting ||
       ep->state == platform::kSckResolvingHost);
  if (bOpen) return it->second;
  kept_.erase(it);
  return nullptr;
}

void RawConnections::Flush(Conn& c) {
  auto ep = c.ep.lock();
  if (!ep) return;
  std::vector<Bytes> queued;
  queued.swap(c.queued);
  for (const Bytes& data : queued) w_.net.Send(ep, data);
  if (c.bClose) w_.net.CloseEndpoint(ep, true);
}

void RawConnections::Clear() {
  kept_.clear();
  endpoints_.clear();
}

}  // namespace launchagent::sim
