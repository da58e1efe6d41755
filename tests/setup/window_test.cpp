// The Agent Setup window: the local option check boxes with the local option changes they
// make, Set with SetAgentAddress, and the "Log" box. Opening it, "Ok", the
// file writes of the boxes, Init reading them back and the services stopping the transport
// are in tests/scenarios/setup-clicks.scn, setup-reopen.scn and setup-local-options.scn.
#include <gtest/gtest.h>

#include "registry/cls_agent_info.h"
#include "setup/local_option_changes.h"
#include "setup_fixture.h"

namespace launchagent::testing {
namespace {

using WindowTest = SetupTest;

TEST_F(WindowTest, EachLocalBoxReachesTheLocalEntryOnly) {
  using Getter = bool (clsMsgHostInfo::*)() const;
  InSetup([](SetupParts& a, FrmAgentSetup& f) {
    const std::pair<ui::CheckBox*, Getter> boxes[] = {
        {f.localHost.chkActiveAgentServices, &clsMsgHostInfo::GetProvideHostServices},
        {f.localHost.chkSeekIntranet, &clsMsgHostInfo::GetProvideIntranet},
        {f.localHost.chkSeekWeb, &clsMsgHostInfo::GetProvideWeb},
        {f.localHost.chkSeekNews, &clsMsgHostInfo::GetProvideNews},
        {f.localHost.chkSeekJobs, &clsMsgHostInfo::GetProvideJobs},
        {f.localHost.chkSeekStocks, &clsMsgHostInfo::GetProvideStocks}};
    Register(a, "PC2");
    for (const auto& [box, get] : boxes) box->Click();  // without a local entry: no entry changes
    EXPECT_TRUE(f.localHost.bSeekWeb);
    EXPECT_EQ(a.agentHostInfo().GetAgentCount(), 1);
    Register(a, "pc1");  // the Winsock name is PC1: case does not count
    for (const auto& [box, get] : boxes) {
      box->Click();
      EXPECT_FALSE((*Entry(a, "PC1").*get)()) << box->Name();
      box->Click();
      EXPECT_TRUE((*Entry(a, "PC1").*get)()) << box->Name();
      EXPECT_FALSE((*Entry(a, "PC2").*get)()) << box->Name();
    }
    a.frmAgentSetup().localOptionChanges().SetLocalInternetReady(true);
    EXPECT_TRUE(Entry(a, "PC1")->GetInternetReady());
    EXPECT_FALSE(Entry(a, "PC2")->GetInternetReady());
  });
}

TEST_F(WindowTest, SetRegistersANewHostWithTheJoinedAddressAndListsItOnce) {
  InSetup([](SetupParts& a, FrmAgentSetup& f) {
    const std::pair<ui::TextBox*, const char*> typed[] = {
        {f.selectedHost.txtHostName, "pc30"}, {f.selectedHost.txtIP1, "10"},
        {f.selectedHost.txtIP2, "0"},         {f.selectedHost.txtIP3, "0"},
        {f.selectedHost.txtIP4, "7"},         {f.selectedHost.txtLocalPortNumber, " 1231"}};
    for (const auto& [t, s] : typed) t->UserType(s);
    f.selectedHost.cmdSet->Click();
    f.selectedHost.cmdSet->Click();
    const auto m = Entry(a, "PC30");
    ASSERT_TRUE(m);
    EXPECT_EQ(m->GetHostName() + " " + m->GetIPAddress() + ":" + std::to_string(m->GetLocalPort()),
              "pc30 10.0.0.7:1231");
    EXPECT_EQ(m->GetDateReceived(), a.Platform().clock.Now());
    EXPECT_EQ(a.agentHostInfo().GetAgentRecord(a.agentHostInfo().FindAgentIndex("pc30"))->GetPort(),
              0);
    EXPECT_EQ(Items(*f.neighborhood.lstNeighborhood), std::vector<std::string>{"PC30"});
  });
}

TEST_F(WindowTest, SetAgentAddressOnAKnownHostReplacesAddressAndPortOnly) {
  // The port text and the port afterwards; one above 32767 changes nothing.
  const std::pair<const char*, Integer> cases[] = {
      {"1233", 1233}, {"1233x", 1233},  {"", 0},         {" 1231", 1231}, {"1232.5", 1232},
      {"-7", -7},     {"32767", 32767}, {"32768", 1230}, {"99999", 1230}};
  InSetup([&](SetupParts& a, FrmAgentSetup& f) {
    for (const auto& [sPort, nWant] : cases) {
      auto m = std::make_shared<clsMsgHostInfo>(a);
      m->SetHostName("PC2");
      m->SetIPAddress("10.0.0.2");
      m->SetLocalPort(1230);
      m->SetAppPath("\\\\PC2\\apps\\Varno2.exe");
      m->SetProvideNews(true);
      a.agentHostInfo().UpdateAgent(m);
      f.neighborhood.lstNeighborhood->Clear();
      a.frmAgentSetup().localOptionChanges().SetAgentAddress("pc2", "10.9.9.9", sPort);
      const auto after = Entry(a, "PC2");
      EXPECT_EQ(after->GetLocalPort(), nWant) << sPort;
      EXPECT_EQ(after->GetIPAddress(), nWant == 1230 ? "10.0.0.2" : "10.9.9.9") << sPort;
      EXPECT_EQ(after->GetHostName() + after->GetAppPath(), "PC2\\\\PC2\\apps\\Varno2.exe");
      EXPECT_TRUE(after->GetProvideNews());
      EXPECT_EQ(a.agentHostInfo().GetAgentCount(), 1);
      // A port that does not fit ends the operation before the list changes.
      EXPECT_EQ(f.neighborhood.lstNeighborhood->ListCount(), nWant == 1230 ? 0 : 1) << sPort;
    }
  });
}

// The activity log reaching the box while the window is loaded: tests/scenarios/show-form.scn.
TEST_F(WindowTest, LogBoxAppendsLinesAndCutsToItsSecondHalf) {
  InSetup([](SetupParts&, FrmAgentSetup& f) {
    EXPECT_EQ(f.log.rtbAgentLog->Text(), "");
    f.log.Display("one", 5);
    f.log.Display("two", 5);
    EXPECT_EQ(f.log.rtbAgentLog->Text(), "one\r\ntwo");
    EXPECT_EQ(f.log.rtbAgentLog->SelText(), "two");

    f.log.rtbAgentLog->SetText(std::string(1024, 'a') + std::string(1026, 'b'));  // 2050
    f.log.Display("new", 5);
    EXPECT_EQ(f.log.rtbAgentLog->Text(), std::string(1025, 'b') + "\r\nnew");
    // Other modes never cut.
    f.log.rtbAgentLog->SetText(std::string(3000, 'c'));
    f.log.Display("x", 1);
    EXPECT_EQ(f.log.rtbAgentLog->Text().size(), 3003u);
  });
}

}  // namespace
}  // namespace launchagent::testing
