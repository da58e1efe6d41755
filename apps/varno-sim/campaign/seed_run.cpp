#include "seed_run.h"

#include <set>

#include "agent/agent.h"
#include "lan_reach.h"
#include "launcher/frm_launch.h"
#include "platform/main_app_window.h"
#include "platform/sim/transcript_text.h"
#include "platform/text.h"

namespace launchagent::campaign {

namespace {

constexpr const char* kAgentKind = "launch";
constexpr sim::Nanos kSlice = 5 * sim::kSecond;
constexpr sim::Nanos kRegistryEvery = 15 * sim::kSecond;
constexpr std::uint64_t kFullDiskBytes = 4096;
constexpr std::int32_t kWsaSysNotReady = 10091;  // what a library that cannot start returns
// A second agent ends as it starts; the first goes on with its check-in every 30 s.
constexpr sim::Nanos kSecondAgentGone = sim::kSecond;
constexpr sim::Nanos kFirstAgentWorks = 61 * sim::kSecond;

class SeedRun {
 public:
  SeedRun(std::uint64_t lngSeed, int nMaxHosts, sim::Nanos faultPhase,
          const std::function<void(const std::string&)>& sink)
      : plan_(DrawPlan(lngSeed, nMaxHosts, faultPhase)),
        world_(std::make_unique<sim::World>(lngSeed)),
        observer_(*world_) {
    world_->KeepTranscript(false);
    world_->SetTranscriptSink([this, sink](const std::string& s) {
      if (sink) sink(s);
      observer_.OnLine(s);
      if (s.find(" started varno \"") != std::string::npos) CheckVarnoStart(s);
    });
    world_->Programs().RegisterProgram(
        kAgentKind, [this](platform::Platform& p, const sim::ProgramStart& start) {
          Agent agent(p);
          agents_[start.pid] = &agent;
          struct Leave {
            std::map<sim::ProcessId, Agent*>& agents;
            sim::ProcessId pid;
            ~Leave() { agents.erase(pid); }
          } leave{agents_, start.pid};
          agent.Main();
          p.loop.Run();
        });
  }

  ~SeedRun() { world_->SetTranscriptSink(nullptr); }  // the observer goes first
  SeedRun(const SeedRun&) = delete;
  SeedRun& operator=(const SeedRun&) = delete;

  SeedResult Go() {
    Build();
    for (const Fault& f : plan_.faults) world_->At(f.at, [this, &f] { Inject(f); });
    world_->At(plan_.faultPhase, [this] { Heal(); });
    const sim::Nanos varnoFrom = plan_.faultPhase + kVarnoBound;
    const sim::Nanos end = varnoFrom + kVarnoWindow;
    std::vector<bool> varnoSeen(hosts_.size(), false);
    sim::Nanos nextRegistry = 0;
    for (sim::Nanos t = kSlice; t <= end && !observer_.Broken(); t += kSlice) {
      world_->RunUntil(t);
      if (t >= nextRegistry) {
        for (const auto& [pid, agent] : agents_)
          if (const auto info = world_->Programs().Process(pid))
            observer_.CheckRegistry(info->host, *agent);
        nextRegistry = t + kRegistryEvery;
      }
      if (t == plan_.faultPhase + kHeardBound) CheckHeard();
      if (t >= varnoFrom)
        for (std::size_t i = 0; i < hosts_.size(); ++i)
          if (Running(hosts_[i], "varno")) varnoSeen[i] = true;
    }
    if (!observer_.Broken()) CheckVarno(varnoSeen);
    SeedResult r;
    r.broken = observer_.Broken();
    r.tail.assign(observer_.Tail().begin(), observer_.Tail().end());
    r.faults = std::move(faults_);
    r.lan = LanShape(plan_.hosts);
    r.lngChecks = observer_.Checks();
    return r;
  }

