#include "messages/cls_msg_host_info.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "messages/cls_msg_hello.h"
#include "messages/cls_msg_user_list.h"
#include "messages/image_text.h"
#include "platform/property_bag.h"

namespace launchagent {
namespace {

class TestContext : public MessageContext {
 public:
  double SecondsSinceMidnight() override { return dSeconds; }
  std::string LocalHostName() override { return sHostName; }
  double dSeconds = 43210.5;
  std::string sHostName = "PC7";
};

std::string Lower(std::string s) {
  for (char& c : s) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return s;
}

Bytes ImageOf(const std::string& sLines) {
  Bytes b;
  std::string sError;
  EXPECT_TRUE(image_text::BuildImage(sLines, b, sError)) << sError;
  return b;
}

// The example computer: PC7 at 10.0.0.7, port 1230, web only.
std::shared_ptr<clsMsgHostInfo> ExampleHost(TestContext& ctx) {
  auto obj = std::make_shared<clsMsgHostInfo>(ctx);
  obj->SetHostName("PC7");
  obj->SetUserName("");
  obj->SetIndexing(false);
  obj->SetAppPath("");
  obj->SetIPAddress("10.0.0.7");
  obj->SetLocalPort(1230);
  obj->SetProvideWeb(true);
  obj->SetMsgID(0.7055475f);
  return obj;
}

// A second computer with every field different from the example.
const char kOtherImage[] =
    "MsgType=4\n"
    "sReturnAddress=PC9\n"
    "sglMsgID= .25\n"
    "sglMsgReferenceID= .5\n"
    "sHostName=PC9\n"
    "sUserName=anna\n"
    "bIndexing=True\n"
    "sAppPath=\\\\PC9\\c\\Varno\\Varno3.exe\n"
    "sIPAddress=10.0.0.9\n"
    "nLocalPort= 1231\n"
    "bProvideHostServices=True\n"
    "bProvideIntranet=True\n"
    "bProvideWeb=False\n"
    "bProvideNews=True\n"
    "bProvideStocks=True\n"
    "bProvideJobs=True\n"
    "bInternetReady=True\n";

TEST(ClsMsgHostInfoTest, InitialValues) {
  TestContext ctx;
  auto obj = std::make_shared<clsMsgHostInfo>(ctx);
  EXPECT_EQ(obj->GetHostName(), "");
  EXPECT_EQ(obj->GetUserName(), "");
  EXPECT_FALSE(obj->GetIndexing());
  EXPECT_EQ(obj->GetAppPath(), "");
  EXPECT_EQ(obj->GetIPAddress(), "");
  EXPECT_EQ(obj->GetLocalPort(), 0);
  EXPECT_FALSE(obj->GetProvideHostServices());
  EXPECT_FALSE(obj->GetProvideIntranet());
  EXPECT_FALSE(obj->GetProvideWeb());
  EXPECT_FALSE(obj->GetProvideNews());
  EXPECT_FALSE(obj->GetProvideStocks());
  EXPECT_FALSE(obj->GetProvideJobs());
  EXPECT_FALSE(obj->GetInternetReady());
  EXPECT_EQ(obj->GetDateReceived(), DateTime{});
  EXPECT_EQ(obj->GetMsgUL(), nullptr);
}

TEST(ClsMsgHostInfoTest, TheSeventeenKeysInOrder) {
  TestContext ctx;
  const Bytes image = ExampleHost(ctx)->GetObjectData();
  platform::PropertyBag bag;
  ASSERT_TRUE(bag.SetContents(image));
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"MsgType", "4"},
      {"sReturnAddress", "PC7"},
      {"sglMsgID", " .7055475"},
      {"sglMsgReferenceID", " 0"},
      {"sHostName", "PC7"},
      {"sUserName", ""},
      {"bIndexing", "False"},
      {"sAppPath", ""},
      {"sIPAddress", "10.0.0.7"},
      {"nLocalPort", " 1230"},
      {"bProvideHostServices", "False"},
      {"bProvideIntranet", "False"},
      {"bProvideWeb", "True"},
      {"bProvideNews", "False"},
      {"bProvideStocks", "False"},
      {"bProvideJobs", "False"},
      {"bInternetReady", "False"},
  };
  const auto entries = bag.Entries();
  ASSERT_EQ(entries.size(), expected.size());
  for (std::size_t k = 0; k < expected.size(); ++k) {
    EXPECT_EQ(entries[k].sName, Lower(expected[k].first)) << k;
    EXPECT_EQ(entries[k].sValue, expected[k].second) << expected[k].first;
    EXPECT_EQ(bag.ReadProperty(expected[k].first), expected[k].second) << expected[k].first;
  }
  // Date received and user list never travel.
  EXPECT_EQ(bag.ReadProperty("dtDateReceived"), std::nullopt);
}

