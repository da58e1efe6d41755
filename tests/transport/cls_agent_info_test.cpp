// The registry's record per computer.
#include "transport/cls_agent_info.h"

#include <gtest/gtest.h>

namespace launchagent {
namespace {

TEST(ClsAgentInfo, ConnectTrialsKeepTheOldCountWhenTheNewOneDoesNotFitSixteenBits) {
  const struct {
    Long lngIn;
    Integer nExpected;
  } cases[] = {
      {0, 0},     {2, 2},      {-1, -1},   {32767, 32767},  {-32768, -32768},
      {32768, 1}, {-32769, 1}, {40000, 1}, {2147483647, 1}, {-2147483647 - 1, 1},
  };
  for (const auto& c : cases) {
    clsAgentInfo objRecord;
    objRecord.SetConnectTrials(1);
    objRecord.SetConnectTrials(c.lngIn);
    EXPECT_EQ(objRecord.GetConnectTrials(), c.nExpected) << "count " << c.lngIn;
  }
}

}  // namespace
}  // namespace launchagent
