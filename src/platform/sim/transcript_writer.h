#pragma once
// The world's transcript: every line goes to the sink as it is written, and is kept
// only when someone will read the whole transcript afterwards. A large LAN writes
// millions of lines an hour; keeping them is the reader's choice, not the world's.
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/sim/world.h"

namespace launchagent::sim {

class TranscriptWriter {
 public:
  using Sink = std::function<void(const std::string&)>;

  void SetSink(Sink sink) { sink_ = std::move(sink); }
  void SetKeep(bool bKeep) { bKeep_ = bKeep; }
  // Nobody reads lines while the world tears down.
  void Close() {
    bClosed_ = true;
    sink_ = nullptr;
  }
  // False when a written line would go nowhere: callers may skip composing it.
  bool Wanted() const { return !bClosed_ && (bKeep_ || sink_); }

  void Write(Nanos t, std::string_view sHost, TranscriptKind kind, std::string_view sText);

  const std::vector<std::string>& Lines() const { return lines_; }
  std::vector<std::string> TakeLines() { return std::move(lines_); }

 private:
  std::string line_;  // reused: a line costs no allocation once it has grown
  std::vector<std::string> lines_;
  Sink sink_;
  bool bKeep_ = true;
  bool bClosed_ = false;
};

}  // namespace launchagent::sim
