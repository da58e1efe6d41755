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
#include "platform/sim/disk.h"
#include "platform/sim/event_queue.h"
#include "platform/sim/fiber.h"
#include "platform/sim/links.h"
#include "platform/sim/random.h"
#include "platform/sim/transcript_writer.h"
#include "platform/sim/world.h"
#include "platform/ui/controls.h"
#include "platform/ui/form.h"

namespace launchagent::sim {

class ProcessState;
class SimSocketArray;

[[noreturn]] void Fatal(const std::string& sWhat);

// ---- Windows ------------------------------------------------------------------------
struct WindowRec {
  platform::WindowHandle hWnd = 0;
  HostId host = 0;
  std::string sClass;
  std::string sTitle;
  bool bVisible = false;
  ProcessId owner = 0;
  ui::Form* form = nullptr;
  std::string sFormName;
  int nRefuseClose = 0;  // windows placed by the scenario
};

// ---- Network ------------------------------------------------------------------------
// One end of a TCP connection. A socket position holds one while it connects or is
// connected; a new connection on the same position gets a new one, so late events of
// the old connection find it dead.
struct Endpoint {
  std::uint64_t id = 0;
  HostId host = 0;
  ProcessId pid = 0;  // 0: owned by the world (a scenario's raw connection)
  SimSocketArray* array = nullptr;
  std::weak_ptr<int> arrayAlive;
  Long index = 0;
  Integer state = platform::kSckClosed;
  Bytes inbox;
  std::weak_ptr<Endpoint> peer;
  HostId peerHost = 0;
  Long localPort = 0;
  Long remotePort = 0;
  Nanos fifo = 0;                     // latest arrival scheduled towards the peer
  bool bDead = false;                 // closed or aborted: no further events
  std::function<void()> onConnected;  // raw connections
};

struct ListenerRef {
  SimSocketArray* array = nullptr;
  std::weak_ptr<int> alive;
  Long index = 0;
  ProcessId pid = 0;
};

// ---- Hosts --------------------------------------------------------------------------
struct Share {
  std::string sName;
  char cDrive = 'C';
  std::vector<std::string> folder;
  bool bReadable = true;
};

struct RegKey {
  std::string sPath;  // as first written, "HKLM\Software\..."
  // lower-case name -> (name, data), in name order
  std::map<std::string, std::pair<std::string, std::string>> values;
};

struct HostState {
  HostId id = 0;
  std::string sName;
  std::string sComputerName;
  Address address{};
  bool bUp = true;
  bool bCrashing = false;

  // Clock: local = world time + skew + offset.
  double dSkewPpm = 0;
  Nanos offset = 0;

  Rng netRng{0};
  Rng shareRng{0};

  Disk disk;
  std::optional<std::string> systemFolder = std::string("C:\\Windows\\System32");
  std::vector<Share> shares;
  std::optional<std::vector<std::string>> visibleShares;
  std::optional<Nanos> searchTime;
  bool bSearchError = false;

  std::map<std::string, RegKey> registry;  // lower-case key path
  bool bDenyLocalMachine = false;
  bool bComputerNameFails = false;

  SocketsLibrarySettings sockets;
  std::map<std::string, Address> nameEntries;  // lower-case name
  std::set<std::string> failedLookups;         // lower-case name

  std::vector<std::shared_ptr<WindowRec>> windows;  // topmost first
  std::vector<ProcessId> processes;                 // alive, oldest first

  std::map<Long, ListenerRef> listeners;
  Long nextEphemeral = 49152;
  Long nextRequestId = 1;
  std::map<std::uint64_t, std::weak_ptr<Endpoint>> endpoints;
};

// ---- Per-process services ----------------------------------------------------------
class SimClock : public platform::Clock {
 public:
  SimClock(World::Impl& w, HostId host) : w_(w), host_(host) {}
  DateTime Now() const override;
  double SecondsSinceMidnight() const override;

 private:
  World::Impl& w_;
  HostId host_;
};

class SimEventLoop : public platform::EventLoop, public ui::TimerDriver {
 public:
  SimEventLoop(World::Impl& w, ProcessState& p) : w_(w), p_(p) {}
  void ProcessPendingEvents() override;
  void WaitForEvents(double dSeconds) override;
  void Run() override;
  [[noreturn]] void EndProcess() override;
  ui::TimerDriver& Timers() override { return *this; }
  void TimerChanged(ui::Timer& timer) override;
  void TimerGone(ui::Timer& timer) override;

