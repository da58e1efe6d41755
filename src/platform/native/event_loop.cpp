#include "platform/native/event_loop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QThread>
#include <QTimer>

namespace launchagent::native {
namespace {

QAbstractEventDispatcher* Dispatcher() {
  return QAbstractEventDispatcher::instance(QThread::currentThread());
}

}  // namespace

NativeEventLoop::~NativeEventLoop() {
  for (auto& [timer, q] : timers_) {
    timer->AttachDriver(nullptr);
    delete q;
  }
}

void NativeEventLoop::OnEnded() {
  for (auto& [timer, q] : timers_) q->stop();
  QCoreApplication::exit(0);
}

void NativeEventLoop::RunDue() {
  if (auto* d = Dispatcher()) d->processEvents(QEventLoop::AllEvents);
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
  const long long lngBefore = Delivered();
  while (!bTimeUp && !bEnded_ && Delivered() == lngBefore)
    d->processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
  // Everything else that became due with it runs too.
  if (!bEnded_) d->processEvents(QEventLoop::AllEvents);
}

void NativeEventLoop::Run() {
  if (!bEnded_) QCoreApplication::exec();
  bEnded_ = true;
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
