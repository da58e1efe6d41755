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
  lstNeighborhood->Clear();
  const Integer n = links_.lanHostCount();
  if (n < 1) return;  // nothing to size the table to: table and file stay as they are
  hostUsers.AgentInfoTable.resize(static_cast<std::size_t>(n));

  const std::string sLocalHost = AsciiLower(GetHostName());
  for (Integer i = 1; i <= n; ++i) {
    // Events pumped below may rebuild the table under us; a position that is gone
    // ends the run without saving.
    if (static_cast<std::size_t>(i) > hostUsers.AgentInfoTable.size()) return;
    const std::string sHost = links_.lanHost(i);
    hostUsers.AgentInfoTable[static_cast<std::size_t>(i - 1)].sHostName.Assign(sHost);
    lstNeighborhood->AddItem(sHost);

    auto objMsg = std::make_shared<clsMsgHostInfo>(context_);
    objMsg->SetHostName(sHost);
    objMsg->SetIPAddress(GetIPInfo(sHost));
    objMsg->SetLocalPort(GetDefaultAgentPort());
    if (AsciiLower(sHost) == sLocalHost) {
      objMsg->SetProvideHostServices(bActiveAgentServices_);
      objMsg->SetProvideIntranet(bSeekIntranet);
      objMsg->SetProvideWeb(bSeekWeb);
      objMsg->SetProvideNews(bSeekNews);
      objMsg->SetProvideJobs(bSeekJobs);
      objMsg->SetProvideStocks(bSeekStocks);
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
  for (Integer i = 0; i < lstNeighborhood->ListCount(); ++i)
    if (lstNeighborhood->List(i) == sHostName) return;
  lstNeighborhood->AddItem(sHostName);
}

bool FrmAgentSetup::InActiveHostList(const std::string& sHostName) {
  const std::string sKey = AsciiLower(sHostName);
  for (Integer i = 0; i < lstActive->ListCount(); ++i)
    if (AsciiLower(lstActive->List(i)) == sKey) return true;
  return false;
}

void FrmAgentSetup::SplitIPAddress(const std::string& sAddress, std::string& sPart1,
                                   std::string& sPart2, std::string& sPart3, std::string& sPart4) {
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
  for (ui::TextBox* t : {txtHostName, txtLocalPortNumber, txtIP1, txtIP2, txtIP3, txtIP4})
    t->SetText("");
  for (ui::CheckBox* c : {chkRemoteIntranet, chkRemoteWeb, chkRemoteNews, chkRemoteJobs,
                          chkRemoteStocks, chkActiveHost})
    c->SetValue(0);
}

void FrmAgentSetup::cmdRefresh_Click() {
  // Disabled while it runs, so a second refresh cannot start from the pumped events.
  cmdRefresh->SetEnabled(false);
  links_.refreshLANHosts();
  PopulateNeighborhoodList();
  PopulateContextList();
  cmdRefresh->SetEnabled(true);
}

void FrmAgentSetup::cmdActiveAdd_Click() {
  // With no neighbourhood entry selected there is nothing to add: an empty name would
  // end the stored list at its entry.
  if (lstNeighborhood->ListIndex() < 0) return;
  const std::string sHost = lstNeighborhood->Text();
  if (InActiveHostList(sHost)) return;
  lstActive->AddItem(sHost);
  SaveOptions();
}

void FrmAgentSetup::cmdActiveDelete_Click() {
  // An entry that moves up into the position just removed is examined next.
  Integer i = 0;
  while (i < lstActive->ListCount()) {
    if (lstActive->Selected(i)) {
      lstActive->RemoveItem(i);
    } else {
      ++i;
    }
  }
  SaveOptions();
}

void FrmAgentSetup::cmdActiveClear_Click() {
  lstActive->Clear();
  SaveOptions();
}

void FrmAgentSetup::lstNeighborhood_Click() {
  const std::string sHost = lstNeighborhood->Text();
  std::shared_ptr<clsMsgHostInfo> objMsg;
  if (!registry_.GetAgentHostInfoByName(sHost, objMsg) || !objMsg) {
    ClearRemoteHostFields();
    return;
  }
  txtHostName->SetText(objMsg->GetHostName());
  txtLocalPortNumber->SetText(
      text_forms::SignedForm(static_cast<std::int64_t>(objMsg->GetLocalPort())));
  std::string s1, s2, s3, s4;
  SplitIPAddress(objMsg->GetIPAddress(), s1, s2, s3, s4);
  txtIP1->SetText(s1);
  txtIP2->SetText(s2);
  txtIP3->SetText(s3);
  txtIP4->SetText(s4);
  chkRemoteIntranet->SetValue(objMsg->GetProvideIntranet() ? 1 : 0);
  chkRemoteWeb->SetValue(objMsg->GetProvideWeb() ? 1 : 0);
  chkRemoteNews->SetValue(objMsg->GetProvideNews() ? 1 : 0);
  chkRemoteJobs->SetValue(objMsg->GetProvideJobs() ? 1 : 0);
  chkRemoteStocks->SetValue(objMsg->GetProvideStocks() ? 1 : 0);
  chkActiveHost->SetValue(objMsg->GetProvideHostServices() ? 1 : 0);
  ShowHostUsers(objMsg->GetMsgUL());
}

}  // namespace launchagent