 private:
  void Build() {
    sim::World& w = *world_;
    for (const HostPlan& h : plan_.hosts) hosts_.push_back(*w.Hosts().AddHost(h.sName));
    overrides_.resize(hosts_.size());
    for (std::size_t i = 0; i < hosts_.size(); ++i) {
      const HostPlan& h = plan_.hosts[i];
      w.Programs().WriteProgramFile(hosts_[i], AgentPath(h), kAgentKind);
      for (const SharePlan& share : h.shares)
        w.Files().AddShare(hosts_[i], share.sName, share.sFolder);
      if (h.bHoldsVarno) {
        std::string sOptions = "window-delay=" + std::to_string(h.nWindowDelay);
        if (h.nRefuseClose > 0) {
          sOptions += " refuse-close=" + std::to_string(h.nRefuseClose);
          ++faults_["refusing Varno window"];
        }
        w.Programs().WriteProgramFile(hosts_[i], VarnoPath(h), "varno", sOptions);
      }
      w.At(h.agentStart, [this, i] { StartAgent(i); });
    }
    ListShares();
  }

  // What each host's share search lists: its fault's list while one lasts, else the
  // shares of the hosts that are up, hidden ones left out as the search leaves them out.
  void ListShares() {
    std::vector<bool> up;
    for (sim::HostId h : hosts_) up.push_back(world_->Hosts().HostUp(h));
    const std::vector<std::string> listed = ListedShares(plan_.hosts, up);
    for (std::size_t i = 0; i < hosts_.size(); ++i)
      world_->Files().SetVisibleShares(hosts_[i], overrides_[i] ? *overrides_[i] : listed);
  }

  void RestartHost(sim::HostId host) {
    world_->Hosts().RestartHost(host, true);
    ListShares();
  }

  // The live agent of a host, 0 when none runs.
  sim::ProcessId AgentOf(sim::HostId id) const {
    for (const sim::ProcessInfo& p : world_->Programs().Processes(id))
      if (p.sKind == kAgentKind && p.bAlive) return p.pid;
    return 0;
  }

  bool Running(sim::HostId id, const std::string& sKind) const {
    for (const sim::ProcessInfo& p : world_->Programs().Processes(id))
      if (p.sKind == sKind && p.bAlive) return true;
    return false;
  }

  void StartAgent(std::size_t i) {
    if (world_->Hosts().HostUp(hosts_[i]) && !Running(hosts_[i], kAgentKind))
      world_->Programs().StartProgram(hosts_[i], AgentPath(plan_.hosts[i]));
  }

  // Ends a lasting fault, unless everything has healed meanwhile.
  void Later(const Fault& f, std::function<void()> fn) {
    world_->At(f.at + f.duration, [this, fn = std::move(fn)] {
      if (!bHealed_) fn();
    });
  }

