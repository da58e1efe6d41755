// Backend settings, path translation, patterns, argument splitting, hosts files.
#include <gtest/gtest.h>

#include <map>

#include "platform/native/hosts_file.h"
#include "platform/native/paths.h"
#include "platform/native/settings.h"
#include "test_support.h"

namespace launchagent::native {
namespace {

EnvLookup EnvOf(std::map<std::string, std::string> vars) {
  return [vars](const std::string& s) -> std::optional<std::string> {
    auto it = vars.find(s);
    if (it == vars.end()) return std::nullopt;
    return it->second;
  };
}

TEST(NativeSettings, OptionsAndEnvironment) {
  struct Case {
    std::vector<std::string> args;
    std::map<std::string, std::string> env;
    bool bOk;
    std::function<void(const NativeSettings&)> check;
  };
  const Case cases[] = {
      {{},
       {{"DISPLAY", ":0"}},
       true,
       [](const NativeSettings& s) {
         EXPECT_FALSE(s.bOffscreen);
         EXPECT_FALSE(s.bLogToStdout);
         EXPECT_EQ(s.drives.at('C'), "/");
         EXPECT_EQ(s.drives.size(), 1u);
         EXPECT_EQ(s.dTimeScale, 1.0);
         EXPECT_EQ(s.sMountRoot, "/net");
       }},
      {{},
       {},
       true,
       [](const NativeSettings& s) {
         EXPECT_TRUE(s.bOffscreen);
         EXPECT_TRUE(s.bLogToStdout);
       }},
      {{"--host-name", "pc1", "--bind=127.0.0.2", "--time-scale", "60"},
       {{"LA_HOST_NAME", "envname"}, {"DISPLAY", ":1"}},
       true,
       [](const NativeSettings& s) {
         EXPECT_EQ(s.sHostName, "pc1");
         EXPECT_EQ(s.sBindAddress, "127.0.0.2");
         EXPECT_EQ(s.dTimeScale, 60.0);
       }},
      {{},
       {{"LA_HOST_NAME", "envname"}, {"LA_DRIVES", "C:=/tmp/c/;d=/tmp/d"}},
       true,
       [](const NativeSettings& s) {
         EXPECT_EQ(s.sHostName, "envname");
         EXPECT_EQ(s.drives.at('C'), "/tmp/c");
         EXPECT_EQ(s.drives.at('D'), "/tmp/d");
         EXPECT_EQ(s.drives.at('Z'), "/");  // every local path keeps a drive form
       }},
      {{"--drive", "E:=/e", "--drive", "C:=/"},
       {},
       true,
       [](const NativeSettings& s) {
         EXPECT_EQ(s.drives.at('E'), "/e");
         EXPECT_EQ(s.drives.count('Z'), 0u);
       }},
      {{},
       {{"XDG_RUNTIME_DIR", "/run/user/5"}, {"XDG_CONFIG_HOME", "/cfg"}},
       true,
       [](const NativeSettings& s) {
         EXPECT_EQ(s.sWindowTable, "/run/user/5/launch-agent-windows");
         EXPECT_EQ(s.sUserRegistryFile, "/cfg/launch-agent/registry");
         EXPECT_EQ(s.sUserAutostartDir, "/cfg/autostart");
         EXPECT_EQ(s.sMachineAutostartDir, "/etc/xdg/autostart");
       }},
      {{"--offscreen", "--log-stdout=0"},
       {{"DISPLAY", ":0"}},
       true,
       [](const NativeSettings& s) {
         EXPECT_TRUE(s.bOffscreen);
         EXPECT_FALSE(s.bLogToStdout);
       }},
      {{"--time-scale", "0"}, {}, false, nullptr},
      {{"--time-scale", "fast"}, {}, false, nullptr},
      {{"--drive", "C"}, {}, false, nullptr},
      {{"--bogus"}, {}, false, nullptr},
      {{"--host-name"}, {}, false, nullptr},
      {{"--help"}, {}, true, [](const NativeSettings& s) { EXPECT_TRUE(s.bHelp); }},
  };
  for (const auto& c : cases) {
    NativeSettings s;
    std::string sError;
    const bool bOk = ParseNativeSettings(c.args, EnvOf(c.env), s, sError);
    EXPECT_EQ(bOk, c.bOk) << (c.args.empty() ? "" : c.args[0]) << " " << sError;
    if (bOk && c.check) c.check(s);
    if (!bOk) {
      EXPECT_FALSE(sError.empty());
    }
  }
}

TEST(NativeSettings, HelpNamesEveryEnvironmentVariable) {
  const std::string s = NativeSettingsHelp("Launch.exe");
  for (const char* sz : {"LA_HOST_NAME", "LA_BIND_ADDRESS", "LA_DRIVES", "LA_MOUNT_ROOT",
                         "LA_HOSTS_FILE", "LA_TIME_SCALE", "LA_OFFSCREEN", "LA_WINDOW_TABLE"})
    EXPECT_NE(s.find(sz), std::string::npos) << sz;
}

TEST(PathMapper, TranslatesBothWays) {
  test::TempDir dir;
  test::MakeDirs(dir / "c/Program Files/Launch");
  test::MakeDirs(dir / "net/pc1/Share/app");
  test::WriteText(dir / "c/Program Files/Launch/Varno2.exe", "x");
  PathMapper paths({{'C', dir / "c"}, {'d', "/"}}, dir / "net/");
  struct Case {
    std::string sIn;
    std::optional<std::string> out;
  };
  const Case cases[] = {
      {"C:\\Program Files\\Launch\\Varno2.exe", dir / "c/Program Files/Launch/Varno2.exe"},
      {"c:\\PROGRAM FILES\\launch\\VARNO2.EXE", dir / "c/Program Files/Launch/Varno2.exe"},
      {"C:\\Program Files\\Launch\\new.txt", dir / "c/Program Files/Launch/new.txt"},
      {"C:\\missing\\Launch", dir / "c/missing/Launch"},
      {"C:\\", dir / "c"},
      {"C:/Program Files", dir / "c/Program Files"},
      {"D:\\etc", "/etc"},
      {"E:\\x", std::nullopt},
      {"\\\\PC1\\share\\APP", dir / "net/pc1/Share/app"},
      {"\\\\pc9\\c\\x", dir / "net/pc9/c/x"},
      {"\\\\pc1", std::nullopt},
      {"\\\\", std::nullopt},
  };
  for (const auto& c : cases) EXPECT_EQ(paths.ToLocal(c.sIn), c.out) << c.sIn;

  const Case back[] = {
      {dir / "c/Program Files/Launch", "C:\\Program Files\\Launch"},
      {dir / "c", "C:\\"},
      {"/usr/lib", "D:\\usr\\lib"},
      {dir / "cc/x", "D:" +
                         [&] {
                           std::string s;
                           for (char ch : dir / "cc/x") s += ch == '/' ? '\\' : ch;
                           return s;
                         }()},
      {"relative", std::nullopt},
  };
  for (const auto& c : back) EXPECT_EQ(paths.ToSystem(c.sIn), c.out) << c.sIn;
}

TEST(Patterns, WindowsWildcards) {
  struct Case {
    const char* szName;
    const char* szPattern;
    bool bMatch;
  };
  const Case cases[] = {
      {"Varno2.exe", "*.exe", true},
      {"Varno2.EXE", "*.exe", true},
      {"Varno2.exe", "*.dll", false},
      {"agent.dat", "agent.dat", true},
      {"agent.dat", "AGENT.DAT", true},
      {"agent.dat", "agent.da?", true},
      {"agent.dat", "agent.d?", false},
      {"README", "*.*", true},
      {"a", "*", true},
      {"", "*", true},
      {"abc", "a*c", true},
      {"abbbc", "a*b*c", true},
      {"abd", "a*c", false},
      {"aaaaaaaaaaaaaaaaaaaaaaaaaaab", "a*a*a*a*a*a*a*a*c", false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(MatchesPattern(c.szName, c.szPattern), c.bMatch) << c.szName << " " << c.szPattern;
}

TEST(Arguments, SplitLikeTheCRuntime) {
  struct Case {
    std::string sIn;
    std::vector<std::string> out;
  };
  const Case cases[] = {
      {"-default", {"-default"}},
      {"-ReindexVarno anna", {"-ReindexVarno", "anna"}},
      {"-ReindexVarno ", {"-ReindexVarno"}},
      {"", {}},
      {"   ", {}},
      {"\"a b\" c", {"a b", "c"}},
      {"a\\b c", {"a\\b", "c"}},
      {"a\\\"b", {"a\"b"}},
      {"\"a\\\\\" b", {"a\\", "b"}},
      {"\"say \"\"hi\"\"\"", {"say \"hi\""}},
      {"x\t\ty", {"x", "y"}},
      {"\"unterminated", {"unterminated"}},
  };
  for (const auto& c : cases) EXPECT_EQ(SplitWindowsArgs(c.sIn), c.out) << c.sIn;
}

TEST(Addresses, DottedQuads) {
  struct Case {
    const char* sz;
    bool bOk;
  };
  const Case cases[] = {{"10.0.0.1", true},  {"255.255.255.255", true}, {"256.0.0.1", false},
                        {"1.2.3", false},    {"1.2.3.4.5", false},      {"a.b.c.d", false},
                        {"01.2.3.4", true},  {"1..2.3", false},         {"", false},
                        {" 1.2.3.4", false}, {"1.2.3.4 ", false},       {"1234.1.1.1", false}};
  for (const auto& c : cases) EXPECT_EQ(ParseIpv4(c.sz).has_value(), c.bOk) << c.sz;
  EXPECT_EQ(Ipv4Text(*ParseIpv4("10.0.0.1")), "10.0.0.1");
  EXPECT_EQ(Ipv4Text(*ParseIpv4("010.000.000.007")), "10.0.0.7");
}

TEST(HostsFile, ParsesAndFollowsChanges) {
  const auto names = HostsFile::Parse(
      "# comment\n127.0.0.2 pc2 PC2.lan\n\n127.0.0.3\tpc3 # trailing\nbad pc4\n"
      "127.0.0.9 pc2\n300.1.1.1 pc5\n\xff\xfe garbage \x01\n");
  EXPECT_EQ(names.size(), 3u);
  EXPECT_EQ(Ipv4Text(names.at("pc2")), "127.0.0.2");
  EXPECT_EQ(Ipv4Text(names.at("pc2.lan")), "127.0.0.2");
  EXPECT_EQ(Ipv4Text(names.at("pc3")), "127.0.0.3");

  test::TempDir dir;
  HostsFile hosts(dir / "hosts");
  EXPECT_FALSE(hosts.Lookup("pc1"));
  test::WriteText(dir / "hosts", "127.0.0.1 pc1\n");
  ASSERT_TRUE(hosts.Lookup("PC1"));
  EXPECT_EQ(Ipv4Text(*hosts.Lookup("pc1")), "127.0.0.1");
  test::WriteText(dir / "hosts", "127.0.0.42 pc1 other\n");
  EXPECT_EQ(Ipv4Text(*hosts.Lookup("pc1")), "127.0.0.42");
}

}  // namespace
}  // namespace launchagent::native