 private:
  void Tick(ui::Timer* timer, std::uint64_t gen, Nanos due);
  void Arm(ui::Timer* timer, std::uint64_t gen, Nanos due);
  World::Impl& w_;
  ProcessState& p_;
};

class SimWindows : public platform::WindowSystem {
 public:
  SimWindows(World::Impl& w, ProcessState& p) : w_(w), p_(p) {}
  platform::WindowHandle FindWindowByTitle(const std::string& sTitle) override;
  platform::WindowHandle NextWindow(platform::WindowHandle hWnd) override;
  std::optional<std::string> ClassName(platform::WindowHandle hWnd, int nBufferLen) override;
  std::optional<std::string> WindowText(platform::WindowHandle hWnd, int nBufferLen) override;
  bool SendClose(platform::WindowHandle hWnd) override;
  void AttachForm(ui::Form& form) override;
  void DetachForm(ui::Form& form) override;
  void MessageBox(const std::string& sTitle, const std::string& sText) override;

 private:
  World::Impl& w_;
  ProcessState& p_;
};

class SimShell : public platform::Shell {
 public:
  SimShell(World::Impl& w, ProcessState& p) : w_(w), p_(p) {}
  Long Execute(const std::string& sVerb, const std::string& sFile, const std::string& sParameters,
               const std::string& sFolder, Long lngShowCmd) override;

 private:
  World::Impl& w_;
  ProcessState& p_;
};

class SimRegistry : public platform::Registry {
 public:
  SimRegistry(World::Impl& w, ProcessState& p) : w_(w), p_(p) {}
  std::optional<platform::RegistryKey> CreateKey(platform::RegistryRoot root,
                                                 const std::string& sSubKey) override;
  bool SetStringValue(platform::RegistryKey key, const std::string& sName,
                      const std::string& sData) override;
  bool CloseKey(platform::RegistryKey key) override;

 private:
  World::Impl& w_;
  ProcessState& p_;
  std::map<platform::RegistryKey, std::pair<platform::RegistryRoot, std::string>> open_;
  platform::RegistryKey nextKey_ = 0x100;
};

class SimKernel : public platform::Kernel {
 public:
  SimKernel(World::Impl& w, HostId host) : w_(w), host_(host) {}
  std::optional<std::string> ComputerName() override;

 private:
  World::Impl& w_;
  HostId host_;
};

class SimSocketsLibrary : public platform::SocketsLibrary {
 public:
  SimSocketsLibrary(World::Impl& w, ProcessState& p) : w_(w), p_(p) {}
  Long Startup(std::uint16_t wVersionRequested, platform::SocketsStartupData& data) override;
  Long Cleanup() override;
  Long LastError() override;
  std::optional<std::string> HostName() override;
  std::optional<platform::HostEntry> HostByName(const std::string& sName) override;

 private:
  World::Impl& w_;
  ProcessState& p_;
  int nStarts_ = 0;
  Long lngLastError_ = 0;
};

class SimNetwork : public platform::Network {
 public:
  SimNetwork(World::Impl& w, ProcessState& p) : w_(w), p_(p) {}
  std::unique_ptr<platform::SocketArray> CreateSocketArray(const std::string& sName) override;

 private:
  World::Impl& w_;
  ProcessState& p_;
};

class SimFileSystem : public platform::FileSystem {
 public:
  SimFileSystem(World::Impl& w, ProcessState& p) : w_(w), p_(p) {}
  std::string AgentFolder() override;
  std::optional<std::vector<platform::DirEntry>> List(const std::string& sPattern, bool bHidden,
                                                      bool bFolders) override;
  bool FolderExists(const std::string& sPath) override;
  bool CanOpenForReading(const std::string& sPath) override;
  std::optional<Bytes> ReadFile(const std::string& sPath) override;
  bool ReplaceFile(const std::string& sPath, const Bytes& content) override;
  std::optional<std::string> SystemFolder() override;
  Integer CopyFile(const std::string& sSource, const std::string& sDestination) override;

