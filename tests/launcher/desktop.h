#pragma once
// Desktops for the launcher's tests on the simulated LAN: the agent's folder, the stand-in
// main application beside it, a share of drive C, and small readers of the log.
#include <algorithm>
#include <string>
#include <vector>

#include "../support/agent_on_sim.h"
#include "platform/sim/world.h"

namespace launchagent::testing {

inline constexpr const char* kAgentFolder = "C:\\Launch";
inline constexpr const char* kMainAppPath = "C:\\Launch\\Varno2.exe";
inline constexpr const char* kMainAppKind = "varno";

struct Desktop {
  bool bShare = true;     // \\<name>\c reaches C:\ and the share search lists it
  bool bMainApp = false;  // C:\Launch\Varno2.exe is the stand-in main application
  std::string sMainAppOptions = "window-delay=2";
};

inline sim::HostId AddDesktop(AgentOnSim& lan, const std::string& sName,
                              const Desktop& desktop = {}) {
  const sim::HostId host = lan.AddHost(sName);
  sim::World& world = lan.World();
  world.MakeFolder(host, kAgentFolder);
  if (desktop.bMainApp)
    world.WriteProgramFile(host, kMainAppPath, kMainAppKind, desktop.sMainAppOptions);
  if (desktop.bShare) world.AddShare(host, "c", "C:\\");
  return host;
}

// The network path under which a desktop offers its main application.
inline std::string LaunchSiteOf(const std::string& sName) {
  return "\\\\" + sName + "\\c\\Launch\\Varno2.exe";
}

inline std::vector<std::string> StartingWith(const std::vector<std::string>& lines,
                                             const std::string& sPrefix) {
  std::vector<std::string> found;
  for (const std::string& s : lines)
    if (s.rfind(sPrefix, 0) == 0) found.push_back(s);
  return found;
}

inline std::size_t CountOf(const std::vector<std::string>& lines, const std::string& sText) {
  return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), sText));
}

inline bool Contains(const std::vector<std::string>& lines, const std::string& sText) {
  return CountOf(lines, sText) > 0;
}

// Live stand-in main applications of a host, oldest first.
inline std::vector<sim::ProcessInfo> MainApps(sim::World& world, sim::HostId host) {
  std::vector<sim::ProcessInfo> found;
  for (const sim::ProcessInfo& info : world.Processes(host))
    if (info.sKind == kMainAppKind) found.push_back(info);
  return found;
}

// The topmost window of a host with exactly this title, 0 when none.
inline platform::WindowHandle WindowTitled(sim::World& world, sim::HostId host,
                                           const std::string& sTitle) {
  for (const sim::WindowInfo& w : world.Windows(host))
    if (w.sTitle == sTitle) return w.hWnd;
  return 0;
}

}  // namespace launchagent::testing
