// The users and contexts per neighbourhood computer that the agent-info table keeps.
// No message the agent receives carries a user list, so no scenario reaches them.
#include <gtest/gtest.h>

#include "messages/cls_msg_user_list.h"
#include "setup_fixture.h"

namespace launchagent::testing {
namespace {

using HostUsersTest = SetupTest;

AgentInfoRecord Host(const std::string& sName, std::vector<std::string> users = {}) {
  AgentInfoRecord rec;
  rec.sHostName.Assign(sName);
  for (std::size_t k = 0; k < users.size(); ++k) rec.Users[k].sUserName.Assign(users[k]);
  return rec;
}

std::shared_ptr<clsMsgUserList> Users(SetupParts& a, const std::string& sFrom, int nCount) {
  auto ul = std::make_shared<clsMsgUserList>(a);
  ul->SetReturnAddress(sFrom);
  for (int k = 1; k <= nCount; ++k)
    ul->SetUsers(static_cast<Integer>(k), "user" + std::to_string(k));
  ul->SetUserCnt(static_cast<Integer>(nCount));
  return ul;
}

std::string Selection(const ui::ListBox& l) {
  std::string s;
  for (Integer i = 0; i < l.ListCount(); ++i) s += l.Selected(i) ? '1' : '0';
  return s;
}

TEST(HostUsersTableTest, FindHostRecordFindHostUserAndLookupUserContext) {
  HostUsersTable t;
  // The table follows the LAN order, so it need not be sorted.
  t.AgentInfoTable = {Host("zeta   "), Host("alpha"), Host("pc2", {"Ann", "bob"})};
  t.AgentInfoTable[2].Users[0].sContext.Assign("  sales ");
  const std::pair<const char*, Long> hosts[] = {{"alpha", 2}, {"ZETA", 1},   {"Pc2", 3},
                                                {"delta", 0}, {"alpha ", 0}, {"", 0}};
  for (const auto& [sKey, lngWant] : hosts) EXPECT_EQ(t.FindHostRecord(sKey), lngWant) << sKey;
  // Case counts for users; an empty name or a host outside the table finds none.
  const std::tuple<Long, const char*, Integer> users[] = {
      {3, "Ann", 1}, {3, "ann", 0}, {3, "bob", 2}, {3, "", 0}, {0, "Ann", 0}, {4, "Ann", 0}};
  for (const auto& [lngHost, sUser, nWant] : users)
    EXPECT_EQ(t.FindHostUser(lngHost, sUser), nWant) << lngHost << sUser;
  EXPECT_EQ(t.LookupUserContext("PC2", "Ann"), "sales");
  EXPECT_EQ(t.LookupUserContext("pc2", "bob"), "");  // no context chosen
  EXPECT_EQ(t.LookupUserContext("pc2", "carl"), "");
  EXPECT_EQ(t.LookupUserContext("pc3", "Ann"), "");
}

TEST_F(HostUsersTest, StoreHostUsersFillsAtMost64Slots) {
  InSetup([](SetupParts& a, FrmAgentSetup& f) {
    f.hostUsers.AgentInfoTable = {Host("pc2")};
    f.hostUsers.AgentInfoTable[0].Users[0].sContext.Assign("dropped");
    auto m = std::make_shared<clsMsgHostInfo>(a);
    m->SetMsgUL(Users(a, "pc2", 65));
    f.hostUsers.StoreHostUsers(1, m);
    EXPECT_EQ(f.hostUsers.FindHostUser(1, "user64"), 64);
    EXPECT_EQ(f.hostUsers.FindHostUser(1, "user65"), 0);
    EXPECT_EQ(f.hostUsers.AgentInfoTable[0].Users[0].sContext.Text(), std::string(64, ' '));
    // No user list, or a position outside the table: nothing changes.
    f.hostUsers.AgentInfoTable[0].Users[0].sContext.Assign("ctx");
    f.hostUsers.StoreHostUsers(1, std::make_shared<clsMsgHostInfo>(a));
    f.hostUsers.StoreHostUsers(2, m);
    f.hostUsers.StoreHostUsers(1, nullptr);
    EXPECT_EQ(f.hostUsers.AgentInfoTable[0].Users[0].sContext.Trimmed(), "ctx");
  });
}

TEST_F(HostUsersTest, ShownUsersKeepTheirContextsAndTheTwoListsEditThem) {
  InSetup([](SetupParts& a, FrmAgentSetup& f) {
    a.Register("PC2", [&](clsMsgHostInfo& m) { m.SetMsgUL(Users(a, "PC2", 2)); });
    f.hostUsers.AgentInfoTable = {Host("PC2")};
    f.hostUsers.AgentInfoTable[0].Users[0].sContext.Assign("ctxB");
    for (const char* s : {"ctxA", "ctxB", "ctxC"}) f.selectedHost.lstContexts->AddItem(s);
    f.selectedHost.lstContexts->SetSelected(0, true);
    f.ShowHostUsers(a.Entry("PC2")->GetMsgUL());
    EXPECT_EQ(Items(*f.selectedHost.lstHostUsers), (std::vector<std::string>{"user1", "user2"}));
    EXPECT_EQ(Selection(*f.selectedHost.lstContexts), "000");
    f.selectedHost.txtHostName->SetText("pc2");
    f.selectedHost.lstContexts->UserClick(2);  // no user selected: nothing stored
    EXPECT_EQ(f.hostUsers.AgentInfoTable[0].Users[1].sContext.Text(), std::string(64, '\0'));
    f.selectedHost.lstHostUsers->UserClick(0);
    EXPECT_EQ(Selection(*f.selectedHost.lstContexts), "010");
    f.selectedHost.lstHostUsers->UserClick(1);
    f.selectedHost.lstContexts->UserClick(0);
    EXPECT_EQ(f.hostUsers.LookupUserContext("PC2", "user2"), "ctxA");
    EXPECT_EQ(f.hostUsers.LookupUserContext("PC2", "user1"), "ctxB");
    f.selectedHost.txtHostName->SetText("PC9");  // a host the table does not hold: nothing changes
    f.selectedHost.lstContexts->UserClick(2);
    EXPECT_EQ(f.hostUsers.LookupUserContext("PC2", "user2"), "ctxA");
    f.ShowHostUsers(nullptr);
    EXPECT_EQ(f.selectedHost.lstHostUsers->ListCount(), 0);
  });
}

// A window loads the table when it is built, whole records only, so the contexts chosen
// in an earlier run are there before the first refresh.
TEST_F(HostUsersTest, ANewWindowLoadsTheWholeRecordsOfTheAgentInfoFile) {
  Bytes file;
  for (const char* s : {"pc2", "pc3"}) {
    const Bytes one = EncodeAgentInfoRecord(Host(s));
    file.insert(file.end(), one.begin(), one.end());
  }
  file.resize(file.size() + 8255, 'p');
  ASSERT_TRUE(world_.Files().WriteFile(host_, "C:\\Launch\\AgentInfo_1", file));
  pid_ = world_.Programs().StartProcess(host_, "setup", "C:\\Launch\\Launch.exe");
  world_.RunFor(0);
  InSetup([](SetupParts&, FrmAgentSetup& f) {
    ASSERT_EQ(f.hostUsers.AgentInfoTable.size(), 2u);
    EXPECT_EQ(f.hostUsers.FindHostRecord("pc3"), 2);
  });
}

}  // namespace
}  // namespace launchagent::testing