  void Inject(const Fault& f) {
    sim::World& w = *world_;
    const sim::HostId a = hosts_[f.host];
    const sim::HostId b = hosts_[f.peer];
    const sim::Nanos until = f.at + f.duration;
    switch (f.kind) {
      case FaultKind::PartitionOneWay:
      case FaultKind::LoopbackCut:
        w.Net().Partition(a, b, f.at, until);
        break;
      case FaultKind::PartitionBothWays:
        w.Net().Partition(a, b, f.at, until);
        w.Net().Partition(b, a, f.at, until);
        break;
      case FaultKind::HostCrash:
        if (!w.Hosts().HostUp(a)) return;
        w.Hosts().CrashHost(a);
        ListShares();
        Later(f, [this, a] { RestartHost(a); });
        break;
      case FaultKind::AgentKill:
        if (!Running(a, kAgentKind)) return;
        for (const sim::ProcessInfo& p : w.Programs().Processes(a))
          if (p.sKind == kAgentKind) w.Programs().Kill(p.pid);
        Later(f, [this, i = f.host] { StartAgent(i); });
        break;
      case FaultKind::ClockStep:
        w.Hosts().JumpClock(a, f.at, static_cast<double>(f.lngAmount));
        break;
      case FaultKind::ClockSkew:
        w.Hosts().SetClockSkew(a, static_cast<double>(f.lngAmount));
        break;
      case FaultKind::LookupFailure:
        w.Net().FailLookup(a, w.Hosts().HostName(b), true);
        Later(f, [this, a, b] { world_->Net().FailLookup(a, world_->Hosts().HostName(b), false); });
        break;
      case FaultKind::DiskFull: {
        const char cDrive = plan_.hosts[f.host].sAgentFolder[0];
        w.Files().SetDiskCapacity(a, cDrive, kFullDiskBytes);
        Later(f, [this, a, cDrive] { world_->Files().SetDiskCapacity(a, cDrive, std::nullopt); });
        break;
      }
      case FaultKind::UnreadableShare: {
        if (f.lngAmount < 0) return;  // the host shares nothing
        const std::string sShare =
            plan_.hosts[f.host].shares[static_cast<std::size_t>(f.lngAmount)].sName;
        w.Files().SetShareReadable(a, sShare, false);
        Later(f, [this, a, sShare] { world_->Files().SetShareReadable(a, sShare, true); });
        break;
      }
      case FaultKind::MergedSends:
        w.Net().MergeNextSends(a, b);
        break;
      case FaultKind::SplitSend:
        w.Net().SplitNextSend(a, b);
        break;
      case FaultKind::SocketsFailure:
      case FaultKind::ComputerNameFailure:
      case FaultKind::RegistryDenied:
        if (!w.Hosts().HostUp(a)) return;
        SetStartFault(f, true);
        RestartAgent(f.host);
        Later(f, [this, f] {
          SetStartFault(f, false);
          RestartAgent(f.host);
        });
        break;
      case FaultKind::StrayWindow: {
        if (!w.Hosts().HostUp(a)) return;
        const platform::WindowHandle hWnd = w.Programs().AddWindow(
            a, kFormWindowClass, kMainAppTitle, static_cast<int>(f.lngAmount));
        strays_.emplace_back(a, hWnd);
        Later(f, [this, a, hWnd] { CloseStray(a, hWnd); });
        break;
      }
      case FaultKind::ShareSearchError:
        w.Files().SetShareSearchError(a, true);
        Later(f, [this, a] { world_->Files().SetShareSearchError(a, false); });
        break;
      case FaultKind::VisibleSharesChange:
        overrides_[f.host] = VisibleShares(f);
        ListShares();
        Later(f, [this, i = f.host] {
          overrides_[i].reset();
          ListShares();
        });
        break;
      case FaultKind::SecondAgent:
        if (!StartSecondAgent(f.host)) return;
        break;
    }
    ++faults_[FaultName(f.kind)];
    const bool bPair = f.kind == FaultKind::PartitionOneWay ||
                       f.kind == FaultKind::PartitionBothWays ||
                       f.kind == FaultKind::LookupFailure || f.kind == FaultKind::MergedSends ||
                       f.kind == FaultKind::SplitSend;
    w.Note(a, std::string("campaign fault: ") + FaultName(f.kind) +
                  (bPair ? " with " + w.Hosts().HostName(b) : std::string()));
  }

  // A fault the agent meets at its start, on or off.
  void SetStartFault(const Fault& f, bool bOn) {
    sim::World& w = *world_;
    const sim::HostId a = hosts_[f.host];
    if (f.kind == FaultKind::ComputerNameFailure) {
      w.Hosts().SetComputerNameFails(a, bOn);
      if (bOn)
        nameFailed_.insert(f.host);
      else
        nameFailed_.erase(f.host);
    } else if (f.kind == FaultKind::RegistryDenied) {
      w.Hosts().DenyLocalMachine(a, bOn);
    } else {
      sim::SocketsLibrarySettings& lib = w.Net().SocketsLibrary(a);
      lib = sim::SocketsLibrarySettings{};
      if (!bOn) return;
      if (f.lngAmount == kStartupFails) lib.lngStartupResult = kWsaSysNotReady;
      if (f.lngAmount == kNoSockets) lib.lngMaxSockets = 0;
      if (f.lngAmount == kHostNameFails) lib.bHostNameFails = true;
      if (f.lngAmount == kLookupsFail) lib.bAllLookupsFail = true;
    }
  }

  // The host's agent ends and a new one starts a second later, as after a logon.
  void RestartAgent(std::size_t i) {
    sim::World& w = *world_;
    for (const sim::ProcessInfo& p : w.Programs().Processes(hosts_[i]))
      if (p.sKind == kAgentKind) w.Programs().Kill(p.pid);
    w.At(w.Now() + sim::kSecond, [this, i] { StartAgent(i); });
  }

  // Close requests until the window has gone (it refuses at most a few).
  void CloseStray(sim::HostId host, platform::WindowHandle hWnd) {
    for (int n = 0; n < 8 && world_->Programs().CloseWindow(host, hWnd); ++n) {
    }
  }

