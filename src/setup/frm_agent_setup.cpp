// The Agent Setup window: the full layout and handlers are filled by the setup
// capability. Loading already starts the internet-check timer and names the agent-info
// file, since the window serves host names and addresses while hidden.
#include "setup/frm_agent_setup.h"

#include "agent/agent.h"

namespace launchagent {

FrmAgentSetup::FrmAgentSetup(Agent& agent) : agent_(agent), form_("frmAgentSetup", "Agent Setup") {
  CreateControls();
  TimerCheckInternet = &form_.Add<ui::Timer>("TimerCheckInternet", 60000, true);
  TimerCheckInternet->OnTick = [this] { TimerCheckInternet_Timer(); };
  form_.OnUserClose = [this] { agent_.UnloadAgentSetup(); };
  agent_.Platform().windows.AttachForm(form_);
  TimerCheckInternet->AttachDriver(&agent_.Platform().loop.Timers());
  SetAgentInfoFN(1);
  LoadAgentInfo();
}

FrmAgentSetup::~FrmAgentSetup() {
  if (TimerCheckInternet) TimerCheckInternet->SetTimerEnabled(false);
  agent_.Platform().windows.DetachForm(form_);
}

void FrmAgentSetup::Form_Unload() {
  TimerCheckInternet->SetTimerEnabled(false);
  agent_.Platform().windows.DetachForm(form_);
  SocketsCleanup();
}

void FrmAgentSetup::CreateControls() {}
void FrmAgentSetup::Init() {}
void FrmAgentSetup::txtAgentLog_Display(const std::string&, Integer) {}

}  // namespace launchagent
