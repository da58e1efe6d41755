// Local option changes: the setup window's options written into this computer's
// registry entry, and an agent's address and port entered by hand. Nothing is sent to
// the other agents here; they see this computer's options through its own broadcasts.
#include "setup/local_option_changes.h"

#include <memory>

#include "messages/cls_msg_host_info.h"
#include "messages/text_forms.h"
#include "registry/agent_host_info.h"
#include "registry/cls_agent_info.h"
#include "setup/host_identity.h"

namespace launchagent {

// Without an entry for this computer nothing happens.
template <class Fn>
void LocalOptionChanges::ChangeLocalEntry(Fn fn) {
  const std::string sHostName = identity_.GetHostName();
  AgentHostInfo& registry = registry_;
  Long lngLow = 0;
  Long lngHigh = 0;
  const Long lngIndex = registry.SearchAgentByName(sHostName, lngLow, lngHigh);
  if (lngIndex < 1) return;
  const std::shared_ptr<clsAgentInfo> rec = registry.GetAgentRecord(lngIndex);
  if (!rec) return;
  std::shared_ptr<clsMsgHostInfo> objMsg;
  rec->GetMessage(objMsg);
  if (!objMsg) return;
  fn(*objMsg);
  rec->SetMessage(objMsg);
}

void LocalOptionChanges::SetLocalProvideHostServices(bool b) {
  ChangeLocalEntry([b](clsMsgHostInfo& m) { m.SetProvideHostServices(b); });
}

void LocalOptionChanges::SetLocalProvideIntranet(bool b) {
  ChangeLocalEntry([b](clsMsgHostInfo& m) { m.SetProvideIntranet(b); });
}

void LocalOptionChanges::SetLocalProvideWeb(bool b) {
  ChangeLocalEntry([b](clsMsgHostInfo& m) { m.SetProvideWeb(b); });
}

void LocalOptionChanges::SetLocalProvideNews(bool b) {
  ChangeLocalEntry([b](clsMsgHostInfo& m) { m.SetProvideNews(b); });
}

void LocalOptionChanges::SetLocalProvideJobs(bool b) {
  ChangeLocalEntry([b](clsMsgHostInfo& m) { m.SetProvideJobs(b); });
}

void LocalOptionChanges::SetLocalProvideStocks(bool b) {
  ChangeLocalEntry([b](clsMsgHostInfo& m) { m.SetProvideStocks(b); });
}

void LocalOptionChanges::SetLocalInternetReady(bool b) {
  ChangeLocalEntry([b](clsMsgHostInfo& m) { m.SetInternetReady(b); });
}

void LocalOptionChanges::SetAgentAddress(const std::string& sHostName,
                                         const std::string& sIPAddress, const std::string& sPort) {
  // The number at the start of the text, rounded half to even; one that does not fit
  // a port field ends the operation before anything changes.
  const std::optional<Integer> nPort = text_forms::ReadInteger(sPort);
  if (!nPort) return;

  AgentHostInfo& registry = registry_;
  Long lngLow = 0;
  Long lngHigh = 0;
  const Long lngIndex = registry.SearchAgentByName(sHostName, lngLow, lngHigh);
  if (lngIndex < 1) {
    auto objMsg = std::make_shared<clsMsgHostInfo>(context_);
    objMsg->SetHostName(sHostName);
    objMsg->SetIPAddress(sIPAddress);
    objMsg->SetLocalPort(*nPort);
    registry.RegisterAgent(objMsg);
  } else {
    const std::shared_ptr<clsAgentInfo> rec = registry.GetAgentRecord(lngIndex);
    if (!rec) return;
    std::shared_ptr<clsMsgHostInfo> objMsg;
    rec->GetMessage(objMsg);
    if (!objMsg) return;
    objMsg->SetLocalPort(*nPort);
    objMsg->SetIPAddress(sIPAddress);
    rec->SetMessage(objMsg);
  }

  std::string sNeighbor = sHostName;
  addToNeighborhood_(sNeighbor);
}

}  // namespace launchagent
