// The neighbourhood and active lists, their buttons and the selected-host frame.
#include <gtest/gtest.h>

#include "messages/cls_msg_host_info.h"
#include "setup_fixture.h"

namespace launchagent::testing {
namespace {

using NeighborhoodTest = SetupTest;

std::vector<std::string> Items(const ui::ListBox& l) {
  std::vector<std::string> v;
  for (Integer i = 0; i < l.ListCount(); ++i) v.push_back(l.List(i));
  return v;
}

void AddLANHosts(Agent& a, const std::vector<std::string>& hosts) {
  for (const std::string& h : hosts) a.launcher().AddLANHost(h);
}

TEST_F(NeighborhoodTest, PopulateListsHostsRegistersThemAndSavesTheTable) {
  InSetup([](Agent& a, FrmAgentSetup& f) {
    AddLANHosts(a, {"PC2", "PC1", "ghost"});
    f.PopulateNeighborhoodList();
    EXPECT_EQ(Items(*f.lstNeighborhood), (std::vector<std::string>{"PC2", "PC1", "ghost"}));
    f.PopulateNeighborhoodList();  // emptied first: the same list again
    EXPECT_EQ(Items(*f.lstNeighborhood), (std::vector<std::string>{"PC2", "PC1", "ghost"}));
    ASSERT_EQ(f.AgentInfoTable.size(), 3u);
    EXPECT_EQ(f.AgentInfoTable[0].sHostName.Text(), Padded("PC2"));
    EXPECT_EQ(f.FindHostRecord("ghost"), 3);

    std::shared_ptr<clsMsgHostInfo> m;
    ASSERT_TRUE(a.agentHostInfo().GetAgentHostInfoByName("pc2", m));
    EXPECT_EQ(m->GetIPAddress(), "10.0.0.2");
    EXPECT_EQ(m->GetLocalPort(), 1230);
    ASSERT_TRUE(a.agentHostInfo().GetAgentHostInfoByName("ghost", m));
    EXPECT_EQ(m->GetIPAddress(), "");  // does not resolve
  });
  const auto file = ReadFile(kAgentInfo1);
  ASSERT_TRUE(file);
  EXPECT_EQ(file->size(), 3u * 8256u);
  EXPECT_EQ(Field(*file, 8256), Padded("PC1"));
}

TEST_F(NeighborhoodTest, LocalHostTakesTheLocalOptionsOnlyWhenFirstRegistered) {
  InSetup([](Agent& a, FrmAgentSetup& f) {
    a.bActiveAgentServices = true;
    f.bSeekWeb = true;
    f.bSeekStocks = true;
    AddLANHosts(a, {"pc1", "PC2"});
    f.PopulateNeighborhoodList();
    std::shared_ptr<clsMsgHostInfo> m;
    ASSERT_TRUE(a.agentHostInfo().GetAgentHostInfoByName("PC1", m));
    EXPECT_TRUE(m->GetProvideHostServices());
    EXPECT_TRUE(m->GetProvideWeb());
    EXPECT_TRUE(m->GetProvideStocks());
    EXPECT_FALSE(m->GetProvideJobs());
    ASSERT_TRUE(a.agentHostInfo().GetAgentHostInfoByName("PC2", m));
    EXPECT_FALSE(m->GetProvideWeb());

    f.bSeekWeb = false;
    f.PopulateNeighborhoodList();
    ASSERT_TRUE(a.agentHostInfo().GetAgentHostInfoByName("PC1", m));
    EXPECT_TRUE(m->GetProvideWeb());  // the entry the registry holds stays
  });
}

TEST_F(NeighborhoodTest, PopulateWithoutLANHostsLeavesTableAndFileAlone) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.lstNeighborhood->AddItem("old");
    f.AgentInfoTable.assign(2, AgentInfoRecord{});
    f.PopulateNeighborhoodList();
    EXPECT_EQ(f.lstNeighborhood->ListCount(), 0);
    EXPECT_EQ(f.AgentInfoTable.size(), 2u);
  });
  EXPECT_FALSE(ReadFile(kAgentInfo1));
}

TEST_F(NeighborhoodTest, AddHostToNeighborhoodUpperCasesAndSkipsListedNames) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.lstNeighborhood->AddItem("PC7");
    std::string s = "pc7";
    f.AddHostToNeighborhood(s);
    EXPECT_EQ(f.lstNeighborhood->ListCount(), 1);
    EXPECT_EQ(s, "PC7");
    s = "pc8";
    f.AddHostToNeighborhood(s);
    EXPECT_EQ(s, "PC8");
    EXPECT_EQ(Items(*f.lstNeighborhood), (std::vector<std::string>{"PC7", "PC8"}));
  });
}

TEST_F(NeighborhoodTest, AddPutsTheSelectedComputerInTheActiveList) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.lstNeighborhood->AddItem("PC2");
    f.lstNeighborhood->AddItem("PC3");
    f.cmdActiveAdd->Click();  // nothing selected: nothing added
    EXPECT_EQ(f.lstActive->ListCount(), 0);
    f.lstNeighborhood->UserClick(1);
    f.cmdActiveAdd->Click();
    EXPECT_EQ(Items(*f.lstActive), (std::vector<std::string>{"PC3"}));
  });
  const auto file = ReadFile(kAgentDat);
  ASSERT_TRUE(file);
  EXPECT_EQ(Field(*file, 0), Padded("PC3"));
  EXPECT_EQ(Field(*file, 64), Padded(""));
}

