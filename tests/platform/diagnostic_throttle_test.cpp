// Repeated diagnostic lines: one per interval, the held-back ones counted in the next.
#include "platform/diagnostic_throttle.h"

#include <gtest/gtest.h>

#include <vector>

namespace launchagent {
namespace {

TEST(DiagnosticThrottle, OneLinePerIntervalWithTheHeldBackCounted) {
  struct Step {
    double dNow;
    const char* szLine;
    std::optional<std::string> expected;
  };
  const std::vector<Step> steps = {
      {100.0, "a", "a"},
      {100.1, "b", std::nullopt},
      {109.9, "c", std::nullopt},
      {110.0, "d", "d (2 more like it since the last such line)"},
      {125.0, "e", "e"},  // nothing held back in between: no count
      {126.0, "f", std::nullopt},
      {3.0, "g", "g (1 more like it since the last such line)"},  // the clock went back
      {4.0, "h", std::nullopt},
  };
  DiagnosticThrottle throttle(10);
  for (const auto& s : steps) EXPECT_EQ(throttle.Pass(s.szLine, s.dNow), s.expected) << s.szLine;
}

}  // namespace
}  // namespace launchagent
