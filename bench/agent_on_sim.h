#pragma once
// A simulated LAN with whole agents on named hosts, for the benchmarks (bench/) that
// measure them with real timers and real virtual sockets. Header only.
//
//   AgentOnSim lan;
//   lan.AddHost("PC1");
//   lan.AddHost("PC2");
//   lan.StartAgent("PC1");              // transport only: no timers, no broadcasts
//   lan.StartAgent("PC2", AgentStart::Full);
//   lan.Call("PC1", [](Agent& a) { a.frmClient().SendMessageEx("PC2", "", image); });
//   lan.RunFor(sim::Seconds(1));
//   lan.LogLines("PC2");                // the activity log lines of PC2, in order
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agent/agent.h"
#include "launcher/frm_launch.h"
#include "platform/sim/transcript_text.h"
#include "platform/sim/world.h"
#include "transport/frm_client.h"
#include "transport/frm_server.h"

namespace launchagent::testing {

enum class AgentStart {
  // The whole start-up (Agent::Main): window, Run value, transport, timers, first broadcast.
  Full,
  // Services on, frmClient then frmServer loaded as start-up loads them (the server
  // listens on 1230), the agent window loaded with its timers stopped: the agent does
  // only what the test makes it do.
  Transport,
  // The Agent object alone: nothing loaded, services off.
  Bare,
};

class AgentOnSim {
 public:
  static constexpr const char* kProgramKind = "test-agent";
  static constexpr const char* kAgentPath = "C:\\Launch\\Launch.exe";

  explicit AgentOnSim(std::uint64_t seed = 1) : world_(seed) {
    world_.Programs().RegisterProgram(
        kProgramKind,
        [this](platform::Platform& p, const sim::ProgramStart& start) { RunAgent(p, start); });
  }
  ~AgentOnSim() = default;
  AgentOnSim(const AgentOnSim&) = delete;
  AgentOnSim& operator=(const AgentOnSim&) = delete;

  sim::World& World() { return world_; }

  // A host of the LAN; its address is drawn from its position when none is given.
  sim::HostId AddHost(const std::string& sName, const std::string& sAddress = "") {
    sim::HostSetup desktop;
    desktop.sWinsockName = sName;
    desktop.sAddress = sAddress;
    const std::optional<sim::HostId> host = world_.Hosts().AddHost(desktop);
    if (!host) return kNoHost;
    hosts_[sName] = *host;
    return *host;
  }

  sim::HostId Host(const std::string& sName) const {
    const auto it = hosts_.find(sName);
    return it == hosts_.end() ? kNoHost : it->second;
  }

  // Starts an agent on the host and runs the world until its start-up has finished.
  sim::ProcessId StartAgent(const std::string& sHost, AgentStart mode = AgentStart::Transport) {
    const sim::HostId host = Host(sHost);
    if (host == kNoHost) return 0;
    const sim::ProcessId pid =
        world_.Programs().StartProcess(host, kProgramKind, kAgentPath, ModeName(mode));
    if (pid == 0) return 0;
    processes_[sHost] = pid;
    // The body runs on the process's fiber at the next turn of the scheduler.
    world_.RunFor(0);
    return pid;
  }

  sim::ProcessId ProcessOf(const std::string& sHost) const {
    const auto it = processes_.find(sHost);
    return it == processes_.end() ? 0 : it->second;
  }

  // Runs fn inside the host's agent process at the current virtual time. False when no
  // agent runs there or it ended before fn finished.
  bool Call(const std::string& sHost, const std::function<void(Agent&)>& fn) {
    const sim::ProcessId pid = ProcessOf(sHost);
    if (pid == 0) return false;
    return world_.Call(pid, [this, pid, &fn] {
      const auto it = agents_.find(pid);
      if (it != agents_.end()) fn(*it->second);
    });
  }

  // Kills the host's agent process from outside (its stack unwinds, its sockets close).
  bool Kill(const std::string& sHost) { return world_.Programs().Kill(ProcessOf(sHost)); }

  void RunFor(sim::Nanos d) { world_.RunFor(d); }
  void RunUntil(sim::Nanos t) { world_.RunUntil(t); }
  sim::Nanos Now() const { return world_.Now(); }

  // The activity log lines of a host, in order, from the world's transcript.
  std::vector<std::string> LogLines(const std::string& sHost) const {
    std::vector<std::string> lines;
    for (const std::string& sLine : world_.Transcript()) {
      auto line = sim::ParseTranscriptLine(sLine);
      if (line && line->sHost == sHost && line->sKind == "log") lines.push_back(line->sText);
    }
    return lines;
  }

  // Number of log lines of the host so far: a mark for LogLinesSince.
  std::size_t LogMark(const std::string& sHost) const { return LogLines(sHost).size(); }
  std::vector<std::string> LogLinesSince(const std::string& sHost, std::size_t nMark) const {
    std::vector<std::string> lines = LogLines(sHost);
    if (nMark >= lines.size()) return {};
    return std::vector<std::string>(lines.begin() + static_cast<std::ptrdiff_t>(nMark),
                                    lines.end());
  }

  static constexpr sim::HostId kNoHost = UINT32_MAX - 1;

 private:
  static std::string ModeName(AgentStart mode) {
    switch (mode) {
      case AgentStart::Full:
        return "full";
      case AgentStart::Transport:
        return "transport";
      case AgentStart::Bare:
        return "bare";
    }
    return "bare";
  }

  void RunAgent(platform::Platform& p, const sim::ProgramStart& start) {
    Agent agent(p);
    // Declared after the agent, so the agent leaves the table before it is destroyed.
    struct Registration {
      std::map<sim::ProcessId, Agent*>& table;
      sim::ProcessId pid;
      ~Registration() { table.erase(pid); }
    } registration{agents_, start.pid};
    agents_[start.pid] = &agent;

    if (start.sParameters == "full") {
      agent.Main();
    } else if (start.sParameters == "transport") {
      FrmLaunch& frm = agent.frmLaunch();
      for (ui::Timer* t : {&frm.TimerCheckResources, &frm.TimerSendMessages, &frm.TimerMonitor,
                           &frm.TimerVerifyCheckIn})
        t->SetTimerEnabled(false);
      agent.bActiveAgentServices = true;
      agent.frmClient();
      agent.frmServer();
    }
    p.loop.Run();
  }

  std::map<std::string, sim::HostId> hosts_;
  std::map<std::string, sim::ProcessId> processes_;
  std::map<sim::ProcessId, Agent*> agents_;
  // Last, so it goes first: ending its processes still finds the tables above.
  sim::World world_;
};

}  // namespace launchagent::testing
