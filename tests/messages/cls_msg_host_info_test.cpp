#include "messages/cls_msg_host_info.h"

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "message_fixture.h"
#include "messages/cls_msg_hello.h"
#include "messages/cls_msg_user_list.h"

namespace launchagent {
namespace {

// The example computer PC7 (10.0.0.7, port 1230, web only) as its image shows it.
const std::string kExample =
    "MsgType=4\nsReturnAddress=PC7\nsglMsgID= .7055475\nsglMsgReferenceID= 0\n"
    "sHostName=PC7\nsUserName=\nbIndexing=False\nsAppPath=\nsIPAddress=10.0.0.7\n"
    "nLocalPort= 1230\nbProvideHostServices=False\nbProvideIntranet=False\nbProvideWeb=True\n"
    "bProvideNews=False\nbProvideStocks=False\nbProvideJobs=False\nbInternetReady=False\n";
// A second computer with every field different from the example.
const std::string kOther =
    "MsgType=4\nsReturnAddress=PC9\nsglMsgID= .25\nsglMsgReferenceID= .5\n"
    "sHostName=PC9\nsUserName=anna\nbIndexing=True\nsAppPath=\\\\PC9\\c\\Varno\\Varno3.exe\n"
    "sIPAddress=10.0.0.9\nnLocalPort= 1231\nbProvideHostServices=True\nbProvideIntranet=True\n"
    "bProvideWeb=False\nbProvideNews=True\nbProvideStocks=True\nbProvideJobs=True\n"
    "bInternetReady=True\n";

// sImage with sLine in place of the line with the same key.
std::string With(std::string sImage, const std::string& sLine) {
  const std::size_t nAt = sImage.find("\n" + sLine.substr(0, sLine.find('=') + 1)) + 1;
  return sImage.replace(nAt, sImage.find('\n', nAt) - nAt, sLine);
}

class ClsMsgHostInfoTest : public MessageTest {
 protected:
  std::shared_ptr<clsMsgHostInfo> Example() {
    auto obj = std::make_shared<clsMsgHostInfo>(*this);
    obj->SetHostName("PC7");
    obj->SetIPAddress("10.0.0.7");
    obj->SetLocalPort(1230);
    obj->SetProvideWeb(true);
    obj->SetMsgID(0.7055475f);
    return obj;
  }
};

TEST_F(ClsMsgHostInfoTest, TheSeventeenKeysInOrder) {
  // Keys and values in this order; date received and user list never travel.
  EXPECT_EQ(Show(Example()->GetObjectData()), Show(ImageOf(kExample)));
}

TEST_F(ClsMsgHostInfoTest, ReadBackEqualsWritten) {
  auto objSent = std::make_shared<clsMsgHostInfo>(*this);
  ASSERT_TRUE(objSent->SetObjectData(ImageOf(kOther)));
  objSent->SetUserName("Anna Öberg");  // non-ASCII survives the trip
  objSent->SetLocalPort(-2);
  // Every field of the receiver differs before: its image shows that each was read.
  sHostName = "PC1";
  auto objReceived = Example();
  const DateTime dt = DateTime::FromCivil(2024, 5, 1, 10, 0, 0);
  auto objUL = std::make_shared<clsMsgUserList>(*this);
  objReceived->SetDateReceived(dt);
  objReceived->SetMsgUL(objUL);
  ASSERT_TRUE(objReceived->SetObjectData(objSent->GetObjectData()));
  EXPECT_EQ(Show(objReceived->GetObjectData()), Show(objSent->GetObjectData()));
  // Reading leaves the receipt stamp and the user list alone.
  EXPECT_EQ(objReceived->GetDateReceived(), dt);
  EXPECT_EQ(objReceived->GetMsgUL(), objUL);
}

TEST_F(ClsMsgHostInfoTest, EveryChangeShowsInTheImageAndCountsUnlessEnvelopeOrCase) {
  // A message is asked for its image again and again between changes (a broadcast asks
  // once per host): every field of the image, envelope included, must show at once. A
  // change counts, either way round, unless it is of the envelope or the host name's case.
  const std::string sBase = With(With(kExample, "sUserName=anna"), "sAppPath=\\\\PC7\\c\\v.exe");
  const auto Base = [&] {
    auto obj = Example();
    obj->SetUserName("anna");
    obj->SetAppPath("\\\\PC7\\c\\v.exe");
    return obj;
  };
  using M = clsMsgHostInfo;
  using Change = void (*)(M&);
  const std::tuple<Change, const char*, bool> kChanges[] = {
      {[](M& m) { m.SetReturnAddress("PC8"); }, "sReturnAddress=PC8", false},
      {[](M& m) { m.SetMsgID(0.25f); }, "sglMsgID= .25", false},
      {[](M& m) { m.SetMsgReferenceID(0.5f); }, "sglMsgReferenceID= .5", false},
      {[](M& m) { m.SetHostName("pc7"); }, "sHostName=pc7", false},
      {[](M& m) { m.SetHostName("PC8"); }, "sHostName=PC8", true},
      {[](M& m) { m.SetUserName("ANNA"); }, "sUserName=ANNA", true},
      {[](M& m) { m.SetIndexing(true); }, "bIndexing=True", true},
      {[](M& m) { m.SetAppPath("\\\\PC7\\C\\v.exe"); }, "sAppPath=\\\\PC7\\C\\v.exe", true},
      {[](M& m) { m.SetIPAddress("10.0.0.70"); }, "sIPAddress=10.0.0.70", true},
      {[](M& m) { m.SetLocalPort(1231); }, "nLocalPort= 1231", true},
      {[](M& m) { m.SetProvideHostServices(true); }, "bProvideHostServices=True", true},
      {[](M& m) { m.SetProvideIntranet(true); }, "bProvideIntranet=True", true},
      {[](M& m) { m.SetProvideWeb(false); }, "bProvideWeb=False", true},
      {[](M& m) { m.SetProvideNews(true); }, "bProvideNews=True", true},
      {[](M& m) { m.SetProvideStocks(true); }, "bProvideStocks=True", true},
      {[](M& m) { m.SetProvideJobs(true); }, "bProvideJobs=True", true},
      {[](M& m) { m.SetInternetReady(true); }, "bInternetReady=True", true}};
  EXPECT_FALSE(Base()->ChangeHostInfo(Base()));
  for (const auto& [change, szLine, bCounts] : kChanges) {
    auto obj = Base();
    ASSERT_EQ(Show(obj->GetObjectData()), Show(ImageOf(sBase)));
    change(*obj);
    EXPECT_EQ(Show(obj->GetObjectData()), Show(ImageOf(With(sBase, szLine)))) << szLine;
    EXPECT_EQ(Base()->ChangeHostInfo(obj), bCounts) << szLine;
    EXPECT_EQ(obj->ChangeHostInfo(Base()), bCounts) << szLine;
  }
  // A whole image read in, then the receipt stamp (not part of the image) changed.
  auto obj = Example();
  obj->GetObjectData();
  ASSERT_TRUE(obj->SetObjectData(ImageOf(kOther)));
  EXPECT_EQ(Show(obj->GetObjectData()), Show(ImageOf(kOther)));
  obj->SetDateReceived(DateTime{5});
  EXPECT_EQ(obj->GetObjectData(), ImageOf(kOther));
}

TEST_F(ClsMsgHostInfoTest, ImagesItDoesNotTake) {
  // A port out of range fails after the envelope and the text fields were replaced; the
  // port and the flags stay as they were.
  auto obj = Example();
  EXPECT_FALSE(obj->SetObjectData(ImageOf(With(kOther, "nLocalPort=40000"))));
  EXPECT_EQ(Show(obj->GetObjectData()),
            Show(ImageOf(kOther.substr(0, kOther.find("nLocalPort")) +
                         kExample.substr(kExample.find("nLocalPort")))));
  // A reference identifier out of range keeps the identifier and return address before it.
  obj = Example();
  EXPECT_FALSE(obj->SetObjectData(ImageOf(
      "MsgType=4\nsglMsgID= .5\nsReturnAddress=PC9\nsglMsgReferenceID=-1E+39\nsHostName=PC9\n")));
  EXPECT_EQ(Show(obj->GetObjectData()),
            Show(ImageOf(With(With(kExample, "sglMsgID= .5"), "sReturnAddress=PC9"))));
  // Another type, or no image at all, changes nothing.
  const Bytes good = ImageOf(kOther);
  for (const Bytes& image : {std::make_shared<clsMsgUserList>(*this)->GetObjectData(),
                             std::make_shared<clsMsgHello>(*this)->GetObjectData(),
                             ImageOf("sHostName=PC9\n"), ImageOf("MsgType=40000\nsHostName=PC9\n"),
                             Bytes(), Bytes(64, 0x41), Bytes(good.begin(), good.end() - 4),
                             ImageOf("MsgType=4\nsglMsgID=1E+39\nsHostName=PC9\n")}) {
    obj = Example();
    EXPECT_FALSE(obj->SetObjectData(image)) << Show(image);
    EXPECT_EQ(obj->GetObjectData(), Example()->GetObjectData()) << Show(image);
  }
}

TEST_F(ClsMsgHostInfoTest, ReadingIsLenientAndAbsentKeysReadAsEmpty) {
  auto obj = std::make_shared<clsMsgHostInfo>(*this);
  ASSERT_TRUE(obj->SetObjectData(ImageOf(kOther)));
  // Keys in any case; numbers read leniently, a half to the even neighbour; only "true" is
  // true; text stays as it came; every key left out reads as empty text: 0, False or "".
  ASSERT_TRUE(obj->SetObjectData(
      ImageOf("msgtype=4\nSGLMSGID=  0.5e0xyz\nnLocalPort=1230.5\nbProvideWeb=  true \n"
              "bProvideNews=-1\nbInternetReady=1\nsHostName=  spaced  \n")));
  EXPECT_EQ(Show(obj->GetObjectData()),
            Show(ImageOf("MsgType=4\nsReturnAddress=\nsglMsgID= .5\nsglMsgReferenceID= 0\n"
                         "sHostName=  spaced  \nsUserName=\nbIndexing=False\nsAppPath=\n"
                         "sIPAddress=\nnLocalPort= 1230\nbProvideHostServices=False\n"
                         "bProvideIntranet=False\nbProvideWeb=True\nbProvideNews=False\n"
                         "bProvideStocks=False\nbProvideJobs=False\nbInternetReady=False\n")));
}

TEST_F(ClsMsgHostInfoTest, ChangeBeyondTheImage) {
  // Beyond the image: a second on the receipt stamp counts, the user list does not.
  auto objNew = Example();
  objNew->SetMsgUL(std::make_shared<clsMsgUserList>(*this));
  EXPECT_FALSE(Example()->ChangeHostInfo(objNew));
  objNew->SetDateReceived(DateTime{1});
  EXPECT_TRUE(Example()->ChangeHostInfo(objNew));
  EXPECT_TRUE(objNew->ChangeHostInfo(Example()));
  // Another class or nothing is no change.
  EXPECT_FALSE(Example()->ChangeHostInfo(std::make_shared<clsMsgHello>(*this)));
  EXPECT_FALSE(Example()->ChangeHostInfo(nullptr));
}

}  // namespace
}  // namespace launchagent
