// Backend settings, path translation, argument splitting.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <sstream>

#include "platform/native/paths.h"
#include "platform/native/settings.h"
#include "test_support.h"

namespace launchagent::native {
namespace {

std::vector<std::string> Words(const std::string& s) {
  std::istringstream in(s);
  return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}

// The settings a case looks at, as "name=value" words.
std::string Shown(const NativeSettings& s) {
  std::ostringstream out;
  out << " offscreen=" << s.bOffscreen << " stdout=" << s.bLogToStdout << " help=" << s.bHelp
      << " version=" << s.bVersion << " close=" << s.dCloseWaitSeconds << " host=" << s.sHostName
      << " bind=" << s.sBindAddress << " scale=" << s.dTimeScale << " mount=" << s.sMountRoot
      << " windows=" << s.sWindowTable << " ureg=" << s.sUserRegistryFile
      << " uauto=" << s.sUserAutostartDir << " mauto=" << s.sMachineAutostartDir
      << " hardened=" << s.bHardened << " active-only=" << s.bActiveComputersOnly << " drives=";
  for (const auto& [c, sDir] : s.drives) out << c << ":" << sDir << ",";
  return out.str() + " ";
}

TEST(NativeSettings, OptionsAndEnvironment) {
  // Options, environment, the words the settings then show ("" when refused). Help,
  // version and the refusals a user meets first run through Launch.exe itself in
  // launch_options.sh.
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"", "DISPLAY=:0", "offscreen=0 stdout=0 scale=1 mount=/net drives=C:/,"},
      {"", "", "offscreen=1 stdout=1 hardened=0 active-only=0"},
      {"--offscreen --log-stdout=0", "DISPLAY=:0", "offscreen=1 stdout=0"},
      {"--host-name pc1 --bind=127.0.0.2 --time-scale 60", "LA_HOST_NAME=envname",
       "host=pc1 bind=127.0.0.2 scale=60"},
      // Every local path keeps a drive form: the root is Z: when no drive holds it.
      {"", "LA_HOST_NAME=envname LA_DRIVES=C:=/tmp/c/;d=/tmp/d",
       "host=envname drives=C:/tmp/c,D:/tmp/d,Z:/,"},
      {"--drive E:=/e --drive C:=/", "", "drives=C:/,E:/e,"},
      {"", "XDG_RUNTIME_DIR=/run/user/5 XDG_CONFIG_HOME=/cfg",
       "windows=/run/user/5/launch-agent-windows ureg=/cfg/launch-agent/registry "
       "uauto=/cfg/autostart mauto=/etc/xdg/autostart"},
      {"", "LA_LOG_STDOUT=0", "offscreen=1 stdout=0"},
      {"--bind 010.0.0.7", "", "bind=10.0.0.7"},
      {"--host-name=-pc1 --close-wait 60", "", "host=-pc1 close=60"},
      {"--hardened", "", "hardened=1 active-only=0"},
      {"", "LA_HARDENED=1", "hardened=1"},
      {"--active-computers-only", "", "hardened=0 active-only=1"},
      {"", "LA_ACTIVE_COMPUTERS_ONLY=1", "active-only=1"},
      {"--time-scale fast", "", ""},
      {"", "LA_TIME_SCALE=fast", ""},
      {"--close-wait 61", "", ""},
      {"--share-search-delay -1", "", ""},
      {"--drive C", "", ""},
      {"-x", "", ""},
      // An address must be one; an option's value is never the next option.
      {"--bind=localhost", "", ""},
      {"", "LA_BIND_ADDRESS=1.2.3", ""},
      {"--bind -h", "", ""},
      {"--host-name", "", ""}};
  for (const auto& [szArgs, szEnv, szExpect] : cases) {
    std::map<std::string, std::string> env;
    for (const auto& sVar : Words(szEnv))
      env[sVar.substr(0, sVar.find('='))] = sVar.substr(sVar.find('=') + 1);
    const auto lookup = [&](const std::string& sName) -> std::optional<std::string> {
      return env.count(sName) ? std::optional(env[sName]) : std::nullopt;
    };
    NativeSettings s;
    std::string sError;
    const bool bOk = ParseNativeSettings(Words(szArgs), lookup, s, sError);
    ASSERT_EQ(bOk, *szExpect != 0) << szArgs << " " << sError;
    EXPECT_EQ(sError.empty(), bOk) << szArgs;
    EXPECT_EQ(sError.find('\n'), std::string::npos) << sError;
    for (const auto& sWord : Words(szExpect))
      EXPECT_NE(Shown(s).find(" " + sWord + " "), std::string::npos) << sWord << " in" << Shown(s);
  }
}

