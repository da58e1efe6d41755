#include "platform/diagnostic_throttle.h"

namespace launchagent {

std::optional<std::string> DiagnosticThrottle::Pass(const std::string& sLine, double dNow) {
  if (dLast_ && dNow >= *dLast_ && dNow - *dLast_ < dInterval_) {
    ++lngHeld_;
    return std::nullopt;
  }
  dLast_ = dNow;
  if (lngHeld_ == 0) return sLine;
  const std::string sOut =
      sLine + " (" + std::to_string(lngHeld_) + " more like it since the last such line)";
  lngHeld_ = 0;
  return sOut;
}

}  // namespace launchagent
