// The host information exchange: this computer's description goes to every LAN host about
// every half minute; descriptions that arrive are stored in the registry.
#include <memory>

#include "agent/agent.h"
#include "lanresources/frm_lan_resources.h"
#include "launcher/launcher.h"
#include "messages/cls_msg.h"
#include "messages/cls_msg_host_info.h"
#include "registry/agent_host_info.h"
#include "setup/frm_agent_setup.h"
#include "transport/frm_client.h"

namespace launchagent {

namespace {
constexpr Integer kLogLevel = 1;
}

void Launcher::RefreshLocalHostInfo() {
  agent_.frmAgentSetup().SocketsInitialize();
  agent_.frmAgentSetup().GetHostInfo();
  RefreshLANHosts();
  agent_.frmAgentSetup().PopulateNeighborhoodList();
  const std::string sName = FindMainAppFile();

  std::shared_ptr<clsMsgHostInfo> objLocalHost = agent_.objLocalHost();
  objLocalHost->SetHostName(agent_.frmAgentSetup().GetHostName());
  objLocalHost->SetIPAddress(agent_.frmAgentSetup().GetIPAddress());
  if (!sName.empty()) {
    // Peers reach the executable through one of this computer's shares.
    objLocalHost->SetAppPath(agent_.frmLANResources().GetUNC(agent_.AppPath() + "\\" + sName));
  } else {
    objLocalHost->SetAppPath("");
  }
}

void Launcher::BroadcastLocalHostInfo() {
  const Integer nCount = nLANHostCnt;
  for (Integer i = 1; i <= nCount; ++i) {
    const std::string sHost = GetLANHost(i);
    const std::string sAddress = agent_.frmAgentSetup().GetIPInfo(sHost);
    // Taken anew for every host: the description may change while events run.
    const Bytes byteArray = agent_.objLocalHost()->GetObjectData();
    agent_.frmClient().SendMessageEx(sHost, sAddress, byteArray);
    agent_.Platform().loop.ProcessPendingEvents();
  }
}

void Launcher::ProcessReceivedMessage(Long Index, const Bytes& byteArray) {
  const Long lngType = agent_.objMsg()->GetMsgType(byteArray);
  if (lngType == clsMsg::kMsgTypeHostInfo) ProcessHostInfo(Index, byteArray);
}

void Launcher::ProcessHostInfo(Long /*Index*/, const Bytes& byteArray) {
  auto objHostInfo = std::make_shared<clsMsgHostInfo>(agent_);
  objHostInfo->SetObjectData(byteArray);
  // The check-in verification compares this with the clock.
  objHostInfo->SetDateReceived(agent_.Platform().clock.Now());
  AgentHostInfo& registry = agent_.agentHostInfo();
  registry.UpdateAgent(objHostInfo);

  const std::string sHostName = objHostInfo->GetHostName();
  const std::string sAppPath = objHostInfo->GetAppPath();
  LogActivity("HostInfoFrom=" + sHostName, kLogLevel);
  LogActivity("LaunchSite=" + sAppPath, kLogLevel);

  // A launch site this computer cannot open is erased in the registry, so the launch
  // search passes over that host until it announces one that can be opened.
  if (!CanOpenFile(sAppPath)) {
    std::shared_ptr<clsMsgHostInfo> objStored;
    if (registry.GetAgentHostInfoByName(sHostName, objStored) && objStored &&
        !CanOpenFile(objStored->GetAppPath()))
      objStored->SetAppPath("");
  }
  registry.LogAgentSites();
}

bool Launcher::CanOpenFile(const std::string& sPath) {
  if (sPath.empty()) return false;
  return agent_.Platform().files.CanOpenForReading(sPath);
}

}  // namespace launchagent
