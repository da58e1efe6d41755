#include "messages/cls_msg_host_info.h"

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
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
  const Bytes image = objSent->GetObjectData();

  // Every field of the receiver differs before: its image shows that each was read.
  sHostName = "PC1";
  auto objReceived = Example();
  const DateTime dt = DateTime::FromCivil(2024, 5, 1, 10, 0, 0);
  auto objUL = std::make_shared<clsMsgUserList>(*this);
  objReceived->SetDateReceived(dt);
  objReceived->SetMsgUL(objUL);
  ASSERT_TRUE(objReceived->SetObjectData(image));
  EXPECT_EQ(Show(objReceived->GetObjectData()), Show(image));
  // Reading leaves the receipt stamp and the user list alone.
  EXPECT_EQ(objReceived->GetDateReceived(), dt);
  EXPECT_EQ(objReceived->GetMsgUL(), objUL);
  objSent->SetDateReceived(dt);
  EXPECT_FALSE(objReceived->ChangeHostInfo(objSent));
}

TEST_F(ClsMsgHostInfoTest, NumberOutOfRangeFailsKeepingWhatCameAfter) {
  // The port fails after the envelope and the text fields were replaced; the port and
  // the flags stay as they were.
  std::string sImage = kOther;
  sImage.replace(sImage.find("nLocalPort= 1231"), 16, "nLocalPort=40000");
  auto obj = Example();
  EXPECT_FALSE(obj->SetObjectData(ImageOf(sImage)));
  const std::string sKept = kExample.substr(kExample.find("nLocalPort"));
  EXPECT_EQ(Show(obj->GetObjectData()),
            Show(ImageOf(kOther.substr(0, kOther.find("nLocalPort")) + sKept)));

  // A reference identifier out of range keeps the identifier and return address before it.
  obj = Example();
  EXPECT_FALSE(obj->SetObjectData(ImageOf(
      "MsgType=4\nsglMsgID= .5\nsReturnAddress=PC9\nsglMsgReferenceID=-1E+39\nsHostName=PC9\n")));
  EXPECT_EQ(obj->GetMsgID(), 0.5f);
  EXPECT_EQ(obj->GetReturnAddress(), "PC9");
  EXPECT_EQ(obj->GetMsgReferenceID(), 0.0f);
  EXPECT_EQ(obj->GetHostName(), "PC7");
}

TEST_F(ClsMsgHostInfoTest, WhatIsNotItsImageChangesNothing) {
  auto objUserList = std::make_shared<clsMsgUserList>(*this);
  objUserList->SetUserCnt(1);
  objUserList->SetUsers(1, "anna");
  const Bytes good = ImageOf(kOther);
  const std::vector<std::pair<const char*, Bytes>> cases = {
      {"user list", objUserList->GetObjectData()},
      {"hello", std::make_shared<clsMsgHello>(*this)->GetObjectData()},
      {"no type", ImageOf("sHostName=PC9\n")},
      {"type 40000", ImageOf("MsgType=40000\nsHostName=PC9\n")},
      {"empty bytes", Bytes()},
      {"junk", Bytes(64, 0x41)},
      {"truncated", Bytes(good.begin(), good.end() - 4)},
      {"identifier too large", ImageOf("MsgType=4\nsglMsgID=1E+39\nsHostName=PC9\n")},
  };
  for (const auto& [szWhat, image] : cases) {
    auto obj = Example();
    const Bytes before = obj->GetObjectData();
    EXPECT_FALSE(obj->SetObjectData(image)) << szWhat;
    EXPECT_EQ(obj->GetObjectData(), before) << szWhat;
  }
}

