// The shell, the stand-in main application, windows, message boxes, the registry, the
// kernel and the clocks.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/sim/world.h"
#include "platform/ui/form.h"

namespace launchagent::sim {
namespace {

using platform::Platform;

// Lines of one kind, as "<host> <text>".
std::vector<std::string> Lines(const World& w, const std::string& sKind) {
  std::vector<std::string> out;
  const std::string mark = " " + sKind + " ";
  for (auto& line : w.Transcript()) {
    const auto host = line.find(' ') + 1;
    const auto kind = line.find(' ', host);
    if (line.compare(kind, mark.size(), mark) == 0)
      out.push_back(line.substr(host, kind - host) + " " + line.substr(kind + mark.size()));
  }
  return out;
}

struct Desk {
  Desk() : w(31) {
    h = *w.AddHost("PC1");
    w.RegisterProgram("idle", [](Platform& p, const ProgramStart&) { p.loop.Run(); });
    pid = w.StartProcess(h, "idle", "C:\\App\\Launch.exe");
    w.RunFor(0);
    p = w.PlatformOf(pid);
  }
  template <class F>
  void In(F fn) {
    ASSERT_TRUE(w.Call(pid, fn));
  }
  // Counts windows the way the agent's watch does: from the first titled "Varno".
  int CountVarno() {
    int n = 0;
    In([&] {
      auto& ws = p->windows;
      for (auto hWnd = ws.FindWindowByTitle("Varno"); hWnd; hWnd = ws.NextWindow(hWnd))
        if (ws.ClassName(hWnd, 50) == "ThunderRT6FormDC" && ws.WindowText(hWnd, 50) == "Varno") ++n;
    });
    return n;
  }
  World w;
  HostId h = 0;
  ProcessId pid = 0;
  Platform* p = nullptr;
};

TEST(SimShell, ExecuteResults) {
  struct Case {
    const char* sName;
    std::string sVerb, sFile;
    Long want;
  };
  const std::vector<Case> cases = {
      {"program file", "open", "C:\\Apps\\Varno2.exe", 42},
      {"verb may be empty", "", "C:\\Apps\\Varno2.exe", 42},
      {"relative to the agent folder", "open", "Local.exe", 42},
      {"missing file", "open", "C:\\Apps\\Varno9.exe", 2},
      {"missing folder", "open", "C:\\Nope\\Varno2.exe", 3},
      {"missing drive", "open", "Q:\\Varno2.exe", 3},
      {"not a program", "open", "C:\\Apps\\readme.txt", 31},
      {"unknown program kind", "open", "C:\\Apps\\Other.exe", 31},
      {"a folder", "open", "C:\\Apps", 2},
      {"unknown verb", "print", "C:\\Apps\\Varno2.exe", 31},
      {"through a share", "open", "\\\\PC2\\c\\Varno\\Varno3.exe", 42},
      {"share of an unknown host", "open", "\\\\PC9\\c\\Varno\\Varno3.exe", 3},
      {"unreadable share", "open", "\\\\PC2\\locked\\Varno3.exe", 5},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sName);
    Desk d;
    const HostId h2 = *d.w.AddHost("PC2");
    d.w.WriteProgramFile(d.h, "C:\\Apps\\Varno2.exe", "varno");
    d.w.WriteProgramFile(d.h, "C:\\App\\Local.exe", "varno");
    d.w.WriteProgramFile(d.h, "C:\\Apps\\Other.exe", "nonesuch");
    d.w.WriteFile(d.h, "C:\\Apps\\readme.txt", "SIMPROGRAMS are not programs");
    d.w.WriteProgramFile(h2, "C:\\Varno\\Varno3.exe", "varno");
    d.w.AddShare(h2, "c", "C:\\");
    d.w.AddShare(h2, "locked", "C:\\Varno", false);
    Long r = 0;
    d.In([&] { r = d.p->shell.Execute(c.sVerb, c.sFile, "-default", "", 1); });
    EXPECT_EQ(r, c.want);
    const auto launches = Lines(d.w, "launch");
    ASSERT_EQ(launches.size(), 1u);
    EXPECT_EQ(launches[0],
              "PC1 \"" + c.sFile + "\" params \"-default\" result " + std::to_string(c.want));
    EXPECT_EQ(d.w.Processes(d.h).size(), c.want == 42 ? 2u : 1u);
  }
}

TEST(SimShell, StartedProgramSeesItsPathParametersAndOptions) {
  Desk d;
  ProgramStart seen;
  std::string folder;
  d.w.RegisterProgram("probe", [&](Platform& p, const ProgramStart& s) {
    seen = s;
    folder = p.files.AgentFolder();
  });
  d.w.WriteProgramFile(d.h, "C:\\Tools\\probe.exe", "probe", "alpha=1 beta gamma=x=y");
  d.In([&] {
    EXPECT_EQ(d.p->shell.Execute("open", "c:\\tools\\PROBE.exe", "-ReindexVarno ", "", 1), 42);
  });
  d.w.RunFor(Seconds(1));
  EXPECT_EQ(seen.sKind, "probe");
  EXPECT_EQ(seen.sPath, "C:\\tools\\PROBE.exe");
  EXPECT_EQ(folder, "C:\\tools");
  EXPECT_EQ(seen.sParameters, "-ReindexVarno ");
  EXPECT_EQ(seen.Option("alpha"), "1");
  EXPECT_EQ(seen.Option("BETA", "unset"), "");
  EXPECT_EQ(seen.Option("gamma"), "x=y");
  EXPECT_EQ(seen.Option("delta", "d"), "d");
}

TEST(SimVarno, OpensItsWindowAfterTheDelay) {
  Desk d;
  d.w.WriteProgramFile(d.h, "C:\\App\\Varno2.exe", "varno", "window-delay=5");
  d.In(
      [&] { EXPECT_EQ(d.p->shell.Execute("open", "C:\\App\\Varno2.exe", "-default", "", 1), 42); });
  d.w.RunFor(Seconds(4));
  EXPECT_EQ(d.CountVarno(), 0);
  d.w.RunFor(Seconds(2));
  EXPECT_EQ(d.CountVarno(), 1);
  auto windows = d.w.Windows(d.h);
  ASSERT_EQ(windows.size(), 1u);
  EXPECT_EQ(windows[0].sClass, "ThunderRT6FormDC");
  EXPECT_EQ(windows[0].sTitle, "Varno");
  EXPECT_TRUE(windows[0].bVisible);
  const auto notes = Lines(d.w, "note");
  ASSERT_FALSE(notes.empty());
  EXPECT_EQ(notes[0], "PC1 varno #2 parameters \"-default\"");
}

TEST(SimVarno, RefusesConfiguredCloseRequestsThenEnds) {
  struct Case {
    int nRefuse;
    int wantSends;
  };
  for (const Case c : {Case{0, 1}, Case{2, 3}, Case{5, 6}}) {
    SCOPED_TRACE(c.nRefuse);
    Desk d;
    const ProcessId varno =
        d.w.StartProcess(d.h, "varno", "C:\\App\\Varno2.exe", "-default",
                         {{"window-delay", "0"}, {"refuse-close", std::to_string(c.nRefuse)}});
    d.w.RunFor(Seconds(1));
    ASSERT_EQ(d.CountVarno(), 1);
    int nSends = 0;
    const Nanos before = d.w.Now();
    // CloseMainApplication's loop: close, pump, look again.
    d.In([&] {
      auto& ws = d.p->windows;
      for (auto hWnd = ws.FindWindowByTitle("Varno"); hWnd; hWnd = ws.FindWindowByTitle("Varno")) {
        EXPECT_TRUE(ws.SendClose(hWnd));
        ++nSends;
        d.p->loop.ProcessPendingEvents();
        ASSERT_LT(nSends, 100);
      }
    });
    EXPECT_EQ(nSends, c.wantSends);
    // Each request costs the sender a little virtual time.
    EXPECT_GE(d.w.Now() - before, nSends * Milliseconds(10));
    d.w.RunFor(Seconds(1));
    EXPECT_FALSE(d.w.Alive(varno));
    EXPECT_EQ(d.CountVarno(), 0);
  }
}

TEST(SimVarno, CanBeKilledOrEndItself) {
  Desk d;
  const ProcessId a = d.w.StartProcess(d.h, "varno", "", "", {{"window-delay", "1"}});
  const ProcessId b =
      d.w.StartProcess(d.h, "varno", "", "", {{"window-delay", "1"}, {"exit-after", "10"}});
  d.w.RunFor(Seconds(2));
  EXPECT_EQ(d.CountVarno(), 2);
  EXPECT_TRUE(d.w.Kill(a));
  EXPECT_EQ(d.CountVarno(), 1);
  d.w.RunFor(Seconds(10));
  EXPECT_FALSE(d.w.Alive(b));
  EXPECT_EQ(d.CountVarno(), 0);
}

TEST(SimWindows, ZOrderClassesTitlesAndForms) {
  Desk d;
  const auto folder = d.w.AddWindow(d.h, "CabinetWClass", "Varno");
  const auto other = d.w.AddWindow(d.h, "ThunderRT6FormDC", "Varno Setup");
  ui::Form form("frmLaunch", "");
  d.In([&] {
    auto& ws = d.p->windows;
    ws.AttachForm(form);
    form.Show();
    form.SetCaption("Launch Service for Varno");
    EXPECT_NE(ws.FindWindowByTitle("Launch Service for Varno"), 0);
    // Newest on top: the form, then "Varno Setup", then the folder window.
    const auto top = ws.FindWindowByTitle("Launch Service for Varno");
    EXPECT_EQ(ws.NextWindow(top), other);
    EXPECT_EQ(ws.NextWindow(other), folder);
    EXPECT_EQ(ws.NextWindow(folder), 0);
    EXPECT_EQ(ws.FindWindowByTitle("Varno"), folder);
    EXPECT_EQ(ws.FindWindowByTitle("varno"), 0);  // case counts
    EXPECT_EQ(ws.ClassName(folder, 50), "CabinetWClass");
    EXPECT_EQ(ws.ClassName(folder, 4), "Cab");
    EXPECT_FALSE(ws.ClassName(folder, 0).has_value());
    EXPECT_EQ(ws.WindowText(top, 50), "Launch Service for Varno");
    EXPECT_FALSE(ws.WindowText(999, 50).has_value());
    form.Hide();
    EXPECT_EQ(ws.FindWindowByTitle("Launch Service for Varno"), top);  // hidden still found
  });
  EXPECT_EQ(d.CountVarno(), 0);  // a folder window titled Varno is not the application
  auto f = d.w.FindForm(d.h, "frmLaunch");
  ASSERT_TRUE(f.has_value());
  EXPECT_EQ(f->form, &form);
  EXPECT_EQ(f->owner, d.pid);
  EXPECT_FALSE(f->bVisible);
  d.In([&] { d.p->windows.DetachForm(form); });
  EXPECT_FALSE(d.w.FindForm(d.h, "frmLaunch").has_value());
  const std::vector<std::string> want = {
      "PC1 #1 opened CabinetWClass \"Varno\"",
      "PC1 #2 opened ThunderRT6FormDC \"Varno Setup\"",
      "PC1 #3 opened ThunderRT6FormDC \"\" form frmLaunch process #1 hidden",
      "PC1 #3 shown",
      "PC1 #3 retitled \"Launch Service for Varno\"",
      "PC1 #3 hidden",
      "PC1 #3 closed \"Launch Service for Varno\""};
  EXPECT_EQ(Lines(d.w, "window"), want);
}

TEST(SimWindows, ClosingAFormAsksItsOwner) {
  Desk d;
  int nAsked = 0;
  ui::Form form("frmLaunch", "Launch Service for Varno");
  form.OnUserClose = [&] { ++nAsked; };
  d.In([&] { d.p->windows.AttachForm(form); });
  auto f = d.w.FindForm(d.h, "frmLaunch");
  ASSERT_TRUE(d.w.CloseWindow(d.h, f->hWnd));
  EXPECT_EQ(nAsked, 0);  // handled on the owner's loop
  d.w.RunFor(0);
  EXPECT_EQ(nAsked, 1);
  // Another process closing it waits until the owner has handled it.
  const ProcessId other = d.w.StartProcess(d.h, "idle");
  d.w.RunFor(0);
  Platform* q = d.w.PlatformOf(other);
  ASSERT_TRUE(d.w.Call(other, [&] { EXPECT_TRUE(q->windows.SendClose(f->hWnd)); }));
  EXPECT_EQ(nAsked, 2);
  d.In([&] { d.p->windows.DetachForm(form); });
  ASSERT_TRUE(d.w.Call(other, [&] { EXPECT_FALSE(q->windows.SendClose(f->hWnd)); }));
  EXPECT_FALSE(d.w.CloseWindow(d.h, f->hWnd));
}

TEST(SimWindows, ScenarioWindowRefusesThenCloses) {
  Desk d;
  const auto hWnd = d.w.AddWindow(d.h, "ThunderRT6FormDC", "Varno", 1);
  EXPECT_EQ(d.CountVarno(), 1);
  EXPECT_TRUE(d.w.CloseWindow(d.h, hWnd));
  EXPECT_EQ(d.CountVarno(), 1);
  EXPECT_TRUE(d.w.CloseWindow(d.h, hWnd));
  EXPECT_EQ(d.CountVarno(), 0);
}

TEST(SimWindows, MessageBoxIsRecordedAndAnswered) {
  Desk d;
  d.In([&] { d.p->windows.MessageBox("Agent Setup", "Could not save.\r\nDisk full"); });
  EXPECT_EQ(Lines(d.w, "msgbox"),
            (std::vector<std::string>{"PC1 \"Agent Setup\" \"Could not save.\\r\\nDisk full\""}));
}

TEST(SimRegistry, RunValueAndDeniedAccess) {
  Desk d;
  const std::string sRun = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";
  d.In([&] {
    auto key = d.p->registry.CreateKey(platform::RegistryRoot::LocalMachine, sRun);
    ASSERT_TRUE(key.has_value());
    EXPECT_TRUE(d.p->registry.SetStringValue(*key, "1", d.p->files.AgentFolder() + "\\Launch.exe"));
    EXPECT_TRUE(d.p->registry.CloseKey(*key));
    EXPECT_FALSE(d.p->registry.CloseKey(*key));
    EXPECT_FALSE(d.p->registry.SetStringValue(*key, "1", "x"));
  });
  EXPECT_EQ(d.w.RegistryValue(d.h, platform::RegistryRoot::LocalMachine, sRun, "1"),
            "C:\\App\\Launch.exe");
  EXPECT_EQ(
      Lines(d.w, "registry"),
      (std::vector<std::string>{"PC1 HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Run 1 = "
                                "C:\\App\\Launch.exe"}));
  d.w.DenyLocalMachine(d.h, true);
  d.In([&] {
    EXPECT_FALSE(d.p->registry.CreateKey(platform::RegistryRoot::LocalMachine, sRun).has_value());
    EXPECT_TRUE(d.p->registry.CreateKey(platform::RegistryRoot::CurrentUser, sRun).has_value());
  });
}

TEST(SimRegistry, RestartStartsTheRunPrograms) {
  Desk d;
  d.w.WriteProgramFile(d.h, "C:\\Program Files\\Launch\\Launch.exe", "varno", "window-delay=0");
  d.w.SetRegistryValue(d.h, platform::RegistryRoot::LocalMachine,
                       "Software\\Microsoft\\Windows\\CurrentVersion\\Run", "1",
                       "C:\\Program Files\\Launch\\Launch.exe");
  d.w.CrashHost(d.h);
  EXPECT_TRUE(d.w.Processes(d.h).empty());
  d.w.RestartHost(d.h);
  d.w.RunFor(Seconds(1));
  auto ps = d.w.Processes(d.h);
  ASSERT_EQ(ps.size(), 1u);
  EXPECT_EQ(ps[0].sPath, "C:\\Program Files\\Launch\\Launch.exe");
}

TEST(SimKernel, ComputerName) {
  World w(1);
  HostSetup setup;
  setup.sWinsockName = "pc07";
  setup.sComputerName = "DESK-07";
  const HostId h = *w.AddHost(setup);
  w.RegisterProgram("idle", [](Platform& p, const ProgramStart&) { p.loop.Run(); });
  const ProcessId pid = w.StartProcess(h, "idle");
  w.RunFor(0);
  Platform* p = w.PlatformOf(pid);
  w.Call(pid, [&] {
    EXPECT_EQ(p->kernel.ComputerName(), "DESK-07");
    EXPECT_EQ(p->sockets.HostName(), "pc07");
  });
  w.SetComputerNameFails(h, true);
  w.Call(pid, [&] { EXPECT_FALSE(p->kernel.ComputerName().has_value()); });
}

TEST(SimClock, OffsetSkewAndJumps) {
  World w(1);
  HostSetup setup;
  setup.sWinsockName = "PC1";
  setup.dClockOffsetSeconds = -3600;
  const HostId h1 = *w.AddHost(setup);
  setup.sWinsockName = "PC2";
  setup.dClockOffsetSeconds = 0;
  setup.dClockSkewPpm = 1000;  // a millisecond fast per second
  const HostId h2 = *w.AddHost(setup);
  w.RegisterProgram("idle", [](Platform& p, const ProgramStart&) { p.loop.Run(); });
  const ProcessId pid = w.StartProcess(h1, "idle");
  w.RunFor(0);
  EXPECT_EQ(w.HostTime(h1).ToText(), "2026-01-05 07:00:00");
  EXPECT_EQ(w.HostTime(h2).ToText(), "2026-01-05 08:00:00");
  w.RunFor(Seconds(1000));
  EXPECT_EQ(w.HostTime(h1).ToText(), "2026-01-05 07:16:40");
  EXPECT_EQ(w.HostTime(h2).ToText(), "2026-01-05 08:16:41");
  double secs = 0;
  w.Call(pid, [&] { secs = w.PlatformOf(pid)->clock.SecondsSinceMidnight(); });
  EXPECT_DOUBLE_EQ(secs, 7 * 3600 + 1000);
  w.JumpClock(h1, w.Now() + Seconds(10), -7200);
  w.SetClock(h2, w.Now() + Seconds(10), DateTime::FromCivil(2026, 1, 6, 23, 59, 59));
  w.RunFor(Seconds(10));
  EXPECT_EQ(w.HostTime(h1).ToText(), "2026-01-05 05:16:50");
  EXPECT_EQ(w.HostTime(h2).ToText(), "2026-01-06 23:59:59");
  w.RunFor(Seconds(1));
  EXPECT_EQ(w.HostTime(h2).ToText(), "2026-01-07 00:00:00");
  w.Call(pid, [&] { EXPECT_EQ(w.PlatformOf(pid)->clock.Now(), w.HostTime(h1)); });
}

}  // namespace
}  // namespace launchagent::sim
