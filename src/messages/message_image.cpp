#include "messages/message_image.h"

#include "messages/cls_msg.h"
#include "messages/text_forms.h"

namespace launchagent::message_image {

std::string Text(const PropertyBag& bag, const Key& key) {
  std::string s;
  Text(bag, key, s);
  return s;
}

void Text(const PropertyBag& bag, const Key& key, std::string& sOut) {
  if (!bag.FindText(key, sOut)) sOut.clear();
}

void Text(const PropertyBag& bag, std::string_view sKey, std::string& sOut) {
  if (!bag.FindText(sKey, sOut)) sOut.clear();
}

EnvelopeTexts::EnvelopeTexts(Integer nMsgType, clsMsg& objEnvelope)
    : sMsgType(text_forms::BareForm(nMsgType)),
      sReturnAddress(objEnvelope.GetReturnAddress()),
      // The identifier goes through its decimal text into the signed form: same digits.
      sMsgID(text_forms::SignedForm(objEnvelope.GetMsgID())),
      sMsgReferenceID(text_forms::SignedForm(objEnvelope.GetMsgReferenceID())) {}

void WriteEnvelope(PropertyBag& bag, Integer nMsgType, clsMsg& objEnvelope) {
  const EnvelopeTexts texts(nMsgType, objEnvelope);
  Write(bag, kMsgType, texts.sMsgType);
  Write(bag, kReturnAddress, texts.sReturnAddress);
  Write(bag, kMsgIDWritten, texts.sMsgID);
  Write(bag, kMsgReferenceIDWritten, texts.sMsgReferenceID);
}

bool IsOfType(const PropertyBag& bag, Integer nMsgType) {
  const auto nType = text_forms::ReadInteger(Text(bag, kMsgType));
  return nType && *nType == nMsgType;
}

bool ReadEnvelope(const PropertyBag& bag, clsMsg& objEnvelope) {
  std::string s;
  Text(bag, kMsgIDRead, s);
  const auto sglMsgID = text_forms::ReadSingle(s);
  if (!sglMsgID) return false;
  objEnvelope.SetMsgID(*sglMsgID);
  Text(bag, kReturnAddress, s);
  objEnvelope.SetReturnAddress(s);
  Text(bag, kMsgReferenceIDRead, s);
  const auto sglMsgReferenceID = text_forms::ReadSingle(s);
  if (!sglMsgReferenceID) return false;
  objEnvelope.SetMsgReferenceID(*sglMsgReferenceID);
  return true;
}

}  // namespace launchagent::message_image
