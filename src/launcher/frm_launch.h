#pragma once
// The agent's window: the rolling activity log and the four timers that drive all
// periodic work.
#include <memory>

#include "platform/types.h"
#include "platform/ui/form.h"

namespace launchagent {

class Agent;

class FrmLaunch {
  // Declared first: the control references below point into the form.
  Agent& agent_;
  ui::Form form_;

 public:
  static constexpr const char* kServiceTitle = "Launch Service for Varno";

  explicit FrmLaunch(Agent& agent);
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
