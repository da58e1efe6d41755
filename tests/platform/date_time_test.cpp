#include "platform/date_time.h"

#include <gtest/gtest.h>

namespace launchagent {
namespace {

// Dates across the calendar are scenario platform-calendar's; here the scale itself.
TEST(DateTime, OriginWholeMinutesAndSecondsSinceMidnight) {
  EXPECT_EQ(DateTime{}.ToText(), "1899-12-30 00:00:00");
  // 10:00:59 to 10:01:00 is one minute of age once both are cut to minutes.
  const DateTime a = DateTime::FromCivil(2026, 1, 5, 10, 0, 59);
  const DateTime b = DateTime::FromCivil(2026, 1, 5, 10, 1, 0);
  EXPECT_EQ(b.WholeMinutes() - a.WholeMinutes(), 1);
  // Before the origin the cut still goes down, not towards zero.
  EXPECT_EQ(DateTime{-1}.WholeMinutes(), -1);
  EXPECT_EQ(DateTime::FromCivil(2026, 1, 5, 0, 0, 0).SecondsSinceMidnight(), 0.0);
  EXPECT_EQ(DateTime::FromCivil(2026, 1, 5, 23, 59, 59).SecondsSinceMidnight(), 86399.0);
  EXPECT_EQ(DateTime{-1}.SecondsSinceMidnight(), 86399.0);
}

}  // namespace
}  // namespace launchagent
