#include "platform/sim/fiber.h"

#include <boost/context/detail/fcontext.hpp>
#include <cstdio>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#define LA_FIBER_ASAN 1
#endif

namespace launchagent::sim {

namespace fctx = boost::context::detail;

// A switch saves and restores registers only: no signal mask, no system call. Thousands
// of switches per virtual second of a large LAN make that the difference.
struct Fiber::Context {
  fctx::fcontext_t fiber = nullptr;   // where the fiber continues
  fctx::fcontext_t caller = nullptr;  // where its resumer continues
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
  // The stack grows down from its end.
  ctx_->fiber = fctx::make_fcontext(stack_.get() + nStackBytes_, nStackBytes_, &Fiber::Entry);
}

Fiber::~Fiber() {
  if (bRunning_) FiberFatal("a running fiber was destroyed");
}

void Fiber::Entry(Transfer t) {
  Fiber* self = static_cast<Fiber*>(t.data);
  self->ctx_->caller = t.fctx;
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
  fctx::jump_fcontext(self->ctx_->caller, nullptr);
  FiberFatal("a finished fiber was resumed");
}

void Fiber::Resume() {
  if (bFinished_ || bRunning_) FiberFatal("resume of a finished or running fiber");
  bRunning_ = true;
#ifdef LA_FIBER_ASAN
  void* fake = nullptr;
  __sanitizer_start_switch_fiber(&fake, stack_.get(), nStackBytes_);
#endif
  ctx_->fiber = fctx::jump_fcontext(ctx_->fiber, this).fctx;
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
  ctx_->caller = fctx::jump_fcontext(ctx_->caller, nullptr).fctx;
#ifdef LA_FIBER_ASAN
  __sanitizer_finish_switch_fiber(fake, &ctx_->callerBottom, &ctx_->callerSize);
#endif
}

}  // namespace launchagent::sim
