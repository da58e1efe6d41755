#pragma once
// Every process the world started, by id. Ids count from 1 and are never reused; a
// process stays listed after it ends, so late events find it finished, not missing.
// Looked up once per event, hence a vector rather than a map.
#include <memory>
#include <vector>

#include "platform/sim/process_state.h"

namespace launchagent::sim {

class ProcessTable {
 public:
  // Gives the process the next id.
  ProcessId Add(std::shared_ptr<ProcessState> p) {
    p->pid = static_cast<ProcessId>(byPid_.size() + 1);
    byPid_.push_back(std::move(p));
    return byPid_.back()->pid;
  }
  ProcessState* Find(ProcessId pid) const {
    return Known(pid) ? byPid_[Index(pid)].get() : nullptr;
  }
  // Shared, to keep the process alive while a switch to its fiber runs.
  std::shared_ptr<ProcessState> Share(ProcessId pid) const {
    return Known(pid) ? byPid_[Index(pid)] : nullptr;
  }
  // Oldest first.
  auto begin() const { return byPid_.begin(); }
  auto end() const { return byPid_.end(); }
  void clear() { byPid_.clear(); }

 private:
  static std::size_t Index(ProcessId pid) { return static_cast<std::size_t>(pid - 1); }
  bool Known(ProcessId pid) const { return pid >= 1 && Index(pid) < byPid_.size(); }

  std::vector<std::shared_ptr<ProcessState>> byPid_;  // [pid - 1]
};

}  // namespace launchagent::sim
