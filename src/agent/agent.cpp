#include "agent/agent.h"

#include "launcher/frm_launch.h"
#include "launcher/launcher.h"
#include "lanresources/frm_lan_resources.h"
#include "messages/cls_msg.h"
#include "messages/cls_msg_host_info.h"
#include "registry/agent_host_info.h"
#include "registry/check_in_verification.h"
#include "registry/local_option_changes.h"
#include "setup/frm_agent_setup.h"
#include "transport/frm_client.h"
#include "transport/frm_server.h"

namespace launchagent {

Agent::Agent(platform::Platform& platform)
    : platform_(platform),
      launcher_(std::make_unique<Launcher>(*this)),
      agentHostInfo_(std::make_unique<AgentHostInfo>(*this)),
      checkIn_(std::make_unique<CheckInVerification>(*this)),
      localOptions_(std::make_unique<LocalOptionChanges>(*this)) {}

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

ui::Form* Agent::SetupForm() { return frmAgentSetup_ ? &frmAgentSetup_->Form() : nullptr; }

std::string Agent::AppPath() { return platform_.files.AgentFolder(); }

FrmLaunch& Agent::frmLaunch() {
  if (!frmLaunch_) frmLaunch_ = std::make_unique<FrmLaunch>(*this);
  return *frmLaunch_;
}

FrmServer& Agent::frmServer() {
  if (!frmServer_) frmServer_ = std::make_unique<FrmServer>(*this);
  return *frmServer_;
}

FrmClient& Agent::frmClient() {
  if (!frmClient_) frmClient_ = std::make_unique<FrmClient>(*this);
  return *frmClient_;
}

FrmAgentSetup& Agent::frmAgentSetup() {
  if (!frmAgentSetup_) frmAgentSetup_ = std::make_unique<FrmAgentSetup>(*this);
  return *frmAgentSetup_;
}

FrmLANResources& Agent::frmLANResources() {
  if (!frmLANResources_) frmLANResources_ = std::make_unique<FrmLANResources>(*this);
  return *frmLANResources_;
}

void Agent::UnloadAgentSetup() {
  if (!frmAgentSetup_) return;
  std::unique_ptr<FrmAgentSetup> form = std::move(frmAgentSetup_);
  bSetupInitialised_ = false;
  form->Form().Hide();
  unloadedSetupForms_.push_back(std::move(form));
  // Runs after the object has left the agent, so a use during clean-up loads it afresh.
  unloadedSetupForms_.back()->Form_Unload();
}

void Agent::UnloadTransport() {
  frmServer_.reset();
  frmClient_.reset();
}

std::shared_ptr<clsMsgHostInfo> Agent::objLocalHost() {
  if (!objLocalHost_) objLocalHost_ = std::make_shared<clsMsgHostInfo>(*this);
  return objLocalHost_;
}

std::shared_ptr<clsMsg> Agent::objMsg() {
  if (!objMsg_) objMsg_ = std::make_shared<clsMsg>(*this);
  return objMsg_;
}

void Agent::LogActivity(const std::string& sText, Integer nLevel) {
  launcher_->LogActivity(sText, nLevel);
}

double Agent::SecondsSinceMidnight() { return platform_.clock.SecondsSinceMidnight(); }

std::string Agent::LocalHostName() { return frmAgentSetup().GetHostName(); }

}  // namespace launchagent
