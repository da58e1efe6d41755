#pragma once
// What the Windows backend's tests share: one loop on real time, Winsock started for
// the test's life, and a pump that runs the loop until something has happened.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "platform/win32/clock.h"
#include "platform/win32/event_loop.h"
#include "platform/win32/win.h"

namespace launchagent::win32 {

class Win32LoopTest : public ::testing::Test {
 protected:
  void SetUp() override {
    WSADATA wsa{};
    ASSERT_EQ(WSAStartup(0x0101, &wsa), 0);
  }
  void TearDown() override { WSACleanup(); }

  // Runs the loop until bDone says so; false when it never did within the safety limit
  // (a hang guard, not a timing check).
  bool PumpUntil(const std::function<bool()>& bDone, double dLimitSeconds = 20) {
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::milliseconds(static_cast<long long>(dLimitSeconds * 1000));
    while (!bDone()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      loop.WaitForEvents(0.05);
    }
    return true;
  }

  TimeBase time{1.0};
  Win32EventLoop loop{time};
};

}  // namespace launchagent::win32
