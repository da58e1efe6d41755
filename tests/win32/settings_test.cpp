#include "platform/win32/settings.h"

#include <gtest/gtest.h>

#include <map>

#include "platform/win32/hosts_file.h"
#include "platform/win32/share_search.h"
#include "platform/win32/sockets.h"
#include "win32_test_support.h"

namespace launchagent::win32 {
namespace {

TEST(Win32Settings, OptionsAreParsedOrRefusedInOneLine) {
  struct Case {
    std::vector<std::string> args;
    std::map<std::string, std::string> env;
    bool bOk;
    std::string sCheck;  // what must hold, as text of the outcome
  };
  auto Outcome = [](const Win32Settings& s) {
    std::string out = s.sHostName + "|" + s.sBindAddress + "|" + std::to_string(s.dTimeScale) +
                      "|" + std::to_string(s.shares.size()) + "|" + (s.bOffscreen ? "off" : "on") +
                      "|" + (s.bLogToStdout ? "log" : "") + "|" + (s.bHelp ? "help" : "") +
                      (s.bVersion ? "version" : "") + (s.bHardened ? "|hardened" : "") +
                      (s.bActiveComputersOnly ? "|active-only" : "");
    return out;
  };
  const Case cases[] = {
      {{"--host-name", "pc1", "--bind=127.0.0.2"}, {}, true, "pc1|127.0.0.2|1.000000|0|on||"},
      {{"--offscreen", "--time-scale", "60"}, {}, true, "||60.000000|0|off|log|"},
      {{"--offscreen", "--log-stdout=0"}, {}, true, "||1.000000|0|off||"},
      {{"--shares", "\\\\pc1\\c;\\\\pc2\\d"}, {}, true, "||1.000000|2|on||"},
      {{"-h"}, {}, true, "||1.000000|0|on||help"},
      {{"--version"}, {}, true, "||1.000000|0|on||version"},
      {{}, {{"LA_HOST_NAME", "envpc"}, {"LA_TIME_SCALE", "2"}}, true, "envpc||2.000000|0|on||"},
      {{"--host-name", "argpc"}, {{"LA_HOST_NAME", "envpc"}}, true, "argpc||1.000000|0|on||"},
      {{"--hardened"}, {}, true, "||1.000000|0|on|||hardened"},
      {{}, {{"LA_HARDENED", "1"}}, true, "||1.000000|0|on|||hardened"},
      {{"--active-computers-only"}, {}, true, "||1.000000|0|on|||active-only"},
      {{"--hardened", "--active-computers-only=0"}, {}, true, "||1.000000|0|on|||hardened"},
      // Refused: the reason is one line naming what was wrong.
      {{"--bind", "--offscreen"}, {}, false, "missing value for --bind"},
      {{"--host-name"}, {}, false, "missing value for --host-name"},
      {{"--bogus"}, {}, false, "unknown option: --bogus"},
      {{"-x"}, {}, false, "unknown option: -x"},
      {{"--bad\nname"}, {}, false, "unknown option: --bad?name"},
      {{"--bind", "pc1"}, {}, false, "bad bind address (not an IPv4 address): pc1"},
      {{"--bind", "1.2.3.256"}, {}, false, "bad bind address (not an IPv4 address): 1.2.3.256"},
      {{"--time-scale", "0"}, {}, false, "bad time scale: 0"},
      {{"--time-scale", "fast"}, {}, false, "bad time scale: fast"},
      {{"--shares", "\\\\pc1"}, {}, false, "bad share name (want \\\\host\\share): \\\\pc1"},
      {{"--shares", "pc1\\c"}, {}, false, "bad share name (want \\\\host\\share): pc1\\c"},
      {{"--version=1"}, {}, false, "--version takes no value"},
      {{}, {{"LA_TIME_SCALE", "x"}}, false, "bad time scale: x (from LA_TIME_SCALE)"},
  };
  for (const auto& c : cases) {
    std::string sArgs;
    for (const auto& a : c.args) sArgs += a + " ";
    SCOPED_TRACE(sArgs);
    Win32Settings s;
    std::string sError;
    auto env = [&](const std::string& sName) -> std::optional<std::string> {
      auto it = c.env.find(sName);
      if (it == c.env.end()) return std::nullopt;
      return it->second;
    };
    const bool bOk = ParseWin32Settings(c.args, env, s, sError);
    ASSERT_EQ(bOk, c.bOk) << sError;
    EXPECT_EQ(bOk ? Outcome(s) : sError, c.sCheck);
    EXPECT_EQ(sError.find('\n'), std::string::npos);
  }
}

// The agent refuses to bind to an address of another machine (with Winsock started).
using BindAddressTest = Win32LoopTest;
TEST_F(BindAddressTest, OnlyAddressesOfThisMachineAreLocal) {
  EXPECT_TRUE(IsLocalAddress("127.0.0.1"));
  EXPECT_FALSE(IsLocalAddress("10.254.254.254"));
}

TEST(Win32Settings, HelpStartsWithOneLineOfDescriptionAndNamesEveryOption) {
  const std::string s = Win32SettingsHelp("Launch.exe");
  EXPECT_LT(s.find('\n'), s.find("Usage"));
  for (const char* sz :
       {"--host-name", "--bind", "--hosts-file", "--time-scale", "--shares", "--desktop",
        "--offscreen", "--hardened", "--active-computers-only", "--version", "--help"})
    EXPECT_NE(s.find(sz), std::string::npos) << sz;
}

using ShareSearchTest = Win32LoopTest;

TEST_F(ShareSearchTest, AConfiguredListIsWhatTheSearchFinds) {
  struct Case {
    std::optional<std::vector<std::string>> configured;
  };
  const Case cases[] = {
      {std::vector<std::string>{"\\\\pc1\\c", "\\\\pc2\\" + std::string(300, 's')}},
      {std::vector<std::string>{}},
      {std::nullopt},  // the network itself; under Wine it has none
  };
  for (const auto& c : cases) {
    Win32ShareSearch search(c.configured);
    search.FindResources();
    ASSERT_TRUE(PumpUntil([&] { return search.StillProcessing() == 0; }));
    Long lngCount = -1;
    search.GetNResources(lngCount);
    if (!c.configured) {
      EXPECT_GE(lngCount, 0);
      continue;
    }
    EXPECT_EQ(search.ErrorOccurred(), 0);
    ASSERT_EQ(lngCount, static_cast<Long>(c.configured->size()));
    std::array<char, 257> buffer{};
    for (const auto& sName : *c.configured) {
      search.GetResource(buffer);
      EXPECT_EQ(std::string(buffer.data()), sName.substr(0, 255));
    }
    search.GetResource(buffer);
    EXPECT_EQ(buffer[0], '\0') << "past the end";
    search.FreeResources();
    search.GetNResources(lngCount);
    EXPECT_EQ(lngCount, 0);
  }
}

}  // namespace
}  // namespace launchagent::win32
