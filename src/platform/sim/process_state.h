#pragma once
// One simulated process: its program, its fiber, its own events and timers, and what
// it waits for.
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/sim/event_queue.h"
#include "platform/sim/fiber.h"
#include "platform/sim/process_services.h"
#include "platform/sim/task.h"
#include "platform/sim/world.h"
#include "platform/ui/controls.h"

namespace launchagent::sim {

// ---- Processes ----------------------------------------------------------------------
class ProcessState {
 public:
  enum class State { NotStarted, Running, WaitEvents, WaitBlocked, Finished };

  ProcessId pid = 0;
  HostId host = 0;
  ProgramStart start;
  ProgramBody body;
  State state = State::NotStarted;
  std::uint64_t waitGen = 0;
  Nanos waitDeadline = kForever;
  bool bKillRequested = false;
  bool bEnding = false;  // unwinding: waits return at once
  bool bKilled = false;
  std::string sFailure;  // an exception that escaped the program
  Nanos started = 0;
  Nanos ended = 0;
  int nDepth = 0;
  std::uint64_t nSpin = 0;

  // Own events, due order.
  // The time of the world entry last posted to wake it for them while that entry is
  // still pending (-1: none).
  Nanos eventEntryAt = -1;
  EventQueue<Task> events;
  // Its timers and the generation of each one's armed tick. A process has a handful and
  // every tick looks its timer up: a flat list keeps them together.
  struct TimerRec {
    ui::Timer* timer = nullptr;
    std::uint64_t gen = 0;
  };
  std::vector<TimerRec> timers;
  std::uint64_t timerGen = 0;
  TimerRec* FindTimer(const ui::Timer* timer) {
    for (TimerRec& rec : timers)
      if (rec.timer == timer) return &rec;
    return nullptr;
  }
  // Senders waiting in SendClose for this process to handle their request.
  struct Waiter {
    ProcessId pid;
    std::uint64_t gen;
    Nanos sent;
  };
  std::vector<Waiter> waiters;

  std::unique_ptr<Fiber> fiber;
  std::unique_ptr<ProcessServices> services;

  bool Alive() const { return state != State::Finished; }
};

}  // namespace launchagent::sim
