// Launch sites announced by a hostile sender, and whether the agent's registry keeps them:
// paths that climb out of their share (in any mode), sites from a host that does not own
// them (the hardened mode), sites from hosts nobody picked (active computers only); and a
// program named like the agent's own executable. And the hardened mode's timer on silent
// connections, and its refusals told on standard error without flooding it.
#include <gtest/gtest.h>

#include "hostile_agent.h"
#include "setup/option_records.h"

namespace launchagent::hostile {
namespace {

struct Announcement {
  std::string sFrom, sHost, sSite;  // sFrom "": any loopback address
  bool bKept;
};

// An agent's mode (its one option, "" for the default) and what senders announce to it.
// Rows normally follow a fresh record of their host; on first contact they come alone.
struct Mode {
  std::string sOption;
  std::vector<Announcement> rows;
  bool bFirstContact = false;
};

TEST(HostileSites, AnnouncedSitesAreKeptOnlyWhereTheModeAllows) {
  // pc9 is at .91, its neighbour pc8 at .92; .93 is nobody, "evil" resolves nowhere.
  const std::string s9 = "\\\\pc9\\c\\Varno2.exe", s8 = "\\\\pc8\\c\\Varno2.exe";
  const Mode modes[] = {
      {"",
       {{"", "evil0", "\\\\pc9\\c\\..\\..\\..\\payload\\Varno2.exe", false},
        {"", "evil1", "\\\\pc9\\c\\app\\..\\..\\c\\app\\Varno2.exe", false},
        {"", "evil2", "\\\\pc9\\..\\..\\payload\\Varno2.exe", false},
        {"", "evil3", "C:\\..\\..\\payload\\Varno2.exe", false},
        {"", "evil4", "\\\\pc9\\c\\app\\.\\..\\app\\Varno2.exe", true}}},
      {"--hardened",
       {{"127.0.0.91", "pc9", s9, true},
        {"127.0.0.93", "pc9", s9, false},  // not from pc9's address
        {"127.0.0.93", "evil", s9, false},
        {"127.0.0.91", "pc9", s8, false},                        // another host's share
        {"127.0.0.91", "pc9", "\\\\pc9\\c\\Launch.exe", false},  // not the main application
        {"127.0.0.92", "pc8", s8, true}}},
      // A refused stranger is looked up among the LAN hosts, which lets events run: the
      // sender's close then came while its read was still being handled.
      {"--hardened",
       {{"127.0.0.91", "pc9", s9, true},
        {"127.0.0.93", "pc9", s9, false},
        {"127.0.0.93", "evil", s9, false},
        {"127.0.0.91", "pc9", s9, true}},
       true},
      // Only pc9 is in the "Active Computers" list the Agent Setup window saved.
      {"--active-computers-only",
       {{"127.0.0.92", "pc8", s8, false}, {"127.0.0.91", "pc9", s9, true}}},
  };
  int nAgent = 0;
  for (const auto& m : modes) {
    SCOPED_TRACE(m.sOption);
    std::vector<std::string> args;
    if (!m.sOption.empty()) args.push_back(m.sOption);
    Agent agent("127.0.0." + std::to_string(81 + nAgent++), "127.0.0.91 pc9\n127.0.0.92 pc8\n", 0,
                0, args);
    const std::string sMarker = agent.Root() + "/payload-ran";
    for (const char* s : {"/net/pc9/c/Varno2.exe", "/net/pc9/c/Launch.exe",
                          "/net/pc9/c/app/Varno2.exe", "/net/pc8/c/Varno2.exe"})
      WriteText(agent.Root() + s, "#!/bin/sh\n", true);
    WriteText(agent.Root() + "/payload/Varno2.exe", "#!/bin/sh\ntouch '" + sMarker + "'\n", true);
    if (m.sOption == "--active-computers-only") {
      AgentOptions options;
      options.bActiveAgentServices = true;
      options.sActiveHost[0].Assign("PC9");
      options.sActiveHost[1].Assign("");
      const Bytes file = EncodeAgentOptions(options);
      WriteText(agent.Root() + "/c/Launch/agent.dat", std::string(file.begin(), file.end()));
    }
    ASSERT_TRUE(agent.Start());
    // A refused site is stored, and logged, as none. Each row first gets a fresh record
    // of its host, without a site, from an address that may send it (.93 is nobody's).
    for (const auto& a : m.rows) {
      if (!m.bFirstContact) {
        ASSERT_TRUE(agent.Served(a.sHost, 10, a.sFrom == "127.0.0.93" ? "127.0.0.91" : a.sFrom));
      }
      EXPECT_EQ(Announce(agent, a.sFrom, a.sHost, a.sSite), a.bKept ? a.sSite : "")
          << a.sFrom << " " << a.sHost << " " << a.sSite << "\n"
          << agent.Diagnostics();
    }
    EXPECT_TRUE(agent.Alive()) << agent.Diagnostics();
    if (m.sOption == "--hardened") {
      EXPECT_NE(agent.Diagnostics().find("refused"), std::string::npos);
    }
    EXPECT_FALSE(std::filesystem::exists(sMarker));
    const std::string sOwnCopy = agent.Root() + "/c/Launch/Varno2.exe";
    EXPECT_FALSE(std::filesystem::exists(sOwnCopy) &&
                 ReadText(sOwnCopy).find("touch") != std::string::npos);
  }
}

TEST(HostileSites, AnAnnouncedProgramNeverReplacesTheAgentsOwnExecutable) {
  Agent agent("127.0.0.77", "127.0.0.251 pc9\n");
  WriteText(agent.Root() + "/net/pc9/c/Launch.exe", "#!/bin/sh\nexit 0\n", true);
  const std::string sOriginal = ReadText(agent.Exe());
  ASSERT_TRUE(agent.Start());
  const std::string sSite = "\\\\pc9\\c\\Launch.exe";
  ASSERT_EQ(Announce(agent, "", "evil", sSite), sSite);
  // Without a main application of its own the agent's watch takes the site: the copy into
  // its folder comes first, then the launch.
  ASSERT_TRUE(WaitUntil(
      [&] { return agent.Log().find("*** Launching From: " + sSite) != std::string::npos; }, 90))
      << agent.Log();
  EXPECT_TRUE(ReadText(agent.Exe()) == sOriginal);
  EXPECT_TRUE(agent.Alive());
  EXPECT_NE(agent.Diagnostics().find("running program"), std::string::npos);
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

TEST(Hardened, StrangersPastTheCapAreToldOnStandardErrorWithoutFloodingIt) {
  Agent agent("127.0.0.86", "127.0.0.98 friend\n", 0, 0, {"--hardened"});
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
  EXPECT_TRUE(agent.Quiet("no room for the stranger", 2)) << agent.Diagnostics();
  EXPECT_EQ(agent.Log().find("no room"), std::string::npos);
}

}  // namespace
}  // namespace launchagent::hostile
