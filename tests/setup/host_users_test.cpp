// Users and contexts per neighbourhood computer: the agent-info table, its searches and
// the two lists of the selected-host frame.
#include <gtest/gtest.h>

#include "messages/cls_msg_host_info.h"
#include "messages/cls_msg_user_list.h"
#include "setup_fixture.h"

namespace launchagent::testing {
namespace {

using HostUsersTest = SetupTest;

AgentInfoRecord Host(const std::string& sName) {
  AgentInfoRecord rec;
  rec.sHostName.Assign(sName);
  return rec;
}

std::shared_ptr<clsMsgUserList> Users(Agent& a, const std::string& sFrom, int nCount) {
  auto ul = std::make_shared<clsMsgUserList>(a);
  ul->SetReturnAddress(sFrom);
  for (int k = 1; k <= nCount; ++k)
    ul->SetUsers(static_cast<Integer>(k), "user" + std::to_string(k));
  ul->SetUserCnt(static_cast<Integer>(nCount));
  return ul;
}

TEST_F(HostUsersTest, FindHostRecordIgnoresCaseAndStoredBlanks) {
  struct Case {
    const char* sKey;
    Long lngWant;
  };
  const Case cases[] = {{"alpha", 1},  {"BETA", 2}, {"Gamma", 3}, {"delta", 0},
                        {"gamma ", 0}, {"", 0},     {"zeta", 4}};
  InSetup([&](Agent&, FrmAgentSetup& f) {
    f.AgentInfoTable = {Host("alpha"), Host("beta"), Host("gamma"), Host("zeta   ")};
    for (const Case& c : cases) EXPECT_EQ(f.FindHostRecord(c.sKey), c.lngWant) << c.sKey;
    // The table follows the LAN order, so it need not be sorted.
    f.AgentInfoTable = {Host("zeta"), Host("alpha"), Host("mid")};
    EXPECT_EQ(f.FindHostRecord("alpha"), 2);
    EXPECT_EQ(f.FindHostRecord("mid"), 3);
  });
}

TEST_F(HostUsersTest, FindHostUserAndLookupUserContext) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.AgentInfoTable = {Host("pc2")};
    f.AgentInfoTable[0].Users[0].sUserName.Assign("Ann");
    f.AgentInfoTable[0].Users[0].sContext.Assign("  sales ");
    f.AgentInfoTable[0].Users[1].sUserName.Assign("bob");
    EXPECT_EQ(f.FindHostUser(1, "Ann"), 1);
    EXPECT_EQ(f.FindHostUser(1, "ann"), 0);  // case counts for users
    EXPECT_EQ(f.FindHostUser(1, "bob"), 2);
    EXPECT_EQ(f.FindHostUser(1, ""), 0);
    EXPECT_EQ(f.FindHostUser(0, "Ann"), 0);
    EXPECT_EQ(f.FindHostUser(2, "Ann"), 0);
    EXPECT_EQ(f.LookupUserContext("PC2", "Ann"), "sales");
    EXPECT_EQ(f.LookupUserContext("pc2", "bob"), "");  // no context chosen
    EXPECT_EQ(f.LookupUserContext("pc2", "carl"), "");
    EXPECT_EQ(f.LookupUserContext("pc3", "Ann"), "");
  });
}

TEST_F(HostUsersTest, StoreHostUsersFillsAtMost64Slots) {
  InSetup([](Agent& a, FrmAgentSetup& f) {
    f.AgentInfoTable = {Host("pc2")};
    f.AgentInfoTable[0].Users[0].sContext.Assign("kept?");
    auto m = std::make_shared<clsMsgHostInfo>(a);
    m->SetMsgUL(Users(a, "pc2", 65));
    f.StoreHostUsers(1, m);
    EXPECT_EQ(f.FindHostUser(1, "user1"), 1);
    EXPECT_EQ(f.FindHostUser(1, "user64"), 64);
    EXPECT_EQ(f.FindHostUser(1, "user65"), 0);
    EXPECT_EQ(f.AgentInfoTable[0].Users[0].sContext.Text(), std::string(64, ' '));

    // No user list, or a position outside the table: nothing changes.
    f.AgentInfoTable[0].Users[0].sContext.Assign("ctx");
    f.StoreHostUsers(1, std::make_shared<clsMsgHostInfo>(a));
    f.StoreHostUsers(2, m);
    f.StoreHostUsers(1, nullptr);
    EXPECT_EQ(f.AgentInfoTable[0].Users[0].sContext.Trimmed(), "ctx");
  });
}

