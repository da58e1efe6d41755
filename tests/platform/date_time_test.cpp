#include "platform/date_time.h"

#include <gtest/gtest.h>

namespace launchagent {
namespace {

TEST(DateTime, CivilRoundTripsAcrossLeapDaysAndCenturies) {
  struct Case {
    int y, mo, d, h, mi, s;
    const char* text;
  } cases[] = {
      {2026, 1, 5, 8, 0, 0, "2026-01-05 08:00:00"},
      {2000, 2, 29, 23, 59, 59, "2000-02-29 23:59:59"},
      {1900, 3, 1, 0, 0, 1, "1900-03-01 00:00:01"},
      {2002, 5, 3, 10, 15, 2, "2002-05-03 10:15:02"},
      {1899, 12, 29, 12, 0, 0, "1899-12-29 12:00:00"},
      {1899, 12, 30, 0, 0, 0, "1899-12-30 00:00:00"},  // zero: the origin of the scale
  };
  EXPECT_EQ(DateTime{}.ToText(), "1899-12-30 00:00:00");
  for (const Case& c : cases) {
    const DateTime t = DateTime::FromCivil(c.y, c.mo, c.d, c.h, c.mi, c.s);
    EXPECT_EQ(t.ToText(), c.text);
    int y, mo, d, h, mi, s;
    t.ToCivil(y, mo, d, h, mi, s);
    EXPECT_EQ((std::array<int, 6>{y, mo, d, h, mi, s}),
              (std::array<int, 6>{c.y, c.mo, c.d, c.h, c.mi, c.s}))
        << c.text;
  }
}

TEST(DateTime, WholeMinutesAndSecondsSinceMidnight) {
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
