#pragma once
// One agent process, and the one place where its subsystems are wired together. Everything
// the agent keeps for its whole life (the services flag, the launch globals, the registry,
// the launcher's tables) is a member here or of a subsystem object owned here, so many
// agents can share one OS process in the simulator. Forms are created on first use,
// exactly once, and can be unloaded and loaded afresh.
#include <memory>
#include <string>
#include <vector>

#include "launcher/launch_globals.h"
#include "launcher/launcher_forms.h"
#include "messages/message_context.h"
#include "platform/services.h"
#include "platform/types.h"

namespace launchagent {

namespace ui {
class Form;
}
class Launcher;
class AgentHostInfo;
class CheckInVerification;

class Agent : public MessageContext, public LauncherForms {
 public:
  explicit Agent(platform::Platform& platform);
  ~Agent() override;
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;

  // The start-up sequence. Returns; the caller then runs the platform's event loop.
  void Main();
  // The agent window's model.
  ui::Form& LaunchForm();
  void OpenAgentSetup() override;

  platform::Platform& Platform() { return platform_; }

  // Forms, loaded on first use.
  FrmLaunch& frmLaunch() override;
  FrmServer& frmServer() override;
  FrmClient& frmClient() override;
  FrmAgentSetup& frmAgentSetup() override;
  FrmLANResources& frmLANResources() override;
  bool IsAgentSetupLoaded() const override { return frmAgentSetup_ != nullptr; }
  // Unloads the Agent Setup window. Safe from inside one of its own handlers: the object
  // leaves the agent at once (the next use loads a fresh one) but is kept until none of
  // its handlers runs any more.
  void UnloadAgentSetup();
  void UnloadTransport();

  // Modules.
  Launcher& launcher() { return *launcher_; }
  AgentHostInfo& agentHostInfo() { return *agentHostInfo_; }

  // Process-wide state.
  bool bActiveAgentServices = false;

  // The activity log (shortcut for launcher().LogActivity).
  void LogActivity(const std::string& sText, Integer nLevel);

  // MessageContext: seeds and return addresses of new messages. The return address is
  // the Agent Setup window's host name, so a new message loads that window.
  double SecondsSinceMidnight() override;
  std::string LocalHostName() override;

 private:
  // Frees the unloaded setup windows none of whose handlers runs any more.
  void FreeIdleSetupWindows();

  platform::Platform& platform_;
  LaunchGlobals launch_;
  std::unique_ptr<AgentHostInfo> agentHostInfo_;
  std::unique_ptr<Launcher> launcher_;
  std::unique_ptr<CheckInVerification> checkIn_;
  std::unique_ptr<FrmLaunch> frmLaunch_;
  std::unique_ptr<FrmClient> frmClient_;
  std::unique_ptr<FrmServer> frmServer_;
  std::unique_ptr<FrmAgentSetup> frmAgentSetup_;
  std::unique_ptr<FrmLANResources> frmLANResources_;
  std::vector<std::unique_ptr<FrmAgentSetup>> unloadedSetupForms_;
  bool bSetupInitialised_ = false;
};

}  // namespace launchagent
