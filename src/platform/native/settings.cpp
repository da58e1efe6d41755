#include "platform/native/settings.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <sstream>

#include "platform/native/hosts_file.h"
#include "platform/text.h"

namespace launchagent::native {
namespace {

bool ParseNumber(const std::string& s, double& d) {
  if (s.empty()) return false;
  char* end = nullptr;
  d = std::strtod(s.c_str(), &end);
  return end && *end == '\0';
}

bool ParseBool(const std::string& s) { return !(s.empty() || s == "0" || s == "false"); }

// "C:=/dir" or "C=/dir".
bool ParseDrive(const std::string& s, NativeSettings& settings) {
  if (s.size() < 2 || !std::isalpha(static_cast<unsigned char>(s[0]))) return false;
  size_t nPos = 1;
  if (s[nPos] == ':') ++nPos;
  if (nPos >= s.size() || s[nPos] != '=') return false;
  const std::string sDir = s.substr(nPos + 1);
  if (sDir.empty()) return false;
  settings.drives[AsciiUpper(s[0])] = sDir;
  return true;
}

// What an option does with its value. bFromEnv: the value came from the environment
// (drive lists are then ';'-separated). False with sError set when the value is refused.
using ApplyFn = bool (*)(NativeSettings&, const std::string& sValue, bool bFromEnv,
                         std::string& sError);

struct OptionInfo {
  const char* szOption;
  const char* szShort;  // nullptr: no one-letter form
  const char* szEnv;    // nullptr: no environment variable
  const char* szArg;    // nullptr: a flag
  const char* szHelp;
  ApplyFn apply;
};

// A number option: refused outside [dMin, dMax]; bMinOpen excludes dMin itself.
template <double NativeSettings::*Field>
bool ApplyNumber(NativeSettings& s, const std::string& sValue, const char* szWhat, double dMin,
                 bool bMinOpen, double dMax, std::string& sError) {
  double d = 0;
  if (!ParseNumber(sValue, d) || d < dMin || (bMinOpen && d == dMin) || d > dMax) {
    sError = std::string("bad ") + szWhat + ": " + sValue;
    return false;
  }
  s.*Field = d;
  return true;
}

template <std::string NativeSettings::*Field>
bool ApplyText(NativeSettings& s, const std::string& sValue, bool, std::string&) {
  s.*Field = sValue;
  return true;
}

template <bool NativeSettings::*Field>
bool ApplyFlag(NativeSettings& s, const std::string& sValue, bool, std::string&) {
  s.*Field = ParseBool(sValue);
  return true;
}

// The one list of options: parsing, the environment and --help all read it.
const OptionInfo kOptions[] = {
    {"--host-name", nullptr, "LA_HOST_NAME", "NAME",
     "host name the agent reports (default: gethostname)", ApplyText<&NativeSettings::sHostName>},
    {"--computer-name", nullptr, "LA_COMPUTER_NAME", "NAME",
     "computer name (default: the host name in upper case)",
     ApplyText<&NativeSettings::sComputerName>},
    {"--bind", nullptr, "LA_BIND_ADDRESS", "ADDR",
     "local IPv4 address of this machine to listen and connect from",
     [](NativeSettings& s, const std::string& sValue, bool, std::string& sError) {
       const auto address = ParseIpv4(sValue);
       if (!address) {
         sError = "bad bind address: " + sValue + " (an IPv4 address such as 192.168.1.5)";
         return false;
       }
       s.sBindAddress = Ipv4Text(*address);
       return true;
     }},
    {"--drive", nullptr, "LA_DRIVES", "X:=DIR",
     "map a drive letter to a folder; repeatable (env: C:=/a;D:=/b); default C:=/",
     [](NativeSettings& s, const std::string& sValue, bool bFromEnv, std::string& sError) {
       std::stringstream in(sValue);
       std::string sOne;
       while (std::getline(in, sOne, bFromEnv ? ';' : '\0')) {
         if (sOne.empty()) continue;
         if (!ParseDrive(sOne, s)) {
           sError = "bad drive mapping: " + sOne + " (X:=DIR)";
           return false;
         }
       }
       return true;
     }},
    {"--mount-root", nullptr, "LA_MOUNT_ROOT", "DIR",
     "folder holding host/share/... for \\\\host\\share paths (default /net)",
     ApplyText<&NativeSettings::sMountRoot>},
    {"--hosts-file", nullptr, "LA_HOSTS_FILE", "FILE",
     "\"address name...\" lines consulted before the system resolver",
     ApplyText<&NativeSettings::sHostsFile>},
    {"--time-scale", nullptr, "LA_TIME_SCALE", "N", "agent seconds per real second (default 1)",
     [](NativeSettings& s, const std::string& sValue, bool, std::string& sError) {
       return ApplyNumber<&NativeSettings::dTimeScale>(s, sValue, "time scale", 0, true, 100000,
                                                       sError);
     }},
    {"--offscreen", nullptr, "LA_OFFSCREEN", nullptr,
     "no display: offscreen widgets, window table, log on standard output",
     ApplyFlag<&NativeSettings::bOffscreen>},
    {"--log-stdout", nullptr, "LA_LOG_STDOUT", nullptr,
     "mirror the activity log to standard output",
     [](NativeSettings& s, const std::string& sValue, bool, std::string&) {
       s.bLogToStdout = ParseBool(sValue);
       s.bLogToStdoutSet = true;
       return true;
     }},
    {"--window-table", nullptr, "LA_WINDOW_TABLE", "FILE",
     "window table shared with programs of this session (offscreen only)",
     ApplyText<&NativeSettings::sWindowTable>},
    {"--system-folder", nullptr, "LA_SYSTEM_FOLDER", "DIR",
     "folder for the main application's libraries (default: agent folder/system)",
     ApplyText<&NativeSettings::sSystemFolder>},
    {"--registry-file", nullptr, "LA_REGISTRY_FILE", "FILE",
     "machine-wide registry store (default /etc/launch-agent/registry)",
     ApplyText<&NativeSettings::sMachineRegistryFile>},
    {"--user-registry-file", nullptr, "LA_USER_REGISTRY_FILE", "FILE",
     "per-user registry store (default $XDG_CONFIG_HOME/launch-agent/registry)",
     ApplyText<&NativeSettings::sUserRegistryFile>},
    {"--autostart-dir", nullptr, "LA_AUTOSTART_DIR", "DIR",
     "machine-wide autostart folder (default /etc/xdg/autostart)",
     ApplyText<&NativeSettings::sMachineAutostartDir>},
    {"--user-autostart-dir", nullptr, "LA_USER_AUTOSTART_DIR", "DIR",
     "per-user autostart folder (default $XDG_CONFIG_HOME/autostart)",
     ApplyText<&NativeSettings::sUserAutostartDir>},
    {"--share-search-delay", nullptr, "LA_SHARE_SEARCH_DELAY", "SECONDS",
     "agent seconds a share search stays running (default 0)",
     [](NativeSettings& s, const std::string& sValue, bool, std::string& sError) {
       return ApplyNumber<&NativeSettings::dShareSearchDelay>(s, sValue, "share search delay", 0,
                                                              false, 1e9, sError);
     }},
    {"--close-wait", nullptr, "LA_CLOSE_WAIT", "SECONDS",
     "real seconds a close request waits for the window's owner (default 0.25)",
     [](NativeSettings& s, const std::string& sValue, bool, std::string& sError) {
       return ApplyNumber<&NativeSettings::dCloseWaitSeconds>(s, sValue, "close wait", 0, false, 60,
                                                              sError);
     }},
    {"--show-setup", nullptr, "LA_SHOW_SETUP", nullptr,
     "open the Agent Setup window after start-up", ApplyFlag<&NativeSettings::bShowSetup>},
    {"--hardened", nullptr, "LA_HARDENED", nullptr,
     "hardened mode for LANs not fully trusted (see docs/security.md)",
     ApplyFlag<&NativeSettings::bHardened>},
    {"--active-computers-only", nullptr, "LA_ACTIVE_COMPUTERS_ONLY", nullptr,
     "hardened mode, launch sites only from hosts of the Active Computers list",
     ApplyFlag<&NativeSettings::bActiveComputersOnly>},
    {"--version", nullptr, nullptr, nullptr, "print the version and exit",
     ApplyFlag<&NativeSettings::bVersion>},
    {"--help", "-h", nullptr, nullptr, "show this text and exit",
     ApplyFlag<&NativeSettings::bHelp>},
};

const OptionInfo* FindOption(const std::string& sArg) {
  for (const auto& opt : kOptions)
    if (sArg == opt.szOption || (opt.szShort && sArg == opt.szShort)) return &opt;
  return nullptr;
}

std::string ConfigHome(const EnvLookup& env) {
  if (auto s = env("XDG_CONFIG_HOME"); s && !s->empty()) return *s;
  if (auto s = env("HOME"); s && !s->empty()) return *s + "/.config";
  return "/tmp";
}

// Defaults that depend on the session, and the drive forms every local path needs.
void FillDefaults(const EnvLookup& env, NativeSettings& s) {
  if (s.drives.empty()) s.drives['C'] = "/";
  bool bRootMapped = false;
  for (auto& [c, sDir] : s.drives) {
    while (sDir.size() > 1 && sDir.back() == '/') sDir.pop_back();
    if (sDir == "/") bRootMapped = true;
  }
  // The agent reports its own folder in drive form, so "/" always needs a letter.
  if (!bRootMapped && !s.drives.count('Z')) s.drives['Z'] = "/";
  if (!s.bLogToStdoutSet && s.bOffscreen) s.bLogToStdout = true;
  if (s.sWindowTable.empty()) {
    if (auto v = env("XDG_RUNTIME_DIR"); v && !v->empty())
      s.sWindowTable = *v + "/launch-agent-windows";
    else
      s.sWindowTable = "/tmp/launch-agent-windows-" + std::to_string(::getuid());
  }
  if (s.sMachineRegistryFile.empty()) s.sMachineRegistryFile = "/etc/launch-agent/registry";
  if (s.sUserRegistryFile.empty()) s.sUserRegistryFile = ConfigHome(env) + "/launch-agent/registry";
  if (s.sUserAutostartDir.empty()) s.sUserAutostartDir = ConfigHome(env) + "/autostart";
}

}  // namespace

std::optional<std::string> ProcessEnv(const std::string& sName) {
  const char* sz = std::getenv(sName.c_str());
  if (!sz) return std::nullopt;
  return std::string(sz);
}

bool ParseNativeSettings(const std::vector<std::string>& args, const EnvLookup& env,
                         NativeSettings& s, std::string& sError) {
  bool bDisplay = false;
  for (const char* sz : {"DISPLAY", "WAYLAND_DISPLAY"})
    if (auto v = env(sz); v && !v->empty()) bDisplay = true;
  s.bOffscreen = !bDisplay;

  for (const auto& opt : kOptions) {
    if (!opt.szEnv) continue;
    if (auto v = env(opt.szEnv); v && (!v->empty() || !opt.szArg))
      if (!opt.apply(s, *v, true, sError)) {
        sError = std::string(opt.szEnv) + ": " + sError;
        return false;
      }
  }

  for (size_t i = 0; i < args.size(); ++i) {
    std::string sArg = args[i];
    std::string sValue = "1";
    bool bInline = false;
    if (auto nEq = sArg.find('='); sArg.rfind("--", 0) == 0 && nEq != std::string::npos) {
      sValue = sArg.substr(nEq + 1);
      sArg = sArg.substr(0, nEq);
      bInline = true;
    }
    const OptionInfo* opt = FindOption(sArg);
    if (!opt) {
      sError = "unknown option: " + args[i];
      return false;
    }
    if (opt->szArg && !bInline) {
      // A word that starts with '-' is the next option, never this one's value; a value
      // that must start with '-' goes in as --option=VALUE.
      if (i + 1 >= args.size() || args[i + 1].rfind('-', 0) == 0) {
        sError = "missing value for " + sArg + " " + opt->szArg;
        return false;
      }
      sValue = args[++i];
    }
    if (!opt->apply(s, sValue, false, sError)) return false;
  }
  FillDefaults(env, s);
  return true;
}

bool IsLocalIpv4Address(const std::string& sAddress) {
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  if (::inet_pton(AF_INET, sAddress.c_str(), &addr.sin_addr) != 1) return false;
  if (addr.sin_addr.s_addr == htonl(INADDR_ANY)) return false;  // every address, not one
  // Binding a throw-away socket asks the kernel itself whether the address is ours; port
  // 0 never collides with the agent's own listeners.
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  const bool bLocal = ::bind(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof addr) == 0;
  ::close(fd);
  return bLocal;
}

std::string NativeSettingsHelp(const std::string& sProgram) {
  std::string s =
      "Launch Service for Varno: keeps Varno running on this desktop and tells the LAN about "
      "this computer.\n\nUsage: " +
      sProgram + " [options]\n\nOptions (environment variable in brackets):\n";
  for (const auto& opt : kOptions) {
    std::string sLeft = "  ";
    if (opt.szShort) sLeft += std::string(opt.szShort) + ", ";
    sLeft += opt.szOption;
    if (opt.szArg) sLeft += std::string(" ") + opt.szArg;
    if (sLeft.size() < 30) sLeft.resize(30, ' ');
    s += sLeft + " " + opt.szHelp;
    if (opt.szEnv) s += std::string(" [") + opt.szEnv + "]";
    s += "\n";
  }
  s += "\nWithout DISPLAY and WAYLAND_DISPLAY the agent runs offscreen and prints its\n"
       "activity log on standard output.\n";
  return s;
}

}  // namespace launchagent::native
