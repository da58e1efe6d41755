#include "platform/win32/event_loop.h"

#include <algorithm>
#include <chrono>

#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

// The most messages one drain handles before it returns to its caller.
constexpr int kMaxMessagesPerDrain = 10000;
constexpr const char* kLoopClass = "LaunchAgentLoop";

LRESULT CALLBACK LoopProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
  auto* self = reinterpret_cast<Win32EventLoop*>(GetWindowLongPtrA(hWnd, GWLP_USERDATA));
  if (self && uMsg == WM_TIMER) {
    self->OnTimer(wParam);
    return 0;
  }
  return DefWindowProcA(hWnd, uMsg, wParam, lParam);
}

}  // namespace

Win32EventLoop::Win32EventLoop(const TimeBase& time) : platform::DeliveryLoop(time) {
  HINSTANCE hInstance = GetModuleHandleA(nullptr);
  WNDCLASSA wc{};
  wc.lpfnWndProc = LoopProc;
  wc.hInstance = hInstance;
  wc.lpszClassName = kLoopClass;
  RegisterClassA(&wc);  // a second loop of the process finds it registered
  // A message-only window: no top-level window of the desktop, so nobody finds it.
  hWnd_ =
      CreateWindowExA(0, kLoopClass, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, hInstance, nullptr);
  if (hWnd_)
    SetWindowLongPtrA(static_cast<HWND>(hWnd_), GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  else
    OutputDebugStringA("launch agent: the loop's window could not be made\n");
}

Win32EventLoop::~Win32EventLoop() {
  for (auto& [timer, id] : timerIds_) {
    KillTimer(static_cast<HWND>(hWnd_), id);
    timer->AttachDriver(nullptr);
  }
  if (hWnd_) DestroyWindow(static_cast<HWND>(hWnd_));
}

void Win32EventLoop::OnTimer(unsigned long long id) {
  auto it = timers_.find(id);
  if (it == timers_.end()) return;  // the timer went while its tick waited
  ui::Timer* timer = it->second;
  Deliver([timer] { timer->Fire(); });
}

void Win32EventLoop::OnEnded() {
  for (auto& [timer, id] : timerIds_) KillTimer(static_cast<HWND>(hWnd_), id);
  PostQuitMessage(0);
}

bool Win32EventLoop::Drain() {
  MSG msg;
  for (int n = 0; n < kMaxMessagesPerDrain && !bEnded_; ++n) {
    if (!PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) break;
    if (msg.message == WM_QUIT) {
      MarkEnded();
      break;
    }
    TranslateMessage(&msg);
    DispatchMessageA(&msg);
  }
  return !bEnded_;
}

void Win32EventLoop::SleepUntilDelivery(long long lngRealMs) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::milliseconds(lngRealMs);
  const long long lngBefore = Delivered();
  while (!bEnded_ && Delivered() == lngBefore) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) break;
    // Wakes for any message, also one that was already queued before the call.
    MsgWaitForMultipleObjectsEx(0, nullptr,
                                static_cast<DWORD>(std::min<long long>(left, 0x7ffffff0)),
                                QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    Drain();
  }
  // Everything else that became due with it runs too.
  if (!bEnded_) Drain();
}

void Win32EventLoop::Run() {
  MSG msg;
  while (!bEnded_) {
    const BOOL r = GetMessageA(&msg, nullptr, 0, 0);
    if (r <= 0) break;  // WM_QUIT, or the queue is gone
    TranslateMessage(&msg);
    DispatchMessageA(&msg);
  }
  MarkEnded();
  throw platform::ProcessEnded{};
}

void Win32EventLoop::TimerChanged(ui::Timer& timer) {
  auto [it, bNew] = timerIds_.emplace(&timer, 0);
  if (bNew) {
    it->second = nextTimerId_++;
    timers_[it->second] = &timer;
  }
  const unsigned long long id = it->second;
  const long long lngMs = time_.RealMs(timer.Interval() / 1000.0);
  if (timer.TimerEnabled() && timer.Interval() > 0 && !bEnded_ && hWnd_) {
    // Setting an existing id again restarts its interval, as enabling must.
    SetTimer(static_cast<HWND>(hWnd_), id,
             static_cast<UINT>(std::min<long long>(lngMs, 0x7ffffff0)), nullptr);
  } else {
    KillTimer(static_cast<HWND>(hWnd_), id);
  }
}

void Win32EventLoop::TimerGone(ui::Timer& timer) {
  auto it = timerIds_.find(&timer);
  if (it == timerIds_.end()) return;
  KillTimer(static_cast<HWND>(hWnd_), it->second);
  timers_.erase(it->second);
  timerIds_.erase(it);
}

}  // namespace launchagent::win32
