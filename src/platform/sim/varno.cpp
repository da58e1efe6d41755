// The stand-in main application: after its window delay it opens a top-level window of
// class "ThunderRT6FormDC" titled "Varno", refuses a configured number of close
// requests, closes on the next one and ends.
//
// Options (in its program file): window-delay=<seconds> (default 2), refuse-close=<n>
// (-1: refuses every request), exit-after=<seconds> (ends by itself; 0 = never).
#include <cstdlib>

#include "platform/main_app_window.h"
#include "platform/sim/impl.h"

namespace launchagent::sim {

namespace {

double NumberOption(const ProgramStart& start, const char* sKey, double dDefault) {
  const std::string s = start.Option(sKey);
  if (s.empty()) return dDefault;
  char* end = nullptr;
  const double d = std::strtod(s.c_str(), &end);
  return end == s.c_str() ? dDefault : d;
}

Long Millis(double dSeconds) {
  if (dSeconds <= 0) return 0;
  if (dSeconds > 2e6) return 2000000000;
  return static_cast<Long>(dSeconds * 1000 + 0.5);
}

}  // namespace

void VarnoProgram(WorldImpl& w, platform::Platform& p, const ProgramStart& start) {
  const Long lngDelay = Millis(NumberOption(start, "window-delay", 2));
  int nRefuse = static_cast<int>(NumberOption(start, "refuse-close", 0));
  const Long lngExit = Millis(NumberOption(start, "exit-after", 0));
  const HostId host = start.host;
  const std::string sWho = "varno #" + std::to_string(start.pid);
  w.Record(host, TranscriptKind::Note, sWho + " parameters \"" + start.sParameters + "\"");

  ui::Form form("frmVarno", kMainAppTitle);
  bool bQuit = false;
  form.OnUserClose = [&] {
    if (nRefuse != 0) {
      if (nRefuse > 0) --nRefuse;
      w.Record(host, TranscriptKind::Note, sWho + " refused a close request");
      return;
    }
    bQuit = true;
  };
  auto& open = form.Add<ui::Timer>("tmrOpen", lngDelay, false);
  open.OnTick = [&] {
    open.SetTimerEnabled(false);
    form.Show();
    p.windows.AttachForm(form);
  };
  auto& quit = form.Add<ui::Timer>("tmrExit", lngExit, false);
  quit.OnTick = [&] { bQuit = true; };
  open.AttachDriver(&p.loop.Timers());
  quit.AttachDriver(&p.loop.Timers());
  if (lngDelay > 0) {
    open.SetTimerEnabled(true);
  } else {
    form.Show();
    p.windows.AttachForm(form);
  }
  if (lngExit > 0) quit.SetTimerEnabled(true);
  while (!bQuit) p.loop.WaitForEvents(3600);
  p.windows.DetachForm(form);
}

}  // namespace launchagent::sim
