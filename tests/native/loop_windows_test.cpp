// The event loop and its timers, the window table, and forms rendered as windows.
#include <gtest/gtest.h>
#include <unistd.h>

#include <QCheckBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>

#include "platform/native/window_system.h"
#include "platform/ui/form.h"
#include "test_support.h"

namespace launchagent::native {
namespace {

TEST(EventLoop, TimersTickAndRestartWhenEnabled) {
  TimeBase time(1.0);
  NativeEventLoop loop(time);
  int nTicks = 0;
  {
    ui::Timer timer("TimerTest", 20, true);
    timer.OnTick = [&] { ++nTicks; };
    timer.AttachDriver(&loop.Timers());
    ASSERT_TRUE(test::WaitUntil(loop, [&] { return nTicks >= 3; }));
    timer.SetTimerEnabled(false);
    const int nStopped = nTicks;
    loop.WaitForEvents(0.1);
    EXPECT_EQ(nTicks, nStopped);
    timer.SetInterval(0);
    timer.SetTimerEnabled(true);  // an interval of 0 never ticks
    loop.WaitForEvents(0.1);
    EXPECT_EQ(nTicks, nStopped);
    timer.SetInterval(10);
    ASSERT_TRUE(test::WaitUntil(loop, [&] { return nTicks > nStopped; }));
  }
  // The timer is gone: nothing of it may tick any more.
  const int nAfter = nTicks;
  loop.WaitForEvents(0.05);
  EXPECT_EQ(nTicks, nAfter);
}

TEST(EventLoop, TimeScaleSpeedsTheClockAndTimers) {
  TimeBase time(60.0);
  NativeClock clock(time);
  NativeEventLoop loop(time);
  int nTicks = 0;
  ui::Timer timer("TimerMonitor", 30000, true);  // 30 agent seconds
  timer.OnTick = [&] { ++nTicks; };
  timer.AttachDriver(&loop.Timers());
  const double dStart = time.NowUnix();
  // Waits are in agent seconds too: 0.05 of them is under a real millisecond here.
  ASSERT_TRUE(test::WaitUntil(
      loop, [&] { return nTicks >= 2; }, 20000));
  // Agent time passed 60 times faster than real time: two 30-second ticks in about one.
  EXPECT_GT(time.NowUnix() - dStart, 30.0);
  EXPECT_EQ(time.RealMs(60), 1000);
  EXPECT_EQ(time.RealMs(0), 0);
  const double dSeconds = clock.SecondsSinceMidnight();
  EXPECT_GE(dSeconds, 0);
  EXPECT_LT(dSeconds, 86400);
}

TEST(EventLoop, EndProcessStopsEverythingFromInsideAHandler) {
  TimeBase time(1.0);
  NativeEventLoop loop(time);
  int nTicks = 0;
  ui::Timer timer("TimerEnd", 10, true);
  timer.OnTick = [&] {
    ++nTicks;
    loop.EndProcess();
  };
  timer.AttachDriver(&loop.Timers());
  bool bEnded = false;
  try {
    for (int i = 0; i < 100; ++i) loop.WaitForEvents(0.05);
  } catch (const platform::ProcessEnded&) {
    bEnded = true;
  }
  EXPECT_TRUE(bEnded);
  EXPECT_EQ(nTicks, 1);
  EXPECT_TRUE(loop.Ended());
  EXPECT_THROW(loop.ProcessPendingEvents(), platform::ProcessEnded);
  EXPECT_THROW(loop.Run(), platform::ProcessEnded);
  bool bRan = false;
  loop.Deliver([&] { bRan = true; });
  EXPECT_FALSE(bRan);
}

TEST(EventLoop, AClockPollingPumpLoopSleepsInsteadOfSpinning) {
  TimeBase time(1.0);
  NativeClock clock(time);
  NativeEventLoop loop(time);
  // The shape of a pause that pumps events until the clock has moved on.
  const double dEnd = clock.SecondsSinceMidnight() + 0.3;
  long lngPumps = 0;
  while (clock.SecondsSinceMidnight() < dEnd && lngPumps < 1000000) {
    loop.ProcessPendingEvents();
    ++lngPumps;
  }
  // Spinning would pump hundreds of thousands of times; sleeping about 30.
  EXPECT_LT(lngPumps, 2000);
  // A loop that does not poll the clock is not slowed down.
  long lngWork = 0;
  for (int i = 0; i < 1000; ++i) {
    loop.ProcessPendingEvents();
    ++lngWork;
  }
  EXPECT_EQ(lngWork, 1000);
}

TEST(WindowTable, RecordsOrdersAndCloses) {
  test::TempDir dir;
  WindowTable table(dir / "windows");
  EXPECT_TRUE(table.List().empty());
  const auto a = table.Add(kFormClass, "Launch Service for Varno");
  const auto b = table.Add(kFormClass, "Varno");
  ASSERT_GT(a, 0);
  ASSERT_GT(b, a);
  auto list = table.List();
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0].lngHandle, b);  // the newest is on top
  EXPECT_EQ(list[0].lngPid, static_cast<long>(::getpid()));
  EXPECT_TRUE(table.SetTitle(a, "tab\there\nnewline %"));
  EXPECT_EQ(table.List()[1].sTitle, "tab\there\nnewline %");
  EXPECT_EQ(table.RequestClose(b), 1);
  EXPECT_EQ(table.RequestClose(b), 2);
  EXPECT_FALSE(table.CloseHandled(b, 1));
  EXPECT_EQ(table.TakeCloseRequests(), std::vector<std::int64_t>{b});
  EXPECT_TRUE(table.CloseHandled(b, 2));
  EXPECT_TRUE(table.TakeCloseRequests().empty());
  EXPECT_TRUE(table.Remove(b));
  EXPECT_FALSE(table.Remove(b));
  EXPECT_EQ(table.RequestClose(b), 0);
  EXPECT_TRUE(table.CloseHandled(b, 1));  // gone counts as handled
  EXPECT_FALSE(table.SetTitle(b, "x"));
}

