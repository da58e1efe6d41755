#include "messages/cls_msg_host_info.h"

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

}  // namespace

clsMsgHostInfo::clsMsgHostInfo(MessageContext& ctx) : clsMsgConcrete(ctx) {}

clsMsgHostInfo::~clsMsgHostInfo() = default;

Bytes clsMsgHostInfo::GetObjectData() {
  using text_forms::FlagForm;
  PropertyBag bag;
  message_image::WriteEnvelope(bag, kMsgType, m_objEnvelope);
  message_image::Write(bag, kHostName, m_sHostName);
  message_image::Write(bag, kUserName, m_sUserName);
  message_image::Write(bag, kIndexing, FlagForm(m_bIndexing));
  message_image::Write(bag, kAppPath, m_sAppPath);
  message_image::Write(bag, kIPAddress, m_sIPAddress);
  message_image::Write(bag, kLocalPort, text_forms::SignedForm(m_nLocalPort));
  message_image::Write(bag, kProvideHostServices, FlagForm(m_bProvideHostServices));
  message_image::Write(bag, kProvideIntranet, FlagForm(m_bProvideIntranet));
  message_image::Write(bag, kProvideWeb, FlagForm(m_bProvideWeb));
  message_image::Write(bag, kProvideNews, FlagForm(m_bProvideNews));
  message_image::Write(bag, kProvideStocks, FlagForm(m_bProvideStocks));
  message_image::Write(bag, kProvideJobs, FlagForm(m_bProvideJobs));
  message_image::Write(bag, kInternetReady, FlagForm(m_bInternetReady));
  return bag.Contents();
}

bool clsMsgHostInfo::SetObjectData(const Bytes& byteArray) {
  using message_image::Text;
  PropertyBag bag;
  if (!bag.SetContents(byteArray)) return false;
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
