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

void WriteEnvelope(PropertyBag& bag, Integer nMsgType, clsMsg& objEnvelope) {
  Write(bag, kMsgType, text_forms::BareForm(nMsgType));
  Write(bag, kReturnAddress, objEnvelope.GetReturnAddress());
  // The identifier goes through its decimal text into the signed form: same digits.
  Write(bag, kMsgIDWritten, text_forms::SignedForm(objEnvelope.GetMsgID()));
  Write(bag, kMsgReferenceIDWritten, text_forms::SignedForm(objEnvelope.GetMsgReferenceID()));
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
