#pragma once
// clsMsgUserList (message type 5): a numbered list of user names. Position 0 exists
// but never travels; positions 1 to the user count do, as "User_1", "User_2", ...
// The count is kept apart from the array's size, as the setup window sets them apart.
//
// The class's own typed Change is ChangeUserList (Change through the interface stays
// False); the direct GetMsgID that gives the identifier as decimal text is GetMsgIDText.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "messages/cls_msg_concrete.h"

namespace launchagent {

class clsMsgUserList : public clsMsgConcrete {
 public:
  static constexpr Integer kMsgType = kMsgTypeUserList;

  explicit clsMsgUserList(MessageContext& ctx);
  ~clsMsgUserList() override;

  // The interface.
  Bytes GetObjectData() override;
  bool SetObjectData(const Bytes& byteArray) override;

  // True when obj is a user list whose count differs or whose user at some position
  // from 1 to the count differs (letter case counts).
  bool ChangeUserList(const std::shared_ptr<clsMsg>& obj);

  // The user at nIndex; "0" for a position outside the array or before any user was
  // stored.
  std::string GetUsers(Integer nIndex) const;
  // Grows the array to positions 0 to nIndex when needed, then stores sUser there. A
  // negative position stores nothing.
  void SetUsers(Integer nIndex, const std::string& sUser);
  Integer GetUserCnt() const { return m_nUserCnt; }
  // The array is not resized.
  void SetUserCnt(Integer nUserCntIn) { m_nUserCnt = nUserCntIn; }

 private:
  std::optional<std::vector<std::string>> m_colUsers;  // none until a user is stored
  Integer m_nUserCnt = 0;
};

}  // namespace launchagent
