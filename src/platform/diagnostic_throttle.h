#pragma once
// A diagnostic line that an attacker can make the agent repeat (descriptors running
// short, strangers refused) goes out at most once per interval; the repeats in between
// are counted and told with the next line that goes out, so standard error (or the
// debug output) stays readable and cannot be made to fill a disk.
#include <optional>
#include <string>

namespace launchagent {

class DiagnosticThrottle {
 public:
  explicit DiagnosticThrottle(double dIntervalSeconds) : dInterval_(dIntervalSeconds) {}

  // The line to write now, with the count of the lines held back since the last one
  // written; nullopt when this one is held back. dNow: seconds on any clock that does
  // not run backwards by more than it wraps (a step back counts as the interval passed).
  std::optional<std::string> Pass(const std::string& sLine, double dNow);

 private:
  double dInterval_;
  std::optional<double> dLast_;  // when the last line went out
  long long lngHeld_ = 0;        // lines held back since then
};

}  // namespace launchagent
