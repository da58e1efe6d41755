#include "messages/cls_msg_host_info.h"

#include <array>
#include <bit>
#include <cstdint>
#include <string_view>

#include "messages/cls_msg_user_list.h"
#include "messages/message_image.h"
#include "messages/property_bag.h"
#include "messages/text_forms.h"
#include "platform/text.h"

namespace launchagent {
namespace {

constexpr message_image::Key kHostName{"sHostName"};
constexpr message_image::Key kUserName{"sUserName"};
constexpr message_image::Key kIndexing{"bIndexing"};
constexpr message_image::Key kAppPath{"sAppPath"};
constexpr message_image::Key kIPAddress{"sIPAddress"};
constexpr message_image::Key kLocalPort{"nLocalPort"};
constexpr message_image::Key kProvideHostServices{"bProvideHostServices"};
constexpr message_image::Key kProvideIntranet{"bProvideIntranet"};
constexpr message_image::Key kProvideWeb{"bProvideWeb"};
constexpr message_image::Key kProvideNews{"bProvideNews"};
constexpr message_image::Key kProvideStocks{"bProvideStocks"};
constexpr message_image::Key kProvideJobs{"bProvideJobs"};
constexpr message_image::Key kInternetReady{"bInternetReady"};

// The keys in the order the image holds them, so reading assigns them in one pass.
constexpr const message_image::Key* kImageOrder[] = {&message_image::kMsgType,
                                                     &message_image::kReturnAddress,
                                                     &message_image::kMsgIDRead,
                                                     &message_image::kMsgReferenceIDRead,
                                                     &kHostName,
                                                     &kUserName,
                                                     &kIndexing,
                                                     &kAppPath,
                                                     &kIPAddress,
                                                     &kLocalPort,
                                                     &kProvideHostServices,
                                                     &kProvideIntranet,
                                                     &kProvideWeb,
                                                     &kProvideNews,
                                                     &kProvideStocks,
                                                     &kProvideJobs,
                                                     &kInternetReady};

}  // namespace

std::span<const message_image::Key* const> message_image::HostInfoImageOrder() {
  return kImageOrder;
}

// Everything the image is made of, as it was when the image was made. The identifiers
// are compared by their bits: any change of them, however small, makes a new image.
struct clsMsgHostInfo::ImageCache {
  std::string sReturnAddress, sHostName, sUserName, sAppPath, sIPAddress;
  std::uint32_t nMsgIDBits = 0, nMsgReferenceIDBits = 0;
  Integer nLocalPort = 0;
  std::array<bool, 8> flags{};
  Bytes image;
};

clsMsgHostInfo::clsMsgHostInfo(MessageContext& ctx) : clsMsgConcrete(ctx) {}

clsMsgHostInfo::~clsMsgHostInfo() = default;

Bytes clsMsgHostInfo::GetObjectData() {
  const std::array<bool, 8> flags{m_bIndexing,    m_bProvideHostServices, m_bProvideIntranet,
                                  m_bProvideWeb,  m_bProvideNews,         m_bProvideStocks,
                                  m_bProvideJobs, m_bInternetReady};
  const std::uint32_t nMsgIDBits = std::bit_cast<std::uint32_t>(m_objEnvelope.GetMsgID());
  const std::uint32_t nMsgReferenceIDBits =
      std::bit_cast<std::uint32_t>(m_objEnvelope.GetMsgReferenceID());
  std::string sReturnAddress = m_objEnvelope.GetReturnAddress();
  ImageCache* c = m_pImage.get();
  if (c && c->nMsgIDBits == nMsgIDBits && c->nMsgReferenceIDBits == nMsgReferenceIDBits &&
      c->nLocalPort == m_nLocalPort && c->flags == flags && c->sHostName == m_sHostName &&
      c->sAppPath == m_sAppPath && c->sIPAddress == m_sIPAddress && c->sUserName == m_sUserName &&
      c->sReturnAddress == sReturnAddress)
    return c->image;
  if (!c) {
    m_pImage = std::make_unique<ImageCache>();
    c = m_pImage.get();
  }
  c->image = EncodeImage();
  c->sReturnAddress = std::move(sReturnAddress);
  c->sHostName = m_sHostName;
  c->sUserName = m_sUserName;
  c->sAppPath = m_sAppPath;
  c->sIPAddress = m_sIPAddress;
  c->nMsgIDBits = nMsgIDBits;
  c->nMsgReferenceIDBits = nMsgReferenceIDBits;
  c->nLocalPort = m_nLocalPort;
  c->flags = flags;
  return c->image;
}

Bytes clsMsgHostInfo::EncodeImage() {
  using text_forms::FlagForm;
  const message_image::EnvelopeTexts envelope(kMsgType, m_objEnvelope);
  const std::string sIndexing = FlagForm(m_bIndexing),
                    sLocalPort = text_forms::SignedForm(m_nLocalPort),
                    sHostServices = FlagForm(m_bProvideHostServices),
                    sIntranet = FlagForm(m_bProvideIntranet), sWeb = FlagForm(m_bProvideWeb),
                    sNews = FlagForm(m_bProvideNews), sStocks = FlagForm(m_bProvideStocks),
                    sJobs = FlagForm(m_bProvideJobs), sInternet = FlagForm(m_bInternetReady);
  const PropertyBag::TextEntry entries[] = {
      {&message_image::kMsgType, envelope.sMsgType},
      {&message_image::kReturnAddress, envelope.sReturnAddress},
      {&message_image::kMsgIDWritten, envelope.sMsgID},
      {&message_image::kMsgReferenceIDWritten, envelope.sMsgReferenceID},
      {&kHostName, m_sHostName},
      {&kUserName, m_sUserName},
      {&kIndexing, sIndexing},
      {&kAppPath, m_sAppPath},
      {&kIPAddress, m_sIPAddress},
      {&kLocalPort, sLocalPort},
      {&kProvideHostServices, sHostServices},
      {&kProvideIntranet, sIntranet},
      {&kProvideWeb, sWeb},
      {&kProvideNews, sNews},
      {&kProvideStocks, sStocks},
      {&kProvideJobs, sJobs},
      {&kInternetReady, sInternet}};
  return PropertyBag::WriteImage(entries);
}

bool clsMsgHostInfo::SetObjectData(const Bytes& byteArray) {
  PropertyBag bag;
  if (!bag.ReadImage(byteArray, kImageOrder)) return false;
  return SetObjectData(bag);
}

bool clsMsgHostInfo::SetObjectData(const PropertyBag& bag) {
  using message_image::Text;
  if (!message_image::IsOfType(bag, kMsgType)) return false;
  if (!message_image::ReadEnvelope(bag, m_objEnvelope)) return false;

  std::string s;
  Text(bag, kHostName, m_sHostName);
  Text(bag, kUserName, m_sUserName);
  Text(bag, kIndexing, s);
  m_bIndexing = StringToBoolean(s);
  Text(bag, kAppPath, m_sAppPath);
  Text(bag, kIPAddress, m_sIPAddress);
  Text(bag, kLocalPort, s);
  const auto nLocalPort = text_forms::ReadInteger(s);
  if (!nLocalPort) return false;
  m_nLocalPort = *nLocalPort;
  Text(bag, kProvideHostServices, s);
  m_bProvideHostServices = StringToBoolean(s);
  Text(bag, kProvideIntranet, s);
  m_bProvideIntranet = StringToBoolean(s);
  Text(bag, kProvideWeb, s);
  m_bProvideWeb = StringToBoolean(s);
  Text(bag, kProvideNews, s);
  m_bProvideNews = StringToBoolean(s);
  Text(bag, kProvideStocks, s);
  m_bProvideStocks = StringToBoolean(s);
  Text(bag, kProvideJobs, s);
  m_bProvideJobs = StringToBoolean(s);
  Text(bag, kInternetReady, s);
  m_bInternetReady = StringToBoolean(s);
  return true;
}

bool clsMsgHostInfo::ChangeHostInfo(const std::shared_ptr<clsMsg>& obj) {
  const auto objIn = std::dynamic_pointer_cast<clsMsgHostInfo>(obj);
  if (!objIn) return false;
  // The envelope and the user list take no part.
  return !EqualsIgnoringCase(m_sHostName, objIn->m_sHostName) ||
         m_sIPAddress != objIn->m_sIPAddress || m_sAppPath != objIn->m_sAppPath ||
         m_sUserName != objIn->m_sUserName || m_nLocalPort != objIn->m_nLocalPort ||
         m_bProvideHostServices != objIn->m_bProvideHostServices ||
         m_bProvideIntranet != objIn->m_bProvideIntranet || m_bProvideWeb != objIn->m_bProvideWeb ||
         m_bProvideNews != objIn->m_bProvideNews || m_bProvideStocks != objIn->m_bProvideStocks ||
         m_bProvideJobs != objIn->m_bProvideJobs || m_bInternetReady != objIn->m_bInternetReady ||
         m_bIndexing != objIn->m_bIndexing || m_dtDateReceived != objIn->m_dtDateReceived;
}
}  // namespace launchagent
