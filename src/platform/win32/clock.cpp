#include "platform/win32/clock.h"

#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

constexpr double kTicksPerSecond = 1e7;  // FILETIME counts 100 ns

unsigned long long UtcTicksNow() {
  FILETIME ft{};
  GetSystemTimeAsFileTime(&ft);
  return (static_cast<unsigned long long>(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
}

}  // namespace

Win32Clock::Win32Clock(const TimeBase& time) : time_(time), ullStartUtc_(UtcTicksNow()) {}

DateTime Win32Clock::LocalNow(double& dFraction) const {
  SYSTEMTIME st{};
  if (time_.Scale() == 1.0) {
    GetLocalTime(&st);
  } else {
    // Scaled: the start plus the agent seconds since, turned into local time.
    const auto ullNow = ullStartUtc_ + static_cast<unsigned long long>(time_.ElapsedAgentSeconds() *
                                                                       kTicksPerSecond);
    FILETIME utc{static_cast<DWORD>(ullNow), static_cast<DWORD>(ullNow >> 32)};
    FILETIME local{};
    FileTimeToLocalFileTime(&utc, &local);
    FileTimeToSystemTime(&local, &st);
  }
  dFraction = st.wMilliseconds / 1000.0;
  return DateTime::FromCivil(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond);
}

DateTime Win32Clock::Now() const {
  time_.NoteClockRead();
  double dFraction = 0;
  return LocalNow(dFraction);
}

double Win32Clock::SecondsSinceMidnight() const {
  time_.NoteClockRead();
  double dFraction = 0;
  const DateTime now = LocalNow(dFraction);
  return now.SecondsSinceMidnight() + dFraction;
}

}  // namespace launchagent::win32
