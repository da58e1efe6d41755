#include "lan_reach.h"

#include "platform/text.h"

namespace launchagent::campaign {

std::string AgentPath(const HostPlan& h) { return h.sAgentFolder + "\\Launch.exe"; }

std::string VarnoPath(const HostPlan& h) { return h.sAgentFolder + "\\" + kVarnoFile; }

bool Found(const HostPlan& h) {
  for (const SharePlan& s : h.shares)
    if (!s.bHidden) return true;
  return false;
}

std::string LaunchSite(const HostPlan& h) {
  const std::string sPath = VarnoPath(h);
  const std::string sRoot = sPath.substr(0, 3);  // "C:\"
  for (const SharePlan& s : h.shares)
    if (!s.bHidden && EqualsIgnoringCase(s.sFolder, sRoot))
      return "\\\\" + h.sName + "\\" + s.sName + sPath.substr(2);
  return "";
}

std::vector<std::string> ListedShares(const std::vector<HostPlan>& hosts,
                                      const std::vector<bool>& up) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < hosts.size(); ++i) {
    if (!up[i]) continue;
    for (const SharePlan& s : hosts[i].shares)
      if (!s.bHidden) names.push_back("\\\\" + hosts[i].sName + "\\" + s.sName);
  }
  return names;
}

std::vector<bool> MustRunVarno(const std::vector<HostPlan>& hosts, const std::vector<bool>& holds) {
  bool bSiteAnnounced = false;
  for (std::size_t i = 0; i < hosts.size(); ++i)
    if (holds[i] && !LaunchSite(hosts[i]).empty()) bSiteAnnounced = true;
  std::vector<bool> must(hosts.size());
  for (std::size_t i = 0; i < hosts.size(); ++i)
    must[i] = holds[i] || (bSiteAnnounced && Found(hosts[i]));
  return must;
}

std::map<std::string, std::uint64_t> LanShape(const std::vector<HostPlan>& hosts) {
  std::map<std::string, std::uint64_t> shape;
  std::vector<bool> holds;
  for (const HostPlan& h : hosts) {
    holds.push_back(h.bHoldsVarno);
    ++shape["hosts"];
    if (h.shares.empty()) ++shape["sharing nothing"];
    if (!h.shares.empty() && !Found(h)) ++shape["sharing hidden shares only"];
    bool bFolderOnly = Found(h);
    for (const SharePlan& s : h.shares)
      if (!s.bHidden && s.sFolder != h.sAgentFolder) bFolderOnly = false;
    if (bFolderOnly) ++shape["sharing their agent's folder only"];
    if (h.sAgentFolder[0] != 'C') ++shape["with the agent on drive D"];
    if (h.bHoldsVarno) ++shape["holding Varno"];
    if (h.bHoldsVarno && !LaunchSite(h).empty()) ++shape["announcing a launch site"];
  }
  const std::vector<bool> must = MustRunVarno(hosts, holds);
  for (std::size_t i = 0; i < hosts.size(); ++i) {
    if (must[i] && !holds[i]) ++shape["to run Varno from a launch site"];
    if (!must[i]) ++shape["without Varno to reach"];
  }
  return shape;
}

}  // namespace launchagent::campaign
