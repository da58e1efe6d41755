// The event loop and its timers, the window table, and forms rendered as windows.
#include <gtest/gtest.h>
#include <unistd.h>

#include <QCheckBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <chrono>

#include "platform/native/text_follower.h"
#include "platform/native/window_system.h"
#include "platform/ui/form.h"
#include "test_support.h"

namespace launchagent::native {
namespace {

// Timers, and the end of the process stopping waits and the main loop, are the seam's
// contract (tests/contract); here the shared loop's pumps and deliveries after the end.
TEST(EventLoop, AfterTheEndNothingIsPumpedOrDelivered) {
  TimeBase time(1.0);
  NativeEventLoop loop(time);
  ui::Timer end("TimerEnd", 10, true);
  end.OnTick = [&] { loop.EndProcess(); };
  end.AttachDriver(&loop.Timers());
  EXPECT_THROW(for (int i = 0; i < 100; ++i) loop.WaitForEvents(0.05), platform::ProcessEnded);
  EXPECT_THROW(loop.ProcessPendingEvents(), platform::ProcessEnded);
  bool bRan = false;
  loop.Deliver([&] { bRan = true; });
  EXPECT_FALSE(bRan);
}

TEST(EventLoop, TimeScaleSpeedsTheClockAndTimers) {
  TimeBase time(60.0);
  NativeEventLoop loop(time);
  int nTicks = 0;
  ui::Timer timer("TimerMonitor", 30000, true);  // 30 agent seconds
  timer.OnTick = [&] { ++nTicks; };
  timer.AttachDriver(&loop.Timers());
  const double dStart = time.NowUnix();
  // Waits are in agent seconds too: 0.05 of them is under a real millisecond here.
  ASSERT_TRUE(test::WaitUntil(
      loop, [&] { return nTicks >= 2; }, 20000));
  // Two 30-second ticks passed in about one real second.
  EXPECT_GT(time.NowUnix() - dStart, 30.0);
  EXPECT_EQ(time.RealMs(60), 1000);
}

TEST(EventLoop, AClockPollingPumpLoopSleepsInsteadOfSpinning) {
  TimeBase time(1.0);
  NativeClock clock(time);
  NativeEventLoop loop(time);
  // The shape of a pause that pumps events until the clock has moved on.
  const double dEnd = clock.SecondsSinceMidnight() + 0.3;
  long lngPumps = 0;
  for (; clock.SecondsSinceMidnight() < dEnd && lngPumps < 1000000; ++lngPumps)
    loop.ProcessPendingEvents();
  // Spinning would pump hundreds of thousands of times; sleeping about 30.
  EXPECT_LT(lngPumps, 2000);
}

TEST(WindowTable, RecordsOrdersClosesAndDropsDeadOwnersAndBadLines) {
  test::TempDir dir;
  WindowTable table(dir / "windows");
  EXPECT_TRUE(table.List().empty());
  const auto a = table.Add(kFormWindowClass, "Launch Service for Varno");
  const auto b = table.Add(kFormWindowClass, "Varno");
  ASSERT_GT(b, a);
  EXPECT_TRUE(table.SetTitle(a, "tab\there\nnewline %"));
  auto list = table.List();
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0].lngHandle, b);  // the newest is on top
  EXPECT_EQ(list[0].lngPid, static_cast<long>(::getpid()));
  EXPECT_EQ(list[1].sTitle, "tab\there\nnewline %");
  EXPECT_EQ(table.RequestClose(b), 1);
  EXPECT_EQ(table.RequestClose(b), 2);
  EXPECT_FALSE(table.CloseHandled(b, 1));
  EXPECT_EQ(table.TakeCloseRequests(), std::vector<std::int64_t>{b});
  EXPECT_TRUE(table.CloseHandled(b, 2));
  EXPECT_TRUE(table.TakeCloseRequests().empty());
  EXPECT_TRUE(table.Remove(b));
  EXPECT_FALSE(table.Remove(b) || table.SetTitle(b, "x") || table.RequestClose(b));
  EXPECT_TRUE(table.CloseHandled(b, 1));  // gone counts as handled

