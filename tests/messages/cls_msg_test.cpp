#include "messages/cls_msg.h"

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
  double SecondsSinceMidnight() override {
    ++nClockReads;
    return dSeconds;
  }
  std::string LocalHostName() override { return sHostName; }

  double dSeconds = 36000.25;
  std::string sHostName = "PC7";
  int nClockReads = 0;
};

Bytes ImageOf(const std::string& sLines) {
  Bytes b;
  std::string sError;
  EXPECT_TRUE(image_text::BuildImage(sLines, b, sError)) << sError;
  return b;
}

TEST(ClsMsgTest, NewEnvelope) {
  TestContext ctx;
  auto objMsg = std::make_shared<clsMsg>(ctx);
  EXPECT_EQ(objMsg->GetMsgID(), clsMsg::NewMsgID(36000.25));
  EXPECT_EQ(objMsg->GetMsgReferenceID(), 0.0f);
  EXPECT_EQ(objMsg->GetReturnAddress(), "PC7");
  EXPECT_EQ(ctx.nClockReads, 1);
}

TEST(ClsMsgTest, PlainObjectHasNoImageNoCloneNoChange) {
  TestContext ctx;
  auto objMsg = std::make_shared<clsMsg>(ctx);
  auto objOther = std::make_shared<clsMsg>(ctx);
  objOther->SetReturnAddress("elsewhere");
  EXPECT_TRUE(objMsg->GetObjectData().empty());
  const Bytes image = ImageOf("MsgType=4\n");
  EXPECT_FALSE(objMsg->SetObjectData(image));
  EXPECT_EQ(objMsg->Clone(), nullptr);
  EXPECT_FALSE(objMsg->Change(objOther));
  EXPECT_FALSE(objMsg->Change(nullptr));
}

TEST(ClsMsgTest, EnvelopeSettersStoreUnchanged) {
  TestContext ctx;
  clsMsg objMsg(ctx);
  objMsg.SetMsgID(0.25f);
  objMsg.SetMsgReferenceID(-3.5f);
  objMsg.SetReturnAddress("  Host B ");
  EXPECT_EQ(objMsg.GetMsgID(), 0.25f);
  EXPECT_EQ(objMsg.GetMsgReferenceID(), -3.5f);
  EXPECT_EQ(objMsg.GetReturnAddress(), "  Host B ");
}

TEST(ClsMsgTest, IdentifiersAreDeterministicAndInRange) {
  EXPECT_EQ(clsMsg::NewMsgID(1234.5), clsMsg::NewMsgID(1234.5));
  double dSum = 0;
  int nDistinctFromPrevious = 0;
  Single sglPrevious = -1;
  const int nDraws = 4000;
  for (int k = 0; k < nDraws; ++k) {
    // Seeds as a clock gives them: a few milliseconds apart.
    const Single sgl = clsMsg::NewMsgID(36000.0 + k * 0.004);
    ASSERT_GE(sgl, 0.0f);
    ASSERT_LT(sgl, 1.0f);
    dSum += sgl;
    if (sgl != sglPrevious) ++nDistinctFromPrevious;
    sglPrevious = sgl;
  }
  EXPECT_EQ(nDistinctFromPrevious, nDraws);
  EXPECT_NEAR(dSum / nDraws, 0.5, 0.05);
}

