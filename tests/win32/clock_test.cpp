#include "platform/win32/clock.h"

#include <gtest/gtest.h>

#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

TEST(Win32Clock, ReadsTheLocalTimeAndScalesOnlyWhatPassesAfterTheStart) {
  TimeBase time(1000.0);
  Win32Clock clock(time);
  SYSTEMTIME st{};
  GetLocalTime(&st);
  const DateTime local =
      DateTime::FromCivil(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond);
  const DateTime now = clock.Now();
  // At the start both clocks agree; the scaled one runs ahead from there.
  EXPECT_GE(now.lngSeconds, local.lngSeconds - 1);
  EXPECT_LE(now.lngSeconds, local.lngSeconds + 2);
  Sleep(20);
  EXPECT_GE(clock.Now().lngSeconds - now.lngSeconds, 10);  // 20 ms at least, times 1000
  const double dSeconds = clock.SecondsSinceMidnight();
  EXPECT_GE(dSeconds, 0);
  EXPECT_LT(dSeconds, 86400);
  EXPECT_TRUE(time.TakeClockRead());
  EXPECT_FALSE(time.TakeClockRead());
}

}  // namespace
}  // namespace launchagent::win32
