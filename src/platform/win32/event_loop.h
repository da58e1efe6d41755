#pragma once
// The agent's event loop on Windows: the thread's message loop. Form timers are
// SetTimer timers of a hidden message-only window; "process pending events" drains the
// queue with PeekMessage/DispatchMessage; waits sleep in MsgWaitForMultipleObjects.
// Every call from a window procedure into agent code goes through Deliver, which turns
// the agent's "end the process" into the end of the loop instead of an exception
// through the system's window procedures.
#include <functional>
#include <map>

#include "platform/services.h"
#include "platform/ui/controls.h"
#include "platform/win32/clock.h"

namespace launchagent::win32 {

class Win32EventLoop : public platform::EventLoop, public ui::TimerDriver {
 public:
  explicit Win32EventLoop(const TimeBase& time);
  ~Win32EventLoop() override;
  Win32EventLoop(const Win32EventLoop&) = delete;
  Win32EventLoop& operator=(const Win32EventLoop&) = delete;

  void ProcessPendingEvents() override;
  void WaitForEvents(double dSeconds) override;
  [[noreturn]] void Run() override;
  [[noreturn]] void EndProcess() override;
  ui::TimerDriver& Timers() override { return *this; }

  void TimerChanged(ui::Timer& timer) override;
  void TimerGone(ui::Timer& timer) override;

  // Runs agent code on behalf of a window procedure. Nothing runs once the process has
  // ended.
  void Deliver(const std::function<void()>& fn);
  bool Ended() const { return bEnded_; }
  // The desktop asks the agent to end (the tray's Quit): the loop stops and Run ends.
  void RequestEnd();
  long long Delivered() const { return lngDelivered_; }
  // Handles every queued message (at most a bounded number, so a flood cannot hold a
  // caller forever); false when the loop has ended.
  bool Drain();
  // Sleeps until a delivery runs or lngRealMs pass, handling messages as they come.
  void SleepUntilDelivery(long long lngRealMs);
  // A tick of the timer with this id (from the hidden window's procedure).
  void OnTimer(unsigned long long id);

 private:
  void MarkEnded();

  const TimeBase& time_;
  void* hWnd_ = nullptr;  // the hidden window that owns the timers
  std::map<ui::Timer*, unsigned long long> timerIds_;
  std::map<unsigned long long, ui::Timer*> timers_;
  unsigned long long nextTimerId_ = 1;
  bool bEnded_ = false;
  long long lngDelivered_ = 0;
  int nIdlePolls_ = 0;
};

}  // namespace launchagent::win32