TEST(WindowTable, DropsDeadOwnersAndBadLines) {
  test::TempDir dir;
  // Process 1 always lives; a pid beyond the kernel's limit never does.
  test::WriteText(dir / "windows",
                  "next\t9\n"
                  "3\t1\t0\t0\tThunderRT6FormDC\tVarno\n"
                  "4\t2147483000\t0\t0\tThunderRT6FormDC\tVarno\n"
                  "garbage line\n"
                  "5\tx\t0\t0\tc\tt\n"
                  "6\t1\t-1\t0\tc\tt\n"
                  "7\t1\t0\t0\tc\n"
                  "\t\t\t\t\t\n");
  WindowTable table(dir / "windows");
  auto list = table.List();
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0].lngHandle, 3);
  EXPECT_EQ(list[1].lngHandle, 7);
  EXPECT_EQ(list[1].sTitle, "");
  EXPECT_EQ(table.Add("c", "t"), 9);
  std::int64_t lngNext = 0;
  auto parsed = WindowTable::Parse(WindowTable::Format(12, list), lngNext);
  EXPECT_EQ(lngNext, 12);
  EXPECT_EQ(parsed.size(), 2u);
}

class FormWindowsTest : public ::testing::Test {
 protected:
  FormWindowsTest() : time_(1.0), loop_(time_) {
    settings_.bOffscreen = true;
    settings_.sWindowTable = dir_ / "windows";
    settings_.dCloseWaitSeconds = 0.05;
    windows_ = std::make_unique<NativeWindowSystem>(loop_, settings_);
  }
  test::TempDir dir_;
  NativeSettings settings_;
  TimeBase time_;
  NativeEventLoop loop_;
  std::unique_ptr<NativeWindowSystem> windows_;
};

TEST_F(FormWindowsTest, FormsAreTopLevelWindowsOfTheSession) {
  ASSERT_TRUE(windows_->UsesWindowTable());
  ui::Form form("frmLaunch", "Launch");
  EXPECT_EQ(windows_->FindWindowByTitle("Launch"), 0);
  windows_->AttachForm(form);
  const auto h = windows_->FindWindowByTitle("Launch");  // hidden windows count
  ASSERT_NE(h, 0);
  EXPECT_EQ(windows_->ClassName(h, 50), "ThunderRT6FormDC");
  EXPECT_EQ(windows_->ClassName(h, 8), "Thunder");
  EXPECT_EQ(windows_->ClassName(h, 0), "");
  form.SetCaption("Launch Service for Varno");
  EXPECT_EQ(windows_->FindWindowByTitle("Launch Service for Varno"), h);
  EXPECT_EQ(windows_->WindowText(h, 50), "Launch Service for Varno");

  // Another program's window below ours in the same session.
  WindowTable other(settings_.sWindowTable);
  const auto v = other.Add(kFormClass, "Varno");
  EXPECT_EQ(windows_->FindWindowByTitle("Varno"), v);
  EXPECT_EQ(windows_->NextWindow(v), h);
  EXPECT_EQ(windows_->NextWindow(h), 0);
  EXPECT_FALSE(windows_->ClassName(999999, 50).has_value());

  // A close request to our own form reaches its model at once.
  int nUserCloses = 0;
  form.OnUserClose = [&] { ++nUserCloses; };
  EXPECT_TRUE(windows_->SendClose(h));
  EXPECT_EQ(nUserCloses, 1);
  // A window of nobody who answers: sent, waited for a while, still there.
  EXPECT_TRUE(windows_->SendClose(v));
  EXPECT_NE(windows_->FindWindowByTitle("Varno"), 0);
  other.Remove(v);
  EXPECT_FALSE(windows_->SendClose(v));

  windows_->DetachForm(form);
  EXPECT_EQ(windows_->FindWindowByTitle("Launch Service for Varno"), 0);
}

