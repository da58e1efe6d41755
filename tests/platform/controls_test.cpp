#include <gtest/gtest.h>

#include "platform/ui/controls.h"
#include "platform/ui/form.h"

namespace launchagent::ui {
namespace {

TEST(CheckBox, SettingADifferentValueFiresTheClickHandler) {
  CheckBox box("chkSeekWeb", "Web");
  int clicks = 0;
  box.OnClick = [&] { ++clicks; };
  box.SetValue(0);  // same value: nothing
  EXPECT_EQ(clicks, 0);
  box.SetValue(1);
  EXPECT_EQ(clicks, 1);
  box.SetValue(1);
  EXPECT_EQ(clicks, 1);
  box.Click();  // the user toggles it back
  EXPECT_EQ(box.Value(), 0);
  EXPECT_EQ(clicks, 2);
  box.SetEnabled(false);
  box.Click();
  EXPECT_EQ(clicks, 2);
}

TEST(TextBox, SelectionIsClampedToTheText) {
  TextBox box("txtInfo", "", true);
  box.SetText("abc\r\n");
  box.SetSelStart(3);
  box.SetSelLength(2);
  EXPECT_EQ(box.SelText(), "\r\n");
  box.SetSelLength(10);
  EXPECT_EQ(box.SelLength(), 2);
  box.SetSelStart(99);
  EXPECT_EQ(box.SelStart(), 5);
  EXPECT_EQ(box.SelLength(), 0);
  box.SetText("x");  // new text puts the caret at the start
  EXPECT_EQ(box.SelStart(), 0);
}

TEST(ListBox, SingleSelectionFollowsTheLastClick) {
  ListBox list("lstNeighborhood");
  for (const char* s : {"PC1", "PC2", "PC3"}) list.AddItem(s);
  int clicks = 0;
  list.OnClick = [&] { ++clicks; };
  list.UserClick(1);
  list.UserClick(2);
  EXPECT_EQ(clicks, 2);
  EXPECT_EQ(list.Text(), "PC3");
  EXPECT_FALSE(list.Selected(1));
  EXPECT_TRUE(list.Selected(2));
  list.RemoveItem(2);
  EXPECT_EQ(list.ListIndex(), -1);
  EXPECT_EQ(list.List(7), "");
}

TEST(ListBox, SeveralEntriesCanBeSelectedInAMultiSelectList) {
  ListBox list("lstActive", true);
  for (const char* s : {"A", "B", "C", "D"}) list.AddItem(s);
  list.UserClick(0);
  list.UserClick(1, true);
  list.UserClick(3, true);
  EXPECT_TRUE(list.Selected(0));
  EXPECT_TRUE(list.Selected(1));
  EXPECT_FALSE(list.Selected(2));
  EXPECT_TRUE(list.Selected(3));
  list.UserClick(1, true);  // a second click with the modifier deselects it
  EXPECT_FALSE(list.Selected(1));
  list.UserClick(2);  // a plain click starts a new selection
  EXPECT_FALSE(list.Selected(0));
  EXPECT_TRUE(list.Selected(2));
}

class RecordingDriver : public TimerDriver {
 public:
  void TimerChanged(Timer& t) override { changes.push_back(t.TimerEnabled() ? t.Interval() : -1); }
  void TimerGone(Timer&) override { ++gone; }
  std::vector<Long> changes;
  int gone = 0;
};

TEST(Timer, TellsItsDriverOfEveryRestart) {
  RecordingDriver driver;
  {
    Timer t("TimerMonitor", 1000, true);
    t.AttachDriver(&driver);
    t.SetTimerEnabled(false);
    t.SetInterval(30000);
    t.SetTimerEnabled(true);
    EXPECT_EQ(driver.changes, (std::vector<Long>{1000, -1, -1, 30000}));
  }
  EXPECT_EQ(driver.gone, 1);
}

TEST(Form, FindsControlsByName) {
  Form form("frmLaunch", "Launch");
  form.Add<TextBox>("txtInfo", "", true);
  form.Add<CommandButton>("cmdAgentSetup", "Agent Setup...");
  ASSERT_NE(form.Find("cmdAgentSetup"), nullptr);
  EXPECT_EQ(form.Find("nope"), nullptr);
  EXPECT_EQ(dynamic_cast<CommandButton*>(form.Find("cmdAgentSetup"))->Caption(), "Agent Setup...");
}

}  // namespace
}  // namespace launchagent::ui
