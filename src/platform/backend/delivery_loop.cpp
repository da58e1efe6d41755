#include "platform/backend/delivery_loop.h"

namespace launchagent::platform {
namespace {

// Pumps in a row that only polled the clock before the loop sleeps, and for how long.
constexpr int kIdlePollsBeforeSleep = 2;
constexpr long long kIdlePollSleepMs = 10;

}  // namespace

void DeliveryLoop::Deliver(const std::function<void()>& fn) {
  if (bEnded_) return;
  ++lngDelivered_;
  nIdlePolls_ = 0;
  {
    ++nDepth_;
    struct Leave {
      int& n;
      ~Leave() { --n; }
    } leave{nDepth_};
    try {
      fn();
    } catch (const ProcessEnded&) {
      MarkEnded();
    }
  }
  if (nDepth_ > 0 || afterDeliveries_.empty()) return;
  const auto after = std::move(afterDeliveries_);
  afterDeliveries_.clear();
  for (const auto& f : after) f();
}

void DeliveryLoop::MarkEnded() {
  if (bEnded_) return;
  bEnded_ = true;
  OnEnded();
}

void DeliveryLoop::ProcessPendingEvents() {
  if (bEnded_) throw ProcessEnded{};
  const long long lngBefore = lngDelivered_;
  const bool bPolledClock = time_.TakeClockRead();
  RunDue();
  if (bEnded_) throw ProcessEnded{};
  if (lngDelivered_ != lngBefore || !bPolledClock) {
    nIdlePolls_ = 0;
    return;
  }
  if (++nIdlePolls_ >= kIdlePollsBeforeSleep) {
    SleepUntilDelivery(kIdlePollSleepMs);
    if (bEnded_) throw ProcessEnded{};
  }
}

void DeliveryLoop::WaitForEvents(double dSeconds) {
  if (bEnded_) throw ProcessEnded{};
  nIdlePolls_ = 0;
  const long long lngMs = time_.RealMs(dSeconds);
  if (lngMs <= 0)
    RunDue();
  else
    SleepUntilDelivery(lngMs);
  if (bEnded_) throw ProcessEnded{};
}

void DeliveryLoop::EndProcess() {
  MarkEnded();
  throw ProcessEnded{};
}

}  // namespace launchagent::platform
