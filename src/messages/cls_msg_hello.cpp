#include "messages/cls_msg_hello.h"

#include <string_view>

#include "messages/message_image.h"
#include "messages/text_forms.h"
#include "messages/property_bag.h"

namespace launchagent {
namespace {

constexpr message_image::Key kHello{"nHello"};
constexpr message_image::Key kVarnoHost{"sVarnoHost"};

}  // namespace

clsMsgHello::clsMsgHello(MessageContext& ctx) : clsMsgConcrete(ctx) {}

clsMsgHello::~clsMsgHello() = default;

Bytes clsMsgHello::GetObjectData() {
  PropertyBag bag;
  message_image::WriteEnvelope(bag, kMsgType, m_objEnvelope);
  message_image::Write(bag, kHello, text_forms::BareForm(m_nHello));
  message_image::Write(bag, kVarnoHost, m_sVarnoHost);
  return bag.Contents();
}

bool clsMsgHello::SetObjectData(const Bytes& byteArray) {
  PropertyBag bag;
  if (!bag.SetContents(byteArray)) return false;
  if (!message_image::IsOfType(bag, kMsgType)) return false;
  if (!message_image::ReadEnvelope(bag, m_objEnvelope)) return false;
  const auto nHello = text_forms::ReadInteger(message_image::Text(bag, kHello));
  if (!nHello) return false;
  m_nHello = *nHello;
  message_image::Text(bag, kVarnoHost, m_sVarnoHost);
  return true;
}

bool clsMsgHello::ChangeHello(const std::shared_ptr<clsMsg>& obj) {
  const auto objIn = std::dynamic_pointer_cast<clsMsgHello>(obj);
  if (!objIn) return false;
  return m_nHello != objIn->m_nHello || m_sVarnoHost != objIn->m_sVarnoHost;
}
}  // namespace launchagent
