#include <memory>
#include <string>
#include <vector>

#include "message_fixture.h"
#include "messages/cls_msg_hello.h"
#include "messages/cls_msg_host_info.h"
#include "messages/cls_msg_user_list.h"

namespace launchagent {
namespace {

class UserListHelloTest : public MessageTest {
 protected:
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
};

TEST_F(UserListHelloTest, UserListImages) {
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

TEST_F(UserListHelloTest, UsersArrayGrowsOnDemand) {
  clsMsgUserList obj(*this);
  EXPECT_EQ(obj.GetUsers(0), "0");  // no array yet
  obj.SetUsers(5, "eve");
  obj.SetUsers(-1, "nobody");
  obj.SetUsers(2, "bob");  // inside the array: keeps the rest
  const std::vector<std::string> expected = {"", "", "bob", "", "", "eve", "0"};
  for (Integer k = -1; k <= 6; ++k) EXPECT_EQ(obj.GetUsers(k), expected[k < 0 ? 6 : k]) << k;
  EXPECT_EQ(obj.GetUserCnt(), 0);  // the count is set apart
}

TEST_F(UserListHelloTest, ImagesTheyDoNotTake) {
  // Refused: the message keeps all it held, but for a return address read before the fault.
  const auto ExpectRefused = [](auto obj, const Bytes& image, const char* szReturnAddress) {
    const std::string sBefore = Body(obj->GetObjectData());
    EXPECT_FALSE(obj->SetObjectData(image)) << Show(image);
    EXPECT_EQ(Body(obj->GetObjectData()), sBefore) << Show(image);
    EXPECT_EQ(obj->GetReturnAddress(), szReturnAddress) << Show(image);
  };
  for (const Bytes& image : {std::make_shared<clsMsgHostInfo>(*this)->GetObjectData(),
                             Bytes{0x93, 0xB2, 0, 0, 9, 0, 0, 0, 0}, Bytes()}) {
    ExpectRefused(List(1, {"anna"}), image, "PC7");
    ExpectRefused(Hello(3, "BETA"), image, "PC7");
  }
  ExpectRefused(List(1, {"anna"}), Hello(1, "x")->GetObjectData(), "PC7");
  ExpectRefused(Hello(3, "BETA"), List(1, {"x"})->GetObjectData(), "PC7");
  // A number beyond 16 bits fails after the envelope.
  ExpectRefused(List(1, {"anna"}), ImageOf("MsgType=5\nsReturnAddress=B\nnUserCnt=40000\n"), "B");
  ExpectRefused(Hello(3, "BETA"),
                ImageOf("MsgType=6\nsReturnAddress=B\nnHello=32768\nsVarnoHost=G\n"), "B");
}

TEST_F(UserListHelloTest, HelloImage) {
  auto objSent = Hello(7, "ALPHA");
  EXPECT_EQ(Show(objSent->GetObjectData()).substr(0, 10), "msgtype=6\n");
  EXPECT_EQ(Body(objSent->GetObjectData()), "nhello=7\nsvarnohost=ALPHA\n");  // bare: no blank
  auto objReceived = std::make_shared<clsMsgHello>(*this);
  EXPECT_EQ(Body(objReceived->GetObjectData()), "nhello=0\nsvarnohost=\n");
  ASSERT_TRUE(objReceived->SetObjectData(objSent->GetObjectData()));
  EXPECT_EQ(objReceived->GetObjectData(), objSent->GetObjectData());
}

TEST_F(UserListHelloTest, Change) {
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

}  // namespace
}  // namespace launchagent
