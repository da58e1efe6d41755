#include "platform/sim/links.h"

#include <algorithm>

namespace launchagent::sim {

void Links::SetLatency(HostId a, HostId b, Nanos min, Nanos max) {
  if (max < min) max = min;
  if (min < 0) min = 0;
  latencies_[{std::min(a, b), std::max(a, b)}] = {min, max};
}

std::pair<Nanos, Nanos> Links::LatencyRange(HostId from, HostId to) const {
  if (from == to) return {settings_.loopback, settings_.loopback};
  auto it = latencies_.find({std::min(from, to), std::max(from, to)});
  if (it != latencies_.end()) return it->second;
  return {settings_.latencyMin, settings_.latencyMax};
}

void Links::Partition(HostId from, HostId to, Nanos start, Nanos end) {
  partitions_.push_back(PartitionRec{from, to, start, end});
}

void Links::Heal(HostId from, HostId to, Nanos now) {
  for (auto& p : partitions_) {
    if (p.from == from && p.to == to && p.end > now) {
      p.end = now;
      if (p.start > p.end) p.start = p.end;
    }
  }
}

bool Links::Partitioned(HostId from, HostId to, Nanos now) {
  partitions_.erase(std::remove_if(partitions_.begin(), partitions_.end(),
                                   [now](const PartitionRec& p) { return p.end <= now; }),
                    partitions_.end());
  for (auto& p : partitions_) {
    // A host's own loopback is cut only by naming the host on both sides: a wildcard
    // partition isolates a host from the LAN but leaves it talking to itself.
    if (from == to && (p.from != from || p.to != to)) continue;
    if ((p.from == from || p.from == kAnyHost) && (p.to == to || p.to == kAnyHost) &&
        p.start <= now && now < p.end)
      return true;
  }
  return false;
}

Links::Shape Links::TakeShape(HostId from, HostId to) {
  const auto key = std::make_pair(from, to);
  if (auto it = merges_.find(key); it != merges_.end() && it->second > 0) {
    if (--it->second == 0) merges_.erase(it);
    return Shape::Held;
  }
  if (auto it = splits_.find(key); it != splits_.end() && it->second > 0) {
    if (--it->second == 0) splits_.erase(it);
    return Shape::Split;
  }
  return Shape::Whole;
}

}  // namespace launchagent::sim
