// The message classes: each draws its identifier, shows the envelope and its own fields
// in an image byte for byte as older agents write it, reads such images back, and
// refuses images of another type or out of range.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "messages/cls_msg.h"
#include "messages/cls_msg_hello.h"
#include "messages/cls_msg_host_info.h"
#include "messages/cls_msg_user_list.h"
#include "messages/image_text.h"
#include "messages/message_context.h"
#include "messages/property_bag.h"
#include "messages/text_forms.h"

namespace launchagent {
namespace {

// A context with a settable clock and host name, and images written and shown as
// key=value lines.
class MessageTest : public ::testing::Test, public MessageContext {
 public:
  double SecondsSinceMidnight() override {
    ++nClockReads;
    return dSeconds;
  }
  std::string LocalHostName() override { return sHostName; }

  static Bytes ImageOf(const std::string& sLines) {
    Bytes b;
    std::string sError;
    EXPECT_TRUE(image_text::BuildImage(sLines, b, sError)) << sError;
    return b;
  }
  // The image as lines, keys lower-cased; "not an image" when it is none.
  static std::string Show(const Bytes& image) {
    PropertyBag bag;
    return bag.SetContents(image) ? image_text::ShowImage(bag) : "not an image";
  }

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
  std::shared_ptr<clsMsgUserList> List(Integer nCnt, const std::vector<std::string>& users) {
    auto obj = std::make_shared<clsMsgUserList>(*this);
    obj->SetUserCnt(nCnt);
    for (std::size_t k = 0; k < users.size(); ++k) obj->SetUsers(Integer(k + 1), users[k]);
    return obj;
  }
  std::shared_ptr<clsMsgHello> Hello(Integer nHello, const std::string& sHost) {
    auto obj = std::make_shared<clsMsgHello>(*this);
    obj->SetHello(nHello);
    obj->SetVarnoHost(sHost);
    return obj;
  }
  // The image after the envelope.
  static std::string Body(const Bytes& image) {
    const std::string s = Show(image);
    const auto n = s.find('\n', s.find("sglmsgreferenceid="));
    return n == std::string::npos ? s : s.substr(n + 1);
  }
  std::shared_ptr<clsMsgHostInfo> Example() {
    auto obj = std::make_shared<clsMsgHostInfo>(*this);
    obj->SetHostName("PC7");
    obj->SetIPAddress("10.0.0.7");
    obj->SetLocalPort(1230);
    obj->SetProvideWeb(true);
    obj->SetMsgID(0.7055475f);
    return obj;
  }

