#pragma once
// A fiber: a function with its own stack that the scheduler resumes and that yields
// back to it. Only the scheduler's stack resumes fibers; a fiber never resumes another.
#include <cstddef>
#include <functional>
#include <memory>

namespace boost::context::detail {
struct transfer_t;
}

namespace launchagent::sim {

class Fiber {
 public:
  // body must not let an exception escape; it runs on the first Resume.
  Fiber(std::function<void()> body, std::size_t nStackBytes);
  ~Fiber();
  Fiber(const Fiber&) = delete;
  Fiber& operator=(const Fiber&) = delete;

  // From the scheduler's stack: runs the fiber until it yields or its body returns.
  void Resume();
  // From inside the fiber: back to whoever resumed it.
  void Yield();
  bool Finished() const { return bFinished_; }
  bool Running() const { return bRunning_; }

 private:
  struct Context;
  using Transfer = boost::context::detail::transfer_t;
  static void Entry(Transfer t);
  std::unique_ptr<Context> ctx_;
  std::unique_ptr<char[]> stack_;
  std::size_t nStackBytes_;
  std::function<void()> body_;
  bool bFinished_ = false;
  bool bRunning_ = false;
};

}  // namespace launchagent::sim
