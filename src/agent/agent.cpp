#include "agent/agent.h"

#include <algorithm>

#include "hardening/hardening_policy.h"
#include "lanresources/frm_lan_resources.h"
#include "launcher/check_in_verification.h"
#include "launcher/frm_launch.h"
#include "launcher/launcher.h"
#include "platform/text.h"
#include "registry/agent_host_info.h"
#include "setup/frm_agent_setup.h"
#include "setup/option_records.h"
#include "transport/frm_client.h"
#include "transport/frm_server.h"

namespace launchagent {

Agent::Agent(platform::Platform& platform) : platform_(platform) {
  const LogActivityFn log = [this](const std::string& sText, Integer nLevel) {
    LogActivity(sText, nLevel);
  };
  // Telling the client a socket's position loads the client when it is not loaded yet,
  // as every use of it does.
  agentHostInfo_ = std::make_unique<AgentHostInfo>(
      platform_.clock, *this, log,
      [this](Long lngSocket, Long lngAgent) { frmClient().SetAgentIndex(lngSocket, lngAgent); });
  launcher_ = std::make_unique<Launcher>(platform_, *this, *agentHostInfo_, *this,
                                         bActiveAgentServices, launch_);
  checkIn_ = std::make_unique<CheckInVerification>(platform_, *agentHostInfo_, log, launch_);
}

Agent::~Agent() = default;

void Agent::Main() { launcher_->Main(); }

ui::Form& Agent::LaunchForm() { return frmLaunch().Form(); }

void Agent::OpenAgentSetup() {
  FrmAgentSetup& setup = frmAgentSetup();
  if (!bSetupInitialised_) {
    bSetupInitialised_ = true;
    setup.Init();
  }
  setup.Form().Show();
}

void Agent::EnableHardening(const HardeningRules& rules,
                            std::function<void(const std::string&)> note) {
  HardeningHooks hooks;
  hooks.secondsNow = [this] { return platform_.clock.SecondsSinceMidnight(); };
  hooks.addressOf = [this](const std::string& sName) -> std::optional<std::string> {
    auto entry = platform_.sockets.HostByName(sName);
    if (!entry || entry->addresses.empty()) return std::nullopt;
    const auto& a = entry->addresses.front();
    return std::to_string(a[0]) + "." + std::to_string(a[1]) + "." + std::to_string(a[2]) + "." +
           std::to_string(a[3]);
  };
  hooks.isLanHost = [this](const std::string& sName) {
    return launcher_->lanHosts().FindLANHost(sName) > 0;
  };
  hooks.isMainAppFileName = [](const std::string& sName) {
    return MainApp::HasExtension(sName, ".exe") && MainApp::IsMainAppFileName(sName);
  };
  // The list as the Agent Setup window last saved it (it saves after every change), so
  // the rule holds whether or not the window was ever opened.
  hooks.isActiveComputer = [this](const std::string& sName) {
    const auto file =
        platform_.files.ReadFile(platform_.files.AgentFolder() + "\\" + kAgentOptionsFileName);
    AgentOptions rec;
    if (!file || !DecodeAgentOptions(*file, rec)) return false;
    for (const std::string& sHost : ActiveHosts(rec))
      if (EqualsIgnoringCase(sHost, sName)) return true;
    return false;
  };
  hooks.note = std::move(note);
  hardening_ = std::make_unique<HardeningPolicy>(rules, std::move(hooks));
  launcher_->exchange().SetRules(hardening_.get());
}

FrmLaunch& Agent::frmLaunch() {
  if (!frmLaunch_)
    frmLaunch_ = std::make_unique<FrmLaunch>(platform_, *this, *launcher_, *checkIn_);
  return *frmLaunch_;
}

FrmServer& Agent::frmServer() {
  if (!frmServer_)
    frmServer_ = std::make_unique<FrmServer>(
        platform_.network, platform_.loop, bActiveAgentServices,
        [this](Long Index, const Bytes& byteArray) {
          launcher_->exchange().ProcessReceivedMessage(Index, byteArray);
        },
        hardening_.get());
  return *frmServer_;
}

FrmClient& Agent::frmClient() {
  if (!frmClient_)
    frmClient_ = std::make_unique<FrmClient>(
        platform_.network, *agentHostInfo_, bActiveAgentServices,
        [this](const std::string& sText, Integer nLevel) { LogActivity(sText, nLevel); },
        [this](Long Index, const Bytes& byteArray) {
          launcher_->exchange().ProcessReceivedMessage(Index, byteArray);
        });
  return *frmClient_;
}

FrmAgentSetup& Agent::frmAgentSetup() {
  if (!frmAgentSetup_) {
    FreeIdleSetupWindows();
    FrmAgentSetup::Links links{
        [this] { return launcher_->lanHosts().nLANHostCnt; },
        [this](Integer nIndex) { return launcher_->lanHosts().GetLANHost(nIndex); },
        [this] { launcher_->lanHosts().RefreshLANHosts(); }, [this] { UnloadAgentSetup(); }};
    frmAgentSetup_ = std::make_unique<FrmAgentSetup>(
        platform_, *agentHostInfo_, *this,
        [this](const std::string& sText, Integer nLevel) { LogActivity(sText, nLevel); },
        bActiveAgentServices, std::move(links));
  }
  return *frmAgentSetup_;
}

FrmLANResources& Agent::frmLANResources() {
  if (!frmLANResources_)
    frmLANResources_ = std::make_unique<FrmLANResources>(
        platform_, [this] { return frmAgentSetup().Identity().GetHostName(); });
  return *frmLANResources_;
}

void Agent::UnloadAgentSetup() {
  if (!frmAgentSetup_) return;
  FreeIdleSetupWindows();
  std::unique_ptr<FrmAgentSetup> form = std::move(frmAgentSetup_);
  bSetupInitialised_ = false;
  form->Form().Hide();
  unloadedSetupForms_.push_back(std::move(form));
  // Runs after the object has left the agent, so a use during clean-up loads it afresh.
  unloadedSetupForms_.back()->Form_Unload();
}

void Agent::FreeIdleSetupWindows() {
  std::erase_if(unloadedSetupForms_,
                [](const std::unique_ptr<FrmAgentSetup>& form) { return !form->HandlerRunning(); });
}

void Agent::UnloadTransport() {
  frmServer_.reset();
  frmClient_.reset();
}

void Agent::LogActivity(const std::string& sText, Integer nLevel) {
  launcher_->LogActivity(sText, nLevel);
}

double Agent::SecondsSinceMidnight() { return platform_.clock.SecondsSinceMidnight(); }

std::string Agent::LocalHostName() { return frmAgentSetup().Identity().GetHostName(); }

}  // namespace launchagent