  double dSeconds = 36000.25;
  std::string sHostName = "PC7";
  int nClockReads = 0;
};

TEST_F(MessageTest, EachNewMessageDrawsOneIdentifierInRange) {
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

TEST_F(MessageTest, InterfaceCloneChangeStringToBooleanAndIdentifierText) {
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
  for (const auto& obj :
       std::vector<std::shared_ptr<clsMsgConcrete>>{objHostInfo, objUserList, objHello})
    EXPECT_EQ(obj->GetMsgIDText(), text_forms::DecimalText(obj->GetMsgID()));
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

TEST_F(MessageTest, TypeOfAnyImage) {
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

TEST_F(MessageTest, UserListImages) {
  auto obj = std::make_shared<clsMsgUserList>(*this);
  EXPECT_EQ(Show(obj->GetObjectData()).substr(0, 10), "msgtype=5\n");
  EXPECT_EQ(Body(obj->GetObjectData()), "nusercnt=0\n");
  // Position 0 never travels; positions the array does not hold are skipped.
  obj->SetUsers(0, "never travels");
  obj->SetUsers(1, "anna");
  obj->SetUserCnt(3);
  EXPECT_EQ(Body(obj->GetObjectData()), "nusercnt=3\nuser_1=anna\n");

  auto objSent = List(2, {"anna", "Bob Öst"});
  auto objReceived = std::make_shared<clsMsgUserList>(*this);
  objReceived->SetUsers(4, "kept");  // beyond the count: left alone
  ASSERT_TRUE(objReceived->SetObjectData(objSent->GetObjectData()));
  EXPECT_EQ(objReceived->GetObjectData(), objSent->GetObjectData());
  EXPECT_EQ(objReceived->GetUsers(4), "kept");

  // Positions up to the count that the image lacks read as empty text.
  ASSERT_TRUE(obj->SetObjectData(ImageOf("MsgType=5\nnUserCnt=3\nUser_1=anna\n")));
  EXPECT_EQ(obj->GetUsers(1) + "," + obj->GetUsers(3) + "," + obj->GetUsers(4), "anna,,0");
}

TEST_F(MessageTest, UsersArrayGrowsOnDemand) {
  clsMsgUserList obj(*this);
  EXPECT_EQ(obj.GetUsers(0), "0");  // no array yet
  obj.SetUsers(5, "eve");
  obj.SetUsers(-1, "nobody");
  obj.SetUsers(2, "bob");  // inside the array: keeps the rest
  const std::vector<std::string> expected = {"", "", "bob", "", "", "eve", "0"};
  for (Integer k = -1; k <= 6; ++k) EXPECT_EQ(obj.GetUsers(k), expected[k < 0 ? 6 : k]) << k;
  EXPECT_EQ(obj.GetUserCnt(), 0);  // the count is set apart
}

TEST_F(MessageTest, ImagesTheyDoNotTake) {
  // Refused: the message keeps all it held, but for a return address read before the fault.
  const auto ExpectRefused = [](auto obj, const Bytes& image, const char* szReturnAddress) {
    const std::string sBefore = Body(obj->GetObjectData());
    EXPECT_FALSE(obj->SetObjectData(image)) << Show(image);
    EXPECT_EQ(Body(obj->GetObjectData()), sBefore) << Show(image);
    EXPECT_EQ(obj->GetReturnAddress(), szReturnAddress) << Show(image);
  };
  // Images of another type are fuzz_messages' check, over its seeds of every type.
  for (const Bytes& image : {Bytes{0x93, 0xB2, 0, 0, 9, 0, 0, 0, 0}, Bytes()}) {
    ExpectRefused(List(1, {"anna"}), image, "PC7");
    ExpectRefused(Hello(3, "BETA"), image, "PC7");
  }
  // A number beyond 16 bits fails after the envelope.
  ExpectRefused(List(1, {"anna"}), ImageOf("MsgType=5\nsReturnAddress=B\nnUserCnt=40000\n"), "B");
  ExpectRefused(Hello(3, "BETA"),
                ImageOf("MsgType=6\nsReturnAddress=B\nnHello=32768\nsVarnoHost=G\n"), "B");
}

TEST_F(MessageTest, HelloImage) {
  auto objSent = Hello(7, "ALPHA");
  EXPECT_EQ(Show(objSent->GetObjectData()).substr(0, 10), "msgtype=6\n");
  EXPECT_EQ(Body(objSent->GetObjectData()), "nhello=7\nsvarnohost=ALPHA\n");  // bare: no blank
  auto objReceived = std::make_shared<clsMsgHello>(*this);
  EXPECT_EQ(Body(objReceived->GetObjectData()), "nhello=0\nsvarnohost=\n");
  ASSERT_TRUE(objReceived->SetObjectData(objSent->GetObjectData()));
  EXPECT_EQ(objReceived->GetObjectData(), objSent->GetObjectData());
}

TEST_F(MessageTest, Change) {
  const auto L = [this](Integer n, std::vector<std::string> users) { return List(n, users); };
  EXPECT_FALSE(L(2, {"a", "b"})->ChangeUserList(L(2, {"a", "b"})));
  EXPECT_TRUE(L(2, {"a", "b"})->ChangeUserList(L(3, {"a", "b"})));
  EXPECT_TRUE(L(2, {"a", "b"})->ChangeUserList(L(2, {"a", "B"})));
  EXPECT_FALSE(L(2, {"a", "b"})->ChangeUserList(L(2, {"a", "b", "c"})));
  EXPECT_FALSE(L(0, {})->ChangeUserList(L(0, {"x"})));
  // Positions the array lacks read as "0" on both sides.
  EXPECT_FALSE(L(3, {"a"})->ChangeUserList(L(3, {"a"})));
  EXPECT_TRUE(L(2, {"a"})->ChangeUserList(L(2, {"a", "0x"})));
  EXPECT_FALSE(L(2, {"a"})->ChangeUserList(L(2, {"a", "0"})));
  EXPECT_FALSE(L(1, {"a"})->ChangeUserList(Hello(1, "a")));
  EXPECT_FALSE(L(1, {"a"})->ChangeUserList(nullptr));

  EXPECT_FALSE(Hello(7, "ALPHA")->ChangeHello(Hello(7, "ALPHA")));
  EXPECT_TRUE(Hello(7, "ALPHA")->ChangeHello(Hello(8, "ALPHA")));
  EXPECT_TRUE(Hello(7, "ALPHA")->ChangeHello(Hello(7, "alpha")));
  EXPECT_FALSE(Hello(7, "ALPHA")->ChangeHello(L(1, {"a"})));
  EXPECT_FALSE(Hello(7, "ALPHA")->ChangeHello(nullptr));
}

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

TEST_F(MessageTest, TheSeventeenKeysInOrder) {
  // Keys and values in this order, byte for byte; date received and user list never travel.
  EXPECT_EQ(Example()->GetObjectData(), ImageOf(kExample)) << Show(Example()->GetObjectData());
}

TEST_F(MessageTest, EveryChangeShowsInTheImageAndCountsUnlessEnvelopeOrCase) {
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
  using Change = std::function<void(M&)>;
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
      {[](M& m) { m.SetInternetReady(true); }, "bInternetReady=True", true},
      // Beyond the image: a second on the receipt stamp counts, the user list does not.
      {[](M& m) { m.SetDateReceived(DateTime{1}); }, nullptr, true},
      {[this](M& m) { m.SetMsgUL(std::make_shared<clsMsgUserList>(*this)); }, nullptr, false}};
  EXPECT_FALSE(Base()->ChangeHostInfo(Base()));
  // Another class or nothing is no change.
  EXPECT_FALSE(Base()->ChangeHostInfo(std::make_shared<clsMsgHello>(*this)));
  EXPECT_FALSE(Base()->ChangeHostInfo(nullptr));
  for (const auto& [change, szLine, bCounts] : kChanges) {
    auto obj = Base();
    ASSERT_EQ(Show(obj->GetObjectData()), Show(ImageOf(sBase)));
    change(*obj);
    const std::string sImage = szLine ? With(sBase, szLine) : sBase;
    EXPECT_EQ(Show(obj->GetObjectData()), Show(ImageOf(sImage))) << sImage;
    EXPECT_EQ(Base()->ChangeHostInfo(obj), bCounts) << sImage;
    EXPECT_EQ(obj->ChangeHostInfo(Base()), bCounts) << sImage;
  }
  // A whole image read in, after its image was asked for, replaces every field of it
  // (text not ASCII included) and leaves the receipt stamp and the user list alone,
  // which stay out of the image.
  const std::string sOther = With(With(kOther,
                                       "sUserName=Anna \xC3\x96"
                                       "berg"),
                                  "nLocalPort=-2");
  auto obj = Example();
  obj->GetObjectData();
  auto objUL = std::make_shared<clsMsgUserList>(*this);
  obj->SetDateReceived(DateTime{5});
  obj->SetMsgUL(objUL);
  ASSERT_TRUE(obj->SetObjectData(ImageOf(sOther)));
  EXPECT_EQ(obj->GetObjectData(), ImageOf(sOther)) << Show(obj->GetObjectData());
  EXPECT_EQ(obj->GetDateReceived(), DateTime{5});
  EXPECT_EQ(obj->GetMsgUL(), objUL);
}

TEST_F(MessageTest, ImagesItDoesNotTake) {
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
  // No type, an unknown one, or no image at all changes nothing (the other messages'
  // images are fuzz_messages' check).
  const Bytes good = ImageOf(kOther);
  for (const Bytes& image : {ImageOf("sHostName=PC9\n"), ImageOf("MsgType=40000\nsHostName=PC9\n"),
                             Bytes(), Bytes(64, 0x41), Bytes(good.begin(), good.end() - 4),
                             ImageOf("MsgType=4\nsglMsgID=1E+39\nsHostName=PC9\n")}) {
    obj = Example();
    EXPECT_FALSE(obj->SetObjectData(image)) << Show(image);
    EXPECT_EQ(obj->GetObjectData(), Example()->GetObjectData()) << Show(image);
  }
}

TEST_F(MessageTest, ReadingIsLenientAndAbsentKeysReadAsEmpty) {
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

}  // namespace
}  // namespace launchagent
