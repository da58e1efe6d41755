#pragma once
// The part of an event loop both backends run alike. Every call from the system into
// agent code goes through Deliver, which turns the agent's "end the process" into the
// end of the loop instead of an exception through the system's callbacks. A loop that
// reads the clock and pumps again without anything having happened is waiting for time
// to pass (a pause): it sleeps until the next event instead of spinning. The backend
// runs what is due, sleeps, and stops its timers and its loop at the end.
#include <functional>
#include <vector>

#include "platform/backend/time_scale.h"
#include "platform/services.h"
#include "platform/ui/controls.h"

namespace launchagent::platform {

class DeliveryLoop : public EventLoop, public ui::TimerDriver {
 public:
  void ProcessPendingEvents() override;
  void WaitForEvents(double dSeconds) override;
  [[noreturn]] void EndProcess() override;
  ui::TimerDriver& Timers() override { return *this; }

  // Runs agent code on behalf of the system (a timer, a socket, a click). Nothing runs
  // once the process has ended.
  void Deliver(const std::function<void()>& fn);
  // Whether agent code runs on behalf of the system now. It may have pumped events, so a
  // system object whose signal is further down the stack must not be deleted yet.
  bool Delivering() const { return nDepth_ > 0; }
  // Runs fn once the outermost delivery has returned.
  void AfterDeliveries(std::function<void()> fn) { afterDeliveries_.push_back(std::move(fn)); }
  bool Ended() const { return bEnded_; }
  // The desktop asks the agent to end (the tray's Quit): the loop stops and Run ends.
  void RequestEnd() { MarkEnded(); }
  // How many deliveries have run so far; a wait ends when this moves.
  long long Delivered() const { return lngDelivered_; }

 protected:
  explicit DeliveryLoop(const TimeScale& time) : time_(time) {}
  // Handles every event that is due now, without waiting.
  virtual void RunDue() = 0;
  // Sleeps until a delivery runs or lngRealMs pass, handling events as they come.
  virtual void SleepUntilDelivery(long long lngRealMs) = 0;
  // The process ended: stop the timers and the system's loop.
  virtual void OnEnded() = 0;
  void MarkEnded();

  const TimeScale& time_;
  bool bEnded_ = false;

 private:
  long long lngDelivered_ = 0;
  int nIdlePolls_ = 0;
  int nDepth_ = 0;
  std::vector<std::function<void()>> afterDeliveries_;
};

}  // namespace launchagent::platform