TEST(ClsMsgTest, TypeOfAnyImage) {
  TestContext ctx;
  auto objMsg = std::make_shared<clsMsg>(ctx);
  auto objHostInfo = std::make_shared<clsMsgHostInfo>(ctx);
  auto objUserList = std::make_shared<clsMsgUserList>(ctx);
  auto objHello = std::make_shared<clsMsgHello>(ctx);
  const Bytes hostInfoImage = objHostInfo->GetObjectData();
  Bytes twoImages = hostInfoImage;
  twoImages.insert(twoImages.end(), hostInfoImage.begin(), hostInfoImage.end());
  Bytes truncated(hostInfoImage.begin(), hostInfoImage.end() - 1);

  struct Case {
    const char* szWhat;
    Bytes image;
    Long lngType;
  };
  const std::vector<Case> cases = {
      {"host information", hostInfoImage, 4},
      {"user list", objUserList->GetObjectData(), 5},
      {"hello", objHello->GetObjectData(), 6},
      {"empty bytes", Bytes(), 0},
      {"junk", Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},
      {"two images", twoImages, 0},
      {"truncated", truncated, 0},
      {"empty image", platform::PropertyBag().Contents(), 0},
      {"no MsgType", ImageOf("sHostName=PC7\n"), 0},
      {"leading blank", ImageOf("MsgType= 4\n"), 4},
      {"lower-case key", ImageOf("msgtype=5\n"), 5},
      {"half rounds to even", ImageOf("MsgType=4.5\n"), 4},
      {"text after the number", ImageOf("MsgType=6 please\n"), 6},
      {"not a number", ImageOf("MsgType=four\n"), 0},
      {"other number", ImageOf("MsgType=70000\n"), 70000},
      {"beyond 32 bits", ImageOf("MsgType=3000000000\n"), 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(objMsg->GetMsgType(c.image), c.lngType) << c.szWhat;
    // Every message reports the type of any image, whatever its own class.
    EXPECT_EQ(objHostInfo->GetMsgType(c.image), c.lngType) << c.szWhat;
    EXPECT_EQ(objUserList->GetMsgType(c.image), c.lngType) << c.szWhat;
    EXPECT_EQ(objHello->GetMsgType(c.image), c.lngType) << c.szWhat;
  }
}

TEST(ClsMsgTest, StringToBooleanThroughTheInterface) {
  TestContext ctx;
  std::vector<std::shared_ptr<clsMsg>> objs = {
      std::make_shared<clsMsg>(ctx), std::make_shared<clsMsgHostInfo>(ctx),
      std::make_shared<clsMsgUserList>(ctx), std::make_shared<clsMsgHello>(ctx)};
  for (const auto& obj : objs) {
    EXPECT_TRUE(obj->StringToBoolean(" true "));
    EXPECT_TRUE(obj->StringToBoolean("TRUE"));
    EXPECT_FALSE(obj->StringToBoolean("-1"));
    EXPECT_FALSE(obj->StringToBoolean(""));
  }
}

TEST(ClsMsgTest, ConcreteMessagesDrawOneIdentifierEach) {
  TestContext ctx;
  auto objHostInfo = std::make_shared<clsMsgHostInfo>(ctx);
  EXPECT_EQ(ctx.nClockReads, 1);
  EXPECT_EQ(objHostInfo->GetMsgID(), clsMsg::NewMsgID(ctx.dSeconds));
  EXPECT_EQ(objHostInfo->GetReturnAddress(), "PC7");
  EXPECT_EQ(objHostInfo->GetMsgReferenceID(), 0.0f);
}

TEST(ClsMsgTest, SameObjectSameIdentifierOtherObjectOtherIdentifier) {
  TestContext ctx;
  auto objFirst = std::make_shared<clsMsgHello>(ctx);
  ctx.dSeconds += 0.37;
  auto objSecond = std::make_shared<clsMsgHello>(ctx);
  platform::PropertyBag a;
  platform::PropertyBag b;
  platform::PropertyBag c;
  ASSERT_TRUE(a.SetContents(objFirst->GetObjectData()));
  ASSERT_TRUE(b.SetContents(objFirst->GetObjectData()));
  ASSERT_TRUE(c.SetContents(objSecond->GetObjectData()));
  EXPECT_EQ(a.ReadProperty("sglMsgId"), b.ReadProperty("sglMsgId"));
  EXPECT_NE(a.ReadProperty("sglMsgId"), c.ReadProperty("sglMsgId"));
  // A new message refers to nothing.
  EXPECT_EQ(a.ReadProperty("sglMsgReferenceId"), " 0");
}

TEST(ClsMsgTest, CloneIsTheObjectItself) {
  TestContext ctx;
  auto objHostInfo = std::make_shared<clsMsgHostInfo>(ctx);
  std::shared_ptr<clsMsg> objClone = objHostInfo->Clone();
  EXPECT_EQ(objClone.get(), objHostInfo.get());
  objClone->SetReturnAddress("PC9");
  EXPECT_EQ(objHostInfo->GetReturnAddress(), "PC9");
  auto objUserList = std::make_shared<clsMsgUserList>(ctx);
  EXPECT_EQ(objUserList->Clone().get(), objUserList.get());
  auto objHello = std::make_shared<clsMsgHello>(ctx);
  EXPECT_EQ(objHello->Clone().get(), objHello.get());
  // A message not held by a shared pointer has nothing to hand out.
  clsMsgHello objLocal(ctx);
  EXPECT_EQ(objLocal.Clone(), nullptr);
}

TEST(ClsMsgTest, ChangeThroughTheInterfaceIsAlwaysFalse) {
  TestContext ctx;
  auto objA = std::make_shared<clsMsgHostInfo>(ctx);
  auto objB = std::make_shared<clsMsgHostInfo>(ctx);
  objB->SetHostName("other");
  objB->SetLocalPort(1);
  std::shared_ptr<clsMsg> objInterface = objA;
  EXPECT_FALSE(objInterface->Change(objB));
  EXPECT_TRUE(objA->ChangeHostInfo(objB));  // the class's own comparison sees it

  auto objU1 = std::make_shared<clsMsgUserList>(ctx);
  auto objU2 = std::make_shared<clsMsgUserList>(ctx);
  objU2->SetUserCnt(3);
  EXPECT_FALSE(std::shared_ptr<clsMsg>(objU1)->Change(objU2));
  EXPECT_TRUE(objU1->ChangeUserList(objU2));

  auto objH1 = std::make_shared<clsMsgHello>(ctx);
  auto objH2 = std::make_shared<clsMsgHello>(ctx);
  objH2->SetHello(7);
  EXPECT_FALSE(std::shared_ptr<clsMsg>(objH1)->Change(objH2));
  EXPECT_TRUE(objH1->ChangeHello(objH2));
}

TEST(ClsMsgTest, IdentifierAsDecimalText) {
  TestContext ctx;
  auto objHostInfo = std::make_shared<clsMsgHostInfo>(ctx);
  objHostInfo->SetMsgID(0.7055475f);
  EXPECT_EQ(objHostInfo->GetMsgIDText(), "0.7055475");
  auto objUserList = std::make_shared<clsMsgUserList>(ctx);
  objUserList->SetMsgID(0x1p-24f);
  EXPECT_EQ(objUserList->GetMsgIDText(), "5.960464E-08");
  auto objHello = std::make_shared<clsMsgHello>(ctx);
  objHello->SetMsgID(0.0f);
  EXPECT_EQ(objHello->GetMsgIDText(), "0");
}

}  // namespace
}  // namespace launchagent
