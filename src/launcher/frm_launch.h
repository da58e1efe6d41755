#pragma once
// The agent's window: the rolling activity log and the four timers that drive all
// periodic work.
#include <memory>

#include "platform/services.h"
#include "platform/types.h"
#include "platform/ui/form.h"

namespace launchagent {

class CheckInVerification;
class Launcher;
class LauncherForms;

class FrmLaunch {
  // Declared first: the control references below point into the form.
  platform::Platform& platform_;
  LauncherForms& forms_;
  Launcher& launcher_;
  CheckInVerification& checkIn_;
  ui::Form form_;

 public:
  static constexpr const char* kServiceTitle = "Launch Service for Varno";

  FrmLaunch(platform::Platform& platform, LauncherForms& forms, Launcher& launcher,
            CheckInVerification& checkIn);
  ~FrmLaunch();
  ui::Form& Form() { return form_; }
  void Init();

  ui::TextBox& txtInfo;
  ui::CommandButton& cmdAgentSetup;
  ui::Timer& TimerCheckResources;
  ui::Timer& TimerSendMessages;
  ui::Timer& TimerMonitor;
  ui::Timer& TimerVerifyCheckIn;
  Integer nCheckResourcesTicks = 0;
  Integer nSendMessagesTicks = 0;

 private:
  void TimerCheckResources_Timer();
  void TimerSendMessages_Timer();
  void TimerMonitor_Timer();
  void TimerVerifyCheckIn_Timer();
};

}  // namespace launchagent
