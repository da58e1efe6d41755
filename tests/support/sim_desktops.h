#pragma once
// Simulated desktops, each with an agent in a process of its own that does only what the
// test calls: its services on, its transport loaded, its timers stopped and its start-up
// never run. Behaviour over time is in tests/scenarios/.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "agent/agent.h"
#include "launcher/frm_launch.h"
#include "launcher/launcher.h"
#include "messages/cls_msg_host_info.h"
#include "platform/sim/transcript_text.h"
#include "platform/sim/world.h"
#include "registry/agent_host_info.h"
#include "transport/frm_client.h"
#include "transport/frm_server.h"

namespace launchagent::testing {

using Lines = std::vector<std::string>;
inline constexpr const char* kAgentFolder = "C:\\Launch";

// Desktops by name, each with the share \\<name>\c reaching C:\ and the agent folder
// C:\Launch.
class SimDesktops {
 public:
  SimDesktops() {
    world.Programs().RegisterProgram(
        "agent", [this](platform::Platform& p, const sim::ProgramStart& s) {
          Agent agent(p);
          agent.bActiveAgentServices = true;
          // Its timers never start: the agent does only what the test calls.
          FrmLaunch& f = agent.frmLaunch();
          for (ui::Timer* t : {&f.TimerCheckResources, &f.TimerSendMessages, &f.TimerMonitor,
                               &f.TimerVerifyCheckIn})
            t->SetTimerEnabled(false);
          agent.frmClient();
          agent.frmServer();
          agents_[s.pid] = &agent;
          struct Leave {  // a killed process leaves its stack too
            std::map<sim::ProcessId, Agent*>& agents;
            sim::ProcessId pid;
            ~Leave() { agents.erase(pid); }
          } leave{agents_, s.pid};
          p.loop.Run();
        });
  }
  sim::HostId AddDesktop(const std::string& sName, const std::string& sAddress = "") {
    sim::HostSetup setup;
    setup.sWinsockName = sName;
    setup.sAddress = sAddress;
    const sim::HostId host = *world.Hosts().AddHost(setup);
    world.Files().MakeFolder(host, kAgentFolder);
    world.Files().AddShare(host, "c", "C:\\");
    return hosts[sName] = host;
  }
  sim::ProcessId Start(const std::string& sName) {
    const sim::ProcessId pid =
        world.Programs().StartProcess(hosts.at(sName), "agent", "C:\\Launch\\Launch.exe");
    processes_[sName] = pid;
    world.RunFor(0);
    return pid;
  }
  bool Kill(const std::string& sName) { return world.Programs().Kill(processes_[sName]); }
  // Runs fn inside sName's process; the log lines sName wrote meanwhile.
  Lines Call(const std::string& sName, const std::function<void(Agent&)>& fn) {
    const std::size_t nMark = LogLines(sName).size();
    const sim::ProcessId pid = processes_[sName];
    EXPECT_TRUE(pid != 0 && world.Call(pid, [&] {
      if (auto it = agents_.find(pid); it != agents_.end()) fn(*it->second);
    })) << sName;
    return LogLinesSince(sName, nMark);
  }
  Lines LogLines(const std::string& sName) const {
    Lines lines;
    for (const std::string& sLine : world.Transcript())
      if (auto line = sim::ParseTranscriptLine(sLine);
          line && line->sKind == "log" && line->sHost == sName)
        lines.push_back(line->sText);
    return lines;
  }
  Lines LogLinesSince(const std::string& sName, std::size_t nMark) const {
    const Lines log = LogLines(sName);
    return nMark >= log.size() ? Lines{} : Lines(log.begin() + static_cast<long>(nMark), log.end());
  }

  std::map<std::string, sim::HostId> hosts;
  std::map<std::string, sim::ProcessId> processes_;
  std::map<sim::ProcessId, Agent*> agents_;
  // Last, so it goes first: ending its processes still finds the tables above.
  sim::World world{1};
};

// The desktop pc07 with its agent's parts running.
struct Pc07 : SimDesktops {
  Pc07() : host(AddDesktop("pc07")) { Start("pc07"); }
  Lines Call(const std::function<void(Agent&)>& fn) { return SimDesktops::Call("pc07", fn); }
  Lines LogLines() const { return SimDesktops::LogLines("pc07"); }
  sim::HostId host;
};

}  // namespace launchagent::testing
