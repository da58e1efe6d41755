#pragma once
// The agent's clock on this machine, sped up by its time scale
// (platform/backend/time_scale.h).
#include <chrono>

#include "platform/backend/time_scale.h"
#include "platform/services.h"

namespace launchagent::native {

class TimeBase : public platform::TimeScale {
 public:
  explicit TimeBase(double dScale);
  // The agent's "now" as seconds since 1970 (UTC), with fractions.
  double NowUnix() const;

 private:
  std::chrono::system_clock::time_point wallStart_;
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
