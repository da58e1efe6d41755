#pragma once
// The agent's time on a real machine. A time scale above 1 makes the agent's seconds
// pass faster than real ones (at 60, an agent minute takes a real second), so a LAN can
// be watched through whole check-in cycles; only the backend's clock and timers speed
// up, the agent itself does not know.
#include <chrono>

namespace launchagent::platform {

class TimeScale {
 public:
  explicit TimeScale(double dScale);
  double Scale() const { return dScale_; }
  // Agent seconds since this scale was made.
  double ElapsedAgentSeconds() const;
  // Real milliseconds for a span of agent seconds (at least 1 for a positive span).
  long long RealMs(double dAgentSeconds) const;

  // Set whenever the agent reads the clock; the event loop uses it to tell a loop that
  // polls the clock between pumps from one that does work between them.
  void NoteClockRead() const { bClockRead_ = true; }
  bool TakeClockRead() const {
    const bool b = bClockRead_;
    bClockRead_ = false;
    return b;
  }

 private:
  double dScale_;
  std::chrono::steady_clock::time_point start_;
  mutable bool bClockRead_ = false;
};

}  // namespace launchagent::platform