TEST(ClsMsgHostInfoTest, ReadBackEqualsWritten) {
  TestContext ctx;
  auto objSent = std::make_shared<clsMsgHostInfo>(ctx);
  ASSERT_TRUE(objSent->SetObjectData(ImageOf(kOtherImage)));
  objSent->SetUserName("Anna Öberg");  // non-ASCII survives the trip
  objSent->SetLocalPort(-2);
  const Bytes image = objSent->GetObjectData();

  ctx.dSeconds += 1;
  ctx.sHostName = "PC1";
  auto objReceived = std::make_shared<clsMsgHostInfo>(ctx);
  ASSERT_TRUE(objReceived->SetObjectData(image));
  EXPECT_EQ(objReceived->GetHostName(), "PC9");
  EXPECT_EQ(objReceived->GetUserName(), "Anna Öberg");
  EXPECT_TRUE(objReceived->GetIndexing());
  EXPECT_EQ(objReceived->GetAppPath(), "\\\\PC9\\c\\Varno\\Varno3.exe");
  EXPECT_EQ(objReceived->GetIPAddress(), "10.0.0.9");
  EXPECT_EQ(objReceived->GetLocalPort(), -2);
  EXPECT_TRUE(objReceived->GetProvideHostServices());
  EXPECT_TRUE(objReceived->GetProvideIntranet());
  EXPECT_FALSE(objReceived->GetProvideWeb());
  EXPECT_TRUE(objReceived->GetProvideNews());
  EXPECT_TRUE(objReceived->GetProvideStocks());
  EXPECT_TRUE(objReceived->GetProvideJobs());
  EXPECT_TRUE(objReceived->GetInternetReady());
  EXPECT_EQ(objReceived->GetMsgID(), 0.25f);
  EXPECT_EQ(objReceived->GetMsgReferenceID(), 0.5f);
  EXPECT_EQ(objReceived->GetReturnAddress(), "PC9");
  EXPECT_FALSE(objReceived->ChangeHostInfo(objSent));
  EXPECT_EQ(objReceived->GetObjectData(), image);
}

TEST(ClsMsgHostInfoTest, ExampleRoundTrip) {
  TestContext ctx;
  auto objSent = ExampleHost(ctx);
  auto objReceived = std::make_shared<clsMsgHostInfo>(ctx);
  objReceived->SetMsgID(0.125f);
  ASSERT_TRUE(objReceived->SetObjectData(objSent->GetObjectData()));
  EXPECT_EQ(objReceived->GetMsgID(), 0.7055475f);
  EXPECT_EQ(objReceived->GetLocalPort(), 1230);
  EXPECT_TRUE(objReceived->GetProvideWeb());
  EXPECT_FALSE(objReceived->ChangeHostInfo(objSent));
  // Receipt stamps differ: now it counts as changed.
  objReceived->SetDateReceived(DateTime::FromCivil(2024, 5, 1, 10, 0, 0));
  EXPECT_TRUE(objReceived->ChangeHostInfo(objSent));
}

TEST(ClsMsgHostInfoTest, PortOutOfRangeFailsAfterTheTextFields) {
  TestContext ctx;
  auto obj = ExampleHost(ctx);
  const Single sglOldID = obj->GetMsgID();
  std::string sImage = kOtherImage;
  sImage.replace(sImage.find("nLocalPort= 1231"), 16, "nLocalPort=40000");
  EXPECT_FALSE(obj->SetObjectData(ImageOf(sImage)));
  // Replaced: the envelope and host name to IP address.
  EXPECT_NE(obj->GetMsgID(), sglOldID);
  EXPECT_EQ(obj->GetMsgID(), 0.25f);
  EXPECT_EQ(obj->GetReturnAddress(), "PC9");
  EXPECT_EQ(obj->GetHostName(), "PC9");
  EXPECT_EQ(obj->GetUserName(), "anna");
  EXPECT_TRUE(obj->GetIndexing());
  EXPECT_EQ(obj->GetAppPath(), "\\\\PC9\\c\\Varno\\Varno3.exe");
  EXPECT_EQ(obj->GetIPAddress(), "10.0.0.9");
  // Kept: the port and the flags.
  EXPECT_EQ(obj->GetLocalPort(), 1230);
  EXPECT_FALSE(obj->GetProvideHostServices());
  EXPECT_FALSE(obj->GetProvideIntranet());
  EXPECT_TRUE(obj->GetProvideWeb());
  EXPECT_FALSE(obj->GetProvideNews());
  EXPECT_FALSE(obj->GetProvideStocks());
  EXPECT_FALSE(obj->GetProvideJobs());
  EXPECT_FALSE(obj->GetInternetReady());
}

