// Neighbourhood and active computers: the two lists of the top row, the buttons below
// them, and the selected-host frame that shows what the registry knows of a computer.
// Building the neighbourhood list also registers every LAN host and rebuilds the
// agent-info table, which the agent relies on while the window stays hidden.
#include "messages/cls_msg_host_info.h"
#include "messages/text_forms.h"
#include "platform/text.h"
#include "registry/agent_host_info.h"
#include "registry/agent_ports.h"
#include "setup/frm_agent_setup.h"

namespace launchagent {

void FrmAgentSetup::PopulateNeighborhoodList() {
  // It lets events run, in which the window may be unloaded.
  const HandlerScope scope(*this);
  neighborhood.lstNeighborhood->Clear();
  const Integer n = links_.lanHostCount();
  if (n < 1) return;  // nothing to size the table to: table and file stay as they are
  hostUsers.AgentInfoTable.resize(static_cast<std::size_t>(n));

  const std::string sLocalHost = AsciiLower(identity_.GetHostName());
  for (Integer i = 1; i <= n; ++i) {
    // Events pumped below may rebuild the table under us; a position that is gone
    // ends the run without saving.
    if (static_cast<std::size_t>(i) > hostUsers.AgentInfoTable.size()) return;
    const std::string sHost = links_.lanHost(i);
    hostUsers.AgentInfoTable[static_cast<std::size_t>(i - 1)].sHostName.Assign(sHost);
    neighborhood.lstNeighborhood->AddItem(sHost);

    auto objMsg = std::make_shared<clsMsgHostInfo>(context_);
    objMsg->SetHostName(sHost);
    objMsg->SetIPAddress(identity_.GetIPInfo(sHost));
    objMsg->SetLocalPort(GetDefaultAgentPort());
    if (AsciiLower(sHost) == sLocalHost) {
      objMsg->SetProvideHostServices(bActiveAgentServices_);
      objMsg->SetProvideIntranet(localHost.bSeekIntranet);
      objMsg->SetProvideWeb(localHost.bSeekWeb);
      objMsg->SetProvideNews(localHost.bSeekNews);
      objMsg->SetProvideJobs(localHost.bSeekJobs);
      objMsg->SetProvideStocks(localHost.bSeekStocks);
    }
    // A host the registry already holds keeps what it has.
    registry_.RegisterAgent(objMsg);
    hostUsers.StoreHostUsers(i, objMsg);
    // Keeps the window responsive: a click arriving now runs before the next computer.
    platform_.loop.ProcessPendingEvents();
  }
  SaveAgentInfo();
}

void FrmAgentSetup::AddHostToNeighborhood(std::string& sHostName) {
  sHostName = AsciiUpper(sHostName);
  for (Integer i = 0; i < neighborhood.lstNeighborhood->ListCount(); ++i)
    if (neighborhood.lstNeighborhood->List(i) == sHostName) return;
  neighborhood.lstNeighborhood->AddItem(sHostName);
}

bool FrmAgentSetup::InActiveHostList(const std::string& sHostName) {
  const std::string sKey = AsciiLower(sHostName);
  for (Integer i = 0; i < active.lstActive->ListCount(); ++i)
    if (AsciiLower(active.lstActive->List(i)) == sKey) return true;
  return false;
}

void SplitIPAddress(const std::string& sAddress, std::string& sPart1, std::string& sPart2,
                    std::string& sPart3, std::string& sPart4) {
  sPart1.clear();
  sPart2.clear();
  sPart3.clear();
  sPart4.clear();
  // Each part is cut only once its closing dot is found; the first missing dot ends
  // the split and the parts after it stay empty.
  const auto p1 = sAddress.find('.');
  if (p1 == std::string::npos) return;
  sPart1 = sAddress.substr(0, p1);
  const auto p2 = sAddress.find('.', p1 + 1);
  if (p2 == std::string::npos) return;
  sPart2 = sAddress.substr(p1 + 1, p2 - p1 - 1);
  const auto p3 = sAddress.find('.', p2 + 1);
  if (p3 == std::string::npos) return;
  sPart3 = sAddress.substr(p2 + 1, p3 - p2 - 1);
  sPart4 = sAddress.substr(p3 + 1);
}

void FrmAgentSetup::ClearRemoteHostFields() {
  for (ui::TextBox* t :
       {selectedHost.txtHostName, selectedHost.txtLocalPortNumber, selectedHost.txtIP1,
        selectedHost.txtIP2, selectedHost.txtIP3, selectedHost.txtIP4})
    t->SetText("");
  for (ui::CheckBox* c :
       {selectedHost.chkRemoteIntranet, selectedHost.chkRemoteWeb, selectedHost.chkRemoteNews,
        selectedHost.chkRemoteJobs, selectedHost.chkRemoteStocks, selectedHost.chkActiveHost})
    c->SetValue(0);
}

void FrmAgentSetup::cmdRefresh_Click() {
  // Disabled while it runs, so a second refresh cannot start from the pumped events.
  neighborhood.cmdRefresh->SetEnabled(false);
  links_.refreshLANHosts();
  PopulateNeighborhoodList();
  PopulateContextList();
  neighborhood.cmdRefresh->SetEnabled(true);
}

void FrmAgentSetup::cmdActiveAdd_Click() {
  // With no neighbourhood entry selected there is nothing to add: an empty name would
  // end the stored list at its entry.
  if (neighborhood.lstNeighborhood->ListIndex() < 0) return;
  const std::string sHost = neighborhood.lstNeighborhood->Text();
  if (InActiveHostList(sHost)) return;
  active.lstActive->AddItem(sHost);
  SaveOptions();
}

void FrmAgentSetup::cmdActiveDelete_Click() {
  // An entry that moves up into the position just removed is examined next.
  Integer i = 0;
  while (i < active.lstActive->ListCount()) {
    if (active.lstActive->Selected(i)) {
      active.lstActive->RemoveItem(i);
    } else {
      ++i;
    }
  }
  SaveOptions();
}

void FrmAgentSetup::cmdActiveClear_Click() {
  active.lstActive->Clear();
  SaveOptions();
}

void FrmAgentSetup::lstNeighborhood_Click() {
  const std::string sHost = neighborhood.lstNeighborhood->Text();
  std::shared_ptr<clsMsgHostInfo> objMsg;
  if (!registry_.GetAgentHostInfoByName(sHost, objMsg) || !objMsg) {
    ClearRemoteHostFields();
    return;
  }
  selectedHost.txtHostName->SetText(objMsg->GetHostName());
  selectedHost.txtLocalPortNumber->SetText(
      text_forms::SignedForm(static_cast<std::int64_t>(objMsg->GetLocalPort())));
  std::string s1, s2, s3, s4;
  SplitIPAddress(objMsg->GetIPAddress(), s1, s2, s3, s4);
  selectedHost.txtIP1->SetText(s1);
  selectedHost.txtIP2->SetText(s2);
  selectedHost.txtIP3->SetText(s3);
  selectedHost.txtIP4->SetText(s4);
  selectedHost.chkRemoteIntranet->SetValue(objMsg->GetProvideIntranet() ? 1 : 0);
  selectedHost.chkRemoteWeb->SetValue(objMsg->GetProvideWeb() ? 1 : 0);
  selectedHost.chkRemoteNews->SetValue(objMsg->GetProvideNews() ? 1 : 0);
  selectedHost.chkRemoteJobs->SetValue(objMsg->GetProvideJobs() ? 1 : 0);
  selectedHost.chkRemoteStocks->SetValue(objMsg->GetProvideStocks() ? 1 : 0);
  selectedHost.chkActiveHost->SetValue(objMsg->GetProvideHostServices() ? 1 : 0);
  ShowHostUsers(objMsg->GetMsgUL());
}

}  // namespace launchagent
