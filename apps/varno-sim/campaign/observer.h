#pragma once
// Watches a campaign run and checks the agents' safety invariants as it goes: from the
// transcript line by line (check-in closes, process ends, option files written) and from
// the agents' own registries when asked.
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/date_time.h"
#include "platform/sim/world.h"

namespace launchagent {
class Agent;
}

namespace launchagent::campaign {

struct Violation {
  sim::Nanos t = 0;
  std::string sInvariant;
};

class Observer {
 public:
  explicit Observer(sim::World& world) : world_(world) {}

  // Every transcript line, as the world writes it.
  void OnLine(const std::string& sLine);
  // Each registry sorted and unique by lower-cased host name.
  void CheckRegistry(sim::HostId host, Agent& agent);

  const std::optional<Violation>& Broken() const { return broken_; }
  std::uint64_t Checks() const { return lngChecks_; }
  // The last lines seen, oldest first.
  const std::deque<std::string>& Tail() const { return tail_; }
  // Hosts each host has heard from (HostInfoFrom) since `since`.
  bool HeardFrom(sim::HostId host, const std::string& sPeerLower, sim::Nanos since) const;
  // Whether the host's agent has verified its check-in since `since`.
  bool CheckedInSince(sim::HostId host, sim::Nanos since) const;

  void Fail(const std::string& sInvariant);

 private:
  struct HostWatch {
    // Host clock when each entry (lower-cased name) was last stamped: as host information
    // from that name arrived, or, for an entry the agent made itself (its Agent Setup
    // window registers every computer it lists), when the registry was first seen with it.
    std::map<std::string, DateTime> stamped;
    std::string sChecking;                    // the entry the check-in looks at now
    bool bClosing = false;                    // between "Shutting Down Varno." and the loop's end
    std::map<std::string, sim::Nanos> heard;  // peer (lower case) -> last HostInfoFrom
    std::optional<sim::Nanos> libraryFailed;  // when the agent said its sockets library failed
    std::optional<sim::Nanos> checkedIn;      // its last "Verifying Agent CheckIn"
  };

  void OnLog(sim::HostId host, const std::string& sText);
  void OnProcess(sim::HostId host, const std::string& sText);
  void OnFileWritten(sim::HostId host, const std::string& sText);
  void CheckOptionFile(sim::HostId host, const std::string& sPath);

  sim::World& world_;
  std::map<sim::HostId, HostWatch> watch_;    // of the host's (first) agent
  std::map<sim::HostId, std::string> agent_;  // its process number ("#3"), while it runs
  // Agents started while another ran on their host, and when.
  std::map<std::string, sim::Nanos> seconds_;
  std::deque<std::string> tail_;
  std::optional<Violation> broken_;
  std::uint64_t lngChecks_ = 0;
};

}  // namespace launchagent::campaign
