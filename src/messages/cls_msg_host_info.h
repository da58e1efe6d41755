#pragma once
// clsMsgHostInfo (message type 4): one computer of the network as its agent announces
// it: host name and address, agent port, launch settings and service flags. The only
// message agents send each other; the registry keeps one per known computer.
//
// Names that C++ cannot overload on the return type: the class's own typed Change is
// ChangeHostInfo (Change through the interface stays False), and the direct GetMsgID
// that gives the identifier as decimal text is GetMsgIDText.
#include <memory>
#include <string>

#include "messages/cls_msg_concrete.h"
#include "messages/cls_msg_user_list.h"
#include "platform/date_time.h"

namespace launchagent {

class PropertyBag;

class clsMsgHostInfo : public clsMsgConcrete {
 public:
  static constexpr Integer kMsgType = kMsgTypeHostInfo;

  explicit clsMsgHostInfo(MessageContext& ctx);
  ~clsMsgHostInfo() override;

  // The interface.
  Bytes GetObjectData() override;
  // True when the image is a host information image and was read whole. Another type
  // changes nothing; a failure part-way keeps the fields read before it.
  bool SetObjectData(const Bytes& byteArray) override;
  // The same from an image already read into a bag (clsMsg::GetMsgType), so an
  // arrival is read once.
  bool SetObjectData(const PropertyBag& bag);

  // The class's own Change: true when obj is a host information message that differs
  // in host name (letter case ignored), IP address, application path, user name, local
  // port, a service flag, internet ready, indexing or date received.
  bool ChangeHostInfo(const std::shared_ptr<clsMsg>& obj);

  // The texts are handed out by reference: the registry reads them for every log line.

  const std::string& GetHostName() const { return m_sHostName; }
  void SetHostName(const std::string& sHostNameIn) { m_sHostName = sHostNameIn; }
  const std::string& GetUserName() const { return m_sUserName; }
  void SetUserName(const std::string& sUserNameIn) { m_sUserName = sUserNameIn; }
  bool GetIndexing() const { return m_bIndexing; }
  void SetIndexing(bool bIndexingIn) { m_bIndexing = bIndexingIn; }
  const std::string& GetAppPath() const { return m_sAppPath; }
  void SetAppPath(const std::string& sAppPathIn) { m_sAppPath = sAppPathIn; }
  const std::string& GetIPAddress() const { return m_sIPAddress; }
  void SetIPAddress(const std::string& sIPAddressIn) { m_sIPAddress = sIPAddressIn; }
  Integer GetLocalPort() const { return m_nLocalPort; }
  void SetLocalPort(Integer nLocalPortIn) { m_nLocalPort = nLocalPortIn; }
  bool GetProvideHostServices() const { return m_bProvideHostServices; }
  void SetProvideHostServices(bool bProvideHostServicesIn) {
    m_bProvideHostServices = bProvideHostServicesIn;
  }
  bool GetProvideIntranet() const { return m_bProvideIntranet; }
  void SetProvideIntranet(bool bProvideIntranetIn) { m_bProvideIntranet = bProvideIntranetIn; }
  bool GetProvideWeb() const { return m_bProvideWeb; }
  void SetProvideWeb(bool bProvideWebIn) { m_bProvideWeb = bProvideWebIn; }
  bool GetProvideNews() const { return m_bProvideNews; }
  void SetProvideNews(bool bProvideNewsIn) { m_bProvideNews = bProvideNewsIn; }
  bool GetProvideStocks() const { return m_bProvideStocks; }
  void SetProvideStocks(bool bProvideStocksIn) { m_bProvideStocks = bProvideStocksIn; }
  bool GetProvideJobs() const { return m_bProvideJobs; }
  void SetProvideJobs(bool bProvideJobsIn) { m_bProvideJobs = bProvideJobsIn; }
  bool GetInternetReady() const { return m_bInternetReady; }
  void SetInternetReady(bool bInternetReadyIn) { m_bInternetReady = bInternetReadyIn; }
  // Messages own no clock: the caller passes its clock's Now().
  DateTime GetDateReceived() const { return m_dtDateReceived; }
  void SetDateReceived(DateTime now) { m_dtDateReceived = now; }
  std::shared_ptr<clsMsgUserList> GetMsgUL() const { return m_objMsgUL; }
  void SetMsgUL(std::shared_ptr<clsMsgUserList> clsMsgULIn) { m_objMsgUL = std::move(clsMsgULIn); }

 private:
  Bytes EncodeImage();

  std::string m_sHostName;
  std::string m_sUserName;
  bool m_bIndexing = false;
  std::string m_sAppPath;
  std::string m_sIPAddress;
  Integer m_nLocalPort = 0;
  bool m_bProvideHostServices = false;
  bool m_bProvideIntranet = false;
  bool m_bProvideWeb = false;
  bool m_bProvideNews = false;
  bool m_bProvideStocks = false;
  bool m_bProvideJobs = false;
  bool m_bInternetReady = false;
  DateTime m_dtDateReceived;  // the origin until a receipt is stamped
  std::shared_ptr<clsMsgUserList> m_objMsgUL;
  // The last image and the fields it was made from: a broadcast hands the same
  // description to every host, so an unchanged message is encoded once.
  struct ImageCache;
  std::unique_ptr<ImageCache> m_pImage;
};

}  // namespace launchagent
