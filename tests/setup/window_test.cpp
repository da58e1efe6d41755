// The Agent Setup window: its controls, Init, the local option check boxes, Set, Ok and
// the "Log" box.
#include <gtest/gtest.h>

#include "messages/cls_msg_host_info.h"
#include "registry/local_option_changes.h"
#include "setup_fixture.h"
#include "transport/frm_client.h"

namespace launchagent::testing {
namespace {

using WindowTest = SetupTest;

// The local host registered in the registry, as the neighbourhood list leaves it.
void RegisterLocalHost(Agent& a) {
  auto m = std::make_shared<clsMsgHostInfo>(a);
  m->SetHostName("PC1");
  m->SetProvideHostServices(true);
  a.agentHostInfo().RegisterAgent(m);
}

std::shared_ptr<clsMsgHostInfo> Entry(Agent& a, const std::string& sHost) {
  std::shared_ptr<clsMsgHostInfo> m;
  a.agentHostInfo().GetAgentHostInfoByName(sHost, m);
  return m;
}

TEST_F(WindowTest, EveryControlStandsInItsFrameWithItsCaption) {
  struct Want {
    const char* sName;
    const char* sContainer;
    const char* sCaption;  // "" for controls without one
  };
  const Want wants[] = {
      {"fraNeighborhood", "", "Neighborhood Computers "},
      {"lstNeighborhood", "fraNeighborhood", ""},
      {"cmdRefresh", "", "Refresh"},
      {"fraActive", "", "Active Computers"},
      {"lstActive", "fraActive", ""},
      {"cmdActiveAdd", "", "Add"},
      {"cmdActiveDelete", "", "Delete"},
      {"cmdActiveClear", "", "Clear"},
      {"fraSelectedHost", "", "Selected (Remote) Host Agent Properties"},
      {"lblHostUsers", "fraSelectedHost", "Select Host Users:"},
      {"lstHostUsers", "fraSelectedHost", ""},
      {"lblContexts", "fraSelectedHost", "Select Active Context:"},
      {"lstContexts", "fraSelectedHost", ""},
      {"chkRemoteWeb", "fraSelectedHost", "Web"},
      {"chkRemoteNews", "fraSelectedHost", "News"},
      {"chkRemoteJobs", "fraSelectedHost", "Jobs"},
      {"chkRemoteStocks", "fraSelectedHost", "Stocks"},
      {"chkRemoteIntranet", "fraSelectedHost", "Intranet"},
      {"chkActiveHost", "fraSelectedHost", "Seek Host Services"},
      {"lblHostName", "fraSelectedHost", "HostName : "},
      {"txtHostName", "fraSelectedHost", ""},
      {"lblIPAddress", "fraSelectedHost", "IP Address : "},
      {"txtIP1", "fraSelectedHost", ""},
      {"txtIP4", "fraSelectedHost", ""},
      {"lblLocalPort", "fraSelectedHost", "Local Port # : "},
      {"txtLocalPortNumber", "fraSelectedHost", ""},
      {"cmdSet", "fraSelectedHost", "Set"},
      {"fraLocalHost", "", "Local Host Agent Properties"},
      {"chkSeekWeb", "fraLocalHost", "Web"},
      {"chkSeekNews", "fraLocalHost", "News"},
      {"chkSeekJobs", "fraLocalHost", "Jobs"},
      {"chkSeekStocks", "fraLocalHost", "Stocks"},
      {"chkSeekIntranet", "fraLocalHost", "Intranet"},
      {"chkActiveAgentServices", "fraLocalHost", "Activate Agent Services for local Host"},
      {"fraLog", "", "Log"},
      {"rtbAgentLog", "fraLog", ""},
      {"cmdOk", "", "Ok"},
      {"TimerCheckInternet", "", ""},
  };
  InSetup([&](Agent&, FrmAgentSetup& f) {
    ui::Form& form = f.Form();
    EXPECT_EQ(form.Caption(), "Agent Setup");
    for (const Want& w : wants) {
      SCOPED_TRACE(w.sName);
      ui::Control* c = form.Find(w.sName);
      ASSERT_NE(c, nullptr);
      EXPECT_EQ(c->sContainer, w.sContainer);
      std::string sCaption;
      if (auto* p = dynamic_cast<ui::Frame*>(c)) sCaption = p->Caption();
      if (auto* p = dynamic_cast<ui::Label*>(c)) sCaption = p->Caption();
      if (auto* p = dynamic_cast<ui::CheckBox*>(c)) sCaption = p->Caption();
      if (auto* p = dynamic_cast<ui::CommandButton*>(c)) sCaption = p->Caption();
      EXPECT_EQ(sCaption, w.sCaption);
    }
    EXPECT_EQ(f.txtLocalPortNumber->Text(), "1030");
    EXPECT_EQ(f.rtbAgentLog->Text(), "");
    EXPECT_TRUE(f.lstActive->MultiSelect());
    EXPECT_TRUE(f.TimerCheckInternet->TimerEnabled());
    EXPECT_EQ(f.TimerCheckInternet->Interval(), 60000);
    // Side by side on top, the Ok button centred at the bottom.
    EXPECT_EQ(f.fraNeighborhood->nTop, f.fraActive->nTop);
    EXPECT_LT(f.fraNeighborhood->nLeft, f.fraActive->nLeft);
    EXPECT_LT(f.fraActive->nTop, f.fraSelectedHost->nTop);
    EXPECT_LT(f.fraSelectedHost->nTop, f.fraLocalHost->nTop);
    EXPECT_LT(f.fraLocalHost->nTop, f.fraLog->nTop);
    EXPECT_LT(f.fraLog->nTop, f.cmdOk->nTop);
    EXPECT_EQ(f.cmdOk->nLeft + f.cmdOk->nWidth / 2, form.nWidth / 2);
  });
}

TEST_F(WindowTest, CheckingJobsIsStoredAndShownAfterTheNextInit) {
  InAgent([](Agent& a) { a.OpenAgentSetup(); });
  InSetup([](Agent&, FrmAgentSetup& f) { f.chkSeekJobs->Click(); });
  const auto file = ReadFile(kAgentDat);
  ASSERT_TRUE(file);
  EXPECT_EQ(Word(*file, 12808), -1);
  EXPECT_EQ(Word(*file, 12802), 0);
  // Closed with its close box; the next use loads a fresh window that reads it back.
  InSetup([](Agent&, FrmAgentSetup& f) { f.Form().UserClose(); });
  InAgent([](Agent& a) { EXPECT_FALSE(a.IsAgentSetupLoaded()); });
  InSetup([](Agent&, FrmAgentSetup& f) {
    EXPECT_EQ(f.chkSeekJobs->Value(), 0);
    f.Init();
    EXPECT_EQ(f.chkSeekJobs->Value(), 1);
    EXPECT_TRUE(f.bSeekJobs);
  });
}

TEST_F(WindowTest, UncheckingAgentServicesStopsTheTransport) {
  // While the services are on, a send to another agent is attempted and logged.
  InAgent([](Agent& a) {
    a.bActiveAgentServices = true;
    a.frmClient().SendMessageEx("PC2", "", Bytes{1, 2, 3});
  });
  ASSERT_FALSE(lan_.LogLines("PC1").empty());
  InSetup([](Agent& a, FrmAgentSetup& f) {
    RegisterLocalHost(a);
    f.chkActiveAgentServices->SetValue(1);  // shows the state start-up left
    f.chkActiveAgentServices->Click();
    EXPECT_FALSE(a.bActiveAgentServices);
    EXPECT_FALSE(Entry(a, "PC1")->GetProvideHostServices());
  });
  const auto file = ReadFile(kAgentDat);
  ASSERT_TRUE(file);
  EXPECT_EQ(Word(*file, 12800), 0);
  const std::size_t nMark = lan_.LogMark("PC1");
  InAgent([](Agent& a) { a.frmClient().SendMessageEx("PC2", "", Bytes{1, 2, 3}); });
  EXPECT_TRUE(lan_.LogLinesSince("PC1", nMark).empty());
}

TEST_F(WindowTest, InitWithServicesOffInTheFileUnchecksTheBox) {
  Bytes file(12812, 0);
  for (std::size_t i = 0; i < 64; ++i) file[i] = ' ';
  InSetup([](Agent& a, FrmAgentSetup& f) {
    a.bActiveAgentServices = true;  // as start-up sets it
    f.chkActiveAgentServices->SetValue(1);
  });
  ASSERT_TRUE(WriteFile(kAgentDat, file));
  InSetup([](Agent& a, FrmAgentSetup& f) {
    EXPECT_TRUE(a.bActiveAgentServices);
    f.Init();
    EXPECT_EQ(f.chkActiveAgentServices->Value(), 0);
    EXPECT_FALSE(a.bActiveAgentServices);
  });
}

TEST_F(WindowTest, InitRestoresEverySeekBoxAndNamesTheWindow) {
  Bytes file(12812, 0);
  for (std::size_t i = 0; i < 64; ++i) file[i] = ' ';
  for (std::size_t off : {12800u, 12802u, 12804u, 12806u, 12810u}) file[off] = file[off + 1] = 0xFF;
  ASSERT_TRUE(WriteFile(kAgentDat, file));
  InSetup([](Agent& a, FrmAgentSetup& f) {
    RegisterLocalHost(a);
    f.Init();
    EXPECT_EQ(f.chkSeekIntranet->Value(), 1);
    EXPECT_EQ(f.chkSeekWeb->Value(), 1);
    EXPECT_EQ(f.chkSeekNews->Value(), 1);
    EXPECT_EQ(f.chkSeekJobs->Value(), 0);
    EXPECT_EQ(f.chkSeekStocks->Value(), 1);
    EXPECT_EQ(f.chkActiveAgentServices->Value(), 1);
    // Restoring a box runs its handler: the registry entry follows.
    EXPECT_TRUE(Entry(a, "PC1")->GetProvideWeb());
    EXPECT_FALSE(Entry(a, "PC1")->GetProvideJobs());
    EXPECT_EQ(f.Form().Caption(), "Agent setup for  (10.0.0.1) PC1");
    EXPECT_FALSE(f.GotInternetAccess());
    EXPECT_EQ(f.nInternetTicks, 0);
  });
  // The file is rewritten with the same options.
  const auto after = ReadFile(kAgentDat);
  ASSERT_TRUE(after);
  EXPECT_EQ(Word(*after, 12804), -1);
  EXPECT_EQ(Word(*after, 12808), 0);
}

TEST_F(WindowTest, SetPassesTheJoinedAddress) {
  InSetup([](Agent& a, FrmAgentSetup& f) {
    f.txtHostName->UserType("pc30");
    f.txtIP1->UserType("10");
    f.txtIP2->UserType("0");
    f.txtIP3->UserType("0");
    f.txtIP4->UserType("7");
    f.txtLocalPortNumber->UserType(" 1231");
    f.cmdSet->Click();
    const auto m = Entry(a, "PC30");
    ASSERT_TRUE(m);
    EXPECT_EQ(m->GetIPAddress(), "10.0.0.7");
    EXPECT_EQ(m->GetLocalPort(), 1231);
    EXPECT_EQ(f.lstNeighborhood->List(0), "PC30");
  });
}

TEST_F(WindowTest, OkSavesTheAgentInfoAndHides) {
  InAgent([](Agent& a) { a.OpenAgentSetup(); });
  InSetup([](Agent&, FrmAgentSetup& f) {
    EXPECT_TRUE(f.Form().Visible());
    f.cmdOk->Click();
    EXPECT_FALSE(f.Form().Visible());
  });
  EXPECT_TRUE(ReadFile(kAgentInfo1));
  InAgent([](Agent& a) { EXPECT_TRUE(a.IsAgentSetupLoaded()); });
}

TEST_F(WindowTest, LogBoxAppendsLinesAndCutsToItsSecondHalf) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.txtAgentLog_Display("one", 5);
    EXPECT_EQ(f.rtbAgentLog->Text(), "one");
    f.txtAgentLog_Display("two", 5);
    EXPECT_EQ(f.rtbAgentLog->Text(), "one\r\ntwo");
    EXPECT_EQ(f.rtbAgentLog->SelText(), "two");

