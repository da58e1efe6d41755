#include "platform/native/event_loop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QThread>
#include <QTimer>

namespace launchagent::native {
namespace {

// A loop that reads the clock and pumps again without anything having happened is
// waiting for time to pass (a pause): after this many such pumps in a row it sleeps
// until the next event instead of spinning.
constexpr int kIdlePollsBeforeSleep = 2;
constexpr long long kIdlePollSleepMs = 10;

QAbstractEventDispatcher* Dispatcher() {
  return QAbstractEventDispatcher::instance(QThread::currentThread());
}

}  // namespace

NativeEventLoop::NativeEventLoop(const TimeBase& time) : time_(time) {}

NativeEventLoop::~NativeEventLoop() {
  for (auto& [timer, q] : timers_) {
    timer->AttachDriver(nullptr);
    delete q;
  }
}

void NativeEventLoop::Deliver(const std::function<void()>& fn) {
  if (bEnded_) return;
  ++lngDelivered_;
  nIdlePolls_ = 0;
  try {
    fn();
  } catch (const platform::ProcessEnded&) {
    MarkEnded();
  }
}

void NativeEventLoop::MarkEnded() {
  if (bEnded_) return;
  bEnded_ = true;
  for (auto& [timer, q] : timers_) q->stop();
  QCoreApplication::exit(0);
}

void NativeEventLoop::RequestEnd() { MarkEnded(); }

void NativeEventLoop::ProcessPendingEvents() {
  if (bEnded_) throw platform::ProcessEnded{};
  const long long lngBefore = lngDelivered_;
  const bool bPolledClock = time_.TakeClockRead();
  if (auto* d = Dispatcher()) d->processEvents(QEventLoop::AllEvents);
  if (bEnded_) throw platform::ProcessEnded{};
  if (lngDelivered_ != lngBefore || !bPolledClock) {
    nIdlePolls_ = 0;
    return;
  }
  if (++nIdlePolls_ >= kIdlePollsBeforeSleep) {
    SleepUntilDelivery(kIdlePollSleepMs);
    if (bEnded_) throw platform::ProcessEnded{};
  }
}

void NativeEventLoop::SleepUntilDelivery(long long lngRealMs) {
  auto* d = Dispatcher();
  if (!d) return;
  bool bTimeUp = false;
  QTimer deadline;
  deadline.setSingleShot(true);
  deadline.setTimerType(Qt::PreciseTimer);
  QObject::connect(&deadline, &QTimer::timeout, [&bTimeUp] { bTimeUp = true; });
  deadline.start(static_cast<int>(std::min<long long>(lngRealMs, 0x7fffffff)));
  const long long lngBefore = lngDelivered_;
  while (!bTimeUp && !bEnded_ && lngDelivered_ == lngBefore)
    d->processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
  // Everything else that became due with it runs too.
  if (!bEnded_) d->processEvents(QEventLoop::AllEvents);
}

void NativeEventLoop::WaitForEvents(double dSeconds) {
  if (bEnded_) throw platform::ProcessEnded{};
  nIdlePolls_ = 0;
  const long long lngMs = time_.RealMs(dSeconds);
  if (lngMs <= 0) {
    if (auto* d = Dispatcher()) d->processEvents(QEventLoop::AllEvents);
  } else {
    SleepUntilDelivery(lngMs);
  }
  if (bEnded_) throw platform::ProcessEnded{};
}

void NativeEventLoop::Run() {
  if (!bEnded_) QCoreApplication::exec();
  bEnded_ = true;
  throw platform::ProcessEnded{};
}

void NativeEventLoop::EndProcess() {
  MarkEnded();
  throw platform::ProcessEnded{};
}

void NativeEventLoop::TimerChanged(ui::Timer& timer) {
  QTimer*& q = timers_[&timer];
  if (!q) {
    q = new QTimer();
    ui::Timer* pTimer = &timer;
    QObject::connect(q, &QTimer::timeout, [this, pTimer] {
      // The timer may have gone while its tick waited.
      if (!timers_.count(pTimer)) return;
      Deliver([pTimer] { pTimer->Fire(); });
    });
  }
  const long long lngMs = time_.RealMs(timer.Interval() / 1000.0);
  if (timer.TimerEnabled() && timer.Interval() > 0 && !bEnded_)
    q->start(static_cast<int>(std::min<long long>(lngMs, 0x7fffffff)));
  else
    q->stop();
}

void NativeEventLoop::TimerGone(ui::Timer& timer) {
  auto it = timers_.find(&timer);
  if (it == timers_.end()) return;
  QTimer* q = it->second;
  timers_.erase(it);
  q->stop();
  QObject::disconnect(q, nullptr, nullptr, nullptr);
  q->deleteLater();
}

}  // namespace launchagent::native
