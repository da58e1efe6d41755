// Launch sites announced by a hostile sender: a path that climbs out of its share, and a
// program named like the agent's own executable.
#include <gtest/gtest.h>

#include "hostile_agent.h"

namespace launchagent::hostile {
namespace {

TEST(HostileSites, APathThatClimbsOutOfItsShareIsNoPath) {
  Agent agent("127.0.0.76", "127.0.0.250 pc9\n");
  const std::string sMarker = agent.Root() + "/payload-ran";
  WriteText(agent.Root() + "/net/pc9/c/app/Varno2.exe", "#!/bin/sh\n", true);
  WriteText(agent.Root() + "/payload/Varno2.exe", "#!/bin/sh\ntouch '" + sMarker + "'\n", true);
  ASSERT_TRUE(agent.Start());
  // Announced site, whether the registry keeps it.
  const std::pair<std::string, bool> cases[] = {
      {"\\\\pc9\\c\\..\\..\\..\\payload\\Varno2.exe", false},
      {"\\\\pc9\\c\\app\\..\\..\\c\\app\\Varno2.exe", false},
      {"\\\\pc9\\..\\..\\payload\\Varno2.exe", false},
      {"C:\\..\\..\\payload\\Varno2.exe", false},
      {"\\\\pc9\\c\\app\\.\\..\\app\\Varno2.exe", true}};
  int i = 0;
  for (const auto& [sSite, bKept] : cases) {
    const std::string sHost = "evil" + std::to_string(i++);
    const int fd = Connect(agent.Address());
    ASSERT_GE(fd, 0);
    SendSome(fd, HostInfoImage(sHost, sSite));
    ::close(fd);
    ASSERT_TRUE(WaitUntil([&] { return StoredSite(agent, sHost) != "(none)"; }, 10)) << sSite;
    EXPECT_EQ(StoredSite(agent, sHost), bKept ? sSite : "") << sSite;
  }
  EXPECT_FALSE(std::filesystem::exists(sMarker));
  EXPECT_FALSE(std::filesystem::exists(agent.Root() + "/c/Launch/Varno2.exe") &&
               ReadText(agent.Root() + "/c/Launch/Varno2.exe").find("touch") != std::string::npos);
}

TEST(HostileSites, AnAnnouncedProgramNeverReplacesTheAgentsOwnExecutable) {
  Agent agent("127.0.0.77", "127.0.0.251 pc9\n");
  WriteText(agent.Root() + "/net/pc9/c/Launch.exe", "#!/bin/sh\nexit 0\n", true);
  const std::string sOriginal = ReadText(agent.Exe());
  ASSERT_TRUE(agent.Start());
  const int fd = Connect(agent.Address());
  ASSERT_GE(fd, 0);
  SendSome(fd, HostInfoImage("evil", "\\\\pc9\\c\\Launch.exe"));
  ::close(fd);
  // Without a main application of its own the agent's watch takes the site: the copy into
  // its folder comes first, then the launch.
  ASSERT_TRUE(WaitUntil(
      [&] {
        return agent.Log().find("*** Launching From: \\\\pc9\\c\\Launch.exe") != std::string::npos;
      },
      90))
      << agent.Log();
  EXPECT_TRUE(ReadText(agent.Exe()) == sOriginal);
  EXPECT_TRUE(agent.Alive());
  EXPECT_NE(agent.Diagnostics().find("running program"), std::string::npos);
}

}  // namespace
}  // namespace launchagent::hostile