TEST(NativeSettings, BindsOnlyToAddressesOfThisMachine) {
  // An address of another machine is refused in launch_options.sh; the agents of
  // agents_test bind to other loopback addresses than 127.0.0.1.
  const std::pair<const char*, bool> cases[] = {
      {"127.0.0.12", true}, {"0.0.0.0", false}, {"", false}};
  for (const auto& [sz, bLocal] : cases) EXPECT_EQ(IsLocalIpv4Address(sz), bLocal) << sz;
}

// Letter case, "." and ".." as every backend resolves them are in tests/contract.
TEST(PathMapper, TranslatesBothWays) {
  test::TempDir dir;
  test::MakeDirs(dir / "c/Program Files/Launch");
  test::MakeDirs(dir / "net/pc1/Share/app");
  test::WriteText(dir / "c/Program Files/Launch/Varno2.exe", "x");
  PathMapper paths({{'C', dir / "c"}, {'d', "/"}}, dir / "net/");
  using Case = std::pair<std::string, std::optional<std::string>>;
  const Case cases[] = {
      {"C:\\Program Files\\Launch\\Varno2.exe", dir / "c/Program Files/Launch/Varno2.exe"},
      {"C:\\Program Files\\Launch\\new.txt", dir / "c/Program Files/Launch/new.txt"},
      {"C:\\missing\\Launch", dir / "c/missing/Launch"},
      {"C:\\", dir / "c"},
      {"C:/Program Files", dir / "c/Program Files"},
      {"D:\\etc", "/etc"},
      {"\\\\PC1\\share\\APP", dir / "net/pc1/Share/app"},
      {"\\\\pc9\\c\\x", dir / "net/pc9/c/x"},
      // Climbing out of a share or a drive's folder leads nowhere.
      {"\\\\pc1\\share\\..\\..\\..\\payload\\Varno2.exe", std::nullopt},
      {"\\\\pc1\\share\\app\\..\\..\\Share\\app", std::nullopt},
      {"\\\\pc1\\..\\pc1\\share", std::nullopt},
      {"//../net/pc1/share", std::nullopt},
      {"C:\\..\\c\\Program Files", std::nullopt},
      {"c:/Program Files/../../..", std::nullopt},
      {"E:\\x", std::nullopt},
      {"\\\\pc1", std::nullopt},
      {"\\\\", std::nullopt}};
  for (const auto& [sIn, out] : cases) EXPECT_EQ(paths.ToLocal(sIn), out) << sIn;

  // A path that only starts like a drive's folder belongs to the root's drive.
  std::string sOutside = "D:" + dir.Path() + "\\cc\\x";
  std::replace(sOutside.begin(), sOutside.end(), '/', '\\');
  const Case back[] = {{dir / "c/Program Files/Launch", "C:\\Program Files\\Launch"},
                       {dir / "c", "C:\\"},
                       {"/usr/lib", "D:\\usr\\lib"},
                       {dir / "cc/x", sOutside},
                       {"relative", std::nullopt}};
  for (const auto& [sIn, out] : back) EXPECT_EQ(paths.ToSystem(sIn), out) << sIn;
}

TEST(Arguments, SplitLikeTheCRuntime) {
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {"-ReindexVarno ", {"-ReindexVarno"}},
      {"   ", {}},
      {"\"a b\" c", {"a b", "c"}},
      {"a\\b c", {"a\\b", "c"}},
      {"a\\\"b", {"a\"b"}},
      {"\"a\\\\\" b", {"a\\", "b"}},
      {"\"say \"\"hi\"\"\"", {"say \"hi\""}},
      {"x\t\ty", {"x", "y"}},
      {"\"unterminated", {"unterminated"}}};
  for (const auto& [sIn, out] : cases) EXPECT_EQ(SplitWindowsArgs(sIn), out) << sIn;
}

}  // namespace
}  // namespace launchagent::native
