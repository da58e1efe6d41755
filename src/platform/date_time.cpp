#include "platform/date_time.h"

#include <cstdio>

namespace launchagent {
namespace {

// Days from 1970-01-01 for a proleptic Gregorian date (H. Hinnant's algorithm).
std::int64_t DaysFromCivil(std::int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

void CivilFromDays(std::int64_t z, std::int64_t& y, unsigned& m, unsigned& d) {
  z += 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  y = static_cast<std::int64_t>(yoe) + era * 400;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  d = doy - (153 * mp + 2) / 5 + 1;
  m = mp < 10 ? mp + 3 : mp - 9;
  y += m <= 2;
}

const std::int64_t kOriginDays = DaysFromCivil(1899, 12, 30);

std::int64_t FloorDiv(std::int64_t a, std::int64_t b) {
  std::int64_t q = a / b;
  if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
  return q;
}

}  // namespace

DateTime DateTime::FromCivil(int nYear, int nMonth, int nDay, int nHour, int nMinute,
                             int nSecond) {
  const std::int64_t days = DaysFromCivil(nYear, static_cast<unsigned>(nMonth),
                                          static_cast<unsigned>(nDay)) -
                            kOriginDays;
  return DateTime{days * 86400 + nHour * 3600 + nMinute * 60 + nSecond};
}

void DateTime::ToCivil(int& nYear, int& nMonth, int& nDay, int& nHour, int& nMinute,
                       int& nSecond) const {
  const std::int64_t days = FloorDiv(lngSeconds, 86400);
  const std::int64_t rest = lngSeconds - days * 86400;
  std::int64_t y = 0;
  unsigned m = 0, d = 0;
  CivilFromDays(days + kOriginDays, y, m, d);
  nYear = static_cast<int>(y);
  nMonth = static_cast<int>(m);
  nDay = static_cast<int>(d);
  nHour = static_cast<int>(rest / 3600);
  nMinute = static_cast<int>((rest % 3600) / 60);
  nSecond = static_cast<int>(rest % 60);
}

std::string DateTime::ToText() const {
  int y, mo, d, h, mi, s;
  ToCivil(y, mo, d, h, mi, s);
  char buf[48];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", y, mo, d, h, mi, s);
  return buf;
}

std::int64_t DateTime::WholeMinutes() const { return FloorDiv(lngSeconds, 60); }

double DateTime::SecondsSinceMidnight() const {
  return static_cast<double>(lngSeconds - FloorDiv(lngSeconds, 86400) * 86400);
}

}  // namespace launchagent