  // A list of the shares of the hosts `which` picks, up or down.
  template <class Pick>
  std::vector<std::string> SharesOf(Pick which) const {
    std::vector<bool> picked;
    for (std::size_t i = 0; i < hosts_.size(); ++i) picked.push_back(which(i));
    return ListedShares(plan_.hosts, picked);
  }

  std::vector<std::string> VisibleShares(const Fault& f) const {
    if (f.lngAmount == kOwnShareOnly) return SharesOf([&](std::size_t i) { return i == f.host; });
    if (f.lngAmount == kBadNames) return {"\\\\nohost\\c", "junk", "\\\\", ""};
    if (f.lngAmount == kAllButPeer) return SharesOf([&](std::size_t i) { return i != f.peer; });
    return {};
  }

  // Another agent started on a host whose agent runs and shows its window: it must end
  // at once, and the first must go on working.
  bool StartSecondAgent(std::size_t i) {
    sim::World& w = *world_;
    const sim::ProcessId first = AgentOf(hosts_[i]);
    if (first == 0) return false;
    bool bTitled = false;
    for (const sim::WindowInfo& win : w.Programs().Windows(hosts_[i]))
      if (win.sTitle == FrmLaunch::kServiceTitle) bTitled = true;
    if (!bTitled) return false;
    const sim::ProcessId second =
        w.Programs().StartProgram(hosts_[i], AgentPath(plan_.hosts[i])).pid;
    const sim::Nanos at = w.Now();
    const std::string& sName = plan_.hosts[i].sName;
    w.At(at + kSecondAgentGone, [this, first, second, sName] {
      if (world_->Programs().Alive(second))
        return observer_.Fail("a second agent on " + sName +
                              " still runs a second after its start");
      const auto info = world_->Programs().Process(first);
      if (!world_->Programs().Alive(first) && !(info && info->bKilled))
        observer_.Fail("the agent on " + sName + " ended as a second agent started");
    });
    w.At(at + kFirstAgentWorks, [this, i, first, at, sName] {
      if (world_->Programs().Alive(first) && !observer_.CheckedInSince(hosts_[i], at))
        observer_.Fail("the agent on " + sName +
                       " has verified no check-in since a second agent started");
    });
    return true;
  }

  // Everything back to health: links, hosts, agents, names, disks, shares, clock rates.
  void Heal() {
    sim::World& w = *world_;
    bHealed_ = true;
    healedAt_ = w.Now();
    std::vector<sim::HostId> all{sim::kAnyHost};
    all.insert(all.end(), hosts_.begin(), hosts_.end());
    for (sim::HostId from : all)
      for (sim::HostId to : all) w.Net().Heal(from, to);
    for (std::size_t i = 0; i < hosts_.size(); ++i) {
      const sim::HostId a = hosts_[i];
      for (sim::HostId b : hosts_) w.Net().FailLookup(a, w.Hosts().HostName(b), false);
      w.Files().SetDiskCapacity(a, 'C', std::nullopt);
      w.Files().SetDiskCapacity(a, plan_.hosts[i].sAgentFolder[0], std::nullopt);
      for (const SharePlan& share : plan_.hosts[i].shares)
        w.Files().SetShareReadable(a, share.sName, true);
      w.Hosts().SetClockSkew(a, 0);
      w.Files().SetShareSearchError(a, false);
      overrides_[i].reset();
      w.Hosts().DenyLocalMachine(a, false);
      w.Hosts().SetComputerNameFails(a, false);
      // An agent that started with a failing library or name keeps what it learnt
      // then: it starts anew, as the fault's own end would have done.
      const bool bStartFault = w.Net().SocketsLibrary(a).lngStartupResult != 0 ||
                               w.Net().SocketsLibrary(a).lngMaxSockets == 0 ||
                               w.Net().SocketsLibrary(a).bHostNameFails ||
                               w.Net().SocketsLibrary(a).bAllLookupsFail || nameFailed_.count(i);
      w.Net().SocketsLibrary(a) = sim::SocketsLibrarySettings{};
      if (!w.Hosts().HostUp(a)) w.Hosts().RestartHost(a, true);
      if (bStartFault) {
        RestartAgent(i);
        continue;
      }
      w.At(w.Now() + sim::kSecond, [this, i] { StartAgent(i); });
    }
    ListShares();
    for (const auto& [host, hWnd] : strays_) CloseStray(host, hWnd);
  }

