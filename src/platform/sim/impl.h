#pragma once
// Inside of the World: hosts, processes, the scheduler, the network. Only the
// simulator's own sources include this.
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/services.h"
#include "platform/sim/desktop.h"
#include "platform/sim/host_state.h"
#include "platform/sim/host_table.h"
#include "platform/sim/net_model.h"
#include "platform/sim/process_services.h"
#include "platform/sim/process_state.h"
#include "platform/sim/process_table.h"
#include "platform/sim/scheduler.h"
#include "platform/sim/transcript_writer.h"
#include "platform/sim/visible_share_list.h"
#include "platform/sim/world.h"
#include "platform/ui/controls.h"
#include "platform/ui/form.h"

namespace launchagent::sim {

[[noreturn]] void Fatal(const std::string& sWhat);

// ---- The world's inside -------------------------------------------------------------
// The world's state and the parts it is made of: the scheduler, the network, the
// desktops. Processes, programs, paths and the transcript are its own.
class WorldImpl {
 public:
  explicit WorldImpl(std::uint64_t seed);
  ~WorldImpl();

  // Processes.
  ProcessState* Proc(ProcessId pid);
  const ProcessState* Proc(ProcessId pid) const;
  ProcessId Spawn(HostId host, ProgramStart start);
  bool Kill(ProcessId pid, bool bQuiet = false);
  void Finalize(ProcessState& p);
  void KillAll();
  ProcessInfo Info(const ProcessState& p) const;

  // Shell: a program file's kind and options; false when the file is no program.
  static bool ParseProgramFile(const Bytes& content, std::string& sKind,
                               std::vector<std::pair<std::string, std::string>>& options);
  StartResult Execute(HostId host, const std::string& sFile, const std::string& sParameters,
                      const std::string& sFolder, Long lngShowCmd, const std::string& sBase);

  // Files: a path resolved to a host's disk.
  struct Resolved {
    HostState* host = nullptr;
    char cDrive = 0;
    std::vector<std::string> parts;
    int nError = 0;  // 0 ok; 3 path not reachable; 5 access denied
  };
  Resolved Resolve(HostId from, const std::string& sPath, const std::string& sBase);

  HostState& HostOf(ProcessState& p) { return *hosts[p.host]; }
  Nanos LocalNanos(const HostState& h) const;
  void Record(std::optional<HostId> host, TranscriptKind kind, const std::string& sText);

  // State.
  std::uint64_t seed;
  DateTime startDate = DateTime::FromCivil(2026, 1, 5, 8, 0, 0);
  Nanos now = 0;
  bool bTearingDown = false;
  HostTable hosts;
  ProcessTable processes;
  std::map<std::string, ProgramBody> programs;
  TranscriptWriter transcript;
  VisibleShareList shareList;
  Scheduler sched{now, processes, [this](ProcessState& p) { Finalize(p); }};
  NetModel net{*this, hosts, now, sched, processes, transcript};
  Desktop desktop{*this, hosts};
};

// The stand-in main application (program kind "varno").
void VarnoProgram(WorldImpl& w, platform::Platform& p, const ProgramStart& start);

}  // namespace launchagent::sim
