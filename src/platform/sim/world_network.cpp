// The world's scenario-side view of names and the network: name tables, look-up
// faults, latencies, partitions, reordered sends, raw connections.
#include "platform/sim/impl.h"

namespace launchagent::sim {

// ---- Names ----------------------------------------------------------------------------

SocketsLibrarySettings& WorldNet::SocketsLibrary(HostId host) {
  if (host >= world_.impl_->hosts.size()) Fatal("SocketsLibrary of an unknown host");
  return world_.impl_->hosts[host]->sockets;
}

void WorldNet::AddNameEntry(HostId host, const std::string& sName, const std::string& sAddress) {
  if (host >= world_.impl_->hosts.size()) return;
  if (auto a = ParseAddress(sAddress)) world_.impl_->hosts[host]->nameEntries[ToLower(sName)] = *a;
}

void WorldNet::FailLookup(HostId host, const std::string& sName, bool bFails) {
  if (host >= world_.impl_->hosts.size()) return;
  auto& set = world_.impl_->hosts[host]->failedLookups;
  if (bFails)
    set.insert(ToLower(sName));
  else
    set.erase(ToLower(sName));
}

// ---- Network ----------------------------------------------------------------------------

NetworkSettings& WorldNet::Settings() { return world_.impl_->net.links.Settings(); }

void WorldNet::SetLatency(HostId a, HostId b, Nanos min, Nanos max) {
  world_.impl_->net.links.SetLatency(a, b, min, max);
}

void WorldNet::Partition(HostId from, HostId to, Nanos start, Nanos end) {
  world_.impl_->net.links.Partition(from, to, start, end);
  const auto name = [this](HostId h) {
    return h == kAnyHost ? std::string("*") : world_.Hosts().HostName(h);
  };
  std::string sText =
      "partition " + name(from) + " -> " + name(to) + " from " + FormatElapsed(start);
  if (end != kForever) sText += " until " + FormatElapsed(end);
  world_.impl_->Record(std::nullopt, TranscriptKind::Note, sText);
}

void WorldNet::Heal(HostId from, HostId to) {
  world_.impl_->net.links.Heal(from, to, world_.impl_->now);
}

void WorldNet::MergeNextSends(HostId from, HostId to) {
  world_.impl_->net.links.MergeNextSends(from, to);
}
void WorldNet::SplitNextSend(HostId from, HostId to) {
  world_.impl_->net.links.SplitNextSend(from, to);
}
void WorldNet::SetTrace(bool bOn) { world_.impl_->net.bNetTrace = bOn; }
void WorldNet::SetSendText(std::function<std::string(const Bytes&)> describe) {
  world_.impl_->net.describeSend = std::move(describe);
}

void WorldNet::RawSend(HostId from, const std::string& sTarget, Long lngPort, Bytes data,
                       bool bCloseAfter) {
  world_.impl_->net.raw.Send(from, sTarget, lngPort, std::move(data), bCloseAfter);
}

}  // namespace launchagent::sim
