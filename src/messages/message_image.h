#pragma once
// The parts of a message image that every message shares: the keys, the envelope
// entries and the reading of single values. Used by the message classes only.
#include <span>
#include <string>
#include <string_view>

#include "messages/property_bag.h"
#include "platform/types.h"

namespace launchagent {

class clsMsg;

namespace message_image {

// The writer ends the identifier keys with "D", the reader with "d"; lookup ignores
// letter case, so both meet.
using Key = PropertyBag::Key;
inline constexpr Key kMsgType{"MsgType"};
inline constexpr Key kReturnAddress{"sReturnAddress"};
inline constexpr Key kMsgIDWritten{"sglMsgID"};
inline constexpr Key kMsgIDRead{"sglMsgId"};
inline constexpr Key kMsgReferenceIDWritten{"sglMsgReferenceID"};
inline constexpr Key kMsgReferenceIDRead{"sglMsgReferenceId"};

// The keys of a host information image in the order it holds them (defined with that
// message). Host information is what agents send each other, so telling the type of
// an image follows this order too: each expected name then costs one byte compare.
std::span<const Key* const> HostInfoImageOrder();

// The text under the key; a key that the image does not hold reads as empty text.
std::string Text(const PropertyBag& bag, const Key& key);
void Text(const PropertyBag& bag, const Key& key, std::string& sOut);
void Text(const PropertyBag& bag, std::string_view sKey, std::string& sOut);
// Writes a text entry under the key's name.
inline void Write(PropertyBag& bag, const Key& key, std::string_view sValue) {
  bag.AppendText(key.Name(), sValue);
}

// The texts of the four envelope entries, held while an image is written from them.
struct EnvelopeTexts {
  EnvelopeTexts(Integer nMsgType, clsMsg& objEnvelope);
  std::string sMsgType, sReturnAddress, sMsgID, sMsgReferenceID;
};
// The four envelope entries, "MsgType" first.
void WriteEnvelope(PropertyBag& bag, Integer nMsgType, clsMsg& objEnvelope);
// True when "MsgType" reads as nMsgType.
bool IsOfType(const PropertyBag& bag, Integer nMsgType);
// Reads identifier, return address and reference identifier into the envelope; false
// at the first number that does not fit, keeping what was read before it.
bool ReadEnvelope(const PropertyBag& bag, clsMsg& objEnvelope);

}  // namespace message_image
}  // namespace launchagent
