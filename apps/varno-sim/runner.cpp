#include "runner.h"

#include <cctype>
#include <map>
#include <memory>

#include "agent/agent.h"
#include "platform/date_time.h"
#include "platform/main_app_window.h"
#include "platform/sim/world.h"
#include "platform/ui/controls.h"
#include "platform/ui/form.h"

namespace launchagent::scenario {

namespace {

constexpr const char* kAgentKind = "launch";
constexpr const char* kMainAppKind = "varno";

double ToSeconds(Nanos n) { return static_cast<double>(n) / static_cast<double>(kNanosPerSecond); }

std::string ShareName(const std::string& sUNC) { return sUNC.substr(sUNC.find('\\', 2) + 1); }

std::string JoinOptions(const std::vector<std::pair<std::string, std::string>>& options) {
  std::string s;
  for (const auto& [k, v] : options) {
    if (!s.empty()) s += ' ';
    s += k + "=" + v;
  }
  return s;
}

// One run: the world and the agents living in it. The agents' map is declared before
// the world, so it outlives the world's destructor, which unwinds every agent.
class Run {
 public:
  Run(const Scenario& scenario, const RunOptions& options)
      : scenario_(scenario),
        world_(std::make_unique<sim::World>(options.lngSeed.value_or(scenario.lngSeed))) {
    world_->SetNetTrace(scenario.bNetEvents || options.bNetEvents);
    if (options.sink) world_->SetTranscriptSink(options.sink);
    world_->KeepTranscript(options.bKeepTranscript);
    world_->SetStartDateTime(DateTime::FromCivil(scenario.nYear, scenario.nMonth, scenario.nDay,
                                                 scenario.nHour, scenario.nMinute,
                                                 scenario.nSecond));
    // A "Launch.exe" program file runs the agent on its own process.
    world_->RegisterProgram(kAgentKind,
                            [this](platform::Platform& platform, const sim::ProgramStart& start) {
                              launchagent::Agent agent(platform);
                              const AgentEntry entry(agents_, start.pid, agent);
                              agent.Main();
                              platform.loop.Run();
                            });
  }

  RunResult Go() {
    RunResult result;
    Build(result.setupErrors);
    if (!result.setupErrors.empty()) return result;
    for (const Step& step : scenario_.steps) {
      if (step.bRunUntil) continue;
      const Action* a = &step.action;
      world_->At(a->at, [this, a] { Perform(*a); });
    }
    world_->RunUntil(scenario_.EndTime());
    result.transcript = world_->TakeTranscript();
    result.actionErrors = std::move(actionErrors_);
    return result;
  }

 private:
  // Keeps the pid -> Agent entry for as long as the agent's stack frame lives.
  class AgentEntry {
   public:
    AgentEntry(std::map<sim::ProcessId, Agent*>& agents, sim::ProcessId pid, Agent& agent)
        : agents_(agents), pid_(pid) {
      agents_[pid_] = &agent;
    }
    ~AgentEntry() { agents_.erase(pid_); }
    AgentEntry(const AgentEntry&) = delete;
    AgentEntry& operator=(const AgentEntry&) = delete;

   private:
    std::map<sim::ProcessId, Agent*>& agents_;
    sim::ProcessId pid_;
  };

  void Build(std::vector<Diagnostic>& errors) {
    auto fail = [&](int nLine, const std::string& s) { errors.push_back({nLine, s}); };
    // Every host first, so that names and shares of the others are known.
    for (const HostSetup& h : scenario_.hosts) {
      sim::HostSetup host;
      host.sWinsockName = h.sName;
      host.sComputerName = h.sComputerName;
      host.sAddress = h.sAddress;
      host.dClockOffsetSeconds = ToSeconds(h.clockOffset);
      host.dClockSkewPpm = h.dClockSkewPpm;
      const auto id = world_->AddHost(host);
      if (!id) {
        fail(h.nLine, "the world refused host '" + h.sName + "' (name or address taken?)");
        continue;
      }
      hosts_[Lower(h.sName)] = *id;
    }
    if (!errors.empty()) return;
    for (const HostSetup& h : scenario_.hosts) BuildHost(h, hosts_.at(Lower(h.sName)), fail);
  }

