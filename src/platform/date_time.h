#pragma once
// Local date-time to the second. Zero is the origin of the scale (1899-12-30
// 00:00:00), the value a host information message holds before any receipt.
#include <cstdint>
#include <string>

namespace launchagent {

struct DateTime {
  std::int64_t lngSeconds = 0;  // seconds since 1899-12-30 00:00:00, local time

  static DateTime FromCivil(int nYear, int nMonth, int nDay, int nHour = 0, int nMinute = 0,
                            int nSecond = 0);
  void ToCivil(int& nYear, int& nMonth, int& nDay, int& nHour, int& nMinute,
               int& nSecond) const;
  // "YYYY-MM-DD HH:MM:SS"
  std::string ToText() const;
  // Whole minutes since the origin, rounded down (10:00:59 and 10:00:00 are one minute).
  std::int64_t WholeMinutes() const;
  double SecondsSinceMidnight() const;

  friend bool operator==(DateTime a, DateTime b) { return a.lngSeconds == b.lngSeconds; }
  friend bool operator!=(DateTime a, DateTime b) { return a.lngSeconds != b.lngSeconds; }
  friend bool operator<(DateTime a, DateTime b) { return a.lngSeconds < b.lngSeconds; }
};

}  // namespace launchagent
