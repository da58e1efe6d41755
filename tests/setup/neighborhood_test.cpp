// The neighbourhood and active lists, their buttons, and the selected-host frame with
// the users and contexts per neighbourhood computer that the agent-info table keeps.
#include <gtest/gtest.h>

#include "messages/cls_msg_user_list.h"
#include "setup_fixture.h"

namespace launchagent::testing {
namespace {

using NeighborhoodTest = SetupTest;
using Names = std::vector<std::string>;

TEST_F(NeighborhoodTest, PopulateListsAndRegistersTheHostsAndSavesTheTable) {
  InSetup([](SetupParts& a, FrmAgentSetup& f) {
    a.bActiveAgentServices = f.localHost.bSeekWeb = f.localHost.bSeekStocks = true;
    a.lanHosts = {"PC2", "pc1", "ghost"};
    f.PopulateNeighborhoodList();
    f.localHost.bSeekWeb = false;
    f.PopulateNeighborhoodList();  // emptied first; entries the registry holds stay
    EXPECT_EQ(Items(*f.neighborhood.lstNeighborhood), (Names{"PC2", "pc1", "ghost"}));
    const auto pc2 = Entry(a, "pc2");
    EXPECT_EQ(pc2->GetIPAddress() + ":" + std::to_string(pc2->GetLocalPort()), "10.0.0.2:1230");
    EXPECT_FALSE(pc2->GetProvideWeb());
    EXPECT_EQ(Entry(a, "ghost")->GetIPAddress(), "");  // does not resolve
    // The local host takes the local options when first registered.
    const auto pc1 = Entry(a, "PC1");
    EXPECT_TRUE(pc1->GetProvideHostServices() && pc1->GetProvideWeb() && pc1->GetProvideStocks());
    EXPECT_FALSE(pc1->GetProvideJobs());
  });
  EXPECT_EQ(ReadFile(kAgentInfo1).value_or(Bytes()).size(), 3u * 8256u);
  EXPECT_EQ(FileBytes(kAgentInfo1, 8256), Padded("pc1"));
}

TEST_F(NeighborhoodTest, RefreshRebuildsFromTheLANAndWithoutHostsLeavesTableAndFileAlone) {
  InSetup([](SetupParts&, FrmAgentSetup& f) {
    f.neighborhood.lstNeighborhood->AddItem("old");
    f.selectedHost.lstContexts->AddItem("x");
    f.hostUsers.AgentInfoTable.assign(2, AgentInfoRecord{});
    f.neighborhood.cmdRefresh->Click();
    EXPECT_EQ(f.neighborhood.lstNeighborhood->ListCount(), 0);
    // The contexts are out of the agent's reach.
    EXPECT_EQ(f.selectedHost.lstContexts->ListCount(), 0);
    EXPECT_EQ(f.hostUsers.AgentInfoTable.size(), 2u);
  });
  EXPECT_FALSE(ReadFile(kAgentInfo1));
  // What a refresh lists once the share search finds a host: tests/scenarios/setup-refresh.scn.
}

TEST_F(NeighborhoodTest, AddOnceDeleteEverySelectedAndClearWritesABlankFirstEntry) {
  InSetup([](SetupParts&, FrmAgentSetup& f) {
    for (const char* s : {"PC2", "PC3"}) f.neighborhood.lstNeighborhood->AddItem(s);
    for (const char* s : {"a", "pc2", "c", "d", "e"}) f.active.lstActive->AddItem(s);
    f.active.cmdActiveAdd->Click();  // nothing selected: nothing added
    f.neighborhood.lstNeighborhood->UserClick(0);
    f.active.cmdActiveAdd->Click();  // listed already, in another case
    EXPECT_EQ(f.active.lstActive->ListCount(), 5);
  });
  EXPECT_FALSE(ReadFile(kAgentDat));  // nothing saved
  InSetup([](SetupParts&, FrmAgentSetup& f) {
    // Two neighbours: the second moves into the first's place.
    f.active.lstActive->UserClick(1);
    f.active.lstActive->UserClick(2, true);
    f.active.lstActive->UserClick(4, true);
    f.active.cmdActiveDelete->Click();
    f.neighborhood.lstNeighborhood->UserClick(1);
    f.active.cmdActiveAdd->Click();
    EXPECT_EQ(Items(*f.active.lstActive), (Names{"a", "d", "PC3"}));
  });
  EXPECT_EQ(FileBytes(kAgentDat, 0, 256), Padded("a") + Padded("d") + Padded("PC3") + Padded(""));
  InSetup([](SetupParts&, FrmAgentSetup& f) { f.active.cmdActiveClear->Click(); });
  EXPECT_EQ(FileBytes(kAgentDat, 0, 128), std::string(64, ' ') + std::string(64, '\0'));
}

TEST_F(NeighborhoodTest, ClickingAComputerShowsItsEntryOrEmptiesTheFrame) {
  InSetup([](SetupParts& a, FrmAgentSetup& f) {
    Register(a, "PC2", [](clsMsgHostInfo& m) {
      m.SetIPAddress("192.168.10.5");
      m.SetLocalPort(1230);
      m.SetProvideNews(true);
      m.SetProvideHostServices(true);
    });
    for (const char* s : {"pc2", "PC9"}) f.neighborhood.lstNeighborhood->AddItem(s);
    f.selectedHost.lstHostUsers->AddItem("stale");
    const auto shown = [&] {
      std::string s;
      for (ui::TextBox* t :
           {f.selectedHost.txtHostName, f.selectedHost.txtLocalPortNumber, f.selectedHost.txtIP1,
            f.selectedHost.txtIP2, f.selectedHost.txtIP3, f.selectedHost.txtIP4})
        s += t->Text() + "|";
      for (ui::CheckBox* c : {f.selectedHost.chkRemoteIntranet, f.selectedHost.chkRemoteWeb,
                              f.selectedHost.chkRemoteNews, f.selectedHost.chkRemoteJobs,
                              f.selectedHost.chkRemoteStocks, f.selectedHost.chkActiveHost})
        s += std::to_string(c->Value());
      return s;
    };
    f.neighborhood.lstNeighborhood->UserClick(0);
    EXPECT_EQ(shown(), "PC2| 1230|192|168|10|5|001001");
    EXPECT_EQ(f.selectedHost.lstHostUsers->ListCount(), 0);  // no user list attached
    f.neighborhood.lstNeighborhood->UserClick(1);            // one the registry does not know
    EXPECT_EQ(shown(), "||||||000000");
  });
}

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

TEST_F(NeighborhoodTest, FindHostRecordFindHostUserAndLookupUserContext) {
  InSetup([](SetupParts&, FrmAgentSetup& f) {
    // The table follows the LAN order, so it need not be sorted.
    f.hostUsers.AgentInfoTable = {Host("zeta   "), Host("alpha"), Host("pc2", {"Ann", "bob"})};
    f.hostUsers.AgentInfoTable[2].Users[0].sContext.Assign("  sales ");
    const std::pair<const char*, Long> hosts[] = {{"alpha", 2}, {"ZETA", 1},   {"Pc2", 3},
                                                  {"delta", 0}, {"alpha ", 0}, {"", 0}};
    for (const auto& [sKey, lngWant] : hosts)
      EXPECT_EQ(f.hostUsers.FindHostRecord(sKey), lngWant) << sKey;
    // Case counts for users; an empty name or a host outside the table finds none.
    const std::tuple<Long, const char*, Integer> users[] = {
        {3, "Ann", 1}, {3, "ann", 0}, {3, "bob", 2}, {3, "", 0}, {0, "Ann", 0}, {4, "Ann", 0}};
    for (const auto& [lngHost, sUser, nWant] : users)
      EXPECT_EQ(f.hostUsers.FindHostUser(lngHost, sUser), nWant) << lngHost << sUser;
    EXPECT_EQ(f.hostUsers.LookupUserContext("PC2", "Ann"), "sales");
    EXPECT_EQ(f.hostUsers.LookupUserContext("pc2", "bob"), "");  // no context chosen
    EXPECT_EQ(f.hostUsers.LookupUserContext("pc2", "carl"), "");
    EXPECT_EQ(f.hostUsers.LookupUserContext("pc3", "Ann"), "");
  });
}

TEST_F(NeighborhoodTest, StoreHostUsersFillsAtMost64Slots) {
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

TEST_F(NeighborhoodTest, ShownUsersKeepTheirContextsAndTheTwoListsEditThem) {
  InSetup([](SetupParts& a, FrmAgentSetup& f) {
    Register(a, "PC2", [&](clsMsgHostInfo& m) { m.SetMsgUL(Users(a, "PC2", 2)); });
    f.hostUsers.AgentInfoTable = {Host("PC2")};
    f.hostUsers.AgentInfoTable[0].Users[0].sContext.Assign("ctxB");
    for (const char* s : {"ctxA", "ctxB", "ctxC"}) f.selectedHost.lstContexts->AddItem(s);
    f.selectedHost.lstContexts->SetSelected(0, true);
    f.ShowHostUsers(Entry(a, "PC2")->GetMsgUL());
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

TEST(SplitIPAddressTest, CutsAtTheDotsUntilOneIsMissing) {
  const std::vector<std::string> cases[] = {{"10.0.0.7", "10", "0", "0", "7"},
                                            {"1.2.3.4.5", "1", "2", "3", "4.5"},
                                            {"10.0.0", "10", "0", "", ""},
                                            {"10.0", "10", "", "", ""},
                                            {"", "", "", "", ""},
                                            {"...", "", "", "", ""},
                                            {"a.b.c.", "a", "b", "c", ""}};
  for (const auto& c : cases) {
    std::string a = "x", b = "x", d = "x", e = "x";
    SplitIPAddress(c[0], a, b, d, e);
    EXPECT_EQ((std::vector<std::string>{c[0], a, b, d, e}), c);
  }
}

}  // namespace
}  // namespace launchagent::testing
