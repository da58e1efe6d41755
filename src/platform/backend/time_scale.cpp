#include "platform/backend/time_scale.h"

#include <algorithm>
#include <cmath>

namespace launchagent::platform {

TimeScale::TimeScale(double dScale)
    : dScale_(dScale > 0 ? dScale : 1.0), start_(std::chrono::steady_clock::now()) {}

double TimeScale::ElapsedAgentSeconds() const {
  using namespace std::chrono;
  return duration<double>(steady_clock::now() - start_).count() * dScale_;
}

long long TimeScale::RealMs(double dAgentSeconds) const {
  if (!(dAgentSeconds > 0)) return 0;
  const double dMs = dAgentSeconds * 1000.0 / dScale_;
  if (dMs > 1e12) return static_cast<long long>(1e12);
  return std::max(1LL, static_cast<long long>(std::llround(dMs)));
}

}  // namespace launchagent::platform