    f.rtbAgentLog->SetText(std::string(1024, 'a') + std::string(1026, 'b'));  // 2050
    f.txtAgentLog_Display("new", 5);
    EXPECT_EQ(f.rtbAgentLog->Text(), std::string(1025, 'b') + "\r\nnew");
    // Other modes never cut.
    f.rtbAgentLog->SetText(std::string(3000, 'c'));
    f.txtAgentLog_Display("x", 1);
    EXPECT_EQ(f.rtbAgentLog->Text().size(), 3003u);
  });
}

TEST_F(WindowTest, ActivityLogLinesReachTheLogBoxWhileLoaded) {
  InSetup([](Agent& a, FrmAgentSetup& f) {
    a.LogActivity("hello there", 1);
    EXPECT_NE(f.rtbAgentLog->Text().find("hello there"), std::string::npos);
  });
}

}  // namespace
}  // namespace launchagent::testing

namespace launchagent::testing {
namespace {

class OpenFromAgentWindowTest : public SetupTest {
 protected:
  AgentStart Mode() const override { return AgentStart::Transport; }
};

TEST_F(OpenFromAgentWindowTest, TheAgentWindowButtonInitialisesOnceAndShows) {
  InSetup([](Agent&, FrmAgentSetup& f) {
    f.lstActive->AddItem("PC2");
    ASSERT_TRUE(f.SaveOptions());
    f.lstActive->Clear();
  });
  InAgent([](Agent& a) {
    FrmLaunch& launch = a.frmLaunch();
    launch.cmdAgentSetup.Click();
    ui::Form* form = a.SetupForm();
    ASSERT_NE(form, nullptr);
    EXPECT_TRUE(form->Visible());
    EXPECT_EQ(form->Caption(), "Agent setup for  (10.0.0.1) PC1");
    form->Hide();
    launch.cmdAgentSetup.Click();  // shown again without a second Init
    EXPECT_TRUE(form->Visible());
    EXPECT_EQ(a.frmAgentSetup().lstActive->ListCount(), 1);
  });
}

}  // namespace
}  // namespace launchagent::testing
