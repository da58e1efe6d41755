#include "platform/win32/settings.h"

#include <cstdlib>

#include "platform/backend/host_names.h"

namespace launchagent::win32 {
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
     "computer name (default: the host name in capitals, else GetComputerNameA)"},
    {"--bind", "LA_BIND_ADDRESS", "ADDR", "local IPv4 address to listen and connect from"},
    {"--hosts-file", "LA_HOSTS_FILE", "FILE",
     "\"address name...\" lines consulted before the system resolver"},
    {"--time-scale", "LA_TIME_SCALE", "N", "agent seconds per real second (default 1)"},
    {"--shares", "LA_SHARES", "LIST",
     "\\\\host\\share names the share search lists, separated by ';' (default: the network)"},
    {"--desktop", "LA_DESKTOP", "NAME",
     "run on a desktop of this name (made when missing), with the programs it starts"},
    {"--offscreen", "LA_OFFSCREEN", nullptr,
     "windows are never shown, no tray icon, message boxes and log on standard output"},
    {"--log-stdout", "LA_LOG_STDOUT", nullptr, "mirror the activity log to standard output"},
    {"--show-setup", "LA_SHOW_SETUP", nullptr, "open the Agent Setup window after start-up"},
    {"--hardened", "LA_HARDENED", nullptr,
     "hardened mode for LANs not fully trusted (see docs/security.md)"},
    {"--active-computers-only", "LA_ACTIVE_COMPUTERS_ONLY", nullptr,
     "hardened mode, launch sites only from hosts of the Active Computers list"},
    {"--version", nullptr, nullptr, "show the version and exit"},
    {"--help", nullptr, nullptr, "show this text and exit (also -h)"},
};

bool ParseBool(const std::string& s) { return !(s.empty() || s == "0" || s == "false"); }

bool Apply(const OptionInfo& opt, const std::string& sValue, Win32Settings& s,
           std::string& sError) {
  const std::string sName = opt.szOption;
  if (sName == "--host-name") {
    s.sHostName = sValue;
  } else if (sName == "--computer-name") {
    s.sComputerName = sValue;
  } else if (sName == "--bind") {
    if (!sValue.empty() && !platform::ParseIpv4(sValue)) {
      sError = "bad bind address (not an IPv4 address): " + sValue;
      return false;
    }
    s.sBindAddress = sValue;
  } else if (sName == "--hosts-file") {
    s.sHostsFile = sValue;
  } else if (sName == "--time-scale") {
    char* end = nullptr;
    const double d = std::strtod(sValue.c_str(), &end);
    if (sValue.empty() || !end || *end != '\0' || !(d > 0) || d > 100000) {
      sError = "bad time scale: " + sValue;
      return false;
    }
    s.dTimeScale = d;
  } else if (sName == "--shares") {
    if (!ParseShareList(sValue, s.shares, sError)) return false;
    s.bSharesSet = true;
  } else if (sName == "--desktop") {
    s.sDesktop = sValue;
  } else if (sName == "--offscreen") {
    s.bOffscreen = ParseBool(sValue);
  } else if (sName == "--log-stdout") {
    s.bLogToStdout = ParseBool(sValue);
  } else if (sName == "--show-setup") {
    s.bShowSetup = ParseBool(sValue);
  } else if (sName == "--hardened") {
    s.bHardened = ParseBool(sValue);
  } else if (sName == "--active-computers-only") {
    s.bActiveComputersOnly = ParseBool(sValue);
  } else if (sName == "--version") {
    s.bVersion = true;
  } else if (sName == "--help") {
    s.bHelp = true;
  }
  return true;
}

bool LooksLikeOption(const std::string& s) { return s.size() > 1 && s[0] == '-'; }

}  // namespace

bool ParseShareList(const std::string& sList, std::vector<std::string>& shares,
                    std::string& sError) {
  shares.clear();
  std::string sOne;
  auto take = [&]() {
    const auto b = sOne.find_first_not_of(" \t");
    const std::string sName =
        b == std::string::npos ? "" : sOne.substr(b, sOne.find_last_not_of(" \t") - b + 1);
    sOne.clear();
    if (sName.empty()) return true;
    // \\host\share: a host and a share, both non-empty, nothing after the share.
    const auto nSep = sName.find('\\', 2);
    const bool bOk = sName.size() > 4 && sName.compare(0, 2, "\\\\") == 0 &&
                     nSep != std::string::npos && nSep > 2 && nSep + 1 < sName.size() &&
                     sName.find('\\', nSep + 1) == std::string::npos && sName.size() <= 255;
    if (!bOk) {
      sError = "bad share name (want \\\\host\\share): " + sName;
      return false;
    }
    shares.push_back(sName);
    return true;
  };
  for (char c : sList) {
    if (c == ';' || c == ',') {
      if (!take()) return false;
    } else {
      sOne += c;
    }
  }
  return take();
}

// Everything but the last touch of the error text.
static bool ParseInto(const std::vector<std::string>& args, const EnvLookup& env, Win32Settings& s,
                      std::string& sError) {
  for (const auto& opt : kOptions) {
    if (!opt.szEnv) continue;
    if (auto v = env(opt.szEnv); v && (!v->empty() || !opt.szArg)) {
      if (!Apply(opt, *v, s, sError)) {
        sError += " (from " + std::string(opt.szEnv) + ")";
        return false;
      }
    }
  }
  bool bLogSet = env("LA_LOG_STDOUT").has_value();

  for (size_t i = 0; i < args.size(); ++i) {
    std::string sArg = args[i];
    std::string sValue;
    bool bHasValue = false;
    if (sArg == "-h") sArg = "--help";
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
      // A value is never taken from the next option: "--bind --offscreen" is an error.
      if (i + 1 >= args.size() || LooksLikeOption(args[i + 1])) {
        sError = "missing value for " + sArg;
        return false;
      }
      sValue = args[++i];
    } else if (!found->szArg && bHasValue && found->szEnv == nullptr) {
      sError = sArg + " takes no value";
      return false;
    } else if (!found->szArg && !bHasValue) {
      sValue = "1";
    }
    if (sArg == "--log-stdout") bLogSet = true;
    if (!Apply(*found, sValue, s, sError)) return false;
  }
  if (!bLogSet && s.bOffscreen) s.bLogToStdout = true;
  return true;
}

bool ParseWin32Settings(const std::vector<std::string>& args, const EnvLookup& env,
                        Win32Settings& s, std::string& sError) {
  if (ParseInto(args, env, s, sError)) return true;
  // The reason stays one line whatever the user typed.
  for (auto& c : sError)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
  return false;
}

std::string Win32SettingsHelp(const std::string& sProgram) {
  std::string s =
      "Launch agent for Windows desktops: keeps Varno running and exchanges host "
      "information with the agents of the LAN.\n\nUsage: " +
      sProgram + " [options]\n\nOptions (environment variable in brackets):\n";
  for (const auto& opt : kOptions) {
    std::string sLeft = std::string("  ") + opt.szOption;
    if (opt.szArg) sLeft += std::string(" ") + opt.szArg;
    if (sLeft.size() < 24) sLeft.resize(24, ' ');
    s += sLeft + " " + opt.szHelp;
    if (opt.szEnv) s += std::string(" [") + opt.szEnv + "]";
    s += "\n";
  }
  return s;
}

}  // namespace launchagent::win32
