// The scheduler: one heap of events keyed on (virtual time, sequence number); the
// processes' fibers, their waits, their ends; the event loop each process sees.
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "platform/sim/impl.h"

namespace launchagent::sim {

namespace {

// Handlers that pump events inside handlers nest; a program that nests this deep is
// recursing without end.
constexpr int kMaxDepth = 64;
// ProcessPendingEvents calls without a single wait in between: a busy loop that would
// never let virtual time move.
constexpr std::uint64_t kMaxSpin = 50'000'000;

}  // namespace

void Fatal(const std::string& sWhat) {
  std::fprintf(stderr, "sim: %s\n", sWhat.c_str());
  std::fflush(stderr);
  std::abort();
}

// ---- Heap ---------------------------------------------------------------------------

void Scheduler::Push(Entry e) {
  if (e.t < now) e.t = now;
  e.seq = nextSeq++;
  const Nanos t = e.t;
  const std::uint64_t seq = e.seq;
  heap.Push(t, seq, std::move(e));
}

void Scheduler::PostWorld(Nanos t, Task fn) {
  Entry e;
  e.t = t;
  e.type = Entry::Type::World;
  if (freeWorldTasks.empty()) {
    worldTasks.push_back(std::move(fn));
    e.task = static_cast<std::uint32_t>(worldTasks.size());
  } else {
    e.task = freeWorldTasks.back();
    freeWorldTasks.pop_back();
    worldTasks[e.task - 1] = std::move(fn);
  }
  Push(std::move(e));
}

void Scheduler::PostProcess(ProcessState& p, Nanos t, Task fn) {
  if (!p.Alive() || p.bEnding) return;
  if (t < now) t = now;
  // One world entry wakes the process for all its events due then: when one for the same
  // time is still pending, its dispatch drains this event too (two timers of a process
  // tick together every second), so the queue holds one entry, not one per event.
  if (p.eventEntryAt == t) {
    p.events.Push(t, nextSeq++, std::move(fn));
    return;
  }
  Entry e;
  e.t = t;
  e.pid = p.pid;
  e.type = Entry::Type::Event;
  Push(std::move(e));
  p.eventEntryAt = t;
  p.events.Push(t, nextSeq - 1, std::move(fn));
}

void Scheduler::PostEndpoint(const std::shared_ptr<Endpoint>& ep, Nanos t, Task fn) {
  if (ep->pid == 0) {
    PostWorld(t, std::move(fn));
    return;
  }
  if (ProcessState* p = Proc(ep->pid)) PostProcess(*p, t, std::move(fn));
}

bool Scheduler::Step() {
  if (heap.Empty()) {
    CheckLostWakeups();
    return false;
  }
  Entry e = heap.Pop();
  if (e.t > now) now = e.t;
  Dispatch(e);
  return true;
}

void Scheduler::RunUntil(Nanos t) {
  if (current) Fatal("RunUntil called from inside a process");
  while (!heap.Empty() && heap.NextTime() <= t) Step();
  if (heap.Empty()) CheckLostWakeups();
  if (t > now) now = t;
}

void Scheduler::CheckLostWakeups() const {
  for (const auto& p : processes) {
    const ProcessId pid = p->pid;
    if (!p->Alive()) continue;
    if ((p->state == ProcessState::State::WaitEvents && p->waitDeadline != kForever) ||
        p->state == ProcessState::State::WaitBlocked) {
      Fatal("no events left while process " + std::to_string(pid) + " (" + p->start.sKind +
            ") waits for a wake-up");
    }
  }
}

bool Scheduler::Call(ProcessId pid, std::function<void()> fn) {
  if (current) Fatal("World::Call from inside a process");
  ProcessState* p = Proc(pid);
  if (!p || !p->Alive() || p->bEnding) return false;
  auto done = std::make_shared<bool>(false);
  PostProcess(*p, now, [fn = std::move(fn), done] {
    fn();
    *done = true;
  });
  auto keep = processes.Share(pid);
  while (!*done && keep->Alive()) {
    if (!Step()) break;
  }
  return *done;
}

void Scheduler::Dispatch(Entry& e) {
  if (e.type == Entry::Type::World) {
    // Taken out first: the work may post more.
    Task fn = std::move(worldTasks[e.task - 1]);
    freeWorldTasks.push_back(e.task);
    if (fn) fn();
    return;
  }
  ProcessState* p = Proc(e.pid);
  if (p && e.type == Entry::Type::Event && p->eventEntryAt == e.t) p->eventEntryAt = -1;
  if (!p || !p->Alive()) return;  // events of a dead process are dropped
  switch (e.type) {
    case Entry::Type::Start:
      if (p->state == ProcessState::State::NotStarted) Resume(*p);
      break;
    case Entry::Type::Event:
      if (p->state == ProcessState::State::WaitEvents && HasDue(*p)) Resume(*p);
      break;
    case Entry::Type::Wake:
      if ((p->state == ProcessState::State::WaitEvents ||
           p->state == ProcessState::State::WaitBlocked) &&
          p->waitGen == e.token)
        Resume(*p);
      break;
    case Entry::Type::World:
      break;
  }
}

void Scheduler::Resume(ProcessState& p) {
  if (current) Fatal("a process resumed from inside another process");
  auto keep = processes.Share(p.pid);
  if (!p.fiber) {
    ProcessState* self = &p;
    p.fiber = std::make_unique<Fiber>(
        [this, self] {
          self->state = ProcessState::State::Running;
          try {
            if (!self->bKillRequested) self->body(self->services->platform, self->start);
          } catch (const platform::ProcessEnded&) {
          } catch (const std::exception& ex) {
            self->sFailure = ex.what();
          } catch (...) {
            self->sFailure = "unknown exception";
          }
          self->bEnding = true;
        },
        nStackBytes);
  }
  current = &p;
  p.fiber->Resume();
  current = nullptr;
  if (p.fiber->Finished()) onEnded_(p);
}

// ---- Waits (on the process's own fiber) ---------------------------------------------

void Scheduler::RequireFiber(ProcessState& p, const char* sWhat) const {
  if (current != &p)
    Fatal(std::string(sWhat) + " called outside its own process " + std::to_string(p.pid));
}

void Scheduler::EndNow(ProcessState& p) {
  p.bEnding = true;
  throw platform::ProcessEnded{};
}

void Scheduler::CheckKill(ProcessState& p) {
  if (p.bKillRequested && !p.bEnding) EndNow(p);
}

bool Scheduler::HasDue(const ProcessState& p) const {
  return !p.events.Empty() && p.events.NextTime() <= now;
}

void Scheduler::Drain(ProcessState& p) {
  struct Depth {
    ProcessState& p;
    explicit Depth(ProcessState& q) : p(q) {
      if (++p.nDepth > kMaxDepth)
        Fatal("process " + std::to_string(p.pid) + " nests event processing too deep");
    }
    ~Depth() { --p.nDepth; }
  } depth(p);
  while (true) {
    CheckKill(p);
    if (p.bEnding || !HasDue(p)) break;
    auto fn = p.events.Pop();
    fn();
  }
}

void Scheduler::WaitEvents(ProcessState& p, Nanos d) {
  if (p.bEnding) return;
  RequireFiber(p, "WaitForEvents");
  CheckKill(p);
  if (HasDue(p)) {
    Drain(p);
    return;
  }
  if (d <= 0) return;
  const std::uint64_t gen = ++p.waitGen;
  p.waitDeadline = d == kForever || now > kForever - d ? kForever : now + d;
  if (p.waitDeadline != kForever) Wake(p.pid, gen, p.waitDeadline);
  p.state = ProcessState::State::WaitEvents;
  p.nSpin = 0;
  p.fiber->Yield();
  p.state = ProcessState::State::Running;
  p.waitDeadline = kForever;
  CheckKill(p);
  Drain(p);
}

void Scheduler::WaitBlocked(ProcessState& p, std::uint64_t gen, Nanos until) {
  if (p.bEnding) return;
  RequireFiber(p, "a blocking call");
  CheckKill(p);
  if (until != kForever) Wake(p.pid, gen, until);
  p.state = ProcessState::State::WaitBlocked;
  p.nSpin = 0;
  p.fiber->Yield();
  p.state = ProcessState::State::Running;
  CheckKill(p);
}

void Scheduler::Sleep(ProcessState& p, Nanos d) {
  if (p.bEnding || d <= 0) return;
  const std::uint64_t gen = ++p.waitGen;
  WaitBlocked(p, gen, now + d);
}

void Scheduler::Wake(ProcessId pid, std::uint64_t gen, Nanos t) {
  Entry e;
  e.t = t;
  e.pid = pid;
  e.type = Entry::Type::Wake;
  e.token = gen;
  Push(std::move(e));
}

// ---- Processes ----------------------------------------------------------------------

ProcessState* WorldImpl::Proc(ProcessId pid) { return processes.Find(pid); }

const ProcessState* WorldImpl::Proc(ProcessId pid) const { return processes.Find(pid); }

ProcessServices::ProcessServices(WorldImpl& w, ProcessState& p)
    : clock(w, p.host),
      loop(w, p),
      windows(w, p),
      shell(w, p),
      registry(w, p),
      kernel(w, p.host),
      sockets(w, p),
      network(w, p),
      files(w, p),
      shares(w, p),
      trace(w, p.host),
      platform{clock,   loop,    windows, shell,  registry, kernel,
               sockets, network, files,   shares, trace} {}

ProcessId WorldImpl::Spawn(HostId host, ProgramStart start) {
  if (host >= hosts.size() || !hosts[host]->bUp || bTearingDown) return 0;
  auto prog = programs.find(start.sKind);
  if (prog == programs.end()) return 0;
  auto p = std::make_shared<ProcessState>();
  processes.Add(p);
  p->host = host;
  start.pid = p->pid;
  start.host = host;
  p->start = std::move(start);
  p->body = prog->second;
  p->started = now;
  p->services = std::make_unique<ProcessServices>(*this, *p);
  hosts[host]->processes.push_back(p->pid);
  std::string sStarted = "#";  // appended: g++ 12 at -O2 warns wrongly on "#" + string
  sStarted += std::to_string(p->pid);
  sStarted +=
      " started " + p->start.sKind + " \"" + p->start.sPath + "\" \"" + p->start.sParameters + "\"";
  Record(host, TranscriptKind::Process, sStarted);
  Scheduler::Entry e;
  e.t = now;
  e.pid = p->pid;
  e.type = Scheduler::Entry::Type::Start;
  sched.Push(std::move(e));
  return p->pid;
}

bool WorldImpl::Kill(ProcessId pid, bool bQuiet) {
  ProcessState* p = Proc(pid);
  if (!p || !p->Alive()) return false;
  if (!p->bKillRequested) p->bKilled = !bQuiet;
  p->bKillRequested = true;
  if (sched.current == p) sched.EndNow(*p);
  auto unwind = [this, pid] {
    ProcessState* q = Proc(pid);
    if (!q || !q->Alive()) return;
    if (q->state == ProcessState::State::NotStarted)
      Finalize(*q);
    else if (q->state == ProcessState::State::WaitEvents ||
             q->state == ProcessState::State::WaitBlocked)
      sched.Resume(*q);
  };
  if (sched.current)
    sched.PostWorld(now, unwind);  // another fiber asked: the scheduler's stack does it
  else
    unwind();
  return true;
}

void WorldImpl::Finalize(ProcessState& p) {
  if (!p.Alive()) return;
  p.state = ProcessState::State::Finished;
  p.bEnding = true;
  p.ended = now;
  p.fiber.reset();
  p.events.Clear();
  // Timers are not touched: one detached with AttachDriver(nullptr) may be gone already.
  p.timers.clear();
  HostState& h = *hosts[p.host];
  // What the program left behind: windows, listeners, connections.
  std::vector<platform::WindowHandle> gone;
  for (auto& w : h.windows)
    if (w->owner == p.pid) gone.push_back(w->hWnd);
  for (auto hWnd : gone) desktop.RemoveWindow(h, hWnd);
  for (auto it = h.listeners.begin(); it != h.listeners.end();) {
    if (it->second.pid == p.pid)
      it = h.listeners.erase(it);
    else
      ++it;
  }
  std::vector<std::shared_ptr<Endpoint>> eps;
  for (auto& [id, weak] : h.endpoints)
    if (auto ep = weak.lock(); ep && ep->pid == p.pid) eps.push_back(ep);
  for (auto& ep : eps) net.CloseEndpoint(ep, !h.bCrashing);
  for (auto& wt : p.waiters) sched.Wake(wt.pid, wt.gen, std::max(now, wt.sent + 10 * kMillisecond));
  p.waiters.clear();
  h.processes.erase(std::remove(h.processes.begin(), h.processes.end(), p.pid), h.processes.end());
  std::string sText = "#";
  sText += std::to_string(p.pid);
  sText += (p.bKilled ? " killed " : " ended ") + p.start.sKind;
  if (!p.sFailure.empty()) sText += " after an uncaught exception: " + p.sFailure;
  Record(p.host, TranscriptKind::Process, sText);
}

void WorldImpl::KillAll() {
  std::vector<ProcessId> alive;
  for (const auto& p : processes)
    if (p->Alive()) alive.push_back(p->pid);
  for (auto pid : alive) Kill(pid, true);
}

ProcessInfo WorldImpl::Info(const ProcessState& p) const {
  ProcessInfo i;
  i.pid = p.pid;
  i.host = p.host;
  i.sKind = p.start.sKind;
  i.sPath = p.start.sPath;
  i.sParameters = p.start.sParameters;
  i.bAlive = p.Alive();
  i.bKilled = p.bKilled;
  i.started = p.started;
  i.ended = p.ended;
  return i;
}

// ---- Event loop ---------------------------------------------------------------------

void SimEventLoop::ProcessPendingEvents() {
  if (p_.bEnding) return;
  w_.sched.RequireFiber(p_, "ProcessPendingEvents");
  if (++p_.nSpin > kMaxSpin)
    Fatal("process " + std::to_string(p_.pid) +
          " pumps events in a loop without ever waiting; virtual time cannot move");
  w_.sched.CheckKill(p_);
  w_.sched.Drain(p_);
}

void SimEventLoop::WaitForEvents(double dSeconds) {
  Nanos d = 0;
  if (dSeconds > 1e9)
    d = kForever;
  else if (dSeconds > 0)
    d = FromSeconds(dSeconds);
  w_.sched.WaitEvents(p_, d);
}

void SimEventLoop::Run() {
  while (true) {
    w_.sched.WaitEvents(p_, kForever);
    if (p_.bEnding) throw platform::ProcessEnded{};
  }
}

void SimEventLoop::EndProcess() { w_.sched.EndNow(p_); }

void SimEventLoop::TimerChanged(ui::Timer& timer) {
  if (!p_.Alive() || p_.bEnding) return;
  ProcessState::TimerRec* rec = p_.FindTimer(&timer);
  if (!rec) rec = &p_.timers.emplace_back(ProcessState::TimerRec{&timer, 0});
  const std::uint64_t gen = rec->gen = ++p_.timerGen;
  if (timer.TimerEnabled() && timer.Interval() > 0)
    Arm(&timer, gen, w_.now + timer.Interval() * kMillisecond);
}

void SimEventLoop::TimerGone(ui::Timer& timer) {
  std::erase_if(p_.timers, [&](const ProcessState::TimerRec& rec) { return rec.timer == &timer; });
}

void SimEventLoop::Arm(ui::Timer* timer, std::uint64_t gen, Nanos due) {
  w_.sched.PostProcess(p_, due, [this, timer, gen, due] { Tick(timer, gen, due); });
}

void SimEventLoop::Tick(ui::Timer* timer, std::uint64_t gen, Nanos due) {
  const ProcessState::TimerRec* rec = p_.FindTimer(timer);
  if (!rec || rec->gen != gen) return;
  timer->Fire();
  // Re-armed, disabled or gone inside the handler: that decided the next tick.
  rec = p_.FindTimer(timer);
  if (!rec || rec->gen != gen || p_.bEnding) return;
  if (!timer->TimerEnabled() || timer->Interval() <= 0) return;
  Arm(timer, gen, std::max(w_.now, due + timer->Interval() * kMillisecond));
}

// ---- Transcript ---------------------------------------------------------------------

void WorldImpl::Record(std::optional<HostId> host, TranscriptKind kind, const std::string& sText) {
  if (bTearingDown) return;
  transcript.Write(now, host && *host < hosts.size() ? std::string_view(hosts[*host]->sName) : "-",
                   kind, sText);
}

}  // namespace launchagent::sim
