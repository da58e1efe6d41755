#include "setup/host_users_table.h"

#include "messages/cls_msg_host_info.h"
#include "messages/cls_msg_user_list.h"
#include "platform/text.h"

namespace launchagent {

Long HostUsersTable::FindHostRecord(const std::string& sHostName) {
  const std::string sKey = AsciiLower(sHostName);
  for (std::size_t i = 0; i < AgentInfoTable.size(); ++i) {
    if (AsciiLower(AgentInfoTable[i].sHostName.Trimmed()) == sKey) return static_cast<Long>(i + 1);
  }
  return 0;
}

Integer HostUsersTable::FindHostUser(Long lngHost, const std::string& sUserName) {
  if (lngHost < 1 || static_cast<std::size_t>(lngHost) > AgentInfoTable.size()) return 0;
  // A free slot holds no user, so an empty name matches none.
  if (sUserName.empty()) return 0;
  const AgentInfoRecord& rec = AgentInfoTable[static_cast<std::size_t>(lngHost - 1)];
  for (Integer k = 1; k <= kUserSlots; ++k) {
    if (rec.Users[static_cast<std::size_t>(k - 1)].sUserName.Trimmed() == sUserName) return k;
  }
  return 0;
}

std::string HostUsersTable::LookupUserContext(const std::string& sHostName,
                                              const std::string& sUserName) {
  const Long h = FindHostRecord(sHostName);
  if (h < 1) return "";
  const Integer k = FindHostUser(h, sUserName);
  if (k < 1) return "";
  return AgentInfoTable[static_cast<std::size_t>(h - 1)]
      .Users[static_cast<std::size_t>(k - 1)]
      .sContext.Trimmed();
}

void HostUsersTable::StoreHostUsers(Integer nHost, const std::shared_ptr<clsMsgHostInfo>& objMsg) {
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

}  // namespace launchagent
