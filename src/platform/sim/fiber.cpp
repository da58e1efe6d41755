#include "platform/sim/fiber.h"

#include <ucontext.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#define LA_FIBER_ASAN 1
#endif

namespace launchagent::sim {

struct Fiber::Context {
  ucontext_t fiber;
  ucontext_t caller;
  // The resumer's stack, for the sanitizer's bookkeeping.
  const void* callerBottom = nullptr;
  std::size_t callerSize = 0;
};

namespace {

[[noreturn]] void FiberFatal(const char* sWhat) {
  std::fprintf(stderr, "sim fiber: %s\n", sWhat);
  std::abort();
}

}  // namespace

Fiber::Fiber(std::function<void()> body, std::size_t nStackBytes)
    : ctx_(std::make_unique<Context>()),
      // Left uninitialised on purpose: a thousand fibers must not touch every page.
      stack_(new char[nStackBytes]),
      nStackBytes_(nStackBytes),
      body_(std::move(body)) {
  if (getcontext(&ctx_->fiber) != 0) FiberFatal("getcontext failed");
  ctx_->fiber.uc_stack.ss_sp = stack_.get();
  ctx_->fiber.uc_stack.ss_size = nStackBytes_;
  ctx_->fiber.uc_link = nullptr;
  const auto p = reinterpret_cast<std::uintptr_t>(this);
  makecontext(&ctx_->fiber, reinterpret_cast<void (*)()>(&Fiber::Entry), 2,
              static_cast<unsigned int>(p & 0xFFFFFFFFu),
              static_cast<unsigned int>(static_cast<std::uint64_t>(p) >> 32));
}

Fiber::~Fiber() {
  if (bRunning_) FiberFatal("a running fiber was destroyed");
}

void Fiber::Entry(unsigned int nLow, unsigned int nHigh) {
  const std::uintptr_t p =
      static_cast<std::uintptr_t>((static_cast<std::uint64_t>(nHigh) << 32) | nLow);
  Fiber* self = reinterpret_cast<Fiber*>(p);
#ifdef LA_FIBER_ASAN
  __sanitizer_finish_switch_fiber(nullptr, &self->ctx_->callerBottom, &self->ctx_->callerSize);
#endif
  self->body_();
  self->bFinished_ = true;
  self->bRunning_ = false;
#ifdef LA_FIBER_ASAN
  // This stack is done for good: no fake stack to keep.
  __sanitizer_start_switch_fiber(nullptr, self->ctx_->callerBottom, self->ctx_->callerSize);
#endif
  setcontext(&self->ctx_->caller);
  FiberFatal("setcontext returned");
}

void Fiber::Resume() {
  if (bFinished_ || bRunning_) FiberFatal("resume of a finished or running fiber");
  bRunning_ = true;
#ifdef LA_FIBER_ASAN
  void* fake = nullptr;
  __sanitizer_start_switch_fiber(&fake, stack_.get(), nStackBytes_);
#endif
  if (swapcontext(&ctx_->caller, &ctx_->fiber) != 0) FiberFatal("swapcontext failed");
#ifdef LA_FIBER_ASAN
  __sanitizer_finish_switch_fiber(fake, nullptr, nullptr);
#endif
}

void Fiber::Yield() {
  if (!bRunning_) FiberFatal("yield outside the fiber");
  bRunning_ = false;
#ifdef LA_FIBER_ASAN
  void* fake = nullptr;
  __sanitizer_start_switch_fiber(&fake, ctx_->callerBottom, ctx_->callerSize);
#endif
  if (swapcontext(&ctx_->fiber, &ctx_->caller) != 0) FiberFatal("swapcontext failed");
#ifdef LA_FIBER_ASAN
  __sanitizer_finish_switch_fiber(fake, &ctx_->callerBottom, &ctx_->callerSize);
#endif
}

}  // namespace launchagent::sim
