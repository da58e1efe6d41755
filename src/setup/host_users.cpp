// Host users and contexts: the agent-info table keeps, per neighbourhood computer, the
// users seen on it and the context chosen for each; the two lists of the selected-host
// frame show and edit it.
#include "messages/cls_msg_host_info.h"
#include "messages/cls_msg_user_list.h"
#include "platform/text.h"
#include "registry/agent_host_info.h"
#include "setup/frm_agent_setup.h"

namespace launchagent {

namespace {

constexpr Integer kUserSlots = HostUsersTable::kUserSlots;

// Blanks removed from both ends; the setter side of the lists compares this way.
std::string TrimBlanks(const std::string& s) {
  const auto b = s.find_first_not_of(' ');
  if (b == std::string::npos) return "";
  const auto e = s.find_last_not_of(' ');
  return s.substr(b, e - b + 1);
}

}  // namespace

void FrmAgentSetup::UpdateHostUsers(const std::string& sHostName) {
  AgentHostInfo& registry = registry_;
  std::shared_ptr<clsMsgHostInfo> objMsg;
  if (!registry.GetAgentHostInfo(registry.FindAgentIndex(sHostName), objMsg) || !objMsg) return;
  const Long h = hostUsers.FindHostRecord(sHostName);
  if (h < 1) return;
  const std::shared_ptr<clsMsgUserList> objUL = objMsg->GetMsgUL();
  if (!objUL) return;
  AgentInfoRecord& rec = hostUsers.AgentInfoTable[static_cast<std::size_t>(h - 1)];
  const Integer nCount = objUL->GetUserCnt();
  for (Integer k = 1; k <= nCount; ++k) {
    if (k > kUserSlots) return;
    // Contexts already chosen stay.
    rec.Users[static_cast<std::size_t>(k - 1)].sUserName.Assign(objUL->GetUsers(k));
  }
}

void FrmAgentSetup::ShowHostUsers(const std::shared_ptr<clsMsgUserList>& objUL) {
  selectedHost.lstHostUsers->Clear();
  if (!objUL) return;
  const Integer nCount = objUL->GetUserCnt();
  for (Integer k = 1; k <= nCount; ++k) selectedHost.lstHostUsers->AddItem(objUL->GetUsers(k));
  UpdateHostUsers(objUL->GetReturnAddress());
  ClearContextSelection();
}

void FrmAgentSetup::SelectContext(const std::string& sContext) {
  const std::string sWanted = TrimBlanks(sContext);
  for (Integer i = 0; i < selectedHost.lstContexts->ListCount(); ++i)
    selectedHost.lstContexts->SetSelected(i, selectedHost.lstContexts->List(i) == sWanted);
}

void FrmAgentSetup::ClearContextSelection() {
  for (Integer i = 0; i < selectedHost.lstContexts->ListCount(); ++i)
    selectedHost.lstContexts->SetSelected(i, false);
}

// The contexts are the main application's index names, which the agent cannot reach:
// the list stays empty.
void FrmAgentSetup::PopulateContextList() { selectedHost.lstContexts->Clear(); }

void FrmAgentSetup::lstHostUsers_Click() {
  const Long h = hostUsers.FindHostRecord(selectedHost.txtHostName->Text());
  if (h < 1) return;
  const AgentInfoRecord& rec = hostUsers.AgentInfoTable[static_cast<std::size_t>(h - 1)];
  for (Integer i = 0; i < selectedHost.lstHostUsers->ListCount(); ++i) {
    if (!selectedHost.lstHostUsers->Selected(i)) continue;
    if (i >= kUserSlots) return;
    SelectContext(rec.Users[static_cast<std::size_t>(i)].sContext.Trimmed());
  }
}

void FrmAgentSetup::lstContexts_Click() {
  const Long h = hostUsers.FindHostRecord(selectedHost.txtHostName->Text());
  const Integer u = hostUsers.FindHostUser(h, selectedHost.lstHostUsers->Text());
  if (u < 1) return;
  for (Integer i = 0; i < selectedHost.lstContexts->ListCount(); ++i) {
    if (selectedHost.lstContexts->Selected(i)) {
      hostUsers.AgentInfoTable[static_cast<std::size_t>(h - 1)]
          .Users[static_cast<std::size_t>(u - 1)]
          .sContext.Assign(selectedHost.lstContexts->List(i));
      return;
    }
  }
}

}  // namespace launchagent
