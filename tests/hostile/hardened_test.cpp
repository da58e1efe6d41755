// The hardened mode against a real agent: launch sites only from the host that owns them
// (and, when asked, only from active computers), silent connections closed on a timer,
// refusals told on standard error without flooding it.
#include <gtest/gtest.h>

#include <algorithm>

#include "hostile_agent.h"
#include "setup/option_records.h"

namespace launchagent::hostile {
namespace {

TEST(Hardened, OnlyTheHostThatOwnsALaunchSiteMayAnnounceIt) {
  // pc9 is at .91, its neighbour pc8 at .92; "evil" resolves nowhere.
  Agent agent("127.0.0.81", "127.0.0.91 pc9\n127.0.0.92 pc8\n", 0, 0, {"--hardened"});
  for (const char* s : {"/net/pc9/c/Varno2.exe", "/net/pc9/c/Launch.exe", "/net/pc8/c/Varno2.exe"})
    WriteText(agent.Root() + s, "#!/bin/sh\n", true);
  ASSERT_TRUE(agent.Start());
  struct Case {
    std::string sFrom, sHost, sSite;
    bool bKept;
  };
  const Case cases[] = {
      {"127.0.0.91", "pc9", "\\\\pc9\\c\\Varno2.exe", true},
      {"127.0.0.93", "pc9", "\\\\pc9\\c\\Varno2.exe", false},  // not from pc9's address
      {"127.0.0.93", "evil", "\\\\pc9\\c\\Varno2.exe", false},
      {"127.0.0.91", "pc9", "\\\\pc8\\c\\Varno2.exe", false},  // another host's share
      {"127.0.0.91", "pc9", "\\\\pc9\\c\\Launch.exe", false},  // not the main application
      {"127.0.0.92", "pc8", "\\\\pc8\\c\\Varno2.exe", true},
  };
  for (const auto& c : cases) {
    // A fresh record first, so the case's own line is the last one for the host.
    ASSERT_TRUE(agent.Served(c.sHost, 10, c.sFrom == "127.0.0.93" ? "127.0.0.91" : c.sFrom));
    const int fd = Connect(agent.Address(), c.sFrom);
    ASSERT_GE(fd, 0);
    const size_t nBefore = agent.Log().size();
    SendSome(fd, HostInfoImage(c.sHost, c.sSite));
    ::close(fd);
    // A refused site is stored, and logged, as none.
    ASSERT_TRUE(WaitUntil(
        [&] {
          return agent.Log().find("Host=" + c.sHost + " LaunchSite=", nBefore) != std::string::npos;
        },
        10))
        << c.sSite << "\n"
        << agent.Diagnostics();
    EXPECT_EQ(StoredSite(agent, c.sHost), c.bKept ? c.sSite : "") << c.sFrom << " " << c.sSite;
  }
  EXPECT_NE(agent.Diagnostics().find("refused"), std::string::npos);
}

TEST(Hardened, WithActiveComputersOnlyALaunchSiteComesOnlyFromAPickedHost) {
  // pc9 and pc8 both announce sites of their own shares from their own addresses; only
  // pc9 is in the "Active Computers" list the Agent Setup window saved.
  Agent agent("127.0.0.83", "127.0.0.91 pc9\n127.0.0.92 pc8\n", 0, 0, {"--active-computers-only"});
  for (const char* s : {"/net/pc9/c/Varno2.exe", "/net/pc8/c/Varno2.exe"})
    WriteText(agent.Root() + s, "#!/bin/sh\n", true);
  AgentOptions options;
  options.bActiveAgentServices = true;
  options.sActiveHost[0].Assign("PC9");
  options.sActiveHost[1].Assign("");
  const Bytes file = EncodeAgentOptions(options);
  WriteText(agent.Root() + "/c/Launch/agent.dat", std::string(file.begin(), file.end()));
  ASSERT_TRUE(agent.Start());
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"127.0.0.92", "pc8", false},
      {"127.0.0.91", "pc9", true},
  };
  for (const auto& [szFrom, szHost, bKept] : cases) {
    const std::string sSite = std::string("\\\\") + szHost + "\\c\\Varno2.exe";
    const int fd = Connect(agent.Address(), szFrom);
    ASSERT_GE(fd, 0);
    SendSome(fd, HostInfoImage(szHost, sSite));
    ::close(fd);
    ASSERT_TRUE(WaitUntil(
        [&] {
          return agent.Log().find("Host=" + std::string(szHost) + " LaunchSite=") !=
                 std::string::npos;
        },
        10))
        << agent.Diagnostics();
    EXPECT_EQ(StoredSite(agent, szHost), bKept ? sSite : "") << szHost;
  }
}

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
