#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "messages/cls_msg_hello.h"
#include "messages/cls_msg_host_info.h"
#include "messages/cls_msg_user_list.h"
#include "messages/image_text.h"
#include "platform/property_bag.h"

namespace launchagent {
namespace {

class TestContext : public MessageContext {
 public:
  double SecondsSinceMidnight() override { return 100.0; }
  std::string LocalHostName() override { return "ALPHA"; }
};

Bytes ImageOf(const std::string& sLines) {
  Bytes b;
  std::string sError;
  EXPECT_TRUE(image_text::BuildImage(sLines, b, sError)) << sError;
  return b;
}

std::vector<platform::PropertyBag::Entry> EntriesOf(const Bytes& image) {
  platform::PropertyBag bag;
  EXPECT_TRUE(bag.SetContents(image));
  return bag.Entries();
}

TEST(ClsMsgUserListTest, NewListWritesCountZeroAndNoUsers) {
  TestContext ctx;
  auto obj = std::make_shared<clsMsgUserList>(ctx);
  const auto entries = EntriesOf(obj->GetObjectData());
  ASSERT_EQ(entries.size(), 5u);
  EXPECT_EQ(entries[0].sName, "msgtype");
  EXPECT_EQ(entries[0].sValue, "5");
  EXPECT_EQ(entries[4].sName, "nusercnt");
  EXPECT_EQ(entries[4].sValue, "0");
  EXPECT_EQ(obj->GetUsers(0), "0");
  EXPECT_EQ(obj->GetUsers(1), "0");
}

TEST(ClsMsgUserListTest, PositionsTheArrayDoesNotHoldAreSkipped) {
  TestContext ctx;
  auto obj = std::make_shared<clsMsgUserList>(ctx);
  obj->SetUsers(0, "never travels");
  obj->SetUsers(1, "anna");
  obj->SetUserCnt(3);
  const auto entries = EntriesOf(obj->GetObjectData());
  ASSERT_EQ(entries.size(), 6u);
  EXPECT_EQ(entries[4].sValue, "3");
  EXPECT_EQ(entries[5].sName, "user_1");
  EXPECT_EQ(entries[5].sValue, "anna");
}

TEST(ClsMsgUserListTest, UsersArrayGrowsOnDemand) {
  TestContext ctx;
  clsMsgUserList obj(ctx);
  obj.SetUsers(5, "eve");
  EXPECT_EQ(obj.GetUsers(5), "eve");
  EXPECT_EQ(obj.GetUsers(4), "");
  EXPECT_EQ(obj.GetUsers(0), "");
  EXPECT_EQ(obj.GetUsers(6), "0");
  EXPECT_EQ(obj.GetUsers(-1), "0");
  obj.SetUsers(-1, "nobody");
  EXPECT_EQ(obj.GetUsers(-1), "0");
  obj.SetUsers(2, "bob");  // inside the array: keeps the rest
  EXPECT_EQ(obj.GetUsers(5), "eve");
  EXPECT_EQ(obj.GetUsers(2), "bob");
  EXPECT_EQ(obj.GetUserCnt(), 0);  // the count is set apart
}

TEST(ClsMsgUserListTest, RoundTripAndPositionsBeyondTheCount) {
  TestContext ctx;
  auto objSent = std::make_shared<clsMsgUserList>(ctx);
  objSent->SetUserCnt(2);
  objSent->SetUsers(1, "anna");
  objSent->SetUsers(2, "Bob Öst");
  auto objReceived = std::make_shared<clsMsgUserList>(ctx);
  objReceived->SetUsers(4, "kept");
  ASSERT_TRUE(objReceived->SetObjectData(objSent->GetObjectData()));
  EXPECT_EQ(objReceived->GetUserCnt(), 2);
  EXPECT_EQ(objReceived->GetUsers(1), "anna");
  EXPECT_EQ(objReceived->GetUsers(2), "Bob Öst");
  EXPECT_EQ(objReceived->GetUsers(4), "kept");
  EXPECT_FALSE(objReceived->ChangeUserList(objSent));
}

TEST(ClsMsgUserListTest, AbsentPositionsReadAsEmptyText) {
  TestContext ctx;
  auto obj = std::make_shared<clsMsgUserList>(ctx);
  ASSERT_TRUE(obj->SetObjectData(ImageOf("MsgType=5\nnUserCnt=3\nUser_1=anna\n")));
  EXPECT_EQ(obj->GetUsers(1), "anna");
  EXPECT_EQ(obj->GetUsers(2), "");
  EXPECT_EQ(obj->GetUsers(3), "");
  EXPECT_EQ(obj->GetUsers(4), "0");
}

TEST(ClsMsgUserListTest, ImagesItDoesNotTake) {
  TestContext ctx;
  auto objHostInfo = std::make_shared<clsMsgHostInfo>(ctx);
  auto objHello = std::make_shared<clsMsgHello>(ctx);
  struct Case {
    const char* szWhat;
    Bytes image;
  };
  const std::vector<Case> cases = {
      {"host information", objHostInfo->GetObjectData()},
      {"hello", objHello->GetObjectData()},
      {"junk", Bytes{0x93, 0xB2, 0, 0, 9, 0, 0, 0, 0}},
      {"empty", Bytes()},
  };
  for (const Case& c : cases) {
    auto obj = std::make_shared<clsMsgUserList>(ctx);
    obj->SetUserCnt(1);
    obj->SetUsers(1, "anna");
    obj->SetMsgID(0.5f);
    EXPECT_FALSE(obj->SetObjectData(c.image)) << c.szWhat;
    EXPECT_EQ(obj->GetUserCnt(), 1) << c.szWhat;
    EXPECT_EQ(obj->GetUsers(1), "anna") << c.szWhat;
    EXPECT_EQ(obj->GetMsgID(), 0.5f) << c.szWhat;
  }
  // A count beyond 16 bits fails after the envelope.
  auto obj = std::make_shared<clsMsgUserList>(ctx);
  EXPECT_FALSE(obj->SetObjectData(ImageOf("MsgType=5\nsReturnAddress=B\nnUserCnt=40000\n")));
  EXPECT_EQ(obj->GetReturnAddress(), "B");
  EXPECT_EQ(obj->GetUserCnt(), 0);
}

TEST(ClsMsgUserListTest, Change) {
  TestContext ctx;
  auto Make = [&](Integer nCnt, std::vector<std::string> users) {
    auto obj = std::make_shared<clsMsgUserList>(ctx);
    obj->SetUserCnt(nCnt);
    for (std::size_t k = 0; k < users.size(); ++k) {
      obj->SetUsers(static_cast<Integer>(k + 1), users[k]);
    }
    return obj;
  };
  EXPECT_TRUE(Make(2, {"a", "b"})->ChangeUserList(Make(3, {"a", "b"})));
  EXPECT_TRUE(Make(2, {"a", "b"})->ChangeUserList(Make(2, {"a", "B"})));
  EXPECT_FALSE(Make(2, {"a", "b"})->ChangeUserList(Make(2, {"a", "b", "c"})));
  EXPECT_FALSE(Make(0, {})->ChangeUserList(Make(0, {"x"})));
  // Positions the array lacks read as "0" on both sides.
  EXPECT_FALSE(Make(3, {"a"})->ChangeUserList(Make(3, {"a"})));
  EXPECT_TRUE(Make(2, {"a"})->ChangeUserList(Make(2, {"a", "0x"})));
  EXPECT_FALSE(Make(2, {"a"})->ChangeUserList(Make(2, {"a", "0"})));
  EXPECT_FALSE(Make(1, {"a"})->ChangeUserList(std::make_shared<clsMsgHello>(ctx)));
  EXPECT_FALSE(Make(1, {"a"})->ChangeUserList(nullptr));
}

TEST(ClsMsgHelloTest, ImageAndRoundTrip) {
  TestContext ctx;
  auto objSent = std::make_shared<clsMsgHello>(ctx);
  EXPECT_EQ(objSent->GetHello(), 0);
  EXPECT_EQ(objSent->GetVarnoHost(), "");
  objSent->SetHello(7);
  objSent->SetVarnoHost("ALPHA");
  const Bytes image = objSent->GetObjectData();
  const auto entries = EntriesOf(image);
  ASSERT_EQ(entries.size(), 6u);
  EXPECT_EQ(entries[0].sValue, "6");
  EXPECT_EQ(entries[4].sName, "nhello");
  EXPECT_EQ(entries[4].sValue, "7");  // bare: no blank
  EXPECT_EQ(entries[5].sName, "svarnohost");
  EXPECT_EQ(entries[5].sValue, "ALPHA");

  auto objReceived = std::make_shared<clsMsgHello>(ctx);
  ASSERT_TRUE(objReceived->SetObjectData(image));
  EXPECT_EQ(objReceived->GetHello(), 7);
  EXPECT_EQ(objReceived->GetVarnoHost(), "ALPHA");
  EXPECT_FALSE(objReceived->ChangeHello(objSent));
}

TEST(ClsMsgHelloTest, ImagesItDoesNotTake) {
  TestContext ctx;
  auto objUserList = std::make_shared<clsMsgUserList>(ctx);
  auto obj = std::make_shared<clsMsgHello>(ctx);
  obj->SetHello(3);
  obj->SetVarnoHost("BETA");
  EXPECT_FALSE(obj->SetObjectData(objUserList->GetObjectData()));
  EXPECT_FALSE(obj->SetObjectData(Bytes{1, 2, 3}));
  EXPECT_EQ(obj->GetHello(), 3);
  EXPECT_EQ(obj->GetVarnoHost(), "BETA");
  // A hello number beyond 16 bits fails before the host is read.
  EXPECT_FALSE(obj->SetObjectData(ImageOf("MsgType=6\nnHello=32768\nsVarnoHost=GAMMA\n")));
  EXPECT_EQ(obj->GetHello(), 3);
  EXPECT_EQ(obj->GetVarnoHost(), "BETA");
  // A user list does not take a hello image either.
  EXPECT_FALSE(objUserList->SetObjectData(obj->GetObjectData()));
}

TEST(ClsMsgHelloTest, Change) {
  TestContext ctx;
  auto Make = [&](Integer nHello, const std::string& sHost) {
    auto obj = std::make_shared<clsMsgHello>(ctx);
    obj->SetHello(nHello);
    obj->SetVarnoHost(sHost);
    return obj;
  };
  EXPECT_FALSE(Make(7, "ALPHA")->ChangeHello(Make(7, "ALPHA")));
  EXPECT_TRUE(Make(7, "ALPHA")->ChangeHello(Make(8, "ALPHA")));
  EXPECT_TRUE(Make(7, "ALPHA")->ChangeHello(Make(7, "alpha")));
  EXPECT_FALSE(Make(7, "ALPHA")->ChangeHello(std::make_shared<clsMsgUserList>(ctx)));
  EXPECT_FALSE(Make(7, "ALPHA")->ChangeHello(nullptr));
}

}  // namespace
}  // namespace launchagent
