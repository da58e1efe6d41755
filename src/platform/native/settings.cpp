#include "platform/native/settings.h"

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <sstream>

namespace launchagent::native {
namespace {

struct OptionInfo {
  const char* szOption;
  const char* szEnv;
  const char* szArg;  // nullptr: a flag
  const char* szHelp;
};

const OptionInfo kOptions[] = {
    {"--host-name", "LA_HOST_NAME", "NAME", "host name the agent reports (default: gethostname)"},
    {"--computer-name", "LA_COMPUTER_NAME", "NAME",
     "computer name (default: the host name in upper case)"},
    {"--bind", "LA_BIND_ADDRESS", "ADDR", "local IPv4 address to listen and connect from"},
    {"--drive", "LA_DRIVES", "X:=DIR",
     "map a drive letter to a folder; repeatable (env: C:=/a;D:=/b); default C:=/"},
    {"--mount-root", "LA_MOUNT_ROOT", "DIR",
     "folder holding host/share/... for \\\\host\\share paths (default /net)"},
    {"--hosts-file", "LA_HOSTS_FILE", "FILE",
     "\"address name...\" lines consulted before the system resolver"},
    {"--time-scale", "LA_TIME_SCALE", "N", "agent seconds per real second (default 1)"},
    {"--offscreen", "LA_OFFSCREEN", nullptr,
     "no display: offscreen widgets, window table, log on standard output"},
    {"--log-stdout", "LA_LOG_STDOUT", nullptr, "mirror the activity log to standard output"},
    {"--window-table", "LA_WINDOW_TABLE", "FILE",
     "window table shared with programs of this session (offscreen only)"},
    {"--system-folder", "LA_SYSTEM_FOLDER", "DIR",
     "folder for the main application's libraries (default: agent folder/system)"},
    {"--registry-file", "LA_REGISTRY_FILE", "FILE",
     "machine-wide registry store (default /etc/launch-agent/registry)"},
    {"--user-registry-file", "LA_USER_REGISTRY_FILE", "FILE",
     "per-user registry store (default $XDG_CONFIG_HOME/launch-agent/registry)"},
    {"--autostart-dir", "LA_AUTOSTART_DIR", "DIR",
     "machine-wide autostart folder (default /etc/xdg/autostart)"},
    {"--user-autostart-dir", "LA_USER_AUTOSTART_DIR", "DIR",
     "per-user autostart folder (default $XDG_CONFIG_HOME/autostart)"},
    {"--share-search-delay", "LA_SHARE_SEARCH_DELAY", "SECONDS",
     "agent seconds a share search stays running (default 0)"},
    {"--close-wait", "LA_CLOSE_WAIT", "SECONDS",
     "real seconds a close request waits for the window's owner (default 0.25)"},
    {"--show-setup", "LA_SHOW_SETUP", nullptr, "open the Agent Setup window after start-up"},
    {"--help", nullptr, nullptr, "show this text"},
};

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
  settings.drives[static_cast<char>(std::toupper(static_cast<unsigned char>(s[0])))] = sDir;
  return true;
}

bool Apply(const OptionInfo& opt, const std::string& sValue, NativeSettings& s, std::string& sError,
           bool bFromEnv) {
  const std::string sName = opt.szOption;
  double d = 0;
  if (sName == "--host-name") {
    s.sHostName = sValue;
  } else if (sName == "--computer-name") {
    s.sComputerName = sValue;
  } else if (sName == "--bind") {
    s.sBindAddress = sValue;
  } else if (sName == "--drive") {
    std::stringstream in(sValue);
    std::string sOne;
    while (std::getline(in, sOne, bFromEnv ? ';' : '\0')) {
      if (sOne.empty()) continue;
      if (!ParseDrive(sOne, s)) {
        sError = "bad drive mapping: " + sOne;
        return false;
      }
    }
  } else if (sName == "--mount-root") {
    s.sMountRoot = sValue;
  } else if (sName == "--hosts-file") {
    s.sHostsFile = sValue;
  } else if (sName == "--time-scale") {
    if (!ParseNumber(sValue, d) || !(d > 0) || d > 100000) {
      sError = "bad time scale: " + sValue;
      return false;
    }
    s.dTimeScale = d;
  } else if (sName == "--offscreen") {
    s.bOffscreen = ParseBool(sValue);
  } else if (sName == "--log-stdout") {
    s.bLogToStdout = ParseBool(sValue);
  } else if (sName == "--window-table") {
    s.sWindowTable = sValue;
  } else if (sName == "--system-folder") {
    s.sSystemFolder = sValue;
  } else if (sName == "--registry-file") {
    s.sMachineRegistryFile = sValue;
  } else if (sName == "--user-registry-file") {
    s.sUserRegistryFile = sValue;
  } else if (sName == "--autostart-dir") {
    s.sMachineAutostartDir = sValue;
  } else if (sName == "--user-autostart-dir") {
    s.sUserAutostartDir = sValue;
  } else if (sName == "--share-search-delay") {
    if (!ParseNumber(sValue, d) || d < 0) {
      sError = "bad share search delay: " + sValue;
      return false;
    }
    s.dShareSearchDelay = d;
  } else if (sName == "--close-wait") {
    if (!ParseNumber(sValue, d) || d < 0 || d > 60) {
      sError = "bad close wait: " + sValue;
      return false;
    }
    s.dCloseWaitSeconds = d;
  } else if (sName == "--show-setup") {
    s.bShowSetup = ParseBool(sValue);
  } else if (sName == "--help") {
    s.bHelp = true;
  }
  return true;
}

std::string ConfigHome(const EnvLookup& env) {
  if (auto s = env("XDG_CONFIG_HOME"); s && !s->empty()) return *s;
  if (auto s = env("HOME"); s && !s->empty()) return *s + "/.config";
  return "/tmp";
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
      if (!Apply(opt, *v, s, sError, true)) return false;
  }
  bool bLogSet = env("LA_LOG_STDOUT").has_value();

