#pragma once
// The world's scheduler: one heap of events keyed on (virtual time, sequence number),
// and the processes' fibers with their waits. It moves the world's time and resumes a
// process when an event, a wake-up or its start is due.
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "platform/sim/event_queue.h"
#include "platform/sim/host_state.h"
#include "platform/sim/process_state.h"
#include "platform/sim/process_table.h"
#include "platform/sim/task.h"
#include "platform/sim/world.h"

namespace launchagent::sim {

class Scheduler {
 public:
  struct Entry {
    enum class Type { World, Event, Start, Wake };
    Nanos t = 0;
    std::uint64_t seq = 0;
    ProcessId pid = 0;
    Type type = Type::World;
    std::uint64_t token = 0;
    // World entries: their work's position in worldTasks_ plus one. Most entries only
    // wake a process, so the heap's entries stay small and carry no work.
    std::uint32_t task = 0;
  };

  // now: the world's time, which Step and RunUntil move; an ended fiber goes to onEnded.
  Scheduler(Nanos& now, ProcessTable& processes, std::function<void(ProcessState&)> onEnded)
      : now(now), processes(processes), onEnded_(std::move(onEnded)) {}

  void Push(Entry e);
  void PostWorld(Nanos t, Task fn);
  void PostProcess(ProcessState& p, Nanos t, Task fn);
  void PostEndpoint(const std::shared_ptr<Endpoint>& ep, Nanos t, Task fn);
  bool Step();
  void RunUntil(Nanos t);
  bool Call(ProcessId pid, std::function<void()> fn);
  void Clear() {
    heap.Clear();
    worldTasks.clear();
  }
  bool Empty() const { return heap.Empty(); }
  Nanos NextTime() const { return heap.NextTime(); }

  // Inside a process's fiber.
  void RequireFiber(ProcessState& p, const char* sWhat) const;
  [[noreturn]] void EndNow(ProcessState& p);
  void CheckKill(ProcessState& p);
  void WaitEvents(ProcessState& p, Nanos d);
  // Waits without handling events until Wake(gen) (scheduled by someone) or `until`.
  void WaitBlocked(ProcessState& p, std::uint64_t gen, Nanos until);
  void Sleep(ProcessState& p, Nanos d);
  void Wake(ProcessId pid, std::uint64_t gen, Nanos t);
  // Runs the process's due events, on its own fiber.
  void Drain(ProcessState& p);
  // Runs the process's fiber until it waits or ends (on the scheduler's stack).
  void Resume(ProcessState& p);

  ProcessState* current = nullptr;  // the process whose fiber runs
  std::size_t nStackBytes = 1024 * 1024;

 private:
  void Dispatch(Entry& e);
  void CheckLostWakeups() const;
  bool HasDue(const ProcessState& p) const;
  ProcessState* Proc(ProcessId pid) { return processes.Find(pid); }

  Nanos& now;
  ProcessTable& processes;
  std::function<void(ProcessState&)> onEnded_;
  std::uint64_t nextSeq = 0;
  EventQueue<Entry> heap;
  std::vector<Task> worldTasks;
  std::vector<std::uint32_t> freeWorldTasks;
};

}  // namespace launchagent::sim
