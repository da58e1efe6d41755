// Hostile traffic against a real agent: garbage, churn, held and trickling connections,
// and more connections than the agent has descriptors. After each, the agent must be
// alive, give its descriptors back and still handle a valid image.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <random>

#include "hostile_agent.h"

namespace launchagent::hostile {
namespace {

// Opens n connections one after the other, each given up to two seconds to be taken
// into the agent's listen queue; all of them, taken or not.
std::vector<int> Hold(const std::string& sTo, size_t n) {
  // This process holds the attackers' ends of the connections.
  rlimit r{};
  ::getrlimit(RLIMIT_NOFILE, &r);
  r.rlim_cur = r.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &r);
  std::vector<int> fds;
  for (size_t i = 0; i < n; ++i)
    if (const int fd = Connect(sTo, "", 2000, true); fd >= 0) fds.push_back(fd);
  return fds;
}

void CloseAll(std::vector<int>& fds) {
  for (int fd : fds) ::close(fd);
  fds.clear();
}

// Hostile peers attack one agent in turn; after each attack the agent must be alive,
// handle a valid image and give its descriptors back.
TEST(HostileTraffic, AfterEachAttackTheAgentServesAndLeavesNothingBehind) {
  // It starts at a soft limit of 256 and raises it to the hard one, 4096.
  Agent agent("127.0.0.72", "", 256, 4096);
  ASSERT_TRUE(agent.Start());
  const std::string sLimits = ReadText(agent.Proc("limits"));
  std::istringstream in(sLimits.substr(sLimits.find("Max open files") + 14));
  long lngSoft = 0, lngHard = 0;
  EXPECT_TRUE(in >> lngSoft >> lngHard && lngSoft == 4096 && lngHard == 4096) << sLimits;
  ASSERT_TRUE(agent.Served("probe0"));
  const size_t nBaseline = agent.OpenDescriptors();
  auto LeftNothingBehind = [&](const std::string& sAfter) {
    SCOPED_TRACE(sAfter);
    EXPECT_TRUE(agent.Served("after-" + sAfter, 30)) << agent.Log().substr(0, 2000);
    EXPECT_TRUE(agent.Alive());
    EXPECT_TRUE(WaitUntil([&] { return agent.OpenDescriptors() <= nBaseline + 2; }, 10))
        << nBaseline << " -> " << agent.OpenDescriptors();
  };

  std::mt19937 rng(13);
  const Bytes valid = HostInfoImage("forged");
  // Blob kinds: random bytes, a valid image cut short, a valid image with a tail, a
  // header that claims far more than follows.
  for (int i = 0; i < 200; ++i) {
    Bytes blob = valid;
    if (i % 4 == 0) blob.resize(rng() % (128 * 1024));
    if (i % 4 == 0)
      for (auto& b : blob) b = static_cast<unsigned char>(rng());
    if (i % 4 == 1) blob.resize(rng() % valid.size());
    if (i % 4 == 2) blob.resize(valid.size() + 1 + rng() % 4096, 0xff);
    if (i % 4 == 3) blob[4] = blob[5] = blob[6] = 0x7f;
    const int fd = Connect(agent.Address());
    ASSERT_GE(fd, 0) << i;
    SendSome(fd, blob);
    ::close(fd);
  }
  LeftNothingBehind("garbage");

  for (int i = 0; i < 1000; ++i) {
    const int fd = Connect(agent.Address());
    ASSERT_GE(fd, 0) << i;
    ::close(fd);
  }
  LeftNothingBehind("churn");

  // Held and trickling connections do not stop others while they last.
  std::vector<int> held = Hold(agent.Address(), 300), trickling;
  for (int i = 0; i < 20; ++i) trickling.push_back(Connect(agent.Address()));
  // One byte a round from each trickler, for as many rounds as the image has bytes.
  for (size_t k = 0; k < valid.size() && k < 60; ++k) {
    for (int fd : trickling) ::send(fd, &valid[k], 1, MSG_NOSIGNAL);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  EXPECT_TRUE(agent.Served("meanwhile"));
  CloseAll(held);
  CloseAll(trickling);
  LeftNothingBehind("held-and-trickling");
}

TEST(HostileTraffic, RunningOutOfDescriptorsNeitherKillsNorDeafens) {
  // Descriptor limit and connections held: a small limit, and the usual desktop limit of
  // 1,024 with more held than that.
  const std::pair<long, size_t> cases[] = {{256, 400}, {1024, 1100}};
  for (const auto& [lngLimit, nHeld] : cases) {
    Agent agent("127.0.0.74", "", lngLimit);
    ASSERT_TRUE(agent.Start("1"));  // its timers at their real pace
    std::vector<int> held = Hold(agent.Address(), nHeld);
    WaitUntil([&] { return agent.OpenDescriptors() + 100 >= static_cast<size_t>(lngLimit); }, 10);
    // Short of descriptors for a while, then given them back.
    std::this_thread::sleep_for(std::chrono::seconds(3));
    EXPECT_TRUE(agent.Alive()) << agent.Diagnostics();
    CloseAll(held);
    EXPECT_TRUE(agent.Served("probe" + std::to_string(lngLimit), 10)) << agent.Diagnostics();
    EXPECT_TRUE(agent.Alive());
    // Diagnostics go to standard error, never into the activity log.
    EXPECT_NE(agent.Diagnostics().find("out of descriptors"), std::string::npos);
    EXPECT_EQ(agent.Log().find("descriptors"), std::string::npos);
    // The listener rests four times a second for as long as descriptors are short, but
    // says so at most once per ten seconds.
    EXPECT_TRUE(agent.Quiet("out of descriptors, not accepting", 1)) << agent.Diagnostics();
  }
}

}  // namespace
}  // namespace launchagent::hostile