TEST(ClsMsgHostInfoTest, WhatIsNotItsImageChangesNothing) {
  TestContext ctx;
  auto objUserList = std::make_shared<clsMsgUserList>(ctx);
  objUserList->SetUserCnt(1);
  objUserList->SetUsers(1, "anna");
  auto objHello = std::make_shared<clsMsgHello>(ctx);
  const Bytes good = ImageOf(kOtherImage);
  Bytes twoImages = good;
  twoImages.insert(twoImages.end(), good.begin(), good.end());
  Bytes trailing = good;
  trailing.push_back(0);

  struct Case {
    const char* szWhat;
    Bytes image;
  };
  const std::vector<Case> cases = {
      {"user list", objUserList->GetObjectData()},
      {"hello", objHello->GetObjectData()},
      {"no type", ImageOf("sHostName=PC9\n")},
      {"type 40000", ImageOf("MsgType=40000\nsHostName=PC9\n")},
      {"empty bytes", Bytes()},
      {"junk", Bytes(64, 0x41)},
      {"two images", twoImages},
      {"trailing byte", trailing},
      {"truncated", Bytes(good.begin(), good.end() - 4)},
      {"identifier too large", ImageOf("MsgType=4\nsglMsgID=1E+39\nsHostName=PC9\n")},
  };
  for (const Case& c : cases) {
    auto obj = ExampleHost(ctx);
    const Bytes before = obj->GetObjectData();
    EXPECT_FALSE(obj->SetObjectData(c.image)) << c.szWhat;
    EXPECT_EQ(obj->GetObjectData(), before) << c.szWhat;
  }
}

TEST(ClsMsgHostInfoTest, ReferenceIdentifierOutOfRangeKeepsWhatCameBefore) {
  TestContext ctx;
  auto obj = ExampleHost(ctx);
  EXPECT_FALSE(obj->SetObjectData(
      ImageOf("MsgType=4\nsglMsgID= .5\nsReturnAddress=PC9\nsglMsgReferenceID=-1E+39\n"
              "sHostName=PC9\n")));
  EXPECT_EQ(obj->GetMsgID(), 0.5f);
  EXPECT_EQ(obj->GetReturnAddress(), "PC9");
  EXPECT_EQ(obj->GetMsgReferenceID(), 0.0f);
  EXPECT_EQ(obj->GetHostName(), "PC7");
}

TEST(ClsMsgHostInfoTest, AbsentKeysReadAsEmptyText) {
  TestContext ctx;
  auto obj = std::make_shared<clsMsgHostInfo>(ctx);
  ASSERT_TRUE(obj->SetObjectData(ImageOf(kOtherImage)));
  ASSERT_TRUE(obj->SetObjectData(ImageOf("MsgType= 4\n")));
  EXPECT_EQ(obj->GetMsgID(), 0.0f);
  EXPECT_EQ(obj->GetReturnAddress(), "");
  EXPECT_EQ(obj->GetHostName(), "");
  EXPECT_EQ(obj->GetAppPath(), "");
  EXPECT_EQ(obj->GetLocalPort(), 0);
  EXPECT_FALSE(obj->GetIndexing());
  EXPECT_FALSE(obj->GetInternetReady());
}

TEST(ClsMsgHostInfoTest, ReadingIsLenient) {
  TestContext ctx;
  auto obj = std::make_shared<clsMsgHostInfo>(ctx);
  ASSERT_TRUE(obj->SetObjectData(
      ImageOf("msgtype=4\nSGLMSGID=  0.5e0xyz\nnLocalPort=1230.5\nbProvideWeb=  true \n"
              "bProvideNews=-1\nbInternetReady=1\nsHostName=  spaced  \n")));
  EXPECT_EQ(obj->GetMsgID(), 0.5f);
  EXPECT_EQ(obj->GetLocalPort(), 1230);  // a half rounds to the even neighbour
  EXPECT_TRUE(obj->GetProvideWeb());
  EXPECT_FALSE(obj->GetProvideNews());
  EXPECT_FALSE(obj->GetInternetReady());
  EXPECT_EQ(obj->GetHostName(), "  spaced  ");  // text stays as it came
}

