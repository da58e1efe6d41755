#pragma once
// What the picture of a run shows, gathered from its transcript lines as they stream by:
// per host the spans the agent and Varno ran, launches and closes, faults, the age of
// the host's own check-in and its messages per minute. Only what gets drawn keeps its
// line (for the hover text), so a long run costs memory per mark, not per line.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace launchagent::report {

using Nanos = std::int64_t;
constexpr Nanos kOpen = -1;  // a span still going on

struct Span {
  Nanos start = 0;
  Nanos end = kOpen;
  std::string sLine;  // the line that began it
};

struct Mark {
  Nanos t = 0;
  std::string sLine;
};

struct AgeSample {
  Nanos t = 0;
  int nMinutes = 0;  // the age the agent printed for its own entry
  std::string sLine;
};

struct MinuteCount {
  int nSent = 0;      // host information sent to another agent
  int nReceived = 0;  // host information received
};

struct HostPicture {
  std::string sName;
  std::vector<Span> agent;  // an agent process ran
  std::vector<Span> varno;  // a Varno process ran
  std::vector<Span> down;   // the host was down after a crash
  std::vector<Mark> launches;
  std::vector<Mark> closes;  // a Varno window closed
  std::vector<Mark> faults;  // clock steps, refused closes
  std::vector<AgeSample> ages;
  std::map<std::int64_t, MinuteCount> minutes;  // by minute since the start
};

// One "partition A -> B" of the world; "*" stands for every host.
struct PartitionSpan {
  std::string sFrom;
  std::string sTo;
  Span span;
};

class RunPicture {
 public:
  // One transcript line; lines not in the transcript's form are ignored.
  void Add(const std::string& sLine);
  // Closes what is still open at the end of the run (or the last line, when later).
  void Finish(Nanos end);

  const std::vector<HostPicture>& Hosts() const { return hosts_; }  // in order of appearance
  const std::vector<PartitionSpan>& Partitions() const { return partitions_; }
  Nanos End() const { return end_; }

 private:
  struct Open {  // a running process: which list and where in it
    bool bVarno = false;
    std::size_t index = 0;
  };
  struct HostState {
    std::map<std::string, Open> processes;  // by "#pid"
    std::optional<std::size_t> down;
    std::string sLastVerified;  // the host named by the latest "Verifying Agent" line
  };

  HostPicture& Host(const std::string& sName, HostState** state);
  void OnProcess(HostPicture& h, HostState& s, Nanos t, const std::string& sText,
                 const std::string& sLine);
  void OnLog(HostPicture& h, HostState& s, Nanos t, const std::string& sText,
             const std::string& sLine);
  void OnNote(HostPicture* h, HostState* s, Nanos t, const std::string& sText,
              const std::string& sLine);
  void Heal(const std::string& sFrom, const std::string& sTo, Nanos t);

  std::vector<HostPicture> hosts_;
  std::vector<HostState> states_;
  std::map<std::string, std::size_t> byName_;  // lower-cased name -> index
  std::vector<PartitionSpan> partitions_;
  Nanos end_ = 0;
};

}  // namespace launchagent::report
