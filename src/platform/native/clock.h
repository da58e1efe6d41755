#pragma once
// The agent's clock on this machine. A time scale above 1 makes the agent's seconds
// pass faster than real ones (at 60, an agent minute takes a real second), so a LAN can
// be watched through whole check-in cycles; only this backend's clock and timers speed
// up, the agent itself does not know.
#include <chrono>

#include "platform/services.h"

namespace launchagent::native {

class TimeBase {
 public:
  explicit TimeBase(double dScale);
  double Scale() const { return dScale_; }
  // The agent's "now" as seconds since 1970 (UTC), with fractions.
  double NowUnix() const;
  // Real milliseconds for a span of agent seconds (at least 1 for a positive span).
  long long RealMs(double dAgentSeconds) const;

  // Set whenever the agent reads the clock; the event loop uses it to tell a loop that
  // polls the clock between pumps from one that does work between them.
  void NoteClockRead() const { bClockRead_ = true; }
  bool TakeClockRead() const {
    const bool b = bClockRead_;
    bClockRead_ = false;
    return b;
  }

 private:
  double dScale_;
  std::chrono::system_clock::time_point wallStart_;
  std::chrono::steady_clock::time_point steadyStart_;
  mutable bool bClockRead_ = false;
};

class NativeClock : public platform::Clock {
 public:
  explicit NativeClock(const TimeBase& time) : time_(time) {}
  DateTime Now() const override;
  double SecondsSinceMidnight() const override;

 private:
  const TimeBase& time_;
};

}  // namespace launchagent::native
