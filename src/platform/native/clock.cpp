#include "platform/native/clock.h"

#include <cmath>
#include <ctime>

namespace launchagent::native {
namespace {

// Local civil time of a moment given in seconds since 1970, as the system's date-time.
DateTime LocalDateTime(double dUnix, double& dFraction) {
  const double dWhole = std::floor(dUnix);
  dFraction = dUnix - dWhole;
  const std::time_t t = static_cast<std::time_t>(dWhole);
  std::tm tm{};
  ::localtime_r(&t, &tm);
  return DateTime::FromCivil(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min,
                             tm.tm_sec);
}

}  // namespace

TimeBase::TimeBase(double dScale)
    : platform::TimeScale(dScale), wallStart_(std::chrono::system_clock::now()) {}

double TimeBase::NowUnix() const {
  using namespace std::chrono;
  if (Scale() == 1.0) return duration<double>(system_clock::now().time_since_epoch()).count();
  return duration<double>(wallStart_.time_since_epoch()).count() + ElapsedAgentSeconds();
}

DateTime NativeClock::Now() const {
  time_.NoteClockRead();
  double dFraction = 0;
  return LocalDateTime(time_.NowUnix(), dFraction);
}

double NativeClock::SecondsSinceMidnight() const {
  time_.NoteClockRead();
  double dFraction = 0;
  const DateTime now = LocalDateTime(time_.NowUnix(), dFraction);
  return now.SecondsSinceMidnight() + dFraction;
}

}  // namespace launchagent::native