  template <class Fail>
  void BuildHost(const HostSetup& h, sim::HostId id, Fail&& fail) {
    sim::World& w = *world_;
    if (h.bComputerNameFails) w.SetComputerNameFails(id, true);
    for (const std::string& sFolder : h.folders)
      if (!w.MakeFolder(id, sFolder)) fail(h.nLine, "cannot make folder '" + sFolder + "'");
    for (const DiskSetup& d : h.disks)
      w.SetDiskCapacity(id, d.sDrive[0], static_cast<std::uint64_t>(d.lngCapacity));
    for (const FileSetup& f : h.files) {
      const bool bOk = f.sProgram.empty()
                           ? w.WriteFile(id, f.sPath, f.sText, f.bHidden)
                           : w.WriteProgramFile(id, f.sPath, f.sProgram, JoinOptions(f.options)) &&
                                 (!f.bHidden || w.SetHidden(id, f.sPath, true));
      if (!bOk) fail(f.nLine, "cannot write file '" + f.sPath + "'");
    }
    for (const ShareSetup& s : h.shares)
      if (!w.AddShare(id, ShareName(s.sUNC), s.sFolder, s.bReadable))
        fail(s.nLine, "cannot add share '" + s.sUNC + "' (does '" + s.sFolder + "' exist?)");
    for (const WindowSetup& win : h.windows)
      w.AddWindow(id, win.sClass, win.sTitle, win.nRefuseClose);
    for (const NameEntry& n : h.names) w.AddNameEntry(id, n.sName, n.sAddress);
    if (h.visibleShares) w.SetVisibleShares(id, *h.visibleShares);
    if (h.shareSearchTime) w.SetShareSearchTime(id, *h.shareSearchTime);
    if (h.bShareSearchError) w.SetShareSearchError(id, true);
    if (h.bRegistryDenied) w.DenyLocalMachine(id, true);
    if (h.bSystemFolderMissing)
      w.SetSystemFolder(id, std::nullopt);
    else if (!h.sSystemFolder.empty())
      w.SetSystemFolder(id, h.sSystemFolder);

    sim::SocketsLibrarySettings& lib = w.SocketsLibrary(id);
    const SocketsFaults& f = h.sockets;
    if (f.lngStartupResult) lib.lngStartupResult = *f.lngStartupResult;
    if (f.wVersion) lib.wVersion = *f.wVersion;
    if (f.lngMaxSockets) lib.lngMaxSockets = *f.lngMaxSockets;
    if (f.bCleanupFails) lib.lngCleanupResult = -1;
    if (f.lngLastError) lib.lngLastError = *f.lngLastError;
    if (f.bHostNameFails) lib.bHostNameFails = true;
    if (f.bAllLookupsFail) lib.bAllLookupsFail = true;
    if (f.lookupTime) lib.lookupTime = *f.lookupTime;
    for (const std::string& sName : f.lookupFailures) w.FailLookup(id, sName, true);
  }

  static std::string Lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
  }

  sim::HostId Host(const std::string& sName) const { return hosts_.at(Lower(sName)); }

  void ActionFailed(const Action& a, const std::string& sWhy) {
    world_->Note(Host(a.sHost), "scenario line " + std::to_string(a.nLine) + ": " + sWhy);
    actionErrors_.push_back({a.nLine, sWhy});
  }

  // Live processes of a kind on a host, oldest first.
  std::vector<sim::ProcessId> ProcessesOf(sim::HostId id, const std::string& sKind) const {
    std::vector<sim::ProcessId> pids;
    for (const sim::ProcessInfo& p : world_->Processes(id))
      if (p.sKind == sKind && p.bAlive) pids.push_back(p.pid);
    return pids;
  }

