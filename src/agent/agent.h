#pragma once
// One agent process. Everything the agent keeps for its whole life (the services flag,
// the launch globals, the local host description, the LAN host table, the registry) is
// a member here or of a subsystem object owned here, so many agents can share one OS
// process in the simulator. Forms are created on first use, exactly once, and can be
// unloaded and loaded afresh.
#include <memory>
#include <string>
#include <vector>

#include "messages/message_context.h"
#include "platform/services.h"
#include "platform/types.h"

namespace launchagent {

namespace ui {
class Form;
}
class clsMsg;
class clsMsgHostInfo;
class Launcher;
class FrmLaunch;
class FrmServer;
class FrmClient;
class FrmAgentSetup;
class FrmLANResources;
class AgentHostInfo;
class CheckInVerification;
class LocalOptionChanges;

class Agent : public MessageContext {
 public:
  explicit Agent(platform::Platform& platform);
  ~Agent() override;
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;

  // The start-up sequence. Returns; the caller then runs the platform's event loop.
  void Main();
  // The agent window's model.
  ui::Form& LaunchForm();
  // Opens the Agent Setup window: Init once before its first showing, then shows it.
  void OpenAgentSetup();
  // The Agent Setup window's model while it is loaded, else nullptr.
  ui::Form* SetupForm();

  platform::Platform& Platform() { return platform_; }
  // The folder of the running executable.
  std::string AppPath();

  // Forms, loaded on first use.
  FrmLaunch& frmLaunch();
  FrmServer& frmServer();
  FrmClient& frmClient();
  FrmAgentSetup& frmAgentSetup();
  FrmLANResources& frmLANResources();
  bool IsAgentSetupLoaded() const { return frmAgentSetup_ != nullptr; }
  // Unloads the Agent Setup window. Safe from inside one of its own handlers: the object
  // leaves the agent at once (the next use loads a fresh one) but is kept until the agent
  // ends, since a handler of it may still be running further up the stack.
  void UnloadAgentSetup();
  void UnloadTransport();

  // Modules.
  Launcher& launcher() { return *launcher_; }
  AgentHostInfo& agentHostInfo() { return *agentHostInfo_; }
  CheckInVerification& checkInVerification() { return *checkIn_; }
  LocalOptionChanges& localOptionChanges() { return *localOptions_; }

  // Process-wide state.
  bool bActiveAgentServices = false;
  bool bLaunchIndexing = false;
  std::string sLaunchUserName;
  std::shared_ptr<clsMsgHostInfo> objLocalHost();  // created on first use
  std::shared_ptr<clsMsg> objMsg();                // created on first use

  // The activity log (shortcut for launcher().LogActivity).
  void LogActivity(const std::string& sText, Integer nLevel);

  // MessageContext: seeds and return addresses of new messages.
  double SecondsSinceMidnight() override;
  std::string LocalHostName() override;

 private:
  platform::Platform& platform_;
  std::unique_ptr<Launcher> launcher_;
  std::unique_ptr<AgentHostInfo> agentHostInfo_;
  std::unique_ptr<CheckInVerification> checkIn_;
  std::unique_ptr<LocalOptionChanges> localOptions_;
  std::unique_ptr<FrmLaunch> frmLaunch_;
  std::unique_ptr<FrmClient> frmClient_;
  std::unique_ptr<FrmServer> frmServer_;
  std::unique_ptr<FrmAgentSetup> frmAgentSetup_;
  std::unique_ptr<FrmLANResources> frmLANResources_;
  std::vector<std::unique_ptr<FrmAgentSetup>> unloadedSetupForms_;
  std::shared_ptr<clsMsgHostInfo> objLocalHost_;
  std::shared_ptr<clsMsg> objMsg_;
  bool bSetupInitialised_ = false;
};

}  // namespace launchagent