  for (size_t i = 0; i < args.size(); ++i) {
    std::string sArg = args[i];
    std::string sValue;
    bool bHasValue = false;
    if (auto nEq = sArg.find('='); sArg.rfind("--", 0) == 0 && nEq != std::string::npos) {
      sValue = sArg.substr(nEq + 1);
      sArg = sArg.substr(0, nEq);
      bHasValue = true;
    }
    const OptionInfo* found = nullptr;
    for (const auto& opt : kOptions)
      if (sArg == opt.szOption) found = &opt;
    if (!found) {
      sError = "unknown option: " + args[i];
      return false;
    }
    if (found->szArg && !bHasValue) {
      if (i + 1 >= args.size()) {
        sError = "missing value for " + sArg;
        return false;
      }
      sValue = args[++i];
    } else if (!found->szArg && !bHasValue) {
      sValue = "1";
    }
    if (sArg == "--log-stdout") bLogSet = true;
    if (!Apply(*found, sValue, s, sError, false)) return false;
  }

  if (s.drives.empty()) s.drives['C'] = "/";
  bool bRootMapped = false;
  for (auto& [c, sDir] : s.drives) {
    while (sDir.size() > 1 && sDir.back() == '/') sDir.pop_back();
    if (sDir == "/") bRootMapped = true;
  }
  // Every local path must have a drive form; the agent reports its own folder as one.
  if (!bRootMapped && !s.drives.count('Z')) s.drives['Z'] = "/";
  if (!bLogSet && s.bOffscreen) s.bLogToStdout = true;
  if (s.sWindowTable.empty()) {
    if (auto v = env("XDG_RUNTIME_DIR"); v && !v->empty())
      s.sWindowTable = *v + "/launch-agent-windows";
    else
      s.sWindowTable = "/tmp/launch-agent-windows-" + std::to_string(::getuid());
  }
  if (s.sMachineRegistryFile.empty()) s.sMachineRegistryFile = "/etc/launch-agent/registry";
  if (s.sUserRegistryFile.empty()) s.sUserRegistryFile = ConfigHome(env) + "/launch-agent/registry";
  if (s.sUserAutostartDir.empty()) s.sUserAutostartDir = ConfigHome(env) + "/autostart";
  return true;
}

std::string NativeSettingsHelp(const std::string& sProgram) {
  std::string s =
      "Usage: " + sProgram + " [options]\n\nOptions (environment variable in brackets):\n";
  for (const auto& opt : kOptions) {
    std::string sLeft = std::string("  ") + opt.szOption;
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
