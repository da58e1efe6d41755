// The hardened mode against a real agent: silent connections closed on a timer, refusals
// told on standard error without flooding it. Its launch sites are in sites_test.cpp.
#include <gtest/gtest.h>

#include "hostile_agent.h"

namespace launchagent::hostile {
namespace {

// Whether the peer's end of fd has been closed by the agent (bounded wait of dSeconds).
bool ClosedByAgent(int fd, double dSeconds) {
  return WaitUntil(
      [&] {
        char c;
        const ssize_t n = ::recv(fd, &c, 1, MSG_DONTWAIT);
        return n == 0 || (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK);
      },
      dSeconds);
}

TEST(Hardened, ASilentConnectionIsClosedWithoutANewRequestOnlyInTheHardenedMode) {
  // Agent time runs 60 times as fast: the 120-second idle limit passes in two seconds.
  Agent hardened("127.0.0.84", "", 0, 0, {"--hardened"});
  Agent plain("127.0.0.85");
  ASSERT_TRUE(hardened.Start());
  ASSERT_TRUE(plain.Start());
  const int fdHardened = Connect(hardened.Address());
  const int fdPlain = Connect(plain.Address());
  ASSERT_GE(fdHardened, 0);
  ASSERT_GE(fdPlain, 0);
  EXPECT_TRUE(ClosedByAgent(fdHardened, 20)) << hardened.Diagnostics();
  // By then the plain agent has held its silent connection for as long, and keeps it.
  std::this_thread::sleep_for(std::chrono::seconds(1));
  EXPECT_FALSE(ClosedByAgent(fdPlain, 0));
  ::close(fdHardened);
  ::close(fdPlain);
  EXPECT_TRUE(hardened.Served("probe"));
}

size_t Lines(const std::string& sText, const std::string& sPart) {
  size_t n = 0;
  for (auto at = sText.find(sPart); at != std::string::npos; at = sText.find(sPart, at + 1)) ++n;
  return n;
}

TEST(Hardened, StrangersPastTheCapAreToldOnStandardErrorWithoutFloodingIt) {
  Agent agent("127.0.0.86", "127.0.0.98 friend\n", 0, 0, {"--hardened"});
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(agent.Start("1"));  // the agent's clock at its real pace
  // Sixteen strangers fill the registry's room for them; sixty more are refused. Each
  // comes from an address of its own, so the cap per address never stops one.
  for (int n = 0; n < 76; ++n) {
    const int fd = Connect(agent.Address(), "127.0.1." + std::to_string(20 + n));
    ASSERT_GE(fd, 0) << n;
    SendSome(fd, HostInfoImage("fake" + std::to_string(n)));
    ::close(fd);
  }
  ASSERT_TRUE(WaitUntil(
      [&] { return agent.Diagnostics().find("no room for the stranger") != std::string::npos; },
      10))
      << agent.Diagnostics();
  // A host that is who it says it is still gets in; every fake came before it.
  ASSERT_TRUE(agent.Served("friend", 10, "127.0.0.98"));
  const double dSeconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_LE(Lines(agent.Diagnostics(), "no room for the stranger"), 2 + dSeconds / 10)
      << agent.Diagnostics();
  EXPECT_EQ(agent.Log().find("no room"), std::string::npos);
}

}  // namespace
}  // namespace launchagent::hostile
