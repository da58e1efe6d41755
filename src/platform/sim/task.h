#pragma once
// A pending piece of work of the world: a move-only void() callable that keeps what it
// captured inside itself when that fits (a delivery holds its endpoint and its bytes, a
// timer tick four words), so posting an event allocates nothing. Larger callables are
// kept on the heap, as std::function keeps them.
#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace launchagent::sim {

class Task {
 public:
  static constexpr std::size_t kInline = 56;

  Task() noexcept = default;
  Task(std::nullptr_t) noexcept {}  // NOLINT: an empty task, as an empty function
  template <class F, class = std::enable_if_t<!std::is_same_v<std::decay_t<F>, Task>>>
  Task(F&& f) {  // NOLINT: takes any callable, as std::function does
    using Fn = std::decay_t<F>;
    if constexpr (std::is_same_v<Fn, std::nullptr_t>) {
      return;
    } else if constexpr (sizeof(Fn) <= kInline && alignof(Fn) <= alignof(std::max_align_t) &&
                         std::is_nothrow_move_constructible_v<Fn>) {
      ::new (static_cast<void*>(buf_)) Fn(std::forward<F>(f));
      ops_ = &InlineOps<Fn>::kOps;
    } else {
      ::new (static_cast<void*>(buf_)) Fn*(new Fn(std::forward<F>(f)));
      ops_ = &HeapOps<Fn>::kOps;
    }
  }
  Task(Task&& other) noexcept { Take(other); }
  Task& operator=(Task&& other) noexcept {
    if (this != &other) {
      Reset();
      Take(other);
    }
    return *this;
  }
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  ~Task() { Reset(); }

  explicit operator bool() const noexcept { return ops_ != nullptr; }
  void operator()() { ops_->invoke(buf_); }

 private:
  struct Ops {
    void (*invoke)(void*);
    void (*move)(void* to, void* from) noexcept;  // constructs at `to`, destroys `from`
    void (*destroy)(void*) noexcept;
  };
  template <class Fn>
  struct InlineOps {
    static void Invoke(void* p) { (*static_cast<Fn*>(p))(); }
    static void Move(void* to, void* from) noexcept {
      ::new (to) Fn(std::move(*static_cast<Fn*>(from)));
      static_cast<Fn*>(from)->~Fn();
    }
    static void Destroy(void* p) noexcept { static_cast<Fn*>(p)->~Fn(); }
    static constexpr Ops kOps{&Invoke, &Move, &Destroy};
  };
  template <class Fn>
  struct HeapOps {
    static Fn*& Ptr(void* p) { return *static_cast<Fn**>(p); }
    static void Invoke(void* p) { (*Ptr(p))(); }
    static void Move(void* to, void* from) noexcept { ::new (to) Fn*(Ptr(from)); }
    static void Destroy(void* p) noexcept { delete Ptr(p); }
    static constexpr Ops kOps{&Invoke, &Move, &Destroy};
  };

  void Take(Task& other) noexcept {
    if (!other.ops_) return;
    other.ops_->move(buf_, other.buf_);
    ops_ = other.ops_;
    other.ops_ = nullptr;
  }
  void Reset() noexcept {
    if (!ops_) return;
    const Ops* ops = ops_;
    ops_ = nullptr;
    ops->destroy(buf_);
  }

  alignas(std::max_align_t) unsigned char buf_[kInline];
  const Ops* ops_ = nullptr;
};

}  // namespace launchagent::sim