  // Process 1 always lives; a pid beyond the kernel's limit never does.
  test::WriteText(dir / "windows",
                  "next\t9\n3\t1\t0\t0\tThunderRT6FormDC\tVarno\n"
                  "4\t2147483000\t0\t0\tThunderRT6FormDC\tVarno\ngarbage line\n"
                  "5\tx\t0\t0\tc\tt\n6\t1\t-1\t0\tc\tt\n7\t1\t0\t0\tc\n\t\t\t\t\t\n");
  list = table.List();
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0].lngHandle, 3);
  EXPECT_EQ(list[1].lngHandle, 7);
  EXPECT_EQ(list[1].sTitle, "");
  EXPECT_EQ(table.Add("c", "t"), 9);
  std::int64_t lngNext = 0;
  EXPECT_EQ(WindowTable::Parse(WindowTable::Format(12, list), lngNext).size(), 2u);
  EXPECT_EQ(lngNext, 12);
}

class FormWindowsTest : public ::testing::Test {
 protected:
  FormWindowsTest() : time_(1.0), loop_(time_) {
    settings_.bOffscreen = true;
    settings_.sWindowTable = dir_ / "windows";
    settings_.dCloseWaitSeconds = 0.05;
    windows_ = std::make_unique<NativeWindowSystem>(loop_, settings_);
  }
  // The widget that shows the form's control of this name.
  template <class W>
  W* Widget(ui::Form& form, const std::string& sName) {
    return dynamic_cast<W*>(windows_->ViewOf(form)->WidgetOf(sName));
  }
  test::TempDir dir_;
  NativeSettings settings_;
  TimeBase time_;
  NativeEventLoop loop_;
  std::unique_ptr<NativeWindowSystem> windows_;
};

// The agent's log window is a window of the session's table even while hidden; found,
// read, renamed, walked, closed by others and gone at detaching as the seam's contract
// checks. The user's close only hides it.
TEST_F(FormWindowsTest, TheLogWindowIsAWindowOfTheSession) {
  ASSERT_TRUE(windows_->UsesWindowTable());
  ui::Form form("frmLaunch", "Launch");
  form.Add<ui::TextBox>("txtInfo", "", true);
  windows_->AttachForm(form);
  const auto h = windows_->FindWindowByTitle("Launch");
  ASSERT_NE(h, 0);

  // Another program's window below ours in the same session.
  WindowTable other(settings_.sWindowTable);
  const auto v = other.Add(kFormWindowClass, "Varno");
  EXPECT_EQ(windows_->FindWindowByTitle("Varno"), v);
  EXPECT_EQ(windows_->NextWindow(v), h);
  EXPECT_EQ(windows_->NextWindow(h), 0);

  int nUserCloses = 0;
  form.OnUserClose = [&] { ++nUserCloses; };
  // A window of nobody who answers: sent, waited for a while, still there.
  EXPECT_TRUE(windows_->SendClose(v));
  EXPECT_NE(windows_->FindWindowByTitle("Varno"), 0);

  // The log fills the window and shows its end.
  windows_->SetHideOnClose(form);
  FormView* view = windows_->ViewOf(form);
  form.Show();
  auto* edit = Widget<QPlainTextEdit>(form, "txtInfo");
  ASSERT_NE(edit, nullptr);
  EXPECT_TRUE(edit->isReadOnly());  // its text and caret: the next case
  view->resize(900, 700);
  EXPECT_GT(edit->width(), 800);
  view->close();
  EXPECT_FALSE(form.Visible());
  // Without a tray the window stays reachable: minimised, still shown to the agent.
  windows_->SetMinimiseOnClose(true);
  form.Show();
  view->close();
  EXPECT_TRUE(form.Visible());
  EXPECT_TRUE(view->isMinimized());
  EXPECT_EQ(nUserCloses, 0);
  windows_->MessageBox("Agent Setup", "Could not save");  // offscreen: told and passed by
  windows_->DetachForm(form);
}