TEST(ClsMsgHostInfoTest, ChangeComparesTheFieldsThatMatter) {
  TestContext ctx;
  using Edit = std::function<void(clsMsgHostInfo&)>;
  struct Case {
    const char* szWhat;
    Edit edit;
    bool bChanged;
  };
  const std::vector<Case> cases = {
      {"nothing", [](clsMsgHostInfo&) {}, false},
      {"host name case", [](clsMsgHostInfo& o) { o.SetHostName("pc7"); }, false},
      {"host name", [](clsMsgHostInfo& o) { o.SetHostName("PC8"); }, true},
      {"user name case", [](clsMsgHostInfo& o) { o.SetUserName("ANNA"); }, true},
      {"IP address", [](clsMsgHostInfo& o) { o.SetIPAddress("10.0.0.8"); }, true},
      {"app path case", [](clsMsgHostInfo& o) { o.SetAppPath("\\\\PC7\\C\\v.exe"); }, true},
      {"port", [](clsMsgHostInfo& o) { o.SetLocalPort(1231); }, true},
      {"indexing", [](clsMsgHostInfo& o) { o.SetIndexing(true); }, true},
      {"host services", [](clsMsgHostInfo& o) { o.SetProvideHostServices(true); }, true},
      {"intranet", [](clsMsgHostInfo& o) { o.SetProvideIntranet(true); }, true},
      {"web", [](clsMsgHostInfo& o) { o.SetProvideWeb(false); }, true},
      {"news", [](clsMsgHostInfo& o) { o.SetProvideNews(true); }, true},
      {"stocks", [](clsMsgHostInfo& o) { o.SetProvideStocks(true); }, true},
      {"jobs", [](clsMsgHostInfo& o) { o.SetProvideJobs(true); }, true},
      {"internet ready", [](clsMsgHostInfo& o) { o.SetInternetReady(true); }, true},
      {"one second later",
       [](clsMsgHostInfo& o) { o.SetDateReceived(DateTime::FromCivil(1899, 12, 30, 0, 0, 1)); },
       true},
      {"identifiers",
       [](clsMsgHostInfo& o) {
         o.SetMsgID(0.5f);
         o.SetMsgReferenceID(1);
       },
       false},
      {"return address", [](clsMsgHostInfo& o) { o.SetReturnAddress("elsewhere"); }, false},
  };
  for (const Case& c : cases) {
    auto objStored = ExampleHost(ctx);
    objStored->SetUserName("anna");
    objStored->SetAppPath("\\\\PC7\\c\\v.exe");
    auto objNew = ExampleHost(ctx);
    objNew->SetUserName("anna");
    objNew->SetAppPath("\\\\PC7\\c\\v.exe");
    c.edit(*objNew);
    EXPECT_EQ(objStored->ChangeHostInfo(objNew), c.bChanged) << c.szWhat;
    EXPECT_EQ(objNew->ChangeHostInfo(objStored), c.bChanged) << c.szWhat;
  }
  // The user list takes no part; another class or nothing is no change.
  auto objA = ExampleHost(ctx);
  auto objB = ExampleHost(ctx);
  objB->SetMsgUL(std::make_shared<clsMsgUserList>(ctx));
  EXPECT_FALSE(objA->ChangeHostInfo(objB));
  EXPECT_FALSE(objA->ChangeHostInfo(std::make_shared<clsMsgHello>(ctx)));
  EXPECT_FALSE(objA->ChangeHostInfo(nullptr));
}

TEST(ClsMsgHostInfoTest, ReadingLeavesDateAndUserListAlone) {
  TestContext ctx;
  auto obj = std::make_shared<clsMsgHostInfo>(ctx);
  const DateTime dt = DateTime::FromCivil(2024, 5, 1, 10, 0, 0);
  auto objUL = std::make_shared<clsMsgUserList>(ctx);
  obj->SetDateReceived(dt);
  obj->SetMsgUL(objUL);
  ASSERT_TRUE(obj->SetObjectData(ImageOf(kOtherImage)));
  EXPECT_EQ(obj->GetDateReceived(), dt);
  EXPECT_EQ(obj->GetMsgUL(), objUL);
}

}  // namespace
}  // namespace launchagent
