#pragma once
// The launcher on its own, in a process of the simulated desktop pc07: a registry, the
// Launcher with its LAN host table, main application and exchange, and the forms it drives
// loaded on first use, all wired as the agent wires them. Its timers never start: the
// launcher does only what the test calls. Behaviour over time is in tests/scenarios/.
#include <gtest/gtest.h>

#include <functional>
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

// A desktop whose share \\<name>\c reaches C:\ and whose agent folder is C:\Launch.
inline sim::HostId AddDesktop(sim::World& world, const std::string& sName) {
  sim::HostSetup setup;
  setup.sWinsockName = sName;
  const sim::HostId host = *world.Hosts().AddHost(setup);
  world.Files().MakeFolder(host, kAgentFolder);
  world.Files().AddShare(host, "c", "C:\\");
  return host;
}

// The desktop pc07 with its launcher in a process of its own.
class Pc07 {
 public:
  Pc07() : host(AddDesktop(world, "pc07")) {
    world.Programs().RegisterProgram("launcher",
                                     [this](platform::Platform& p, const sim::ProgramStart&) {
                                       LauncherParts parts(p);
                                       parts_ = &parts;
                                       p.loop.Run();
                                     });
    pid_ = world.Programs().StartProcess(host, "launcher", "C:\\Launch\\Launch.exe");
    world.RunFor(0);
  }
  // Runs fn inside the launcher's process; the log lines fn wrote.
  std::vector<std::string> Call(const std::function<void(LauncherParts&)>& fn) {
    const std::size_t nMark = LogLines().size();
    EXPECT_TRUE(world.Call(pid_, [&] { fn(*parts_); }));
    const std::vector<std::string> lines = LogLines();
    return std::vector<std::string>(lines.begin() + static_cast<std::ptrdiff_t>(nMark),
                                    lines.end());
  }
  std::vector<std::string> LogLines() const {
    std::vector<std::string> lines;
    for (const std::string& sLine : world.Transcript())
      if (auto line = sim::ParseTranscriptLine(sLine); line && line->sKind == "log")
        lines.push_back(line->sText);
    return lines;
  }

  sim::World world{1};
  sim::HostId host;

 private:
  sim::ProcessId pid_ = 0;
  LauncherParts* parts_ = nullptr;
};

}  // namespace launchagent::testing