TEST_F(NeighborhoodTest, AddingAnActiveComputerAgainChangesNothing) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.lstActive->AddItem("pc2");
    f.lstNeighborhood->AddItem("PC2");
    f.lstNeighborhood->UserClick(0);
    f.cmdActiveAdd->Click();
    EXPECT_EQ(Items(*f.lstActive), (std::vector<std::string>{"pc2"}));
    EXPECT_TRUE(f.InActiveHostList("Pc2"));
    EXPECT_FALSE(f.InActiveHostList("pc3"));
  });
  EXPECT_FALSE(ReadFile(kAgentDat));  // nothing saved
}

TEST_F(NeighborhoodTest, DeleteRemovesEverySelectedEntry) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    for (const char* s : {"a", "b", "c", "d", "e"}) f.lstActive->AddItem(s);
    f.lstActive->UserClick(1);
    f.lstActive->UserClick(2, true);  // two neighbours: the second moves into the first's place
    f.lstActive->UserClick(4, true);
    f.cmdActiveDelete->Click();
    EXPECT_EQ(Items(*f.lstActive), (std::vector<std::string>{"a", "d"}));
  });
  const auto file = ReadFile(kAgentDat);
  ASSERT_TRUE(file);
  EXPECT_EQ(Field(*file, 0), Padded("a"));
  EXPECT_EQ(Field(*file, 64), Padded("d"));
  EXPECT_EQ(Field(*file, 128), Padded(""));
}

TEST_F(NeighborhoodTest, ClearWritesABlankFirstEntry) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.lstActive->AddItem("a");
    f.cmdActiveClear->Click();
    EXPECT_EQ(f.lstActive->ListCount(), 0);
  });
  const auto file = ReadFile(kAgentDat);
  ASSERT_TRUE(file);
  EXPECT_EQ(Field(*file, 0), std::string(64, ' '));
  EXPECT_EQ(Field(*file, 64), std::string(64, '\0'));
}

TEST_F(NeighborhoodTest, ClickingAKnownComputerShowsItsEntry) {
  InSetup([](Agent& a, FrmAgentSetup& f) {
    auto m = std::make_shared<clsMsgHostInfo>(a);
    m->SetHostName("PC2");
    m->SetIPAddress("192.168.10.5");
    m->SetLocalPort(1230);
    m->SetProvideNews(true);
    m->SetProvideHostServices(true);
    a.agentHostInfo().RegisterAgent(m);
    f.lstNeighborhood->AddItem("pc2");
    f.lstNeighborhood->AddItem("PC9");
    f.lstHostUsers->AddItem("stale");
    f.lstNeighborhood->UserClick(0);
    EXPECT_EQ(f.txtHostName->Text(), "PC2");
    EXPECT_EQ(f.txtLocalPortNumber->Text(), " 1230");
    EXPECT_EQ(f.txtIP1->Text(), "192");
    EXPECT_EQ(f.txtIP2->Text(), "168");
    EXPECT_EQ(f.txtIP3->Text(), "10");
    EXPECT_EQ(f.txtIP4->Text(), "5");
    EXPECT_EQ(f.chkRemoteNews->Value(), 1);
    EXPECT_EQ(f.chkActiveHost->Value(), 1);
    EXPECT_EQ(f.chkRemoteWeb->Value(), 0);
    EXPECT_EQ(f.lstHostUsers->ListCount(), 0);  // no user list attached

    // A computer the registry does not know empties the frame.
    f.lstNeighborhood->UserClick(1);
    for (ui::TextBox* t :
         {f.txtHostName, f.txtLocalPortNumber, f.txtIP1, f.txtIP2, f.txtIP3, f.txtIP4})
      EXPECT_EQ(t->Text(), "") << t->Name();
    for (ui::CheckBox* c : {f.chkRemoteIntranet, f.chkRemoteWeb, f.chkRemoteNews, f.chkRemoteJobs,
                            f.chkRemoteStocks, f.chkActiveHost})
      EXPECT_EQ(c->Value(), 0) << c->Name();
  });
}

TEST_F(NeighborhoodTest, RefreshRebuildsFromTheLANAndReenablesItsButton) {
  lan_.World().AddShare(lan_.Host("PC2"), "apps", "C:\\Apps");
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.cmdRefresh->Click();
    EXPECT_TRUE(f.cmdRefresh->Enabled());
    EXPECT_EQ(Items(*f.lstNeighborhood), (std::vector<std::string>{"PC2"}));
    EXPECT_EQ(f.lstContexts->ListCount(), 0);
  });
}

struct SplitCase {
  const char* sAddress;
  std::vector<std::string> parts;
};

class SplitIPAddressTest : public ::testing::TestWithParam<SplitCase> {};

TEST_P(SplitIPAddressTest, CutsAtTheDots) {
  std::string a = "x", b = "x", c = "x", d = "x";
  FrmAgentSetup::SplitIPAddress(GetParam().sAddress, a, b, c, d);
  EXPECT_EQ((std::vector<std::string>{a, b, c, d}), GetParam().parts);
}

INSTANTIATE_TEST_SUITE_P(Addresses, SplitIPAddressTest,
                         ::testing::Values(SplitCase{"10.0.0.7", {"10", "0", "0", "7"}},
                                           SplitCase{"1.2.3.4.5", {"1", "2", "3", "4.5"}},
                                           SplitCase{"10.0.0", {"10", "0", "", ""}},
                                           SplitCase{"10.0", {"10", "", "", ""}},
                                           SplitCase{"", {"", "", "", ""}},
                                           SplitCase{"...", {"", "", "", ""}},
                                           SplitCase{"a.b.c.", {"a", "b", "c", ""}}));

}  // namespace
}  // namespace launchagent::testing
