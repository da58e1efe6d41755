#pragma once
// How packets travel between two hosts: latency ranges, partitions that lose them, and
// requests to merge or split the next sends. The network asks; the scenario sets.
#include <map>
#include <utility>
#include <vector>

#include "platform/sim/world.h"

namespace launchagent::sim {

class Links {
 public:
  NetworkSettings& Settings() { return settings_; }
  const NetworkSettings& Settings() const { return settings_; }

  // Both directions between a and b.
  void SetLatency(HostId a, HostId b, Nanos min, Nanos max);
  // The range a packet's latency is drawn from (the same host: loopback).
  std::pair<Nanos, Nanos> LatencyRange(HostId from, HostId to) const;

  void Partition(HostId from, HostId to, Nanos start, Nanos end);
  // Ends the partitions from `from` to `to` that still last at `now`.
  void Heal(HostId from, HostId to, Nanos now);
  // Whether a packet from `from` to `to` sent now is lost; partitions over by now go.
  bool Partitioned(HostId from, HostId to, Nanos now);

  enum class Shape { Whole, Held, Split };
  void MergeNextSends(HostId from, HostId to) { ++merges_[{from, to}]; }
  void SplitNextSend(HostId from, HostId to) { ++splits_[{from, to}]; }
  // How the next send from `from` to `to` arrives; uses up the request that shaped it.
  // Held: it waits in the receiver's buffer for the next send's arrival.
  Shape TakeShape(HostId from, HostId to);

 private:
  struct PartitionRec {
    HostId from = 0;
    HostId to = 0;
    Nanos start = 0;
    Nanos end = kForever;
  };
  NetworkSettings settings_;
  std::map<std::pair<HostId, HostId>, std::pair<Nanos, Nanos>> latencies_;
  std::vector<PartitionRec> partitions_;
  std::map<std::pair<HostId, HostId>, int> merges_;  // sends still to be held back
  std::map<std::pair<HostId, HostId>, int> splits_;
};

}  // namespace launchagent::sim
