#include "messages/cls_msg.h"

#include <bit>

#include "messages/message_image.h"
#include "messages/property_bag.h"
#include "messages/text_forms.h"

namespace launchagent {
namespace {

// splitmix64: one step from the seed's bits is enough for one draw per seed.
std::uint64_t SplitMix64(std::uint64_t x) {
  std::uint64_t z = x + 0x9E3779B97F4A7C15ULL;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  return z ^ (z >> 31);
}

}  // namespace

Single clsMsg::NewMsgID(double dSeed) {
  // 24 bits: every value is an exact single in [0, 1), steps of 2^-24.
  const std::uint64_t z = SplitMix64(std::bit_cast<std::uint64_t>(dSeed));
  return static_cast<Single>(z >> 40) * 0x1p-24f;
}

clsMsg::clsMsg(MessageContext& ctx)
    : m_sglMsgID(NewMsgID(ctx.SecondsSinceMidnight())),
      m_sglMsgReferenceID(0),
      m_sReturnAddress(ctx.LocalHostName()) {}

clsMsg::clsMsg(InterfaceOnly) {}

clsMsg::~clsMsg() = default;

Bytes clsMsg::GetObjectData() { return Bytes(); }

bool clsMsg::SetObjectData(const Bytes& /*byteArray*/) { return false; }

Long clsMsg::GetMsgType(const Bytes& byteArray) {
  PropertyBag bag;
  return GetMsgType(byteArray, bag);
}

Long clsMsg::GetMsgType(const Bytes& byteArray, PropertyBag& bag) {
  if (!bag.ReadImage(byteArray, message_image::HostInfoImageOrder())) return 0;
  const auto lngType = text_forms::ReadLong(message_image::Text(bag, message_image::kMsgType));
  return lngType ? *lngType : 0;
}

Single clsMsg::GetMsgID() { return m_sglMsgID; }

void clsMsg::SetMsgID(Single sglMsgIDIn) { m_sglMsgID = sglMsgIDIn; }

Single clsMsg::GetMsgReferenceID() { return m_sglMsgReferenceID; }

void clsMsg::SetMsgReferenceID(Single sglMsgReferenceIDIn) {
  m_sglMsgReferenceID = sglMsgReferenceIDIn;
}

std::string clsMsg::GetReturnAddress() { return m_sReturnAddress; }

void clsMsg::SetReturnAddress(const std::string& sReturnAddressIn) {
  m_sReturnAddress = sReturnAddressIn;
}

bool clsMsg::StringToBoolean(const std::string& sVal) { return text_forms::StringToBoolean(sVal); }

std::shared_ptr<clsMsg> clsMsg::Clone() { return nullptr; }

bool clsMsg::Change(const std::shared_ptr<clsMsg>& /*objIn*/) { return false; }

std::shared_ptr<clsMsg> clsMsg::Self() { return weak_from_this().lock(); }

}  // namespace launchagent