TEST_F(ClsMsgHostInfoTest, ReadingIsLenientAndAbsentKeysReadAsEmpty) {
  auto obj = std::make_shared<clsMsgHostInfo>(*this);
  ASSERT_TRUE(obj->SetObjectData(
      ImageOf("msgtype=4\nSGLMSGID=  0.5e0xyz\nnLocalPort=1230.5\nbProvideWeb=  true \n"
              "bProvideNews=-1\nbInternetReady=1\nsHostName=  spaced  \n")));
  EXPECT_EQ(obj->GetMsgID(), 0.5f);
  EXPECT_EQ(obj->GetLocalPort(), 1230);  // a half rounds to the even neighbour
  EXPECT_TRUE(obj->GetProvideWeb());
  EXPECT_FALSE(obj->GetProvideNews());
  EXPECT_FALSE(obj->GetInternetReady());
  EXPECT_EQ(obj->GetHostName(), "  spaced  ");  // text stays as it came

  // Every key left out reads as empty text: 0, False or "".
  ASSERT_TRUE(obj->SetObjectData(ImageOf(kOther)));
  ASSERT_TRUE(obj->SetObjectData(ImageOf("MsgType= 4\n")));
  auto objEmpty = std::make_shared<clsMsgHostInfo>(*this);
  objEmpty->SetMsgID(0);
  objEmpty->SetReturnAddress("");
  EXPECT_EQ(Show(obj->GetObjectData()), Show(objEmpty->GetObjectData()));
}

TEST_F(ClsMsgHostInfoTest, ChangeComparesTheFieldsThatMatter) {
  using O = clsMsgHostInfo;
  const std::vector<std::tuple<const char*, std::function<void(O&)>, bool>> cases = {
      {"nothing", [](O&) {}, false},
      {"host name case", [](O& o) { o.SetHostName("pc7"); }, false},
      {"host name", [](O& o) { o.SetHostName("PC8"); }, true},
      {"user name case", [](O& o) { o.SetUserName("ANNA"); }, true},
      {"IP address", [](O& o) { o.SetIPAddress("10.0.0.8"); }, true},
      {"app path case", [](O& o) { o.SetAppPath("\\\\PC7\\C\\v.exe"); }, true},
      {"port", [](O& o) { o.SetLocalPort(1231); }, true},
      {"indexing", [](O& o) { o.SetIndexing(true); }, true},
      {"host services", [](O& o) { o.SetProvideHostServices(true); }, true},
      {"intranet", [](O& o) { o.SetProvideIntranet(true); }, true},
      {"web", [](O& o) { o.SetProvideWeb(false); }, true},
      {"news", [](O& o) { o.SetProvideNews(true); }, true},
      {"stocks", [](O& o) { o.SetProvideStocks(true); }, true},
      {"jobs", [](O& o) { o.SetProvideJobs(true); }, true},
      {"internet ready", [](O& o) { o.SetInternetReady(true); }, true},
      {"one second later", [](O& o) { o.SetDateReceived(DateTime{1}); }, true},
      {"identifier", [](O& o) { o.SetMsgID(0.5f); }, false},
      {"reference identifier", [](O& o) { o.SetMsgReferenceID(1); }, false},
      {"return address", [](O& o) { o.SetReturnAddress("elsewhere"); }, false},
      {"user list", [&](O& o) { o.SetMsgUL(std::make_shared<clsMsgUserList>(*this)); }, false},
  };
  for (const auto& [szWhat, edit, bChanged] : cases) {
    auto objStored = Example();
    auto objNew = Example();
    for (auto& obj : {objStored, objNew}) {
      obj->SetUserName("anna");
      obj->SetAppPath("\\\\PC7\\c\\v.exe");
    }
    edit(*objNew);
    EXPECT_EQ(objStored->ChangeHostInfo(objNew), bChanged) << szWhat;
    EXPECT_EQ(objNew->ChangeHostInfo(objStored), bChanged) << szWhat;
  }
  // Another class or nothing is no change.
  EXPECT_FALSE(Example()->ChangeHostInfo(std::make_shared<clsMsgHello>(*this)));
  EXPECT_FALSE(Example()->ChangeHostInfo(nullptr));
}

}  // namespace
}  // namespace launchagent
