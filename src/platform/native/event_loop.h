#pragma once
// The agent's event loop on Qt: timers over QTimer, "process pending events" over the
// thread's event dispatcher, waits that sleep in the dispatcher until an event comes.
// Deliveries, the end of the process and idle polling follow
// platform/backend/delivery_loop.h.
#include <map>

#include "platform/backend/delivery_loop.h"
#include "platform/native/clock.h"

class QTimer;

namespace launchagent::native {

class NativeEventLoop : public platform::DeliveryLoop {
 public:
  explicit NativeEventLoop(const TimeBase& time) : platform::DeliveryLoop(time) {}
  ~NativeEventLoop() override;

  [[noreturn]] void Run() override;
  void TimerChanged(ui::Timer& timer) override;
  void TimerGone(ui::Timer& timer) override;

 private:
  void RunDue() override;
  void SleepUntilDelivery(long long lngRealMs) override;
  void OnEnded() override;

  std::map<ui::Timer*, QTimer*> timers_;
};

}  // namespace launchagent::native
