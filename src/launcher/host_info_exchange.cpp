// The host information exchange: this computer's description goes to every LAN host about
// every half minute; descriptions that arrive are stored in the registry.
#include <memory>

#include "lanresources/frm_lan_resources.h"
#include "launcher/launcher.h"
#include "launcher/launcher_forms.h"
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
  forms_.frmAgentSetup().SocketsInitialize();
  forms_.frmAgentSetup().GetHostInfo();
  RefreshLANHosts();
  forms_.frmAgentSetup().PopulateNeighborhoodList();
  const std::string sName = FindMainAppFile();

  std::shared_ptr<clsMsgHostInfo> objHost = objLocalHost();
  objHost->SetHostName(forms_.frmAgentSetup().GetHostName());
  objHost->SetIPAddress(forms_.frmAgentSetup().GetIPAddress());
  if (!sName.empty()) {
    // Peers reach the executable through one of this computer's shares.
    objHost->SetAppPath(forms_.frmLANResources().GetUNC(AppPath() + "\\" + sName));
  } else {
    objHost->SetAppPath("");
  }
}

void Launcher::BroadcastLocalHostInfo() {
  const Integer nCount = nLANHostCnt;
  for (Integer i = 1; i <= nCount; ++i) {
    const std::string sHost = GetLANHost(i);
    const std::string sAddress = forms_.frmAgentSetup().GetIPInfo(sHost);
    // Taken anew for every host: the description may change while events run.
    const Bytes byteArray = objLocalHost()->GetObjectData();
    forms_.frmClient().SendMessageEx(sHost, sAddress, byteArray);
    platform_.loop.ProcessPendingEvents();
  }
}

void Launcher::ProcessReceivedMessage(Long Index, const Bytes& byteArray) {
  const Long lngType = objMsg()->GetMsgType(byteArray);
  if (lngType == clsMsg::kMsgTypeHostInfo) ProcessHostInfo(Index, byteArray);
}

void Launcher::ProcessHostInfo(Long /*Index*/, const Bytes& byteArray) {
  auto objHostInfo = std::make_shared<clsMsgHostInfo>(context_);
  objHostInfo->SetObjectData(byteArray);
  // The check-in verification compares this with the clock.
  objHostInfo->SetDateReceived(platform_.clock.Now());
  AgentHostInfo& registry = registry_;
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

std::shared_ptr<clsMsgHostInfo> Launcher::objLocalHost() {
  if (!objLocalHost_) objLocalHost_ = std::make_shared<clsMsgHostInfo>(context_);
  return objLocalHost_;
}

std::shared_ptr<clsMsg> Launcher::objMsg() {
  if (!objMsg_) objMsg_ = std::make_shared<clsMsg>(context_);
  return objMsg_;
}

bool Launcher::CanOpenFile(const std::string& sPath) {
  if (sPath.empty()) return false;
  return platform_.files.CanOpenForReading(sPath);
}

}  // namespace launchagent