  // Varno starts from the host's own copy, or from a launch site that a holder announces
  // to a host the share search finds; nothing else can tell an agent where Varno is.
  void CheckVarnoStart(const std::string& sLine) {
    const auto line = sim::ParseTranscriptLine(sLine);
    if (!line) return;
    const auto host = world_->Hosts().FindHost(line->sHost);
    const auto nFrom = line->sText.find('"');
    if (!host || nFrom == std::string::npos) return;
    const std::string sPath =
        line->sText.substr(nFrom + 1, line->sText.find('"', nFrom + 1) - nFrom - 1);
    std::size_t i = 0;
    while (i < hosts_.size() && hosts_[i] != *host) ++i;
    if (i == hosts_.size() || EqualsIgnoringCase(sPath, VarnoPath(plan_.hosts[i]))) return;
    for (std::size_t j = 0; j < hosts_.size() && Found(plan_.hosts[i]); ++j)
      if (EqualsIgnoringCase(sPath, LaunchSite(plan_.hosts[j])) &&
          world_->Files().ReadFile(hosts_[j], VarnoPath(plan_.hosts[j])))
        return;
    observer_.Fail("Varno on " + plan_.hosts[i].sName + " started from " + sPath +
                   ", which is neither its own copy nor a launch site it can have heard of");
  }

  // Every host is up and reachable after healing; an agent hears from every agent
  // (itself included) when the share search finds its host, and from none otherwise.
  void CheckHeard() {
    for (std::size_t i = 0; i < hosts_.size(); ++i) {
      if (!Running(hosts_[i], kAgentKind))
        return observer_.Fail("liveness: no agent runs on " + plan_.hosts[i].sName);
      if (!Found(plan_.hosts[i])) continue;
      for (std::size_t j = 0; j < hosts_.size(); ++j)
        if (!observer_.HeardFrom(hosts_[i], AsciiLower(plan_.hosts[j].sName), healedAt_))
          return observer_.Fail("liveness: " + plan_.hosts[i].sName +
                                " had no host information from " + plan_.hosts[j].sName +
                                " within " + sim::FormatElapsed(kHeardBound) + " of healing");
    }
  }

  // Varno runs on every host that holds a copy beside its agent (one it had, or one it
  // copied from a launch site) or that the share search finds while a holder announces
  // a launch site.
  void CheckVarno(const std::vector<bool>& varnoSeen) {
    std::vector<bool> holds;
    for (std::size_t i = 0; i < hosts_.size(); ++i)
      holds.push_back(world_->Files().ReadFile(hosts_[i], VarnoPath(plan_.hosts[i])).has_value());
    const std::vector<bool> must = MustRunVarno(plan_.hosts, holds);
    for (std::size_t i = 0; i < hosts_.size(); ++i) {
      if (must[i] && !varnoSeen[i])
        return observer_.Fail("liveness: Varno did not run on " + plan_.hosts[i].sName +
                              (holds[i] ? " (it holds a copy)" : " (a launch site reaches it)") +
                              " between " + sim::FormatElapsed(kVarnoBound) + " and " +
                              sim::FormatElapsed(kVarnoBound + kVarnoWindow) + " after healing");
    }
  }

  SeedPlan plan_;
  // Declared before the world: the world's destructor unwinds every agent, whose exit
  // still removes its entry.
  std::map<sim::ProcessId, Agent*> agents_;
  std::unique_ptr<sim::World> world_;
  Observer observer_;
  std::vector<sim::HostId> hosts_;
  std::map<std::string, std::uint64_t> faults_;
  std::vector<std::pair<sim::HostId, platform::WindowHandle>> strays_;
  std::set<std::size_t> nameFailed_;  // hosts whose computer name fails now
  // A fault's share list per host while it lasts.
  std::vector<std::optional<std::vector<std::string>>> overrides_;
  bool bHealed_ = false;
  sim::Nanos healedAt_ = 0;
};

}  // namespace

SeedResult RunSeed(std::uint64_t lngSeed, int nMaxHosts, sim::Nanos faultPhase,
                   const std::function<void(const std::string&)>& sink) {
  SeedRun run(lngSeed, nMaxHosts, faultPhase, sink);
  return run.Go();
}

}  // namespace launchagent::campaign
