#pragma once
// The agent's clock on Windows: the local time from GetLocalTime. A time scale above 1
// makes the agent's seconds pass faster than real ones (only this backend's clock and
// timers speed up), so tests can watch whole check-in cycles.
#include <chrono>

#include "platform/services.h"

namespace launchagent::win32 {

class TimeBase {
 public:
  explicit TimeBase(double dScale);
  double Scale() const { return dScale_; }
  // Agent seconds since this base was made.
  double ElapsedAgentSeconds() const;
  // Real milliseconds for a span of agent seconds (at least 1 for a positive span).
  long long RealMs(double dAgentSeconds) const;

  // Set whenever the agent reads the clock; the loop tells a pause that polls the clock
  // between pumps from work, and lets the pause sleep instead of spin.
  void NoteClockRead() const { bClockRead_ = true; }
  bool TakeClockRead() const {
    const bool b = bClockRead_;
    bClockRead_ = false;
    return b;
  }

 private:
  double dScale_;
  std::chrono::steady_clock::time_point start_;
  mutable bool bClockRead_ = false;
};

class Win32Clock : public platform::Clock {
 public:
  explicit Win32Clock(const TimeBase& time);
  DateTime Now() const override;
  double SecondsSinceMidnight() const override;

 private:
  // Local civil time now, with the fraction of its second.
  DateTime LocalNow(double& dFraction) const;
  const TimeBase& time_;
  unsigned long long ullStartUtc_;  // FILETIME at the start, for a scaled clock
};

}  // namespace launchagent::win32
