// The registry's record per computer.
#include "transport/cls_agent_info.h"

#include <gtest/gtest.h>

#include <memory>

#include "messages/cls_msg_host_info.h"
#include "messages/message_context.h"

namespace launchagent {
namespace {

class FixedContext : public MessageContext {
 public:
  double SecondsSinceMidnight() override { return 3600.25; }
  std::string LocalHostName() override { return "PC1"; }
};

std::shared_ptr<clsMsgHostInfo> HostInfo(MessageContext& ctx, const std::string& sHostName) {
  auto objMsg = std::make_shared<clsMsgHostInfo>(ctx);
  objMsg->SetHostName(sHostName);
  return objMsg;
}

TEST(ClsAgentInfo, NewRecordHasNoSocketNoPortNoTrialsAndIsInactive) {
  FixedContext ctx;
  clsAgentInfo objRecord;
  objRecord.Init(HostInfo(ctx, "PC7"));
  EXPECT_EQ(objRecord.GetSocketIndex(), -1);
  EXPECT_EQ(objRecord.GetPort(), 0);
  EXPECT_EQ(objRecord.GetConnectTrials(), 0);
  EXPECT_FALSE(objRecord.GetActive());
}

TEST(ClsAgentInfo, InitResetsSocketAndActiveButKeepsPortAndTrials) {
  FixedContext ctx;
  clsAgentInfo objRecord;
  objRecord.SetPort(1233);
  objRecord.SetConnectTrials(2);
  objRecord.SetSocketIndex(5);
  objRecord.SetActive(true);
  auto objMsg = HostInfo(ctx, "PC7");
  objRecord.Init(objMsg);
  EXPECT_EQ(objRecord.GetSocketIndex(), -1);
  EXPECT_FALSE(objRecord.GetActive());
  EXPECT_EQ(objRecord.GetPort(), 1233);
  EXPECT_EQ(objRecord.GetConnectTrials(), 2);
  EXPECT_EQ(objRecord.Message(), objMsg);
}

TEST(ClsAgentInfo, SettersStoreWithoutChecking) {
  clsAgentInfo objRecord;
  objRecord.SetPort(-7);
  objRecord.SetSocketIndex(70000);
  objRecord.SetActive(true);
  EXPECT_EQ(objRecord.GetPort(), -7);
  EXPECT_EQ(objRecord.GetSocketIndex(), 70000);
  EXPECT_TRUE(objRecord.GetActive());
}

TEST(ClsAgentInfo, ConnectTrialsKeepTheOldCountWhenTheNewOneDoesNotFitSixteenBits) {
  struct Case {
    Long lngIn;
    Integer nExpected;
  };
  const Case cases[] = {
      {0, 0},     {2, 2},      {3, 3},     {-1, -1},    {32767, 32767},  {-32768, -32768},
      {32768, 1}, {-32769, 1}, {40000, 1}, {-40000, 1}, {2147483647, 1}, {-2147483647 - 1, 1},
  };
  for (const Case& c : cases) {
    clsAgentInfo objRecord;
    objRecord.SetConnectTrials(1);
    objRecord.SetConnectTrials(c.lngIn);
    EXPECT_EQ(objRecord.GetConnectTrials(), c.nExpected) << "count " << c.lngIn;
  }
}

TEST(ClsAgentInfo, GetMessageHandsOutTheStoredObjectItself) {
  FixedContext ctx;
  clsAgentInfo objRecord;
  objRecord.Init(HostInfo(ctx, "PC7"));
  auto objNew = HostInfo(ctx, "PC7");
  objRecord.SetMessage(objNew);

  std::shared_ptr<clsMsgHostInfo> objOut;
  objRecord.GetMessage(objOut);
  ASSERT_EQ(objOut, objNew);
  objOut->SetAppPath("\\\\pc7\\apps\\Varno2.exe");
  EXPECT_EQ(objNew->GetAppPath(), "\\\\pc7\\apps\\Varno2.exe");
  std::shared_ptr<clsMsgHostInfo> objAgain;
  objRecord.GetMessage(objAgain);
  EXPECT_EQ(objAgain->GetAppPath(), "\\\\pc7\\apps\\Varno2.exe");
}

}  // namespace
}  // namespace launchagent
