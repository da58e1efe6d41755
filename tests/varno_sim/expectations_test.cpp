// Where two runs' transcripts first differ, as --determinism reports it (a deterministic
// run never shows a difference). What expectations ask of a transcript:
// tests/scenarios/sim-expect-semantics.scn and failing/expect-semantics.scn; the command
// line: tests/scenarios/command_line.cmake.
#include "expectations.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace launchagent::scenario {
namespace {

TEST(Expectations, FirstDifferenceOfTwoRuns) {
  using V = std::vector<std::string>;
  EXPECT_EQ(FirstDifference(V{"a", "b"}, V{"a", "b"}), std::nullopt);
  EXPECT_EQ(FirstDifference(V{"a", "b"}, V{"a", "c"}), 1u);
  EXPECT_EQ(FirstDifference(V{"a"}, V{"a", "b"}), 1u);
  EXPECT_EQ(FirstDifference(V{"a ", "b"}, V{"a", "b"}), 0u);
  EXPECT_EQ(FirstDifference(V{}, V{}), std::nullopt);
}

}  // namespace
}  // namespace launchagent::scenario
