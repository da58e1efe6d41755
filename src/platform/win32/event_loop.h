#pragma once
// The agent's event loop on Windows: the thread's message loop. Form timers are
// SetTimer timers of a hidden message-only window; "process pending events" drains the
// queue with PeekMessage/DispatchMessage; waits sleep in MsgWaitForMultipleObjects.
// Deliveries, the end of the process and idle polling follow
// platform/backend/delivery_loop.h.
#include <map>

#include "platform/backend/delivery_loop.h"
#include "platform/win32/clock.h"

namespace launchagent::win32 {

class Win32EventLoop : public platform::DeliveryLoop {
 public:
  explicit Win32EventLoop(const TimeBase& time);
  ~Win32EventLoop() override;
  Win32EventLoop(const Win32EventLoop&) = delete;
  Win32EventLoop& operator=(const Win32EventLoop&) = delete;

  [[noreturn]] void Run() override;
  void TimerChanged(ui::Timer& timer) override;
  void TimerGone(ui::Timer& timer) override;

  // Handles every queued message (at most a bounded number, so a flood cannot hold a
  // caller forever); false when the loop has ended.
  bool Drain();
  // A tick of the timer with this id (from the hidden window's procedure).
  void OnTimer(unsigned long long id);

 private:
  void RunDue() override { Drain(); }
  void SleepUntilDelivery(long long lngRealMs) override;
  void OnEnded() override;

  void* hWnd_ = nullptr;  // the hidden window that owns the timers
  std::map<ui::Timer*, unsigned long long> timerIds_;
  std::map<unsigned long long, ui::Timer*> timers_;
  unsigned long long nextTimerId_ = 1;
};

}  // namespace launchagent::win32
