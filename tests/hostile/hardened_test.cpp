// The hardened mode against a real agent: launch sites only from the host that owns them.
#include <gtest/gtest.h>

#include "hostile_agent.h"

namespace launchagent::hostile {
namespace {

std::string StoredSite(const Agent& agent, const std::string& sHost) {
  const std::string s = agent.Log(), sKey = "Host=" + sHost + " LaunchSite=";
  const auto n = s.rfind(sKey);
  if (n == std::string::npos) return "(none)";
  const auto nStart = n + sKey.size();
  return s.substr(nStart, s.find('\n', nStart) - nStart);
}

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

}  // namespace
}  // namespace launchagent::hostile
