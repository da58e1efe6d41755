#pragma once
// What the agents of a drawn LAN reach of each other once everything has healed: which
// hosts the share search finds, which announce a launch site, which must run Varno.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "fault_plan.h"

namespace launchagent::campaign {

// The main application's file name, beside the agent where a host holds it.
inline constexpr const char* kVarnoFile = "Varno2.exe";

std::string AgentPath(const HostPlan& h);
std::string VarnoPath(const HostPlan& h);

// The share search lists a host only through a share that is not hidden; a host it does
// not list stands in no LAN host table, so no agent (its own neither) sends to it.
bool Found(const HostPlan& h);

// The network path under which h's agent announces the Varno beside it, or "" when none
// of its listed shares reaches it: the agent drops the drive letter of the local path
// and puts a share in front, so only a share of that drive's root reaches the file.
std::string LaunchSite(const HostPlan& h);

// What a share search lists: the shares of every host that is up and not hidden, in host
// order, then share order.
std::vector<std::string> ListedShares(const std::vector<HostPlan>& hosts,
                                      const std::vector<bool>& up);

// Hosts that must run Varno once everything has healed: those holding a copy beside their
// agent, and those the search finds while a holder announces a launch site (a holder
// sends its site to every host found). Launching from a site copies Varno beside the
// agent, but every host that can do so already hears a holder directly.
std::vector<bool> MustRunVarno(const std::vector<HostPlan>& hosts, const std::vector<bool>& holds);

// Counts of the LAN's hosts by what they share and hold, for a campaign's summary.
std::map<std::string, std::uint64_t> LanShape(const std::vector<HostPlan>& hosts);

}  // namespace launchagent::campaign