// The log box follows its model at a bounded rate: lines appended between two refreshes
// reach the widget together, as one insertion of the new tail; a hidden window's box is
// not touched until the window is shown again.
TEST_F(FormWindowsTest, TheLogBoxCatchesUpWithManyLinesAtOnce) {
  ui::Form form("frmLaunch", "Launch");
  auto& log = form.Add<ui::TextBox>("txtInfo", "", true);
  windows_->AttachForm(form);
  form.Show();
  auto* edit = Widget<QPlainTextEdit>(form, "txtInfo");
  ASSERT_NE(edit, nullptr);
  int nUpdates = 0;
  QObject::connect(edit, &QPlainTextEdit::textChanged, [&] { ++nUpdates; });

  struct Step {
    bool bVisible;
    std::vector<std::string> lines;  // appended one by one; "" replaces the text with "x\r"
    std::string sShown;              // what the box shows once the loop has run
  };
  const Step steps[] = {
      {true, {"a\r\n", "b\r\n", "c\r\n"}, "a\nb\nc\n"},
      // A line end split between two refreshes stays one break.
      {true, {"d\r"}, "a\nb\nc\nd\n"},
      {true, {"\ne"}, "a\nb\nc\nd\ne"},
      {false, {"f\r\n", "g\r\n"}, "a\nb\nc\nd\ne"},
      {true, {}, "a\nb\nc\nd\nef\ng\n"},
      {false, {"", "y"}, "a\nb\nc\nd\nef\ng\n"},
      {true, {}, "x\ny"},
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(step.sShown);
    if (step.bVisible != form.Visible()) step.bVisible ? form.Show() : form.Hide();
    for (const std::string& s : step.lines) {
      if (s.empty())
        log.SetText("x\r");
      else
        log.Append(s);
      log.Select(static_cast<Long>(log.Text().size()), 0);
    }
    const int nBefore = nUpdates;
    // Two refresh periods of real time.
    const auto until =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(2 * TextFollower::kRefreshMs);
    while (std::chrono::steady_clock::now() < until) loop_.WaitForEvents(0.05);
    EXPECT_EQ(S(edit->toPlainText()), step.sShown);
    if (step.bVisible) {
      EXPECT_LE(nUpdates - nBefore, 1);
      EXPECT_EQ(edit->textCursor().position(), edit->toPlainText().size());
    }
  }
  windows_->DetachForm(form);
}

TEST_F(FormWindowsTest, ControlsAreBoundBothWays) {
  ui::Form form("frmAgentSetup", "Agent Setup");
  auto& text = form.Add<ui::TextBox>("txtHostName", "pc7");
  auto& check = form.Add<ui::CheckBox>("chkSeekWeb", "Web");
  auto& button = form.Add<ui::CommandButton>("cmdOk", "Ok");
  auto& list = form.Add<ui::ListBox>("lstActive");
  form.Add<ui::Timer>("TimerCheckInternet", 60000, true);
  int nClicks = 0;
  button.OnClick = check.OnClick = list.OnClick = [&] { ++nClicks; };
  list.AddItem("pc1");
  windows_->AttachForm(form);
  FormView* view = windows_->ViewOf(form);
  ASSERT_NE(view, nullptr);
  auto* edit = Widget<QLineEdit>(form, "txtHostName");
  auto* box = Widget<QCheckBox>(form, "chkSeekWeb");
  auto* push = Widget<QPushButton>(form, "cmdOk");
  auto* qlist = Widget<QListWidget>(form, "lstActive");
  ASSERT_TRUE(edit && box && push && qlist);
  EXPECT_EQ(view->WidgetOf("TimerCheckInternet"), nullptr);
  EXPECT_EQ(edit->text(), "pc7");

  // The user's doing reaches the model...
  emit edit->textEdited("typed");
  EXPECT_EQ(text.Text(), "typed");
  box->click();
  EXPECT_EQ(check.Value(), 1);
  push->click();
  list.AddItem("pc2");
  emit qlist->itemClicked(qlist->item(1));
  EXPECT_EQ(list.ListIndex(), 1);
  EXPECT_EQ(nClicks, 3);
  // ...and the model's changes reach the widgets, of controls added later too.
  text.SetText("pc8");
  EXPECT_EQ(edit->text(), "pc8");
  check.SetValue(0);
  check.SetEnabled(false);
  EXPECT_FALSE(box->isChecked() || box->isEnabled());
  button.SetCaption("Done");
  EXPECT_EQ(push->text(), "Done");
  list.RemoveItem(0);
  EXPECT_EQ(qlist->count(), 1);
  form.Add<ui::Label>("lblLate", "late");
  EXPECT_NE(view->WidgetOf("lblLate"), nullptr);
  form.Show();
  EXPECT_TRUE(view->isVisible());
  windows_->DetachForm(form);
}

}  // namespace
}  // namespace launchagent::native
