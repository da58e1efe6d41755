#include "messages/cls_msg_concrete.h"

#include "messages/text_forms.h"

namespace launchagent {

clsMsgConcrete::clsMsgConcrete(MessageContext& ctx) : clsMsg(InterfaceOnly{}), m_objEnvelope(ctx) {}

clsMsgConcrete::~clsMsgConcrete() = default;

Long clsMsgConcrete::GetMsgType(const Bytes& byteArray) {
  return m_objEnvelope.GetMsgType(byteArray);
}

Single clsMsgConcrete::GetMsgID() { return m_objEnvelope.GetMsgID(); }

void clsMsgConcrete::SetMsgID(Single sglMsgIDIn) { m_objEnvelope.SetMsgID(sglMsgIDIn); }

Single clsMsgConcrete::GetMsgReferenceID() { return m_objEnvelope.GetMsgReferenceID(); }

void clsMsgConcrete::SetMsgReferenceID(Single sglMsgReferenceIDIn) {
  m_objEnvelope.SetMsgReferenceID(sglMsgReferenceIDIn);
}

std::string clsMsgConcrete::GetReturnAddress() { return m_objEnvelope.GetReturnAddress(); }

void clsMsgConcrete::SetReturnAddress(const std::string& sReturnAddressIn) {
  m_objEnvelope.SetReturnAddress(sReturnAddressIn);
}

bool clsMsgConcrete::StringToBoolean(const std::string& sVal) {
  return m_objEnvelope.StringToBoolean(sVal);
}

std::shared_ptr<clsMsg> clsMsgConcrete::Clone() { return Self(); }

bool clsMsgConcrete::Change(const std::shared_ptr<clsMsg>& /*objIn*/) { return false; }

std::string clsMsgConcrete::GetMsgIDText() { return text_forms::DecimalText(GetMsgID()); }

}  // namespace launchagent
