// A long run against a real agent in the hardened mode: more connections come and go
// than an accepted-position table holds, and the agent still accepts. Minutes long on a
// busy machine, so it has a label of its own (soak) outside the hostile suite.
#include <gtest/gtest.h>

#include <atomic>

#include "hostile_agent.h"

namespace launchagent::hostile {
namespace {

TEST(Hardened, FortyThousandConnectionsLeaveTheAgentAccepting) {
  Agent agent("127.0.0.82", "", 0, 0, {"--hardened"});
  ASSERT_TRUE(agent.Start());
  std::atomic<int> nFailed = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t)
    threads.emplace_back([&, t] {
      const std::string sFrom = "127.0.1." + std::to_string(10 + t);
      for (int i = 0; i < 5000 && nFailed < 100; ++i) {
        const int fd = Connect(agent.Address(), sFrom);
        if (fd < 0)
          ++nFailed;
        else
          ::close(fd);
      }
    });
  for (auto& t : threads) t.join();
  EXPECT_LT(nFailed, 100);
  EXPECT_TRUE(agent.Served("probe", 20)) << agent.Diagnostics();
  EXPECT_TRUE(agent.Alive());
}

}  // namespace
}  // namespace launchagent::hostile
