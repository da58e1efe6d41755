// Windows on a real X display (run under Xvfb): what only the display's windows show.
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

// Finding, reading, walking, renaming and closing windows on the display are the seam's
// contract (tests/contract, run under Xvfb as "x11"); here a program that refuses closes.
TEST_F(X11Test, AsksTheMainApplicationToCloseUntilItDoes) {
  QProcess* p = StartStandIn({"--refuse", "2"});
  const auto h = WaitForTitle("Varno");
  ASSERT_NE(h, 0);
  // Two refusals, then the close; one more request may reach a window on its way out.
  int nSent = 0;
  for (; windows_->FindWindowByTitle("Varno") && nSent < 20; ++nSent) {
    EXPECT_TRUE(windows_->SendClose(h));
    loop_.ProcessPendingEvents();
  }
  EXPECT_TRUE(nSent >= 3 && nSent <= 4) << nSent;
  EXPECT_TRUE(p->waitForFinished(5000));
}

// A detached form's window goes when the main loop takes control again.
TEST_F(X11Test, ADetachedFormsWindowGoesWithTheMainLoop) {
  ui::Form form("frmLaunch", "Launch Service for Varno");
  windows_->AttachForm(form);
  ASSERT_NE(WaitForTitle("Launch Service for Varno"), 0);
  windows_->DetachForm(form);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(WaitForTitle("Launch Service for Varno", false), 0);
}

}  // namespace
}  // namespace launchagent::native
