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
#include "platform/sim/event_queue.h"
#include "platform/sim/host_state.h"
#include "platform/sim/host_table.h"
#include "platform/sim/links.h"
#include "platform/sim/process_services.h"
#include "platform/sim/process_state.h"
#include "platform/sim/process_table.h"
#include "platform/sim/raw_connections.h"
#include "platform/sim/transcript_writer.h"
#include "platform/sim/world.h"
#include "platform/ui/controls.h"
#include "platform/ui/form.h"

namespace launchagent::sim {

[[noreturn]] void Fatal(const std::string& sWhat);

// ---- The world's inside -------------------------------------------------------------
class World::Impl {
 public:
  explicit Impl(std::uint64_t seed);
  ~Impl();

  // Scheduler.
  struct Entry {
    enum class Type { World, Event, Start, Wake };
    Nanos t = 0;
    std::uint64_t seq = 0;
    ProcessId pid = 0;
    Type type = Type::World;
    std::uint64_t token = 0;
    std::function<void()> fn;
  };
  void Push(Entry e);
  void PostWorld(Nanos t, std::function<void()> fn);
  void PostProcess(ProcessState& p, Nanos t, std::function<void()> fn);
  void PostEndpoint(const std::shared_ptr<Endpoint>& ep, Nanos t, std::function<void()> fn);
  bool Step();
  void RunUntil(Nanos t);
  bool Call(ProcessId pid, std::function<void()> fn);
  void Dispatch(Entry& e);
  void Resume(ProcessState& p);
  void CheckLostWakeups() const;

  // Inside a process's fiber.
  void RequireFiber(ProcessState& p, const char* sWhat) const;
  [[noreturn]] void EndNow(ProcessState& p);
  void CheckKill(ProcessState& p);
  bool HasDue(const ProcessState& p) const;
  void Drain(ProcessState& p);
  void WaitEvents(ProcessState& p, Nanos d);
  // Waits without handling events until Wake(gen) (scheduled by someone) or `until`.
  void WaitBlocked(ProcessState& p, std::uint64_t gen, Nanos until);
  void Sleep(ProcessState& p, Nanos d);
  void Wake(ProcessId pid, std::uint64_t gen, Nanos t);

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
  std::vector<std::string> DefaultVisibleShares();

  // Windows.
  HostState& HostOf(ProcessState& p) { return *hosts[p.host]; }
  std::shared_ptr<WindowRec> FindWindow(HostId host, platform::WindowHandle hWnd) const;
  void OpenWindow(HostState& h, std::shared_ptr<WindowRec> rec);
  void RemoveWindow(HostState& h, platform::WindowHandle hWnd);
  void FormChanged(WindowRec& rec);
  // Runs on the owner's fiber (or the scheduler's stack for scenario windows).
  void DeliverClose(HostId host, platform::WindowHandle hWnd);

  // Clock.
  Nanos LocalNanos(const HostState& h) const;

  // Names and network.
  std::optional<Address> Lookup(HostState& h, const std::string& sName, Long* pError);
  HostState* HostByAddress(const HostState& from, const Address& a);
  Nanos Latency(HostId from, HostId to);
  Nanos Arrival(Endpoint& from, Nanos t);
  Long EphemeralPort(HostState& h);
  std::shared_ptr<Endpoint> NewEndpoint(HostId host, ProcessId pid);
  void StartConnect(const std::shared_ptr<Endpoint>& ep, const std::string& sRemote, Long lngPort);
  void SendSyn(const std::shared_ptr<Endpoint>& ep, const Address& a, Long lngPort);
  void SynArrives(std::weak_ptr<Endpoint> client, HostId target, Long lngPort);
  bool AcceptRequest(const std::shared_ptr<Endpoint>& client,
                     const std::shared_ptr<Endpoint>& server);
  void Send(const std::shared_ptr<Endpoint>& ep, const Bytes& data);
  void HalfOpenSend(const std::shared_ptr<Endpoint>& ep);
  void CloseEndpoint(const std::shared_ptr<Endpoint>& ep, bool bGraceful);
  void BreakConnection(std::weak_ptr<Endpoint> ep);
  void SetState(const std::shared_ptr<Endpoint>& ep, Integer state);
  std::string EndpointText(const Endpoint& ep) const;
  // Callers test NetTracing first: composing a line nobody reads is most of its cost.
  bool NetTracing() const { return bNetTrace && transcript.Wanted(); }
  void NetLine(HostId host, const std::string& sText);
  // "send A -> B " and what describeSend makes of the bytes.
  void SendLine(const Endpoint& ep, const Bytes& data);

  // Transcript.
  void Record(std::optional<HostId> host, TranscriptKind kind, const std::string& sText);

  // State.
  std::uint64_t seed;
  DateTime startDate = DateTime::FromCivil(2026, 1, 5, 8, 0, 0);
  Nanos now = 0;
  std::uint64_t nextSeq = 0;
  EventQueue<Entry> heap;
  ProcessState* current = nullptr;
  bool bTearingDown = false;
  std::size_t nStackBytes = 1024 * 1024;

  HostTable hosts;
  ProcessTable processes;
  std::map<std::string, ProgramBody> programs;

  platform::WindowHandle nextWindow = 0;

  Links links;
  bool bNetTrace = false;
  std::function<std::string(const Bytes&)> describeSend;
  std::uint64_t nextEndpoint = 0;
  RawConnections raw{*this};

  std::uint64_t sharesGen = 0;  // bumps when hosts or shares change
  std::uint64_t sharesCacheGen = UINT64_MAX;
  std::vector<std::string> sharesCache;

  TranscriptWriter transcript;
};

// The stand-in main application (program kind "varno").
void VarnoProgram(World::Impl& w, platform::Platform& p, const ProgramStart& start);

}  // namespace launchagent::sim
