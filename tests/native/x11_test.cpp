// Windows on a real X display (run under Xvfb): other programs' windows found by title
// and class in stacking order, closed through WM_DELETE_WINDOW; our own forms are
// windows of the display too, hidden ones included.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QProcess>

#include "platform/native/window_system.h"
#include "test_support.h"

namespace launchagent::native {
namespace {

class X11Test : public ::testing::Test {
 protected:
  X11Test() : time_(1.0), loop_(time_) {
    settings_.bOffscreen = false;
    settings_.dCloseWaitSeconds = 1.0;
    windows_ = std::make_unique<NativeWindowSystem>(loop_, settings_);
  }
  void SetUp() override {
    if (windows_->UsesWindowTable()) GTEST_SKIP() << "no X display";
  }

  QProcess* StartStandIn(const QStringList& args) {
    auto& p = standIns_.emplace_back(std::make_unique<QProcess>());
    p->setProcessChannelMode(QProcess::ForwardedChannels);
    p->start(LA_STANDIN_PATH, args);
    EXPECT_TRUE(p->waitForStarted(5000));
    return p.get();
  }

  platform::WindowHandle WaitForTitle(const std::string& sTitle, bool bPresent = true) {
    platform::WindowHandle h = 0;
    test::WaitUntil(loop_, [&] {
      h = windows_->FindWindowByTitle(sTitle);
      return (h != 0) == bPresent;
    });
    return h;
  }

  NativeSettings settings_;
  TimeBase time_;
  NativeEventLoop loop_;
  std::unique_ptr<NativeWindowSystem> windows_;
  std::vector<std::unique_ptr<QProcess>> standIns_;  // killed when they go
};

TEST_F(X11Test, FindsTheMainApplicationAndAsksItToCloseUntilItDoes) {
  QProcess* p = StartStandIn({"--refuse", "2"});
  const auto h = WaitForTitle("Varno");
  ASSERT_NE(h, 0);
  EXPECT_EQ(windows_->ClassName(h, 50), "ThunderRT6FormDC");
  EXPECT_EQ(windows_->WindowText(h, 4), "Var");  // read from the display, cut to the buffer
  // Walking the stacking order from it ends.
  int nSteps = 0;
  for (auto w = h; w && nSteps < 10000; w = windows_->NextWindow(w)) ++nSteps;
  EXPECT_LT(nSteps, 10000);
  // Two refusals, then the close; one more request may reach a window on its way out.
  int nSent = 0;
  for (; windows_->FindWindowByTitle("Varno") && nSent < 20; ++nSent) {
    EXPECT_TRUE(windows_->SendClose(h));
    loop_.ProcessPendingEvents();
  }
  EXPECT_TRUE(nSent >= 3 && nSent <= 4) << nSent;
  EXPECT_TRUE(p->waitForFinished(5000));
  EXPECT_FALSE(windows_->SendClose(h) || windows_->ClassName(h, 50));
}

TEST_F(X11Test, OurFormsAreWindowsOfTheDisplay) {
  ui::Form form("frmLaunch", "Launch Service for Varno");
  form.Add<ui::TextBox>("txtInfo", "", true);
  windows_->AttachForm(form);
  const auto h = WaitForTitle("Launch Service for Varno");  // hidden, still found
  ASSERT_NE(h, 0);
  EXPECT_EQ(windows_->ClassName(h, 50), "ThunderRT6FormDC");
  form.Show();
  form.SetCaption("Renamed");
  EXPECT_EQ(WaitForTitle("Renamed"), h);
  // Another program closing it reaches the model.
  int nUserCloses = 0;
  form.OnUserClose = [&] { ++nUserCloses; };
  EXPECT_TRUE(windows_->SendClose(h));
  EXPECT_EQ(nUserCloses, 1);
  windows_->DetachForm(form);
  // The window goes when the main loop takes control again; no main loop runs here.
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(WaitForTitle("Renamed", false), 0);
}

}  // namespace
}  // namespace launchagent::native
