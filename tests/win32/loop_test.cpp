// Ending the process from a handler. Timers and pumping inside a handler are the seam's
// contract (tests/contract).
#include <gtest/gtest.h>

#include "platform/ui/controls.h"
#include "win32_test_support.h"

namespace launchagent::win32 {
namespace {

using LoopTest = Win32LoopTest;

TEST_F(LoopTest, EndingTheProcessStopsEveryDelivery) {
  int nTicks = 0;
  ui::Timer timer("t", 10, true);
  timer.OnTick = [&] {
    ++nTicks;
    loop.EndProcess();
  };
  timer.AttachDriver(&loop.Timers());
  EXPECT_THROW(PumpUntil([&] { return false; }, 5), platform::ProcessEnded);
  EXPECT_TRUE(loop.Ended());
  EXPECT_EQ(nTicks, 1);
  EXPECT_THROW(loop.ProcessPendingEvents(), platform::ProcessEnded);
  EXPECT_THROW(loop.Run(), platform::ProcessEnded);
  bool bRan = false;
  loop.Deliver([&] { bRan = true; });
  EXPECT_FALSE(bRan);
}

}  // namespace
}  // namespace launchagent::win32
