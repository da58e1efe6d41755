#pragma once
// Simulated desktops, each running a Node of the test's own making in a process of its
// own: built from the process's platform, the node does only what the test calls. What
// it logs is read back from the transcript. Behaviour over time is in tests/scenarios/.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/sim/transcript_text.h"
#include "platform/sim/world.h"

namespace launchagent::testing {

using Lines = std::vector<std::string>;
inline constexpr const char* kAgentFolder = "C:\\Launch";

// Desktops by name, each with the share \\<name>\c reaching C:\ and the agent folder
// C:\Launch.
template <class Node>
class SimDesktops {
 public:
  SimDesktops() {
    world.Programs().RegisterProgram("node",
                                     [this](platform::Platform& p, const sim::ProgramStart& s) {
                                       Node node(p);
                                       nodes_[s.pid] = &node;
                                       struct Leave {  // a killed process leaves its stack too
                                         std::map<sim::ProcessId, Node*>& nodes;
                                         sim::ProcessId pid;
                                         ~Leave() { nodes.erase(pid); }
                                       } leave{nodes_, s.pid};
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
    return hosts_[sName] = host;
  }
  sim::ProcessId Start(const std::string& sName) {
    const sim::ProcessId pid =
        world.Programs().StartProcess(hosts_.at(sName), "node", "C:\\Launch\\Launch.exe");
    processes_[sName] = pid;
    world.RunFor(0);
    return pid;
  }
  bool Kill(const std::string& sName) { return world.Programs().Kill(processes_[sName]); }
  // Runs fn inside sName's process; the log lines sName wrote meanwhile.
  Lines Call(const std::string& sName, const std::function<void(Node&)>& fn) {
    const std::size_t nMark = LogLines(sName).size();
    const sim::ProcessId pid = processes_[sName];
    EXPECT_TRUE(pid != 0 && world.Call(pid, [&] {
      if (auto it = nodes_.find(pid); it != nodes_.end()) fn(*it->second);
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

 private:
  std::map<std::string, sim::HostId> hosts_;
  std::map<std::string, sim::ProcessId> processes_;
  std::map<sim::ProcessId, Node*> nodes_;

 public:
  // Last, so it goes first: ending its processes still finds the tables above.
  sim::World world{1};
};

}  // namespace launchagent::testing
