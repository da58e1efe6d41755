#pragma once
// The launcher on its own, in a process of the simulated desktop pc07: a registry, the
// Launcher with its LAN host table, main application and exchange, and the forms it drives
// loaded on first use, all wired as the agent wires them. Its timers never start: the
// launcher does only what the test calls. Behaviour over time is in tests/scenarios/.
#include <memory>
#include <string>

#include "../support/sim_desktops.h"
#include "lanresources/frm_lan_resources.h"
#include "launcher/check_in_verification.h"
#include "launcher/frm_launch.h"
#include "launcher/launcher.h"
#include "launcher/launcher_forms.h"
#include "messages/message_context.h"
#include "registry/agent_host_info.h"
#include "setup/frm_agent_setup.h"
#include "transport/frm_client.h"
#include "transport/frm_server.h"

namespace launchagent::testing {

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

// The desktop pc07 with its launcher in a process of its own.
struct Pc07 : SimDesktops<LauncherParts> {
  Pc07() {
    AddDesktop("pc07");
    Start("pc07");
  }
  Lines Call(const std::function<void(LauncherParts&)>& fn) {
    return SimDesktops::Call("pc07", fn);
  }
  Lines LogLines() const { return SimDesktops::LogLines("pc07"); }
};

}  // namespace launchagent::testing
