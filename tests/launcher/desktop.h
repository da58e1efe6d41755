#pragma once
// Desktops for the launcher's tests on the simulated LAN: the agent's folder, the stand-in
// main application beside it, a share of drive C; pc07 alone with a quiet agent; and small
// helpers for the registry and the log.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "../support/agent_on_sim.h"
#include "messages/cls_msg_host_info.h"
#include "platform/sim/world.h"
#include "registry/agent_host_info.h"

namespace launchagent::testing {

inline constexpr const char* kAgentFolder = "C:\\Launch";
inline constexpr const char* kMainAppPath = "C:\\Launch\\Varno2.exe";
inline constexpr const char* kMainAppKind = "varno";

struct Desktop {
  bool bShare = true;     // \\<name>\c reaches C:\ and the share search lists it
  bool bMainApp = false;  // C:\Launch\Varno2.exe is the stand-in main application
};

inline sim::HostId AddDesktop(AgentOnSim& lan, const std::string& sName,
                              const Desktop& desktop = {}) {
  const sim::HostId host = lan.AddHost(sName);
  sim::World& world = lan.World();
  world.Files().MakeFolder(host, kAgentFolder);
  if (desktop.bMainApp)
    world.Programs().WriteProgramFile(host, kMainAppPath, kMainAppKind, "window-delay=2");
  if (desktop.bShare) world.Files().AddShare(host, "c", "C:\\");
  return host;
}

// The desktop pc07 alone, its agent started for transport only: it does just what the
// test calls, so the log holds only what that call wrote.
struct Pc07 {
  explicit Pc07(const Desktop& desktop = {}) : host(AddDesktop(lan, "pc07", desktop)) {}
  sim::World& World() { return lan.World(); }
  // Runs fn inside the agent, starting it first when none runs; the log lines fn wrote.
  std::vector<std::string> Call(const std::function<void(Agent&)>& fn) {
    if (lan.ProcessOf("pc07") == 0) lan.StartAgent("pc07");
    const std::size_t nMark = lan.LogMark("pc07");
    EXPECT_TRUE(lan.Call("pc07", fn));
    return lan.LogLinesSince("pc07", nMark);
  }
  AgentOnSim lan;
  sim::HostId host;
};

// Puts a description of sHost into the registry, as if it had arrived; the stored entry.
// A user name also asks for reindexing.
inline std::shared_ptr<clsMsgHostInfo> Register(Agent& agent, const std::string& sHost,
                                                const std::string& sAppPath = "",
                                                const std::string& sUserName = "") {
  auto obj = std::make_shared<clsMsgHostInfo>(agent);
  obj->SetHostName(sHost);
  obj->SetAppPath(sAppPath);
  obj->SetUserName(sUserName);
  obj->SetIndexing(!sUserName.empty());
  agent.agentHostInfo().UpdateAgent(obj);
  agent.agentHostInfo().GetAgentHostInfoByName(sHost, obj);
  return obj;
}

// The network path under which a desktop offers its main application.
inline std::string LaunchSiteOf(const std::string& sName) {
  return "\\\\" + sName + "\\c\\Launch\\Varno2.exe";
}

inline bool Contains(const std::vector<std::string>& lines, const std::string& sText) {
  return std::find(lines.begin(), lines.end(), sText) != lines.end();
}

// Live stand-in main applications of a host, oldest first.
inline std::vector<sim::ProcessInfo> MainApps(sim::World& world, sim::HostId host) {
  std::vector<sim::ProcessInfo> found;
  for (const sim::ProcessInfo& info : world.Programs().Processes(host))
    if (info.sKind == kMainAppKind) found.push_back(info);
  return found;
}

// The topmost window of a host with exactly this title, 0 when none.
inline platform::WindowHandle WindowTitled(sim::World& world, sim::HostId host,
                                           const std::string& sTitle) {
  for (const sim::WindowInfo& w : world.Programs().Windows(host))
    if (w.sTitle == sTitle) return w.hWnd;
  return 0;
}

}  // namespace launchagent::testing
