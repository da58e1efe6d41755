// The world's scenario-side view of names and the network: name tables, look-up
// faults, latencies, partitions, reordered sends, raw connections.
#include "platform/sim/impl.h"

namespace launchagent::sim {

// ---- Names ----------------------------------------------------------------------------

SocketsLibrarySettings& World::SocketsLibrary(HostId host) {
  if (host >= impl_->hosts.size()) Fatal("SocketsLibrary of an unknown host");
  return impl_->hosts[host]->sockets;
}

void World::AddNameEntry(HostId host, const std::string& sName, const std::string& sAddress) {
  if (host >= impl_->hosts.size()) return;
  if (auto a = ParseAddress(sAddress)) impl_->hosts[host]->nameEntries[ToLower(sName)] = *a;
}

void World::FailLookup(HostId host, const std::string& sName, bool bFails) {
  if (host >= impl_->hosts.size()) return;
  auto& set = impl_->hosts[host]->failedLookups;
  if (bFails)
    set.insert(ToLower(sName));
  else
    set.erase(ToLower(sName));
}

// ---- Network ----------------------------------------------------------------------------

NetworkSettings& World::Network() { return impl_->net.links.Settings(); }

void World::SetLatency(HostId a, HostId b, Nanos min, Nanos max) {
  impl_->net.links.SetLatency(a, b, min, max);
}

void World::Partition(HostId from, HostId to, Nanos start, Nanos end) {
  impl_->net.links.Partition(from, to, start, end);
  const auto name = [this](HostId h) { return h == kAnyHost ? std::string("*") : HostName(h); };
  std::string sText =
      "partition " + name(from) + " -> " + name(to) + " from " + FormatElapsed(start);
  if (end != kForever) sText += " until " + FormatElapsed(end);
  impl_->Record(std::nullopt, TranscriptKind::Note, sText);
}

void World::Heal(HostId from, HostId to) { impl_->net.links.Heal(from, to, impl_->now); }

void World::MergeNextSends(HostId from, HostId to) { impl_->net.links.MergeNextSends(from, to); }
void World::SplitNextSend(HostId from, HostId to) { impl_->net.links.SplitNextSend(from, to); }
void World::SetNetTrace(bool bOn) { impl_->net.bNetTrace = bOn; }
void World::SetSendText(std::function<std::string(const Bytes&)> describe) {
  impl_->net.describeSend = std::move(describe);
}

void World::RawSend(HostId from, const std::string& sTarget, Long lngPort, Bytes data,
                    bool bCloseAfter) {
  impl_->net.raw.Send(from, sTarget, lngPort, std::move(data), bCloseAfter);
}

}  // namespace launchagent::sim
