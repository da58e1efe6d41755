#pragma once
// PC1 of a simulated LAN with an idle process (#1) that only serves events and whose
// executable lies in C:\App; tests drive it through In and Call.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>

#include "platform/sim/world.h"
#include "platform/ui/controls.h"

namespace launchagent::sim {

struct Desk {
  explicit Desk(std::uint64_t seed = 1) : w(seed) {
    h = *w.Hosts().AddHost("PC1");
    w.Programs().RegisterProgram("idle",
                                 [](platform::Platform& q, const ProgramStart&) { q.loop.Run(); });
    pid = Idle("C:\\App\\Launch.exe");
    p = w.Programs().PlatformOf(pid);
  }
  ProcessId Idle(const std::string& sPath = "") {
    const ProcessId id = w.Programs().StartProcess(h, "idle", sPath);
    w.RunFor(0);
    return id;
  }
  void In(const std::function<void()>& fn) { ASSERT_TRUE(w.Call(pid, fn)); }
  // Drives the timer from the process's loop and enables it.
  void Arm(ProcessId id, ui::Timer& t) {
    ASSERT_TRUE(w.Call(id, [&] {
      t.AttachDriver(&w.Programs().PlatformOf(id)->loop.Timers());
      t.SetTimerEnabled(true);
    }));
  }
  platform::Platform& P() { return *p; }

  World w;
  HostId h = 0;
  ProcessId pid = 0;
  platform::Platform* p = nullptr;
};

}  // namespace launchagent::sim