TEST_F(FormWindowsTest, ControlsAreBoundBothWays) {
  ui::Form form("frmAgentSetup", "Agent Setup");
  auto& frame = form.Add<ui::Frame>("fraLocal", "Local Host Agent Properties");
  auto& text = form.Add<ui::TextBox>("txtHostName", "pc7");
  auto& check = form.Add<ui::CheckBox>("chkSeekWeb", "Web");
  check.sContainer = "fraLocal";
  auto& button = form.Add<ui::CommandButton>("cmdOk", "Ok");
  auto& list = form.Add<ui::ListBox>("lstActive");
  auto& timer = form.Add<ui::Timer>("TimerCheckInternet", 60000, true);
  (void)frame;
  (void)timer;
  int nClicks = 0, nChecks = 0, nListClicks = 0;
  button.OnClick = [&] { ++nClicks; };
  check.OnClick = [&] { ++nChecks; };
  list.OnClick = [&] { ++nListClicks; };
  windows_->AttachForm(form);
  FormView* view = windows_->ViewOf(form);
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(view->windowTitle(), "Agent Setup");
  EXPECT_FALSE(view->isVisible());
  form.Show();
  EXPECT_TRUE(view->isVisible());

  auto* edit = dynamic_cast<QLineEdit*>(view->WidgetOf("txtHostName"));
  ASSERT_NE(edit, nullptr);
  EXPECT_EQ(edit->text(), "pc7");
  text.SetText("pc8");
  EXPECT_EQ(edit->text(), "pc8");
  edit->setText("typed");  // programmatic: no user edit
  emit edit->textEdited("typed");
  EXPECT_EQ(text.Text(), "typed");

  auto* box = dynamic_cast<QCheckBox*>(view->WidgetOf("chkSeekWeb"));
  ASSERT_NE(box, nullptr);
  box->click();
  EXPECT_EQ(check.Value(), 1);
  EXPECT_EQ(nChecks, 1);
  check.SetValue(0);
  EXPECT_FALSE(box->isChecked());
  check.SetEnabled(false);
  EXPECT_FALSE(box->isEnabled());

  auto* push = dynamic_cast<QPushButton*>(view->WidgetOf("cmdOk"));
  ASSERT_NE(push, nullptr);
  push->click();
  EXPECT_EQ(nClicks, 1);
  button.SetCaption("Done");
  EXPECT_EQ(push->text(), "Done");

  auto* qlist = dynamic_cast<QListWidget*>(view->WidgetOf("lstActive"));
  ASSERT_NE(qlist, nullptr);
  list.AddItem("pc1");
  list.AddItem("pc2");
  EXPECT_EQ(qlist->count(), 2);
  emit qlist->itemClicked(qlist->item(1));
  EXPECT_EQ(list.ListIndex(), 1);
  EXPECT_EQ(nListClicks, 1);
  list.RemoveItem(0);
  EXPECT_EQ(qlist->count(), 1);
  EXPECT_EQ(view->WidgetOf("TimerCheckInternet"), nullptr);

  // Controls added later appear too.
  form.Add<ui::Label>("lblLate", "late");
  EXPECT_NE(view->WidgetOf("lblLate"), nullptr);
  form.Hide();
  EXPECT_FALSE(view->isVisible());
  windows_->DetachForm(form);
}

TEST_F(FormWindowsTest, TheLogWindowFillsAndClosingHidesIt) {
  ui::Form form("frmLaunch", "Launch Service for Varno");
  auto& log = form.Add<ui::TextBox>("txtInfo", "", true);
  windows_->AttachForm(form);
  windows_->SetHideOnClose(form);
  FormView* view = windows_->ViewOf(form);
  form.Show();
  auto* edit = dynamic_cast<QPlainTextEdit*>(view->WidgetOf("txtInfo"));
  ASSERT_NE(edit, nullptr);
  EXPECT_TRUE(edit->isReadOnly());
  log.SetText("line 1\r\nline 2");
  log.SetSelStart(static_cast<Long>(log.Text().size()));
  EXPECT_EQ(edit->textCursor().position(), edit->toPlainText().size());
  view->resize(900, 700);
  EXPECT_GT(edit->width(), 800);
  int nUserCloses = 0;
  form.OnUserClose = [&] { ++nUserCloses; };
  view->close();
  EXPECT_FALSE(form.Visible());
  EXPECT_EQ(nUserCloses, 0);
  // Offscreen, a message box cannot be answered: it is told and passed.
  windows_->MessageBox("Agent Setup", "Could not save");
  windows_->DetachForm(form);
}

}  // namespace
}  // namespace launchagent::native
