#pragma once
// The forms the launcher drives, each loaded on its first use. Agent owns them and
// loads them lazily, so the launcher asks for them at the moment it uses them.
namespace launchagent {

class FrmLaunch;
class FrmClient;
class FrmServer;
class FrmAgentSetup;
class FrmLANResources;

class LauncherForms {
 public:
  virtual FrmLaunch& frmLaunch() = 0;
  virtual FrmClient& frmClient() = 0;
  virtual FrmServer& frmServer() = 0;
  virtual FrmAgentSetup& frmAgentSetup() = 0;
  virtual FrmLANResources& frmLANResources() = 0;
  virtual bool IsAgentSetupLoaded() const = 0;
  // Opens the Agent Setup window: Init once before its first showing, then shows it.
  virtual void OpenAgentSetup() = 0;

 protected:
  ~LauncherForms() = default;
};

}  // namespace launchagent
