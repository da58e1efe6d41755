#include "messages/cls_msg.h"

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "message_fixture.h"
#include "messages/cls_msg_hello.h"
#include "messages/cls_msg_host_info.h"
#include "messages/cls_msg_user_list.h"
#include "messages/text_forms.h"

namespace launchagent {
namespace {

class ClsMsgTest : public MessageTest {
 protected:
  // The plain envelope and the three messages, each drawn at its own time.
  std::vector<std::shared_ptr<clsMsg>> Every() {
    std::vector<std::shared_ptr<clsMsg>> objs = {std::make_shared<clsMsg>(*this)};
    dSeconds += 0.37;
    objs.push_back(std::make_shared<clsMsgHostInfo>(*this));
    dSeconds += 0.37;
    objs.push_back(std::make_shared<clsMsgUserList>(*this));
    dSeconds += 0.37;
    objs.push_back(std::make_shared<clsMsgHello>(*this));
    return objs;
  }
};

TEST_F(ClsMsgTest, EachNewMessageDrawsOneIdentifier) {
  double dSeed = dSeconds;
  const auto objs = Every();
  for (std::size_t k = 0; k < objs.size(); ++k, dSeed += 0.37) {
    EXPECT_EQ(objs[k]->GetMsgID(), clsMsg::NewMsgID(dSeed)) << k;
    EXPECT_EQ(objs[k]->GetMsgReferenceID(), 0.0f) << k;
    EXPECT_EQ(objs[k]->GetReturnAddress(), "PC7") << k;
    if (k == 0) continue;
    // The image carries the object's own identifier and refers to nothing.
    PropertyBag bag;
    ASSERT_TRUE(bag.SetContents(objs[k]->GetObjectData()));
    EXPECT_EQ(bag.ReadProperty("sglMsgId"), text_forms::SignedForm(objs[k]->GetMsgID()));
    EXPECT_EQ(bag.ReadProperty("sglMsgReferenceId"), " 0");
  }
  EXPECT_EQ(nClockReads, 4);  // one draw each; writing an image draws nothing
}

TEST_F(ClsMsgTest, IdentifiersAreDeterministicAndInRange) {
  EXPECT_EQ(clsMsg::NewMsgID(1234.5), clsMsg::NewMsgID(1234.5));
  double dSum = 0;
  Single sglPrevious = -1;
  for (int k = 0; k < 4000; ++k) {
    // Seeds as a clock gives them: a few milliseconds apart.
    const Single sgl = clsMsg::NewMsgID(36000.0 + k * 0.004);
    ASSERT_TRUE(sgl >= 0.0f && sgl < 1.0f && sgl != sglPrevious) << k << ": " << sgl;
    dSum += sglPrevious = sgl;
  }
  EXPECT_NEAR(dSum / 4000, 0.5, 0.05);
}

TEST_F(ClsMsgTest, InterfaceCloneChangeStringToBooleanAndIdentifierText) {
  const auto objs = Every();
  // Edited copies that the class's own comparison counts as changed.
  auto objHostInfo = std::make_shared<clsMsgHostInfo>(*this);
  objHostInfo->SetLocalPort(1);
  auto objUserList = std::make_shared<clsMsgUserList>(*this);
  objUserList->SetUserCnt(3);
  auto objHello = std::make_shared<clsMsgHello>(*this);
  objHello->SetHello(7);
  EXPECT_TRUE(std::static_pointer_cast<clsMsgHostInfo>(objs[1])->ChangeHostInfo(objHostInfo));
  EXPECT_TRUE(std::static_pointer_cast<clsMsgUserList>(objs[2])->ChangeUserList(objUserList));
  EXPECT_TRUE(std::static_pointer_cast<clsMsgHello>(objs[3])->ChangeHello(objHello));
  // Each message shows its identifier as decimal text.
  EXPECT_EQ(objHostInfo->GetMsgIDText(), text_forms::DecimalText(objHostInfo->GetMsgID()));
  EXPECT_EQ(objUserList->GetMsgIDText(), text_forms::DecimalText(objUserList->GetMsgID()));
  EXPECT_EQ(objHello->GetMsgIDText(), text_forms::DecimalText(objHello->GetMsgID()));
  auto others = objs;
  others.insert(others.end(), {objHostInfo, objUserList, objHello, nullptr});
  for (const auto& obj : objs) {
    // Clone is the object itself; the plain envelope has nothing to hand out.
    EXPECT_EQ(obj->Clone().get(), obj == objs[0] ? nullptr : obj.get());
    // Through the interface no message reports a change, whatever it is given.
    for (const auto& objOther : others) EXPECT_FALSE(obj->Change(objOther));
    EXPECT_TRUE(obj->StringToBoolean(" true "));
    EXPECT_FALSE(obj->StringToBoolean("-1"));
  }
  // A message not held by a shared pointer has nothing to hand out either.
  clsMsgHello objLocal(*this);
  EXPECT_EQ(objLocal.Clone(), nullptr);
  // The plain envelope has no image and takes none.
  EXPECT_TRUE(objs[0]->GetObjectData().empty());
  EXPECT_FALSE(objs[0]->SetObjectData(objs[1]->GetObjectData()));
}

TEST_F(ClsMsgTest, TypeOfAnyImage) {
  const auto objs = Every();
  const Bytes hostInfoImage = objs[1]->GetObjectData();
  Bytes twoImages = hostInfoImage;
  twoImages.insert(twoImages.end(), hostInfoImage.begin(), hostInfoImage.end());
  const std::vector<std::tuple<const char*, Bytes, Long>> cases = {
      {"host information", hostInfoImage, 4},
      {"user list", objs[2]->GetObjectData(), 5},
      {"hello", objs[3]->GetObjectData(), 6},
      {"junk", Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9}, 0},
      {"two images", twoImages, 0},
      {"empty image", PropertyBag().Contents(), 0},
      {"no MsgType", ImageOf("sHostName=PC7\n"), 0},
      {"lower-case key", ImageOf("msgtype=5\n"), 5},
      {"half rounds to even", ImageOf("MsgType=4.5\n"), 4},
      {"other number", ImageOf("MsgType=70000\n"), 70000},
      {"beyond 32 bits", ImageOf("MsgType=3000000000\n"), 0},
  };
  for (const auto& [szWhat, image, lngType] : cases) {
    // Every message reports the type of any image, whatever its own class.
    for (const auto& obj : objs) EXPECT_EQ(obj->GetMsgType(image), lngType) << szWhat;
  }
}

}  // namespace
}  // namespace launchagent
