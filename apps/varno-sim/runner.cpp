#include "runner.h"

#include <cctype>
#include <map>
#include <memory>
#include <variant>

#include "agent/agent.h"
#include "form_lines.h"
#include "messages/image_text.h"
#include "messages/property_bag.h"
#include "platform/date_time.h"
#include "platform/main_app_window.h"
#include "platform/sim/world.h"
#include "platform/text.h"
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

// A send in the net trace: the message image it carries, decoded, on one line.
std::string SendText(const Bytes& data) {
  PropertyBag bag;
  const std::string sSize = std::to_string(data.size()) + " bytes";
  if (!bag.SetContents(data)) return sSize + ", not one image";
  return "image " + sSize + ": " + image_text::ShowImageLine(bag);
}

// One run: the world and the agents living in it. The agents' map is declared before
// the world, so it outlives the world's destructor, which unwinds every agent.
class Run {
 public:
  Run(const Scenario& scenario, const RunOptions& options)
      : scenario_(scenario),
        world_(std::make_unique<sim::World>(options.lngSeed.value_or(scenario.lngSeed))) {
    world_->Net().SetTrace(scenario.bNetEvents || options.bNetEvents);
    world_->Net().SetSendText(SendText);
    if (options.sink) world_->SetTranscriptSink(options.sink);
    world_->KeepTranscript(options.bKeepTranscript);
    world_->SetStartDateTime(DateTime::FromCivil(scenario.nYear, scenario.nMonth, scenario.nDay,
                                                 scenario.nHour, scenario.nMinute,
                                                 scenario.nSecond));
    // A "Launch.exe" program file runs the agent on its own process.
    world_->Programs().RegisterProgram(
        kAgentKind, [this](platform::Platform& platform, const sim::ProgramStart& start) {
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
      const auto id = world_->Hosts().AddHost(host);
      if (!id) {
        fail(h.nLine, "the world refused host '" + h.sName + "' (name or address taken?)");
        continue;
      }
      hosts_[AsciiLower(h.sName)] = *id;
    }
    if (!errors.empty()) return;
    for (const HostSetup& h : scenario_.hosts) BuildHost(h, hosts_.at(AsciiLower(h.sName)), fail);
  }

  template <class Fail>
  void BuildHost(const HostSetup& h, sim::HostId id, Fail&& fail) {
    sim::World& w = *world_;
    if (h.bComputerNameFails) w.Hosts().SetComputerNameFails(id, true);
    for (const std::string& sFolder : h.folders)
      if (!w.Files().MakeFolder(id, sFolder)) fail(h.nLine, "cannot make folder '" + sFolder + "'");
    for (const DiskSetup& d : h.disks)
      w.Files().SetDiskCapacity(id, d.sDrive[0], static_cast<std::uint64_t>(d.lngCapacity));
    for (const FileSetup& f : h.files)
      if (!WriteFileSetup(id, f)) fail(f.nLine, "cannot write file '" + f.sPath + "'");
    for (const ShareSetup& s : h.shares)
      if (!w.Files().AddShare(id, ShareName(s.sUNC), s.sFolder, s.bReadable))
        fail(s.nLine, "cannot add share '" + s.sUNC + "' (does '" + s.sFolder + "' exist?)");
    for (const WindowSetup& win : h.windows)
      w.Programs().AddWindow(id, win.sClass, win.sTitle, win.nRefuseClose);
    for (const NameEntry& n : h.names) w.Net().AddNameEntry(id, n.sName, n.sAddress);
    if (h.visibleShares) w.Files().SetVisibleShares(id, *h.visibleShares);
    if (h.shareSearchTime) w.Files().SetShareSearchTime(id, *h.shareSearchTime);
    if (h.bShareSearchError) w.Files().SetShareSearchError(id, true);
    if (h.bRegistryDenied) w.Hosts().DenyLocalMachine(id, true);
    if (h.bSystemFolderMissing)
      w.Files().SetSystemFolder(id, std::nullopt);
    else if (!h.sSystemFolder.empty())
      w.Files().SetSystemFolder(id, h.sSystemFolder);

    sim::SocketsLibrarySettings& lib = w.Net().SocketsLibrary(id);
    const SocketsFaults& f = h.sockets;
    if (f.lngStartupResult) lib.lngStartupResult = *f.lngStartupResult;
    if (f.wVersion) lib.wVersion = *f.wVersion;
    if (f.lngMaxSockets) lib.lngMaxSockets = *f.lngMaxSockets;
    if (f.bCleanupFails) lib.lngCleanupResult = -1;
    if (f.lngLastError) lib.lngLastError = *f.lngLastError;
    if (f.bHostNameFails) lib.bHostNameFails = true;
    if (f.bAllLookupsFail) lib.bAllLookupsFail = true;
    if (f.lookupTime) lib.lookupTime = *f.lookupTime;
    for (const std::string& sName : f.lookupFailures) w.Net().FailLookup(id, sName, true);
  }

  sim::HostId Host(const std::string& sName) const { return hosts_.at(AsciiLower(sName)); }

  void ActionFailed(const Action& a, const std::string& sWhy) {
    world_->Note(Host(a.sHost), "scenario line " + std::to_string(a.nLine) + ": " + sWhy);
    actionErrors_.push_back({a.nLine, sWhy});
  }

  // Live processes of a kind on a host, oldest first.
  std::vector<sim::ProcessId> ProcessesOf(sim::HostId id, const std::string& sKind) const {
    std::vector<sim::ProcessId> pids;
    for (const sim::ProcessInfo& p : world_->Programs().Processes(id))
      if (p.sKind == sKind && p.bAlive) pids.push_back(p.pid);
    return pids;
  }

  void Perform(const Action& a) {
    sim::World& w = *world_;
    // Each action shows in the transcript where it happens.
    w.Note(a.sHost == "*" ? std::nullopt : std::optional<sim::HostId>(Host(a.sHost)),
           "scenario: " + a.sSource);
    if (a.sHost == "*") {
      // Heal all ends exact pairs only: every pair, and the wildcards, both ways.
      std::vector<sim::HostId> all{sim::kAnyHost};
      for (const auto& [name, id] : hosts_) all.push_back(id);
      for (sim::HostId from : all)
        for (sim::HostId to : all) w.Net().Heal(from, to);
      return;
    }
    const sim::HostId id = Host(a.sHost);
    const sim::HostId peer = a.sPeer.empty() ? id : Host(a.sPeer);
    std::visit([&](const auto& what) { Do(a, id, peer, what); }, a.what);
  }

  void Do(const Action& a, sim::HostId id, sim::HostId, const act::StartAgent& x) {
    sim::World& w = *world_;
    const HostSetup& h = *scenario_.FindHost(a.sHost);
    const std::string sPath = (x.sFolder.empty() ? h.sAgentFolder : x.sFolder) + "\\Launch.exe";
    if (!w.Files().ReadFile(id, sPath) && !w.Programs().WriteProgramFile(id, sPath, kAgentKind))
      return ActionFailed(a, "cannot place " + sPath);
    const sim::StartResult r = w.Programs().StartProgram(id, sPath);
    if (r.pid == 0)
      ActionFailed(a, "cannot start " + sPath + " (" + std::to_string(r.lngResult) + ")");
  }
  void Do(const Action& a, sim::HostId id, sim::HostId, const act::Start& x) {
    const sim::StartResult r = world_->Programs().StartProgram(id, x.sPath, x.sParameters);
    if (r.pid == 0)
      ActionFailed(a, "cannot start " + x.sPath + " (" + std::to_string(r.lngResult) + ")");
  }
  void Do(const Action& a, sim::HostId id, sim::HostId, const act::CloseApp&) {
    bool bAny = false;
    for (const sim::WindowInfo& win : world_->Programs().Windows(id))
      if (win.sClass == kFormWindowClass && win.sTitle == kMainAppTitle && win.owner != 0) {
        world_->Programs().CloseWindow(id, win.hWnd);
        bAny = true;
      }
    if (!bAny) ActionFailed(a, "no main application window to close");
  }
  void Do(const Action& a, sim::HostId id, sim::HostId, const act::KillApp&) {
    KillAll(a, id, kMainAppKind);
  }
  void Do(const Action& a, sim::HostId id, sim::HostId, const act::KillAgent&) {
    KillAll(a, id, kAgentKind);
  }
  void Do(const Action&, sim::HostId id, sim::HostId, const act::ClockJump& x) {
    world_->Hosts().JumpClock(id, world_->Now(), ToSeconds(x.delta));
  }
  void Do(const Action& a, sim::HostId id, sim::HostId peer, const act::Partition& x) {
    sim::World& w = *world_;
    const sim::Nanos end = x.duration > 0 ? w.Now() + x.duration : sim::kForever;
    w.Net().Partition(id, peer, w.Now(), end);
    if (a.bBothWays) w.Net().Partition(peer, id, w.Now(), end);
  }
  void Do(const Action& a, sim::HostId id, sim::HostId peer, const act::Heal&) {
    world_->Net().Heal(id, peer);
    if (a.bBothWays) world_->Net().Heal(peer, id);
  }
  void Do(const Action&, sim::HostId id, sim::HostId, const act::Crash&) {
    world_->Hosts().CrashHost(id);
  }
  void Do(const Action&, sim::HostId id, sim::HostId, const act::Restart&) {
    world_->Hosts().RestartHost(id, true);
  }
  void Do(const Action&, sim::HostId id, sim::HostId peer, const act::SendBytes& x) {
    world_->Net().RawSend(id, world_->Hosts().HostName(peer), x.nPort, x.bytes, !x.bKeep);
  }
  void Do(const Action&, sim::HostId id, sim::HostId peer, const act::MergeNextSends&) {
    world_->Net().MergeNextSends(id, peer);
  }
  void Do(const Action&, sim::HostId id, sim::HostId peer, const act::SplitNextSend&) {
    world_->Net().SplitNextSend(id, peer);
  }
  void Do(const Action& a, sim::HostId id, sim::HostId, const act::OpenSetup&) {
    const auto pids = ProcessesOf(id, kAgentKind);
    const auto it = pids.empty() ? agents_.end() : agents_.find(pids.front());
    if (it == agents_.end()) return ActionFailed(a, "no agent running");
    const sim::ProcessId pid = it->first;
    if (!world_->Call(pid, [this, pid] {
          const auto found = agents_.find(pid);
          if (found != agents_.end()) found->second->OpenAgentSetup();
        }))
      ActionFailed(a, "the agent ended while opening Agent Setup");
  }
  void Do(const Action& a, sim::HostId id, sim::HostId, const act::Click& x) {
    UseControl(
        a, id, x.sForm, x.sControl,
        [](ui::Control& c) -> std::string {
          const bool bClickable =
              dynamic_cast<ui::CommandButton*>(&c) || dynamic_cast<ui::CheckBox*>(&c);
          return bClickable ? "" : "cannot be clicked";
        },
        [](ui::Control& c) {
          if (auto* button = dynamic_cast<ui::CommandButton*>(&c))
            button->Click();
          else if (auto* check = dynamic_cast<ui::CheckBox*>(&c))
            check->Click();
        });
  }
  void Do(const Action& a, sim::HostId id, sim::HostId, const act::Select& x) {
    UseControl(
        a, id, x.sForm, x.sControl,
        [&x](ui::Control& c) -> std::string {
          auto* list = dynamic_cast<ui::ListBox*>(&c);
          if (!list) return "is not a list";
          std::string sProblem;
          for (int n : x.indexes)
            if (n >= list->ListCount()) sProblem = "has no entry " + std::to_string(n);
          return sProblem;
        },
        [&x](ui::Control& c) {
          auto* list = dynamic_cast<ui::ListBox*>(&c);
          if (!list) return;
          bool bAdd = false;
          for (int n : x.indexes) {
            list->UserClick(static_cast<Integer>(n), bAdd);
            bAdd = true;
          }
        });
  }
  void Do(const Action& a, sim::HostId id, sim::HostId, const act::Type& x) {
    UseControl(
        a, id, x.sForm, x.sControl,
        [](ui::Control& c) -> std::string {
          return dynamic_cast<ui::TextBox*>(&c) ? "" : "is not a text box";
        },
        [&x](ui::Control& c) {
          if (auto* text = dynamic_cast<ui::TextBox*>(&c)) text->UserType(x.sText);
        });
  }
  void Do(const Action& a, sim::HostId id, sim::HostId, const act::CloseWindow& x) {
    const auto form = world_->Programs().FindForm(id, x.sForm);
    if (!form) return ActionFailed(a, "no window " + x.sForm);
    world_->Programs().CloseWindow(id, form->hWnd);
  }

  void Do(const Action& a, sim::HostId id, sim::HostId, const act::ShowForm& x) {
    const auto form = world_->Programs().FindForm(id, x.sForm);
    if (!form || !form->form) return ActionFailed(a, "no window " + x.sForm);
    for (const std::string& s : FormLines(*form->form)) world_->Note(id, "show " + s);
  }

  // Changes of the host during the run.
  void Do(const Action& a, sim::HostId id, sim::HostId, const act::WriteFile& x) {
    if (!WriteFileSetup(id, x.file)) ActionFailed(a, "cannot write file '" + x.file.sPath + "'");
  }
  void Do(const Action& a, sim::HostId id, sim::HostId, const act::Delete& x) {
    if (!world_->Files().RemovePath(id, x.sPath))
      ActionFailed(a, "no file or folder '" + x.sPath + "'");
  }
  void Do(const Action& a, sim::HostId id, sim::HostId, const act::AddShare& x) {
    const ShareSetup& s = x.share;
    world_->Files().RemoveShare(id, ShareName(s.sUNC));
    if (!world_->Files().AddShare(id, ShareName(s.sUNC), s.sFolder, s.bReadable))
      ActionFailed(a, "cannot add share '" + s.sUNC + "'");
  }
  void Do(const Action& a, sim::HostId id, sim::HostId, const act::DropShare& x) {
    if (!world_->Files().RemoveShare(id, ShareName(x.sUNC)))
      ActionFailed(a, "no share '" + x.sUNC + "'");
  }
  void Do(const Action&, sim::HostId id, sim::HostId, const act::VisibleShares& x) {
    if (x.names)
      world_->Files().SetVisibleShares(id, *x.names);
    else
      world_->Files().ClearVisibleShares(id);
  }
  void Do(const Action&, sim::HostId id, sim::HostId, const act::ShareSearch& x) {
    world_->Files().SetShareSearchTime(id, x.time);
    world_->Files().SetShareSearchError(id, x.bError);
  }

  bool WriteFileSetup(sim::HostId id, const FileSetup& f) {
    sim::World& w = *world_;
    return f.sProgram.empty()
               ? w.Files().WriteFile(id, f.sPath, f.sText, f.bHidden)
               : w.Programs().WriteProgramFile(id, f.sPath, f.sProgram, JoinOptions(f.options)) &&
                     (!f.bHidden || w.Files().SetHidden(id, f.sPath, true));
  }

  void KillAll(const Action& a, sim::HostId id, const char* sKind) {
    const auto pids = ProcessesOf(id, sKind);
    if (pids.empty()) return ActionFailed(a, "nothing to kill");
    for (sim::ProcessId pid : pids) world_->Programs().Kill(pid);
  }

  // Clicks, selections and typing run inside the owning agent's process, where their
  // handlers may pump events or end the process. problem() names what is wrong with the
  // control ("" when nothing is); use() acts on it inside the process.
  template <class Problem, class Use>
  void UseControl(const Action& a, sim::HostId id, const std::string& sForm,
                  const std::string& sControl, Problem problem, Use use) {
    sim::World& w = *world_;
    const auto form = w.Programs().FindForm(id, sForm);
    if (!form || !form->form || form->owner == 0) return ActionFailed(a, "no window " + sForm);
    ui::Control* control = form->form->Find(sControl);
    if (!control) return ActionFailed(a, "no control " + sForm + "." + sControl);
    const std::string sProblem = problem(*control);
    if (!sProblem.empty()) return ActionFailed(a, sControl + " " + sProblem);

    const bool bDone = w.Call(form->owner, [&w, &sForm, &sControl, &use, id] {
      // Found again inside the process: the form may have changed since.
      const auto again = w.Programs().FindForm(id, sForm);
      if (!again || !again->form) return;
      if (ui::Control* c = again->form->Find(sControl)) use(*c);
    });
    // A handler that ends the process (a failing clean-up) is a result, not a failure.
    if (!bDone && w.Programs().Alive(form->owner))
      ActionFailed(a, "the control's process did not answer");
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
