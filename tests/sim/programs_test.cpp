// The shell, the stand-in main application, windows, message boxes, the registry and the
// kernel. The stand-in's window delay, refusals, exit and kill, the cost of a close
// request, clock offsets and steps, the restart of Run programs, window titles, lines
// and message boxes are in tests/scenarios/sim-*.scn (window order, class names and
// hidden windows in tests/contract and launcher-watch.scn); processes reading their
// host's clock in clock-step.scn.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "desk.h"
#include "platform/ui/form.h"

namespace launchagent::sim {
namespace {

using platform::Platform;
using Strings = std::vector<std::string>;

// Lines of one kind, as "<host> <text>".
Strings Lines(const World& w, const std::string& sKind) {
  Strings out;
  const std::string mark = " " + sKind + " ";
  for (auto& line : w.Transcript()) {
    const auto host = line.find(' ') + 1;
    const auto kind = line.find(' ', host);
    if (line.compare(kind, mark.size(), mark) == 0)
      out.push_back(line.substr(host, kind - host) + " " + line.substr(kind + mark.size()));
  }
  return out;
}

// What only the shell adds to a start: the verb, a path relative to the caller's agent
// folder, and the launch line. What a start returns for each path:
// tests/scenarios/failing/start-results.scn and sim-start-programs.scn.
TEST(SimShell, VerbsAndPathsRelativeToTheAgentFolder) {
  struct Case {
    std::string sVerb, sFile;
    Long want;
  };
  for (const Case& c : {Case{"open", "Local.exe", 42}, Case{"", "Local.exe", 42},
                        Case{"print", "C:\\App\\Local.exe", 31}}) {
    Desk d(31);
    d.w.Programs().WriteProgramFile(d.h, "C:\\App\\Local.exe", "varno");
    Long r = 0;
    d.In([&] { r = d.p->shell.Execute(c.sVerb, c.sFile, "-default", "", 1); });
    EXPECT_EQ(r, c.want) << c.sVerb << " " << c.sFile;
    EXPECT_EQ(Lines(d.w, "launch"), Strings{"PC1 \"" + c.sFile + "\" params \"-default\" result " +
                                            std::to_string(c.want)});
  }
}

// The parameters and the options of its program file, as the started program reads
// them. Its path and folder show in every scenario's process lines and agent files.
TEST(SimShell, StartedProgramSeesItsParametersAndOptions) {
  Desk d(31);
  ProgramStart seen;
  d.w.Programs().RegisterProgram("probe", [&](Platform&, const ProgramStart& s) { seen = s; });
  d.w.Programs().WriteProgramFile(d.h, "C:\\Tools\\probe.exe", "probe", "alpha=1 beta gamma=x=y");
  d.In([&] { d.p->shell.Execute("open", "C:\\Tools\\probe.exe", "-ReindexVarno ", "", 1); });
  d.w.RunFor(Seconds(1));
  EXPECT_EQ(seen.sParameters, "-ReindexVarno ");
  EXPECT_EQ(seen.Option("BETA", "unset"), "");
  EXPECT_EQ(seen.Option("gamma"), "x=y");
  EXPECT_EQ(seen.Option("delta", "d"), "d");
}

// A form's close request goes to its owner's loop; from another process SendClose
// returns once the owner has handled it. Another program's window that refuses a number
// of requests: tests/scenarios/check-in-ages.scn.
TEST(SimWindows, CloseRequests) {
  Desk d(31);
  int nAsked = 0;
  ui::Form form("frmLaunch", "Launch Service for Varno");
  form.OnUserClose = [&] { ++nAsked; };
  d.In([&] { d.p->windows.AttachForm(form); });
  const auto hForm = d.w.Programs().FindForm(d.h, "frmLaunch")->hWnd;
  ASSERT_TRUE(d.w.Programs().CloseWindow(d.h, hForm));
  EXPECT_EQ(nAsked, 0);
  d.w.RunFor(0);
  EXPECT_EQ(nAsked, 1);
  const ProcessId other = d.w.Programs().StartProcess(d.h, "idle");
  d.w.RunFor(0);
  Platform* q = d.w.Programs().PlatformOf(other);
  ASSERT_TRUE(d.w.Call(other, [&] { EXPECT_TRUE(q->windows.SendClose(hForm)); }));
  EXPECT_EQ(nAsked, 2);
  d.In([&] { d.p->windows.DetachForm(form); });
  ASSERT_TRUE(d.w.Call(other, [&] { EXPECT_FALSE(q->windows.SendClose(hForm)); }));
  EXPECT_FALSE(d.w.Programs().CloseWindow(d.h, hForm));
}

// A key closes once and is of no use after. Writing the Run value, denied or not, and the
// computer name as the agent sees them: tests/contract, tests/agent,
// tests/scenarios/startup.scn, registry-denied.scn, check-in-computer-name.scn.
TEST(SimRegistry, KeysCloseOnceAndTheKernelNameCanFail) {
  Desk d(31);
  d.w.Hosts().DenyLocalMachine(d.h, true);
  d.w.Hosts().SetComputerNameFails(d.h, true);
  d.In([&] {
    auto& reg = d.p->registry;
    EXPECT_FALSE(reg.CreateKey(platform::RegistryRoot::LocalMachine, "Software").has_value());
    auto key = reg.CreateKey(platform::RegistryRoot::CurrentUser, "Software");
    ASSERT_TRUE(key.has_value());
    EXPECT_TRUE(reg.CloseKey(*key));
    EXPECT_FALSE(reg.CloseKey(*key));
    EXPECT_FALSE(reg.SetStringValue(*key, "1", "x"));
    EXPECT_FALSE(d.p->kernel.ComputerName().has_value());
  });
}

}  // namespace
}  // namespace launchagent::sim
