#include "launcher/host_info_exchange.h"

#include "lanresources/frm_lan_resources.h"
#include "launcher/lan_host_table.h"
#include "launcher/launcher_forms.h"
#include "launcher/main_app.h"
#include "messages/cls_msg.h"
#include "messages/cls_msg_host_info.h"
#include "messages/property_bag.h"
#include "registry/agent_host_info.h"
#include "setup/frm_agent_setup.h"
#include "transport/frm_client.h"

namespace launchagent {

namespace {
constexpr Integer kLogLevel = 1;
}

void HostInfoExchange::RefreshLocalHostInfo() {
  forms_.frmAgentSetup().Identity().SocketsInitialize();
  forms_.frmAgentSetup().Identity().GetHostInfo();
  lanHosts_.RefreshLANHosts();
  forms_.frmAgentSetup().PopulateNeighborhoodList();
  const std::string sName = mainApp_.FindMainAppFile();

  std::shared_ptr<clsMsgHostInfo> objHost = objLocalHost();
  objHost->SetHostName(forms_.frmAgentSetup().Identity().GetHostName());
  objHost->SetIPAddress(forms_.frmAgentSetup().Identity().GetIPAddress());
  if (!sName.empty()) {
    // Peers reach the executable through one of this computer's shares.
    objHost->SetAppPath(
        forms_.frmLANResources().GetUNC(platform_.files.AgentFolder() + "\\" + sName));
  } else {
    objHost->SetAppPath("");
  }
}

void HostInfoExchange::BroadcastLocalHostInfo() {
  const Integer nCount = lanHosts_.nLANHostCnt;
  for (Integer i = 1; i <= nCount; ++i) {
    const std::string sHost = lanHosts_.GetLANHost(i);
    const std::string sAddress = forms_.frmAgentSetup().Identity().GetIPInfo(sHost);
    // Taken anew for every host: the description may change while events run.
    const Bytes byteArray = objLocalHost()->GetObjectData();
    forms_.frmClient().SendMessageEx(sHost, sAddress, byteArray);
    platform_.loop.ProcessPendingEvents();
  }
}

void HostInfoExchange::ProcessReceivedMessage(Long Index, const Bytes& byteArray) {
  // Read once: the type and, for host information, every field from the same reading.
  PropertyBag bag;
  const Long lngType = objMsg()->GetMsgType(byteArray, bag);
  if (lngType == clsMsg::kMsgTypeHostInfo) ProcessHostInfo(Index, bag);
}

void HostInfoExchange::ProcessHostInfo(Long Index, const PropertyBag& bag) {
  auto objHostInfo = std::make_shared<clsMsgHostInfo>(context_);
  objHostInfo->SetObjectData(bag);
  if (rules_ && !FollowRules(Index, *objHostInfo)) return;
  // The check-in verification compares this with the clock.
  objHostInfo->SetDateReceived(platform_.clock.Now());
  AgentHostInfo& registry = registry_;
  registry.UpdateAgent(objHostInfo);

  const std::string sHostName = objHostInfo->GetHostName();
  const std::string sAppPath = objHostInfo->GetAppPath();
  logActivity_("HostInfoFrom=" + sHostName, kLogLevel);
  logActivity_("LaunchSite=" + sAppPath, kLogLevel);

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

std::shared_ptr<clsMsgHostInfo> HostInfoExchange::objLocalHost() {
  if (!objLocalHost_) objLocalHost_ = std::make_shared<clsMsgHostInfo>(context_);
  return objLocalHost_;
}

std::shared_ptr<clsMsg> HostInfoExchange::objMsg() {
  if (!objMsg_) objMsg_ = std::make_shared<clsMsg>(context_);
  return objMsg_;
}

bool HostInfoExchange::FollowRules(Long Index, clsMsgHostInfo& objHostInfo) {
  const auto sSender = rules_->SenderOf(Index);
  const std::string sHostName = objHostInfo.GetHostName();
  std::shared_ptr<clsMsgHostInfo> objKnown;
  const bool bKnown = registry_.GetAgentHostInfoByName(sHostName, objKnown);
  if (!rules_->AdmitHost(sHostName, bKnown, sSender)) return false;
  // A refused launch site is stored as none, as one this computer cannot open.
  if (!objHostInfo.GetAppPath().empty() &&
      !rules_->AcceptLaunchSite(sHostName, objHostInfo.GetAppPath(), sSender))
    objHostInfo.SetAppPath("");
  return true;
}

bool HostInfoExchange::CanOpenFile(const std::string& sPath) {
  if (sPath.empty()) return false;
  return platform_.files.CanOpenForReading(sPath);
}

}  // namespace launchagent