 private:
  World::Impl& w_;
  ProcessState& p_;
};

class SimShareSearch : public platform::ShareSearch {
 public:
  SimShareSearch(World::Impl& w, ProcessState& p) : w_(w), p_(p) {}
  void FindResources() override;
  Long StillProcessing() override;
  Long ErrorOccurred() override;
  void GetNResources(Long& lngCount) override;
  void GetResource(std::array<char, 257>& buffer) override;
  void FreeResources() override;

 private:
  World::Impl& w_;
  ProcessState& p_;
  bool bHave_ = false;
  bool bError_ = false;
  Nanos doneAt_ = 0;
  std::vector<std::string> results_;
  std::size_t next_ = 0;
};

class SimTrace : public platform::Trace {
 public:
  SimTrace(World::Impl& w, HostId host) : w_(w), host_(host) {}
  void ActivityLine(const std::string& sText) override;

 private:
  World::Impl& w_;
  HostId host_;
};

struct ProcessServices {
  ProcessServices(World::Impl& w, ProcessState& p);
  SimClock clock;
  SimEventLoop loop;
  SimWindows windows;
  SimShell shell;
  SimRegistry registry;
  SimKernel kernel;
  SimSocketsLibrary sockets;
  SimNetwork network;
  SimFileSystem files;
  SimShareSearch shares;
  SimTrace trace;
  platform::Platform platform;
};

// ---- Processes ----------------------------------------------------------------------
class ProcessState {
 public:
  enum class State { NotStarted, Running, WaitEvents, WaitBlocked, Finished };

  ProcessId pid = 0;
  HostId host = 0;
  ProgramStart start;
  ProgramBody body;
  State state = State::NotStarted;
  std::uint64_t waitGen = 0;
  Nanos waitDeadline = kForever;
  bool bKillRequested = false;
  bool bEnding = false;  // unwinding: waits return at once
  bool bKilled = false;
  std::string sFailure;  // an exception that escaped the program
  Nanos started = 0;
  Nanos ended = 0;
  int nDepth = 0;
  std::uint64_t nSpin = 0;

  // Own events, due order.
  std::map<std::pair<Nanos, std::uint64_t>, std::function<void()>> events;
  struct TimerRec {
    std::uint64_t gen = 0;
  };
  std::map<ui::Timer*, TimerRec> timers;
  std::uint64_t timerGen = 0;
  // Senders waiting in SendClose for this process to handle their request.
  struct Waiter {
    ProcessId pid;
    std::uint64_t gen;
    Nanos sent;
  };
  std::vector<Waiter> waiters;

  std::unique_ptr<Fiber> fiber;
  std::unique_ptr<ProcessServices> services;

  bool Alive() const { return state != State::Finished; }
};

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
  void CloseEndpoint(const std::shared_ptr<Endpoint>& ep, bool bGraceful);
  void BreakConnection(std::weak_ptr<Endpoint> ep);
  void SetState(const std::shared_ptr<Endpoint>& ep, Integer state);
  std::string EndpointText(const Endpoint& ep) const;
  // Callers test NetTracing first: composing a line nobody reads is most of its cost.
  bool NetTracing() const { return bNetTrace && transcript.Wanted(); }
  void NetLine(HostId host, const std::string& sText);

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

  std::vector<std::unique_ptr<HostState>> hosts;
  std::map<std::string, HostId> hostByName;       // lower-case Winsock name
  std::map<std::uint32_t, HostId> hostByAddress;  // address as a number
  std::map<ProcessId, std::shared_ptr<ProcessState>> processes;
  ProcessId nextPid = 0;
  std::map<std::string, ProgramBody> programs;

  platform::WindowHandle nextWindow = 0;

  Links links;
  bool bNetTrace = false;
  std::uint64_t nextEndpoint = 0;
  std::vector<std::shared_ptr<Endpoint>> rawEndpoints;

  std::uint64_t sharesGen = 0;  // bumps when hosts or shares change
  std::uint64_t sharesCacheGen = UINT64_MAX;
  std::vector<std::string> sharesCache;

  TranscriptWriter transcript;
};

// The stand-in main application (program kind "varno").
void VarnoProgram(World::Impl& w, platform::Platform& p, const ProgramStart& start);

}  // namespace launchagent::sim
