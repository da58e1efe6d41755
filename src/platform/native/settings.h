#pragma once
// Settings that only the native backend needs: where drives and shares live on this
// machine, which name and address the agent shows, how fast its clock runs. They come
// from command-line options and environment variables; the agent's own constants stay
// fixed.
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace launchagent::native {

struct NativeSettings {
  std::string sHostName;               // Winsock host name override ("" = gethostname)
  std::string sComputerName;           // computer name override ("" = host name, upper case)
  std::string sBindAddress;            // local IPv4 address to listen and connect from ("" = any)
  std::map<char, std::string> drives;  // drive letter (upper case) -> folder
  std::string sMountRoot = "/net";     // holds host/share/... for \\host\share\...
  std::string sHostsFile;              // optional name -> address overrides
  double dTimeScale = 1.0;             // agent seconds per real second
  bool bOffscreen = false;             // no display: offscreen widgets, window table
  bool bLogToStdout = false;           // mirror the activity log to standard output
  bool bLogToStdoutSet = false;        // chosen by an option or variable, not by the display
  std::string sWindowTable;            // per-session window table ("" = default path)
  std::string sSystemFolder;           // "system" folder ("" = agent folder + /system)
  std::string sMachineRegistryFile;    // store of HKEY_LOCAL_MACHINE values
  std::string sUserRegistryFile;       // store of HKEY_CURRENT_USER values
  std::string sMachineAutostartDir = "/etc/xdg/autostart";
  std::string sUserAutostartDir;
  double dShareSearchDelay = 0;       // agent seconds a share search keeps running
  double dCloseWaitSeconds = 0.25;    // real seconds SendClose waits for the owner
  bool bShowSetup = false;            // open the Agent Setup window at start
  bool bHardened = false;             // the hardened mode (docs/security.md)
  bool bActiveComputersOnly = false;  // hardened, launch sites only from "Active Computers"
  bool bHelp = false;
  bool bVersion = false;
};

using EnvLookup = std::function<std::optional<std::string>(const std::string& sName)>;

// Fills the settings from the environment first, then from the options (which win).
// Defaults that depend on the session (XDG folders, window table path) are filled
// in as well. False with sError set (one line) on a bad option or value; an option's
// value is never taken from a following word that starts with '-'.
bool ParseNativeSettings(const std::vector<std::string>& args, const EnvLookup& env,
                         NativeSettings& settings, std::string& sError);

// Whether this machine owns the IPv4 address (a socket can be bound to it).
bool IsLocalIpv4Address(const std::string& sAddress);

// The text of --help: every option and its environment variable.
std::string NativeSettingsHelp(const std::string& sProgram);

// The environment lookup of this process.
std::optional<std::string> ProcessEnv(const std::string& sName);

}  // namespace launchagent::native
