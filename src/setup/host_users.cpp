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

constexpr Integer kUserSlots = 64;

// Blanks removed from both ends; the setter side of the lists compares this way.
std::string TrimBlanks(const std::string& s) {
  const auto b = s.find_first_not_of(' ');
  if (b == std::string::npos) return "";
  const auto e = s.find_last_not_of(' ');
  return s.substr(b, e - b + 1);
}

}  // namespace

// The table follows the LAN host order, not name order, so it is searched from the
// front rather than by halving.
Long FrmAgentSetup::FindHostRecord(const std::string& sHostName) {
  const std::string sKey = AsciiLower(sHostName);
  for (std::size_t i = 0; i < AgentInfoTable.size(); ++i) {
    if (AsciiLower(AgentInfoTable[i].sHostName.Trimmed()) == sKey) return static_cast<Long>(i + 1);
  }
  return 0;
}

Integer FrmAgentSetup::FindHostUser(Long lngHost, const std::string& sUserName) {
  if (lngHost < 1 || static_cast<std::size_t>(lngHost) > AgentInfoTable.size()) return 0;
  // A free slot holds no user, so an empty name matches none.
  if (sUserName.empty()) return 0;
  const AgentInfoRecord& rec = AgentInfoTable[static_cast<std::size_t>(lngHost - 1)];
  for (Integer k = 1; k <= kUserSlots; ++k) {
    if (rec.Users[static_cast<std::size_t>(k - 1)].sUserName.Trimmed() == sUserName) return k;
  }
  return 0;
}

std::string FrmAgentSetup::LookupUserContext(const std::string& sHostName,
                                             const std::string& sUserName) {
  const Long h = FindHostRecord(sHostName);
  if (h < 1) return "";
  const Integer k = FindHostUser(h, sUserName);
  if (k < 1) return "";
  return AgentInfoTable[static_cast<std::size_t>(h - 1)]
      .Users[static_cast<std::size_t>(k - 1)]
      .sContext.Trimmed();
}

void FrmAgentSetup::StoreHostUsers(Integer nHost, const std::shared_ptr<clsMsgHostInfo>& objMsg) {
  if (!objMsg) return;
  const std::shared_ptr<clsMsgUserList> objUL = objMsg->GetMsgUL();
  if (!objUL) return;
  if (nHost < 1 || static_cast<std::size_t>(nHost) > AgentInfoTable.size()) return;
  AgentInfoRecord& rec = AgentInfoTable[static_cast<std::size_t>(nHost - 1)];
  const Integer nCount = objUL->GetUserCnt();
  for (Integer k = 1; k <= nCount; ++k) {
    if (k > kUserSlots) return;  // the 65th user has no slot: stop there
    UserContext& slot = rec.Users[static_cast<std::size_t>(k - 1)];
    slot.sUserName.Assign(objUL->GetUsers(k));
    slot.sContext.Assign("");
  }
}

void FrmAgentSetup::UpdateHostUsers(const std::string& sHostName) {
  AgentHostInfo& registry = registry_;
  std::shared_ptr<clsMsgHostInfo> objMsg;
  if (!registry.GetAgentHostInfo(registry.FindAgentIndex(sHostName), objMsg) || !objMsg) return;
  const Long h = FindHostRecord(sHostName);
  if (h < 1) return;
  const std::shared_ptr<clsMsgUserList> objUL = objMsg->GetMsgUL();
  if (!objUL) return;
  AgentInfoRecord& rec = AgentInfoTable[static_cast<std::size_t>(h - 1)];
  const Integer nCount = objUL->GetUserCnt();
  for (Integer k = 1; k <= nCount; ++k) {
    if (k > kUserSlots) return;
    // Contexts already chosen stay.
    rec.Users[static_cast<std::size_t>(k - 1)].sUserName.Assign(objUL->GetUsers(k));
  }
}

void FrmAgentSetup::ShowHostUsers(const std::shared_ptr<clsMsgUserList>& objUL) {
  lstHostUsers->Clear();
  if (!objUL) return;
  const Integer nCount = objUL->GetUserCnt();
  for (Integer k = 1; k <= nCount; ++k) lstHostUsers->AddItem(objUL->GetUsers(k));
  UpdateHostUsers(objUL->GetReturnAddress());
  ClearContextSelection();
}

void FrmAgentSetup::SelectContext(const std::string& sContext) {
  const std::string sWanted = TrimBlanks(sContext);
  for (Integer i = 0; i < lstContexts->ListCount(); ++i)
    lstContexts->SetSelected(i, lstContexts->List(i) == sWanted);
}

void FrmAgentSetup::ClearContextSelection() {
  for (Integer i = 0; i < lstContexts->ListCount(); ++i) lstContexts->SetSelected(i, false);
}

// The contexts are the main application's index names, which the agent cannot reach:
// the list stays empty.
void FrmAgentSetup::PopulateContextList() { lstContexts->Clear(); }

void FrmAgentSetup::lstHostUsers_Click() {
  const Long h = FindHostRecord(txtHostName->Text());
  if (h < 1) return;
  const AgentInfoRecord& rec = AgentInfoTable[static_cast<std::size_t>(h - 1)];
  for (Integer i = 0; i < lstHostUsers->ListCount(); ++i) {
    if (!lstHostUsers->Selected(i)) continue;
    if (i >= kUserSlots) return;
    SelectContext(rec.Users[static_cast<std::size_t>(i)].sContext.Trimmed());
  }
}

void FrmAgentSetup::lstContexts_Click() {
  const Long h = FindHostRecord(txtHostName->Text());
  const Integer u = FindHostUser(h, lstHostUsers->Text());
  if (u < 1) return;
  for (Integer i = 0; i < lstContexts->ListCount(); ++i) {
    if (lstContexts->Selected(i)) {
      AgentInfoTable[static_cast<std::size_t>(h - 1)]
          .Users[static_cast<std::size_t>(u - 1)]
          .sContext.Assign(lstContexts->List(i));
      return;
    }
  }
}

}  // namespace launchagent
