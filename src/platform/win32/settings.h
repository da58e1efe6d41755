#pragma once
// Settings of the Windows agent that only this backend needs: the name and address it
// shows, a hosts file, how fast its clock runs, the shares it lists where the network
// has no neighbourhood, and whether it shows anything. They come from the environment
// (LA_*), then from the command line, which wins. Standard C++ only.
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace launchagent::win32 {

struct Win32Settings {
  std::string sHostName;              // Winsock host name override ("" = gethostname)
  std::string sComputerName;          // computer name override ("" = GetComputerNameA)
  std::string sBindAddress;           // local IPv4 address to listen and connect from
  std::string sHostsFile;             // optional "address name..." overrides
  double dTimeScale = 1.0;            // agent seconds per real second
  std::vector<std::string> shares;    // \\host\share names the share search lists
  bool bSharesSet = false;            // a list was given (even an empty one)
  std::string sDesktop;               // a desktop of its own ("" = the user's)
  bool bOffscreen = false;            // windows exist but are never shown; no tray
  bool bLogToStdout = false;          // mirror the activity log to standard output
  bool bShowSetup = false;            // open the Agent Setup window at start
  bool bHardened = false;             // the hardened mode (docs/security.md)
  bool bActiveComputersOnly = false;  // hardened, launch sites only from "Active Computers"
  bool bHelp = false;
  bool bVersion = false;
};

using EnvLookup = std::function<std::optional<std::string>(const std::string& sName)>;

// False with sError (one line) on an unknown option, a missing or bad value.
bool ParseWin32Settings(const std::vector<std::string>& args, const EnvLookup& env,
                        Win32Settings& settings, std::string& sError);

// The text of --help, starting with a one-line description.
std::string Win32SettingsHelp(const std::string& sProgram);

// A share list: names separated by ';' or ',', each of the form \\host\share.
bool ParseShareList(const std::string& sList, std::vector<std::string>& shares,
                    std::string& sError);

}  // namespace launchagent::win32
