#include "launcher/lan_host_table.h"

#include <algorithm>
#include <limits>
#include <memory>

#include "lanresources/frm_lan_resources.h"
#include "launcher/launcher_forms.h"
#include "messages/cls_msg_host_info.h"
#include "platform/text.h"
#include "registry/agent_host_info.h"
#include "setup/frm_agent_setup.h"

namespace launchagent {

namespace {

constexpr Integer kGrowBy = 10;

}  // namespace

void LanHostTable::RefreshLANHosts() {
  // Left empty when the search finds nothing: the table then stays as it is.
  std::vector<std::string> sResources;
  forms_.frmLANResources().UpdateResources(sResources);
  for (std::size_t i = 1; i < sResources.size(); ++i) {
    const std::string sHost = GetHostFromUNC(sResources[i]);
    if (FindLANHost(sHost) == 0) AddLANHost(sHost);
    loop_.ProcessPendingEvents();
  }
}

std::string LanHostTable::GetHostFromUNC(const std::string& sPath) {
  // The two leading backslashes are skipped whatever they hold.
  if (sPath.size() <= 2) return "";
  const std::size_t nPos = sPath.find('\\', 2);
  if (nPos == std::string::npos) return sPath.substr(2);
  return sPath.substr(2, nPos - 2);
}

Integer LanHostTable::FindLANHost(const std::string& sHostName) {
  const std::string sWanted = AsciiLower(sHostName);
  const Integer nCount = nLANHostCnt;
  for (Integer i = 1; i <= nCount; ++i) {
    // Read anew each time: a refresh running in the pumped events may have grown it.
    if (static_cast<std::size_t>(i) < LANHosts.size() && AsciiLower(LANHosts[i]) == sWanted)
      return i;
    loop_.ProcessPendingEvents();
  }
  return 0;
}

void LanHostTable::AddLANHost(const std::string& sHostName) {
  // The table is addressed by 16-bit positions; beyond them nothing more is added.
  if (nLANHostCnt >= std::numeric_limits<Integer>::max()) return;
  ++nLANHostCnt;
  if (nLANHostCnt > nLANHostMax) {
    const int nNewMax = std::min<int>(nLANHostMax + kGrowBy, std::numeric_limits<Integer>::max());
    nLANHostMax = static_cast<Integer>(nNewMax);
    LANHosts.resize(static_cast<std::size_t>(nLANHostMax) + 1);
  }
  LANHosts[static_cast<std::size_t>(nLANHostCnt)] = sHostName;
}

std::string LanHostTable::GetLANHost(Integer nIndex) {
  if (nIndex < 1 || nIndex > nLANHostCnt) return "";
  if (static_cast<std::size_t>(nIndex) >= LANHosts.size()) return "";
  return LANHosts[static_cast<std::size_t>(nIndex)];
}

void LanHostTable::RegisterLANHosts() {
  const Integer nCount = nLANHostCnt;
  for (Integer i = 1; i <= nCount; ++i) {
    const std::string sHost = GetLANHost(i);
    auto objHostInfo = std::make_shared<clsMsgHostInfo>(context_);
    objHostInfo->SetHostName(sHost);
    objHostInfo->SetIPAddress(forms_.frmAgentSetup().Identity().GetIPInfo(sHost));
    registry_.UpdateAgent(objHostInfo);
  }
}

}  // namespace launchagent
