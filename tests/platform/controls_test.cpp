#include "platform/ui/controls.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/ui/form.h"

namespace launchagent::ui {
namespace {

TEST(CheckBox, SettingADifferentValueFiresTheClickHandler) {
  CheckBox box("chkSeekWeb", "Web");
  std::string sSeen;  // the value at each click
  box.OnClick = [&] { sSeen += std::to_string(box.Value()); };
  box.SetValue(0);  // same value: nothing
  box.SetValue(1);
  box.SetValue(1);
  box.Click();  // the user toggles it back
  box.SetEnabled(false);
  box.Click();
  EXPECT_EQ(sSeen, "10");
}

// Each step's text, what observers learned, and the selection afterwards.
TEST(TextBox, ObserversLearnWhetherTheTextGrewOrWasReplaced) {
  using K = Change::Kind;
  struct Step {
    std::function<void(TextBox&)> act;
    std::string sText;
    K kind;
    std::size_t nFrom;
    Long lngSelStart, lngSelLength;
  };
  const Step steps[] = {
      {[](TextBox& b) { b.Append("ab\r\n"); }, "ab\r\n", K::kTextAppend, 0, 0, 0},
      {[](TextBox& b) { b.Select(2, 99); }, "ab\r\n", K::kSelection, 0, 2, 2},
      // The selection stays inside the text, whichever end is set.
      {[](TextBox& b) { b.SetSelLength(10); }, "ab\r\n", K::kSelection, 0, 2, 2},
      {[](TextBox& b) { b.SetSelStart(99); }, "ab\r\n", K::kSelection, 0, 4, 0},
      // Appending moves the caret to the start, as replacing the text does.
      {[](TextBox& b) { b.Append("cd"); }, "ab\r\ncd", K::kTextAppend, 4, 0, 0},
      {[](TextBox& b) { b.Append(""); }, "ab\r\ncd", K::kTextAppend, 6, 0, 0},
      {[](TextBox& b) { b.Select(-3, 2); }, "ab\r\ncd", K::kSelection, 0, 0, 2},
      {[](TextBox& b) { b.SetText("x"); }, "x", K::kTextReset, 0, 0, 0},
      {[](TextBox& b) { b.SetSelStart(1); }, "x", K::kSelection, 0, 1, 0},
      {[](TextBox& b) { b.UserType("yz"); }, "yz", K::kTextReset, 0, 0, 0},
      {[](TextBox& b) { b.SetEnabled(false); }, "yz", K::kState, 0, 0, 0},
  };
  TextBox box("txtInfo", "", true);
  std::vector<Change> seen;
  int nOnChange = 0;
  box.AddChangeObserver([&](const Change& c) { seen.push_back(c); });
  box.OnChange = [&] { ++nOnChange; };
  int nExpectedOnChange = 0;
  for (const Step& step : steps) {
    SCOPED_TRACE(step.sText);
    seen.clear();
    step.act(box);
    if (step.kind == K::kTextAppend || step.kind == K::kTextReset) ++nExpectedOnChange;
    EXPECT_EQ(box.Text(), step.sText);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].kind, step.kind);
    EXPECT_EQ(seen[0].nFrom, step.nFrom);
    EXPECT_EQ(box.SelStart(), step.lngSelStart);
    EXPECT_EQ(box.SelLength(), step.lngSelLength);
    EXPECT_EQ(box.SelText(), step.sText.substr(step.lngSelStart, step.lngSelLength));
    EXPECT_EQ(nOnChange, nExpectedOnChange);
  }
}

// A view that looks only now and then, keeping the epoch and length it showed, always
// catches up to the whole text: what it kept is a prefix whenever the epoch is the same.
TEST(TextBox, AViewThatSkipsChangesCatchesUpByEpochAndLength) {
  TextBox box("rtbAgentLog", "", true);
  std::string sShown;
  std::uint64_t nEpoch = box.Epoch();
  std::uint32_t nSeed = 7;
  for (int i = 0; i < 400; ++i) {
    nSeed = nSeed * 1103515245u + 12345u;
    const std::string sPiece(1 + (nSeed >> 16) % 9, static_cast<char>('a' + i % 26));
    if ((nSeed >> 8) % 13 == 0)
      box.SetText(sPiece);
    else
      box.Append(sPiece);
    if ((nSeed >> 4) % 5 != 0) continue;  // the view skips this change
    if (box.Epoch() == nEpoch) {
      ASSERT_EQ(box.Text().compare(0, sShown.size(), sShown), 0);
      sShown += box.Text().substr(sShown.size());
    } else {
      sShown = box.Text();
      nEpoch = box.Epoch();
    }
    ASSERT_EQ(sShown, box.Text());
  }
}

// Timers and their drivers are the backend contract's (timers tick, stop and go).
// Clicks on lists are scenario platform-lists'.
// A control found by its name is every scenario's click and show; here a name none has.
TEST(Form, FindsNoControlByANameNoneHasAndAListReadsEntriesItLacksAsEmpty) {
  EXPECT_EQ(ListBox("lstNeighborhood").List(7), "");
  Form form("frmLaunch", "Launch");
  form.Add<CommandButton>("cmdAgentSetup", "Agent Setup...");
  EXPECT_EQ(form.Find("nope"), nullptr);
}

}  // namespace
}  // namespace launchagent::ui
