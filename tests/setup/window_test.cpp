// The Agent Setup window where no scenario reaches it well: 200 active computers (two
// hundred selections and clicks), a listed computer the registry does not know, the
// internet-ready flag and the log box's cut. Everything else the window does is in
// tests/scenarios/setup-*.scn and show-form.scn.
#include <gtest/gtest.h>

#include "setup/local_option_changes.h"
#include "setup_fixture.h"

namespace launchagent::testing {
namespace {

using WindowTest = SetupTest;

TEST_F(WindowTest, HundredNinetyNineActiveComputersComeBackTwoHundredAreNotStored) {
  std::vector<std::string> names;
  for (int i = 1; i <= 199; ++i) names.push_back("host" + std::to_string(i));
  InSetup([&](SetupParts&, FrmAgentSetup& f) {
    for (const auto& s : names) f.active.lstActive->AddItem(s);
    ASSERT_TRUE(f.SaveOptions());
    f.active.lstActive->Clear();
    ASSERT_TRUE(f.LoadOptions());
    EXPECT_EQ(Items(*f.active.lstActive), names);
  });
  const auto before = world_.Files().ReadFile(host_, kAgentDat);
  ASSERT_TRUE(before && before->size() == 12812u);
  // Entry 200 stays the end marker.
  EXPECT_EQ(std::string(before->begin() + 64 * 199, before->begin() + 64 * 200),
            std::string(64, ' '));
  InSetup([](SetupParts&, FrmAgentSetup& f) {
    f.active.lstActive->AddItem("one too many");
    EXPECT_FALSE(f.SaveOptions());
  });
  EXPECT_EQ(world_.Files().ReadFile(host_, kAgentDat), before);
}

TEST_F(WindowTest, AComputerTheRegistryDoesNotKnowEmptiesTheFrame) {
  InSetup([](SetupParts&, FrmAgentSetup& f) {
    const SelectedHostFrame& h = f.selectedHost;
    ui::TextBox* const texts[] = {h.txtHostName, h.txtLocalPortNumber, h.txtIP1, h.txtIP2, h.txtIP3,
                                  h.txtIP4};
    ui::CheckBox* const checks[] = {h.chkRemoteIntranet, h.chkRemoteWeb,    h.chkRemoteNews,
                                    h.chkRemoteJobs,     h.chkRemoteStocks, h.chkActiveHost};
    for (ui::TextBox* t : texts) t->SetText("x");
    for (ui::CheckBox* c : checks) c->SetValue(1);
    f.neighborhood.lstNeighborhood->AddItem("PC9");
    f.neighborhood.lstNeighborhood->UserClick(0);
    for (ui::TextBox* t : texts) EXPECT_EQ(t->Text(), "") << t->Name();
    for (ui::CheckBox* c : checks) EXPECT_EQ(c->Value(), 0) << c->Name();
  });
}

// Nothing in the agent sets it yet; it reaches the local entry only.
TEST_F(WindowTest, InternetReadyReachesTheLocalEntryOnly) {
  InSetup([](SetupParts& a, FrmAgentSetup& f) {
    a.Register("PC2");
    f.localOptionChanges().SetLocalInternetReady(true);  // no local entry yet
    a.Register("pc1");
    f.localOptionChanges().SetLocalInternetReady(true);
    EXPECT_TRUE(a.Entry("PC1")->GetInternetReady());
    EXPECT_FALSE(a.Entry("PC2")->GetInternetReady());
  });
}

// The selection of the new line and the modes that never cut do not show in a
// transcript, so the log box is checked on its own.
TEST(LogFrameTest, AppendsLinesSelectsTheNewOneAndCutsToItsSecondHalf) {
  ui::TextBox box("rtbAgentLog", "", true);
  LogFrame log{nullptr, &box};
  log.Display("one", 5);
  log.Display("two", 5);
  EXPECT_EQ(box.Text(), "one\r\ntwo");
  EXPECT_EQ(box.SelText(), "two");
  box.SetText(std::string(1024, 'a') + std::string(1026, 'b'));  // 2050
  log.Display("new", 5);
  EXPECT_EQ(box.Text(), std::string(1025, 'b') + "\r\nnew");
  box.SetText(std::string(3000, 'c'));  // other modes never cut
  log.Display("x", 1);
  EXPECT_EQ(box.Text().size(), 3003u);
}

}  // namespace
}  // namespace launchagent::testing
