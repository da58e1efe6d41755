#pragma once
// Simulated desktops, each with an agent's parts in a process of its own: a registry, the
// Launcher with its LAN host table, main application and exchange, the transport, and the
// forms loaded on first use, all wired as the agent wires them. Its timers never start:
// the parts do only what the test calls. Behaviour over time is in tests/scenarios/.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lanresources/frm_lan_resources.h"
#include "launcher/check_in_verification.h"
#include "launcher/frm_launch.h"
#include "launcher/launcher.h"
#include "launcher/launcher_forms.h"
#include "messages/cls_msg_host_info.h"
#include "messages/message_context.h"
#include "platform/sim/transcript_text.h"
#include "platform/sim/world.h"
#include "registry/agent_host_info.h"
#include "setup/frm_agent_setup.h"
#include "transport/frm_client.h"
#include "transport/frm_server.h"

namespace launchagent::testing {

using Lines = std::vector<std::string>;
inline constexpr const char* kAgentFolder = "C:\\Launch";

class LauncherParts : public MessageContext, public LauncherForms {
 public:
  explicit LauncherParts(platform::Platform& p)
      : registry(p.clock, *this, Log(),
                 [this](Long lngSocket, Long lngAgent) {
                   frmClient().SetAgentIndex(lngSocket, lngAgent);
                 }),
        launcher(p, *this, registry, *this, bActiveAgentServices, launch),
        checkIn(p, registry, Log(), launch),
        platform_(p) {}

  double SecondsSinceMidnight() override { return platform_.clock.SecondsSinceMidnight(); }
  std::string LocalHostName() override { return frmAgentSetup().Identity().GetHostName(); }

  FrmLaunch& frmLaunch() override {
    if (!launch_form_) {
      launch_form_ = std::make_unique<FrmLaunch>(platform_, *this, launcher, checkIn);
      FrmLaunch& f = *launch_form_;
      for (ui::Timer* t :
           {&f.TimerCheckResources, &f.TimerSendMessages, &f.TimerMonitor, &f.TimerVerifyCheckIn})
        t->SetTimerEnabled(false);
    }
    return *launch_form_;
  }
  FrmClient& frmClient() override {
    if (!client_)
      client_ = std::make_unique<FrmClient>(platform_.network, registry, bActiveAgentServices,
                                            Log(), Receiver());
    return *client_;
  }
  FrmServer& frmServer() override {
    if (!server_)
      server_ = std::make_unique<FrmServer>(platform_.network, platform_.loop, bActiveAgentServices,
                                            Receiver());
    return *server_;
  }
  FrmAgentSetup& frmAgentSetup() override {
    if (!setup_) {
      FrmAgentSetup::Links links{[this] { return launcher.lanHosts().nLANHostCnt; },
                                 [this](Integer n) { return launcher.lanHosts().GetLANHost(n); },
                                 [this] { launcher.lanHosts().RefreshLANHosts(); }, [] {}};
      setup_ = std::make_unique<FrmAgentSetup>(platform_, registry, *this, Log(),
                                               bActiveAgentServices, std::move(links));
    }
    return *setup_;
  }
  FrmLANResources& frmLANResources() override {
    if (!resources_)
      resources_ = std::make_unique<FrmLANResources>(
          platform_, [this] { return frmAgentSetup().Identity().GetHostName(); });
    return *resources_;
  }
  bool IsAgentSetupLoaded() const override { return setup_ != nullptr; }
  void OpenAgentSetup() override { frmAgentSetup().Form().Show(); }
  void UnloadTransport() {
    server_.reset();
    client_.reset();
  }

  bool bActiveAgentServices = true;
  LaunchGlobals launch;
  AgentHostInfo registry;
  Launcher launcher;
  CheckInVerification checkIn;

 private:
  LogActivityFn Log() {
    return
        [this](const std::string& sText, Integer nLevel) { launcher.LogActivity(sText, nLevel); };
  }
  MessageReceiverFn Receiver() {
    return [this](Long Index, const Bytes& byteArray) {
      launcher.exchange().ProcessReceivedMessage(Index, byteArray);
    };
  }

  platform::Platform& platform_;
  std::unique_ptr<FrmLaunch> launch_form_;
  std::unique_ptr<FrmClient> client_;
  std::unique_ptr<FrmServer> server_;
  std::unique_ptr<FrmAgentSetup> setup_;
  std::unique_ptr<FrmLANResources> resources_;
};

// Desktops by name, each with the share \\<name>\c reaching C:\ and the agent folder
// C:\Launch; a started one runs its parts with the client and the server loaded.
class SimDesktops {
 public:
  SimDesktops() {
    world.Programs().RegisterProgram("parts",
                                     [this](platform::Platform& p, const sim::ProgramStart& s) {
                                       LauncherParts parts(p);
                                       parts.frmClient();
                                       parts.frmServer();
                                       parts_[s.pid] = &parts;
                                       struct Leave {  // a killed process leaves its stack too
                                         std::map<sim::ProcessId, LauncherParts*>& parts;
                                         sim::ProcessId pid;
                                         ~Leave() { parts.erase(pid); }
                                       } leave{parts_, s.pid};
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
        world.Programs().StartProcess(hosts.at(sName), "parts", "C:\\Launch\\Launch.exe");
    processes_[sName] = pid;
    world.RunFor(0);
    return pid;
  }
  bool Kill(const std::string& sName) { return world.Programs().Kill(processes_[sName]); }
  // Runs fn inside sName's process; the log lines sName wrote meanwhile.
  Lines Call(const std::string& sName, const std::function<void(LauncherParts&)>& fn) {
    const std::size_t nMark = LogLines(sName).size();
    const sim::ProcessId pid = processes_[sName];
    EXPECT_TRUE(pid != 0 && world.Call(pid, [&] {
      if (auto it = parts_.find(pid); it != parts_.end()) fn(*it->second);
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
  std::map<sim::ProcessId, LauncherParts*> parts_;
  // Last, so it goes first: ending its processes still finds the tables above.
  sim::World world{1};
};

// The desktop pc07 with its agent's parts running.
struct Pc07 : SimDesktops {
  Pc07() : host(AddDesktop("pc07")) { Start("pc07"); }
  Lines Call(const std::function<void(LauncherParts&)>& fn) {
    return SimDesktops::Call("pc07", fn);
  }
  Lines LogLines() const { return SimDesktops::LogLines("pc07"); }
  sim::HostId host;
};

}  // namespace launchagent::testing
