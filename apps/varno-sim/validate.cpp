// Checks that need the whole scenario: hosts named before they are declared, actions
// after the last run, times out of order, addresses taken twice.
#include <algorithm>

#include "scenario_parser.h"

namespace launchagent::scenario {

void Parser::Validate() {
  auto known = [&](const std::string& sName) {
    return sName == "*" || S().FindHost(sName) != nullptr;
  };
  Nanos lastRun = -1;
  bool bAnyRun = false;
  for (const Step& step : S().steps) {
    nLine_ = step.action.nLine;
    if (step.bRunUntil) {
      if (step.until <= lastRun)
        Error("run until " + FormatTime(step.until) + " is not later than the run before it");
      lastRun = step.until;
      bAnyRun = true;
      continue;
    }
    const Action& a = step.action;
    if (a.at < lastRun)
      Error("at " + FormatTime(a.at) + " lies before the run until " + FormatTime(lastRun) +
            " above it");
    if (a.sHost != "*" && !known(a.sHost)) Error("unknown host '" + a.sHost + "'");
    if (a.sHost == "*" && !std::holds_alternative<act::Heal>(a.what))
      Error("this action needs one host");
    if (!a.sPeer.empty() && !known(a.sPeer)) Error("unknown host '" + a.sPeer + "'");
    if (!a.sPeer.empty() && a.sPeer == "*") Error("this action needs one host on each side");
  }
  const std::size_t nRuns =
      std::count_if(S().steps.begin(), S().steps.end(), [](const Step& s) { return s.bRunUntil; });
  if (!bAnyRun) {
    nLine_ = static_cast<int>(lines_.size());
    Error("the scenario has no 'run until' line");
  } else if (nRuns > 0 && !S().steps.back().bRunUntil) {
    nLine_ = S().steps.back().action.nLine;
    Error("this action comes after the last 'run until' and would never run");
  }
  for (const Expectation& e : S().expectations) {
    nLine_ = e.nLine;
    if (!known(e.sHost)) Error("unknown host '" + e.sHost + "'");
    for (const ChainStep& c : e.chain) {
      nLine_ = c.nLine;
      if (!known(c.sHost)) Error("unknown host '" + c.sHost + "'");
    }
  }
  for (const HostSetup& h : S().hosts) {
    nLine_ = h.nLine;
    for (const HostSetup& other : S().hosts)
      if (&other != &h && !h.sAddress.empty() && other.sAddress == h.sAddress &&
          other.nLine < h.nLine)
        Error("host '" + h.sName + "' has the address of host '" + other.sName + "'");
  }
}

}  // namespace launchagent::scenario
