#include "launcher/frm_launch.h"

#include "launcher/check_in_verification.h"
#include "launcher/launcher.h"
#include "launcher/launcher_forms.h"
#include "setup/frm_agent_setup.h"

namespace launchagent {

namespace {
constexpr Integer kCheckResourcesThreshold = 600;
constexpr Integer kSendMessagesThreshold = 30;
constexpr Long kWatchIntervalMs = 30000;
}  // namespace

FrmLaunch::FrmLaunch(platform::Platform& platform, LauncherForms& forms, Launcher& launcher,
                     CheckInVerification& checkIn)
    : platform_(platform),
      forms_(forms),
      launcher_(launcher),
      checkIn_(checkIn),
      form_("frmLaunch", "Launch"),
      txtInfo(form_.Add<ui::TextBox>("txtInfo", "", true)),
      cmdAgentSetup(form_.Add<ui::CommandButton>("cmdAgentSetup", "Agent Setup...")),
      TimerCheckResources(form_.Add<ui::Timer>("TimerCheckResources", 10000, true)),
      TimerSendMessages(form_.Add<ui::Timer>("TimerSendMessages", 5000, true)),
      TimerMonitor(form_.Add<ui::Timer>("TimerMonitor", 1000, true)),
      TimerVerifyCheckIn(form_.Add<ui::Timer>("TimerVerifyCheckIn", 1000, true)) {
  // The log box fills the window; the button sits in a strip along the bottom.
  form_.nWidth = 520;
  form_.nHeight = 360;
  txtInfo.nLeft = 0;
  txtInfo.nTop = 0;
  txtInfo.nWidth = 520;
  txtInfo.nHeight = 324;
  cmdAgentSetup.nLeft = 400;
  cmdAgentSetup.nTop = 328;
  cmdAgentSetup.nWidth = 116;
  cmdAgentSetup.nHeight = 28;
  cmdAgentSetup.OnClick = [this] { forms_.OpenAgentSetup(); };
  // Closing the window only hides it: the agent keeps running behind it.
  form_.OnUserClose = [this] { form_.Hide(); };

  TimerCheckResources.OnTick = [this] { TimerCheckResources_Timer(); };
  TimerSendMessages.OnTick = [this] { TimerSendMessages_Timer(); };
  TimerMonitor.OnTick = [this] { TimerMonitor_Timer(); };
  TimerVerifyCheckIn.OnTick = [this] { TimerVerifyCheckIn_Timer(); };

  platform::Platform& p = platform_;
  p.windows.AttachForm(form_);
  for (ui::Timer* t :
       {&TimerCheckResources, &TimerSendMessages, &TimerMonitor, &TimerVerifyCheckIn})
    t->AttachDriver(&p.loop.Timers());
}

FrmLaunch::~FrmLaunch() {
  for (ui::Timer* t :
       {&TimerCheckResources, &TimerSendMessages, &TimerMonitor, &TimerVerifyCheckIn})
    t->SetTimerEnabled(false);
  platform_.windows.DetachForm(form_);
}

void FrmLaunch::Init() {
  // The counters start at their thresholds so the first tick of each counting timer
  // does its work at once.
  nCheckResourcesTicks = kCheckResourcesThreshold;
  nSendMessagesTicks = kSendMessagesThreshold;
  TimerCheckResources.SetInterval(1000);
  TimerCheckResources.SetTimerEnabled(true);
  TimerSendMessages.SetInterval(1000);
  TimerSendMessages.SetTimerEnabled(true);
  forms_.frmAgentSetup().Identity().SocketsInitialize();
  forms_.frmAgentSetup().Identity().GetHostInfo();
  launcher_.lanHosts().RefreshLANHosts();
}

// Each handler disables its own timer while its work runs, so the work never overlaps
// itself even where it lets other events run; enabling again restarts the interval.
void FrmLaunch::TimerCheckResources_Timer() {
  TimerCheckResources.SetTimerEnabled(false);
  ++nCheckResourcesTicks;
  if (nCheckResourcesTicks > kCheckResourcesThreshold) {
    nCheckResourcesTicks = 0;
    launcher_.exchange().RefreshLocalHostInfo();
  }
  TimerCheckResources.SetTimerEnabled(true);
}

void FrmLaunch::TimerSendMessages_Timer() {
  TimerSendMessages.SetTimerEnabled(false);
  ++nSendMessagesTicks;
  if (nSendMessagesTicks > kSendMessagesThreshold) {
    nSendMessagesTicks = 0;
    launcher_.exchange().BroadcastLocalHostInfo();
  }
  TimerSendMessages.SetTimerEnabled(true);
}

void FrmLaunch::TimerMonitor_Timer() {
  TimerMonitor.SetTimerEnabled(false);
  TimerMonitor.SetInterval(kWatchIntervalMs);
  launcher_.mainApp().MonitorMainApp();
  TimerMonitor.SetTimerEnabled(true);
}

void FrmLaunch::TimerVerifyCheckIn_Timer() {
  TimerVerifyCheckIn.SetTimerEnabled(false);
  TimerVerifyCheckIn.SetInterval(kWatchIntervalMs);
  checkIn_.VerifyCheckIn();
  TimerVerifyCheckIn.SetTimerEnabled(true);
}

}  // namespace launchagent
