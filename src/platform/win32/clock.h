#pragma once
// The agent's clock on Windows: the local time from GetLocalTime, sped up by its time
// scale (platform/backend/time_scale.h).

#include "platform/backend/time_scale.h"
#include "platform/services.h"

namespace launchagent::win32 {

using TimeBase = platform::TimeScale;

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
