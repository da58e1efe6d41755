#pragma once
// Connections the scenario opens itself, with no process behind them: each sends the
// bytes it is given once connected, and either closes after the send or stays open, so
// that the next send from the same host to the same target and port goes on it.
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "platform/sim/host_state.h"
#include "platform/sim/world.h"

namespace launchagent::sim {

class RawConnections {
 public:
  explicit RawConnections(WorldImpl& w) : w_(w) {}

  // Sends data from `from` to sTarget:lngPort on the kept connection there, or on a new
  // one (queued until it connects). bClose closes the connection after the send;
  // otherwise it is kept for the next send.
  void Send(HostId from, const std::string& sTarget, Long lngPort, Bytes data, bool bClose);
  // Drops every connection, when the world ends.
  void Clear();

 private:
  struct Conn {
    std::weak_ptr<Endpoint> ep;
    std::vector<Bytes> queued;
    bool bClose = false;
  };
  using Key = std::tuple<HostId, std::string, Long>;

  // A kept connection that still connects or is connected, else none (and forgotten).
  std::shared_ptr<Conn> Kept(const Key& key);
  void Flush(Conn& c);

  WorldImpl& w_;
  std::vector<std::shared_ptr<Endpoint>> endpoints_;  // alive as long as the world
  std::map<Key, std::shared_ptr<Conn>> kept_;
};

}  // namespace launchagent::sim