TEST_F(HostUsersTest, ShowHostUsersListsThemAndKeepsChosenContexts) {
  InSetup([](Agent& a, FrmAgentSetup& f) {
    auto m = std::make_shared<clsMsgHostInfo>(a);
    m->SetHostName("PC2");
    m->SetMsgUL(Users(a, "PC2", 2));
    a.agentHostInfo().RegisterAgent(m);
    f.AgentInfoTable = {Host("PC2")};
    f.AgentInfoTable[0].Users[1].sContext.Assign("ctxB");
    f.lstContexts->AddItem("ctxA");
    f.lstContexts->AddItem("ctxB");
    f.lstContexts->SetSelected(0, true);

    f.ShowHostUsers(m->GetMsgUL());
    ASSERT_EQ(f.lstHostUsers->ListCount(), 2);
    EXPECT_EQ(f.lstHostUsers->List(1), "user2");
    EXPECT_EQ(f.FindHostUser(1, "user2"), 2);
    EXPECT_EQ(f.LookupUserContext("PC2", "user2"), "ctxB");
    EXPECT_FALSE(f.lstContexts->Selected(0));

    f.ShowHostUsers(nullptr);
    EXPECT_EQ(f.lstHostUsers->ListCount(), 0);
  });
}

TEST_F(HostUsersTest, ClickingAUserSelectsItsContext) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.AgentInfoTable = {Host("PC2")};
    f.AgentInfoTable[0].Users[0].sUserName.Assign("ann");
    f.AgentInfoTable[0].Users[0].sContext.Assign("ctxB");
    f.txtHostName->SetText("pc2");
    f.lstHostUsers->AddItem("ann");
    for (const char* s : {"ctxA", "ctxB", "ctxC"}) f.lstContexts->AddItem(s);
    f.lstContexts->SetSelected(0, true);
    f.lstHostUsers->UserClick(0);
    EXPECT_FALSE(f.lstContexts->Selected(0));
    EXPECT_TRUE(f.lstContexts->Selected(1));
    EXPECT_FALSE(f.lstContexts->Selected(2));
  });
}

TEST_F(HostUsersTest, ClickingAContextStoresItForTheSelectedUser) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.AgentInfoTable = {Host("PC2")};
    f.AgentInfoTable[0].Users[0].sUserName.Assign("ann");
    f.AgentInfoTable[0].Users[1].sUserName.Assign("bob");
    f.txtHostName->SetText("PC2");
    f.lstHostUsers->AddItem("ann");
    f.lstHostUsers->AddItem("bob");
    f.lstContexts->AddItem("ctxA");
    f.lstContexts->AddItem("ctxB");

    // No user selected: nothing changes.
    f.lstContexts->UserClick(0);
    EXPECT_EQ(f.LookupUserContext("PC2", "ann"), "");
    EXPECT_EQ(f.AgentInfoTable[0].Users[0].sContext.Text(), std::string(64, '\0'));

    f.lstHostUsers->UserClick(1);
    f.lstContexts->UserClick(1);
    EXPECT_EQ(f.LookupUserContext("PC2", "bob"), "ctxB");
    EXPECT_EQ(f.LookupUserContext("PC2", "ann"), "");

    // An unknown host in the frame: nothing changes.
    f.txtHostName->SetText("PC9");
    f.lstContexts->UserClick(0);
    EXPECT_EQ(f.LookupUserContext("PC2", "bob"), "ctxB");
  });
}

TEST_F(HostUsersTest, ContextListStaysEmpty) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.lstContexts->AddItem("x");
    f.PopulateContextList();
    EXPECT_EQ(f.lstContexts->ListCount(), 0);
  });
}

}  // namespace
}  // namespace launchagent::testing
