#include "messages/cls_msg_user_list.h"

#include <string_view>

#include "messages/message_image.h"
#include "messages/text_forms.h"
#include "messages/property_bag.h"

namespace launchagent {
namespace {

constexpr message_image::Key kUserCnt{"nUserCnt"};

std::string UserKey(Integer nIndex) { return "User_" + text_forms::BareForm(nIndex); }

}  // namespace

clsMsgUserList::clsMsgUserList(MessageContext& ctx) : clsMsgConcrete(ctx) {}

clsMsgUserList::~clsMsgUserList() = default;

Bytes clsMsgUserList::GetObjectData() {
  PropertyBag bag;
  message_image::WriteEnvelope(bag, kMsgType, m_objEnvelope);
  message_image::Write(bag, kUserCnt, text_forms::BareForm(m_nUserCnt));
  for (int nIndex = 1; nIndex <= m_nUserCnt; ++nIndex) {
    // A position the array does not hold is skipped.
    if (!m_colUsers || static_cast<std::size_t>(nIndex) >= m_colUsers->size()) continue;
    bag.AppendText(UserKey(static_cast<Integer>(nIndex)),
                   (*m_colUsers)[static_cast<std::size_t>(nIndex)]);
  }
  return bag.Contents();
}

bool clsMsgUserList::SetObjectData(const Bytes& byteArray) {
  PropertyBag bag;
  if (!bag.SetContents(byteArray)) return false;
  if (!message_image::IsOfType(bag, kMsgType)) return false;
  if (!message_image::ReadEnvelope(bag, m_objEnvelope)) return false;
  const auto nUserCnt = text_forms::ReadInteger(message_image::Text(bag, kUserCnt));
  if (!nUserCnt) return false;
  m_nUserCnt = *nUserCnt;
  std::string sUser;
  for (int nIndex = 1; nIndex <= m_nUserCnt; ++nIndex) {
    message_image::Text(bag, UserKey(static_cast<Integer>(nIndex)), sUser);
    SetUsers(static_cast<Integer>(nIndex), sUser);
  }
  return true;
}

bool clsMsgUserList::ChangeUserList(const std::shared_ptr<clsMsg>& obj) {
  const auto objIn = std::dynamic_pointer_cast<clsMsgUserList>(obj);
  if (!objIn) return false;
  if (m_nUserCnt != objIn->m_nUserCnt) return true;
  for (int nIndex = 1; nIndex <= m_nUserCnt; ++nIndex) {
    const auto n = static_cast<Integer>(nIndex);
    if (GetUsers(n) != objIn->GetUsers(n)) return true;
  }
  return false;
}
std::string clsMsgUserList::GetUsers(Integer nIndex) const {
  if (!m_colUsers || nIndex < 0 || static_cast<std::size_t>(nIndex) >= m_colUsers->size()) {
    return "0";
  }
  return (*m_colUsers)[static_cast<std::size_t>(nIndex)];
}

void clsMsgUserList::SetUsers(Integer nIndex, const std::string& sUser) {
  if (nIndex < 0) return;
  const auto nPos = static_cast<std::size_t>(nIndex);
  if (!m_colUsers) m_colUsers.emplace();
  if (nPos >= m_colUsers->size()) m_colUsers->resize(nPos + 1);
  (*m_colUsers)[nPos] = sUser;
}

}  // namespace launchagent
