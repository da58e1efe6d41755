#pragma once
// The agent's event loop on Qt: timers over QTimer, "process pending events" over the
// thread's event dispatcher, waits that sleep in the dispatcher until an event comes.
// Every call from Qt into agent code goes through Deliver, which turns the agent's
// "end the process" into a stop of the loop instead of an exception through Qt.
#include <functional>
#include <map>

#include "platform/native/clock.h"
#include "platform/services.h"
#include "platform/ui/controls.h"

class QTimer;

namespace launchagent::native {

class NativeEventLoop : public platform::EventLoop, public ui::TimerDriver {
 public:
  explicit NativeEventLoop(const TimeBase& time);
  ~NativeEventLoop() override;

  void ProcessPendingEvents() override;
  void WaitForEvents(double dSeconds) override;
  [[noreturn]] void Run() override;
  [[noreturn]] void EndProcess() override;
  ui::TimerDriver& Timers() override { return *this; }

  void TimerChanged(ui::Timer& timer) override;
  void TimerGone(ui::Timer& timer) override;

  // Runs agent code on behalf of Qt (a timer, a socket, a click). Nothing runs once
  // the process has ended.
  void Deliver(const std::function<void()>& fn);
  bool Ended() const { return bEnded_; }
  // The desktop asks the agent to end (the tray's Quit): the loop stops and Run ends.
  void RequestEnd();
  // How many deliveries have run so far; a wait ends when this moves.
  long long Delivered() const { return lngDelivered_; }
  const TimeBase& Time() const { return time_; }

 private:
  void MarkEnded();
  // Sleeps in the dispatcher until a delivery runs or lngRealMs pass.
  void SleepUntilDelivery(long long lngRealMs);

  const TimeBase& time_;
  std::map<ui::Timer*, QTimer*> timers_;
  bool bEnded_ = false;
  long long lngDelivered_ = 0;
  int nIdlePolls_ = 0;
};

}  // namespace launchagent::native