  void Perform(const Action& a) {
    sim::World& w = *world_;
    // Each action shows in the transcript where it happens.
    w.Note(a.sHost == "*" ? std::nullopt : std::optional<sim::HostId>(Host(a.sHost)),
           "scenario: " + a.sSource);
    if (a.kind == ActionKind::kHeal && a.sHost == "*") {
      // Heal ends exact pairs only: every pair, and the wildcards, both ways.
      std::vector<sim::HostId> all{sim::kAnyHost};
      for (const auto& [name, id] : hosts_) all.push_back(id);
      for (sim::HostId from : all)
        for (sim::HostId to : all) w.Heal(from, to);
      return;
    }
    const sim::HostId id = Host(a.sHost);
    const sim::HostId peer = a.sPeer.empty() ? id : Host(a.sPeer);
    switch (a.kind) {
      case ActionKind::kStartAgent: {
        const HostSetup& h = *scenario_.FindHost(a.sHost);
        const std::string sPath = (a.sPath.empty() ? h.sAgentFolder : a.sPath) + "\\Launch.exe";
        if (!w.ReadFile(id, sPath) && !w.WriteProgramFile(id, sPath, kAgentKind))
          return ActionFailed(a, "cannot place " + sPath);
        const sim::StartResult r = w.StartProgram(id, sPath);
        if (r.pid == 0)
          ActionFailed(a, "cannot start " + sPath + " (" + std::to_string(r.lngResult) + ")");
        return;
      }
      case ActionKind::kStart: {
        const sim::StartResult r = w.StartProgram(id, a.sPath, a.sParameters);
        if (r.pid == 0)
          ActionFailed(a, "cannot start " + a.sPath + " (" + std::to_string(r.lngResult) + ")");
        return;
      }
      case ActionKind::kCloseApp: {
        bool bAny = false;
        for (const sim::WindowInfo& win : w.Windows(id))
          if (win.sClass == kFormWindowClass && win.sTitle == kMainAppTitle && win.owner != 0) {
            w.CloseWindow(id, win.hWnd);
            bAny = true;
          }
        if (!bAny) ActionFailed(a, "no main application window to close");
        return;
      }
      case ActionKind::kKillApp:
      case ActionKind::kKillAgent: {
        const auto pids =
            ProcessesOf(id, a.kind == ActionKind::kKillApp ? kMainAppKind : kAgentKind);
        if (pids.empty()) return ActionFailed(a, "nothing to kill");
        for (sim::ProcessId pid : pids) w.Kill(pid);
        return;
      }
      case ActionKind::kClockJump:
        w.JumpClock(id, w.Now(), ToSeconds(a.delta));
        return;
      case ActionKind::kPartition: {
        const sim::Nanos end = a.delta > 0 ? w.Now() + a.delta : sim::kForever;
        w.Partition(id, peer, w.Now(), end);
        if (a.bBothWays) w.Partition(peer, id, w.Now(), end);
        return;
      }
      case ActionKind::kHeal:
        w.Heal(id, peer);
        if (a.bBothWays) w.Heal(peer, id);
        return;
      case ActionKind::kCrash:
        w.CrashHost(id);
        return;
      case ActionKind::kRestart:
        w.RestartHost(id, true);
        return;
      case ActionKind::kSendBytes:
        w.RawSend(id, w.HostName(peer), a.nPort, a.bytes);
        return;
      case ActionKind::kMergeNextSends:
        w.MergeNextSends(id, peer);
        return;
      case ActionKind::kSplitNextSend:
        w.SplitNextSend(id, peer);
        return;
      case ActionKind::kOpenSetup: {
        const auto pids = ProcessesOf(id, kAgentKind);
        const auto it = pids.empty() ? agents_.end() : agents_.find(pids.front());
        if (it == agents_.end()) return ActionFailed(a, "no agent running");
        const sim::ProcessId pid = it->first;
        if (!w.Call(pid, [this, pid] {
              const auto found = agents_.find(pid);
              if (found != agents_.end()) found->second->OpenAgentSetup();
            }))
          ActionFailed(a, "the agent ended while opening Agent Setup");
        return;
      }
      case ActionKind::kClick:
      case ActionKind::kSelect:
      case ActionKind::kType:
        return UseControl(a, id);
      case ActionKind::kCloseWindow: {
        const auto form = w.FindForm(id, a.sForm);
        if (!form) return ActionFailed(a, "no window " + a.sForm);
        w.CloseWindow(id, form->hWnd);
        return;
      }
    }
  }

  // Clicks, selections and typing run inside the owning agent's process, where their
  // handlers may pump events or end the process.
  void UseControl(const Action& a, sim::HostId id) {
    sim::World& w = *world_;
    const auto form = w.FindForm(id, a.sForm);
    if (!form || !form->form || form->owner == 0) return ActionFailed(a, "no window " + a.sForm);
    ui::Control* control = form->form->Find(a.sControl);
    if (!control) return ActionFailed(a, "no control " + a.sForm + "." + a.sControl);
    std::string sProblem;
    if (a.kind == ActionKind::kClick && !dynamic_cast<ui::CommandButton*>(control) &&
        !dynamic_cast<ui::CheckBox*>(control))
      sProblem = a.sControl + " cannot be clicked";
    if (a.kind == ActionKind::kSelect) {
      auto* list = dynamic_cast<ui::ListBox*>(control);
      if (!list) sProblem = a.sControl + " is not a list";
      for (int n : a.indexes)
        if (list && n >= list->ListCount())
          sProblem = a.sControl + " has no entry " + std::to_string(n);
    }
    if (a.kind == ActionKind::kType && !dynamic_cast<ui::TextBox*>(control))
      sProblem = a.sControl + " is not a text box";
    if (!sProblem.empty()) return ActionFailed(a, sProblem);

    const bool bDone = w.Call(form->owner, [&w, &a, id] {
      // Found again inside the process: the form may have changed since.
      const auto again = w.FindForm(id, a.sForm);
      if (!again || !again->form) return;
      ui::Control* c = again->form->Find(a.sControl);
      if (auto* button = dynamic_cast<ui::CommandButton*>(c)) {
        button->Click();
      } else if (auto* check = dynamic_cast<ui::CheckBox*>(c)) {
        check->Click();
      } else if (auto* list = dynamic_cast<ui::ListBox*>(c)) {
        bool bAdd = false;
        for (int n : a.indexes) {
          list->UserClick(static_cast<Integer>(n), bAdd);
          bAdd = true;
        }
      } else if (auto* text = dynamic_cast<ui::TextBox*>(c)) {
        text->UserType(a.sText);
      }
    });
    // A handler that ends the process (a failing clean-up) is a result, not a failure.
    if (!bDone && w.Alive(form->owner)) ActionFailed(a, "the control's process did not answer");
  }

  const Scenario& scenario_;
  std::map<sim::ProcessId, Agent*> agents_;
  std::unique_ptr<sim::World> world_;
  std::map<std::string, sim::HostId> hosts_;
  std::vector<Diagnostic> actionErrors_;
};

}  // namespace

RunResult RunScenario(const Scenario& scenario, const RunOptions& options) {
  Run run(scenario, options);
  return run.Go();
}

}  // namespace launchagent::scenario
