#pragma once
// The simulated LAN: many agents, each behaving as its own process, in one OS process
// on virtual time, a virtual network, virtual disks and virtual windows. Every run
// replays exactly from its seed.
//
// A World holds hosts (desktops of the LAN). A host has a Winsock name, a computer name,
// an IPv4 address, a clock, drives, shares, a registry, a desktop of top-level windows,
// a sockets library and the programs running on it. A program runs as a process on its
// own fiber with its own platform::Platform bundle; it waits only through its EventLoop
// (or a blocking platform call), and while every process waits, virtual time jumps to
// the next event.
//
// The World is driven from the outside (a test, the varno-sim command) on the caller's
// own stack: RunUntil / RunFor advance time, Call runs a function inside a process, At
// schedules a scenario action. None of the World's methods may be called from inside a
// process's fiber except the read-only queries, Record/Note and At.
//
// Failures come back as results (false, nullopt, 0); a misuse of the scheduler itself
// (waiting outside a process, unbounded nesting, a lost wake-up) is a bug of the caller
// or of the simulator and ends the OS process with a message on standard error.
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/date_time.h"
#include "platform/services.h"
#include "platform/types.h"

namespace launchagent::ui {
class Form;
}

namespace launchagent::sim {

// ---- Virtual time -------------------------------------------------------------------
// Virtual time in integer nanoseconds since the world's start.
using Nanos = std::int64_t;
constexpr Nanos kNanosecond = 1;
constexpr Nanos kMicrosecond = 1000;
constexpr Nanos kMillisecond = 1000 * kMicrosecond;
constexpr Nanos kSecond = 1000 * kMillisecond;
constexpr Nanos kMinute = 60 * kSecond;
constexpr Nanos kHour = 60 * kMinute;
constexpr Nanos kForever = INT64_MAX;

constexpr Nanos Milliseconds(std::int64_t n) { return n * kMillisecond; }
constexpr Nanos Seconds(std::int64_t n) { return n * kSecond; }
constexpr Nanos Minutes(std::int64_t n) { return n * kMinute; }
// Fractional seconds, rounded to the nanosecond.
Nanos FromSeconds(double dSeconds);
// "HH:MM:SS.mmm" (hours grow past 99 when needed), the transcript's time stamp.
std::string FormatElapsed(Nanos t);

// ---- Identities ---------------------------------------------------------------------
using HostId = std::uint32_t;            // hosts count from 0 in the order they were added
using ProcessId = std::int64_t;          // processes count from 1 over the whole world; 0: none
constexpr HostId kAnyHost = UINT32_MAX;  // wildcard for partitions
using Address = std::array<std::uint8_t, 4>;

// "10.0.0.7" -> bytes; nullopt when the text is not a dotted IPv4 address.
std::optional<Address> ParseAddress(const std::string& sText);
std::string FormatAddress(const Address& a);

// ---- Hosts --------------------------------------------------------------------------
struct HostSetup {
  std::string sWinsockName;        // what gethostname returns and what every host resolves
  std::string sComputerName;       // the kernel's computer name; "" = the Winsock name
  std::string sAddress;            // dotted IPv4; "" = 10.x.y.z drawn from the host's position
  double dClockOffsetSeconds = 0;  // local clock minus world time at the start
  double dClockSkewPpm = 0;        // local clock runs fast (+) or slow (-) by this rate
};

// The sockets library's answers on one host; change them to inject failures.
struct SocketsLibrarySettings {
  Long lngStartupResult = 0;  // non-zero: WSAStartup fails
  // Negotiated version word (low byte major, high byte minor); nullopt: the requested one.
  std::optional<std::uint16_t> wVersion;
  std::uint16_t wHighVersion = 0x0202;
  Long lngMaxSockets = 32767;
  std::optional<Long> lngCleanupResult;  // nullopt: 0, or -1 when not started
  std::optional<Long> lngLastError;      // nullopt: what the library's own calls set
  bool bHostNameFails = false;           // gethostname returns -1
  bool bAllLookupsFail = false;          // gethostbyname finds nothing at all
  Nanos lookupTime = 0;                  // virtual time a blocking look-up takes
};

// Network model defaults for the whole world.
struct NetworkSettings {
  Nanos latencyMin = 200 * kMicrosecond;  // one-way latency between two hosts, drawn
  Nanos latencyMax = 2 * kMillisecond;    // uniformly per packet in [min, max]
  Nanos loopback = 20 * kMicrosecond;     // a host talking to itself
  Nanos resolveTime = 1 * kMillisecond;   // socket connect by name: state 4 this long
  Nanos connectTimeout = 21 * kSecond;    // unanswered connect -> state 9
  Nanos dataTimeout = 10 * kSecond;       // lost send -> connection errors (state 9)
  Nanos splitGap = 1 * kMillisecond;      // between the two halves of a split send
};

// ---- Programs -----------------------------------------------------------------------
// What a process was started with.
struct ProgramStart {
  HostId host = 0;
  ProcessId pid = 0;
  std::string sKind;        // the program kind ("launch", "varno", a test's own)
  std::string sPath;        // executable path as started ("C:\Apps\Launch.exe", UNC too)
  std::string sParameters;  // command line parameters, as given
  std::string sFolder;      // working folder given to the shell, may be ""
  Long lngShowCmd = 1;
  // key=value words after the kind in the program file ("window-delay=5"), in order.
  std::vector<std::pair<std::string, std::string>> options;
  // The value of an option, or sDefault.
  std::string Option(const std::string& sKey, const std::string& sDefault = "") const;
};

// A program's main: runs on the new process's fiber. When it returns (or the process is
// ended or killed) the process ends and everything on its stack is destroyed.
using ProgramBody = std::function<void(platform::Platform&, const ProgramStart&)>;

// Result of starting a program the way the shell does.
struct StartResult {
  Long lngResult = 0;  // 42 success; 2 file not found; 3 path not found; 31 no association
  ProcessId pid = 0;   // 0 unless started
};

struct ProcessInfo {
  ProcessId pid = 0;
  HostId host = 0;
  std::string sKind;
  std::string sPath;
  std::string sParameters;
  bool bAlive = false;
  bool bKilled = false;  // ended from outside (Kill, host crash)
  Nanos started = 0;
  Nanos ended = 0;  // valid when !bAlive
};

// ---- Windows ------------------------------------------------------------------------
struct WindowInfo {
  platform::WindowHandle hWnd = 0;
  std::string sClass;
  std::string sTitle;
  bool bVisible = false;
  ProcessId owner = 0;       // 0: placed by the scenario
  ui::Form* form = nullptr;  // the attached form, when the window is one
  std::string sFormName;     // its name ("frmLaunch"), "" otherwise
};

// ---- Transcript ---------------------------------------------------------------------
enum class TranscriptKind { Log, Window, Registry, Process, Launch, File, MsgBox, Net, Note };
// "log", "window", "registry", "process", "launch", "file", "msgbox", "net", "note"
const char* TranscriptKindName(TranscriptKind kind);

// ---- The hosts facet -------------------------------------------------------------------
class World;
class WorldImpl;  // the world's inside (impl.h), for the simulator's own sources only
// The world's machines: adding and finding hosts, crashes and restarts, the hosts' clocks,
// computer names and registries; the world owns it and hands it out as World::Hosts().
class WorldHosts {
 public:
  explicit WorldHosts(World& world) : world_(world) {}
  WorldHosts(const WorldHosts&) = delete;
  WorldHosts& operator=(const WorldHosts&) = delete;

  // ---- Hosts ----
  // nullopt when the Winsock name or the address is empty, malformed or taken.
  std::optional<HostId> AddHost(const HostSetup& setup);
  // A host with this Winsock name (and computer name), the address given or drawn.
  std::optional<HostId> AddHost(const std::string& sWinsockName, const std::string& sAddress = "");
  std::size_t HostCount() const;
  // By Winsock name (case does not count) or dotted address.
  std::optional<HostId> FindHost(const std::string& sNameOrAddress) const;
  const std::string& HostName(HostId host) const;  // Winsock name
  std::string HostAddress(HostId host) const;
  bool HostUp(HostId host) const;
  // The host goes down at once: its processes die without clean-up messages, its
  // listeners vanish, the peers of its connections see an error, its shares go away.
  void CrashHost(HostId host);
  // Brings a crashed host back. With bAutostart, the programs named by the Run values
  // of its registry (machine first, then user; in value-name order) are started.
  void RestartHost(HostId host, bool bAutostart = true);

  // ---- Clocks ----
  DateTime HostTime(HostId host) const;
  void SetClockSkew(HostId host, double dPpm);
  // At virtual time `at`, the host's clock jumps by dSeconds (back when negative).
  void JumpClock(HostId host, Nanos at, double dSeconds);
  // At virtual time `at`, the host's clock is set to `local`.
  void SetClock(HostId host, Nanos at, DateTime local);

  // ---- Registry and kernel ----
  // CreateKey under HKEY_LOCAL_MACHINE fails while denied.
  void DenyLocalMachine(HostId host, bool bDenied);
  std::optional<std::string> RegistryValue(HostId host, platform::RegistryRoot root,
                                           const std::string& sSubKey,
                                           const std::string& sName) const;
  void SetRegistryValue(HostId host, platform::RegistryRoot root, const std::string& sSubKey,
                        const std::string& sName, const std::string& sData);
  void SetComputerName(HostId host, const std::string& sName);
  void SetComputerNameFails(HostId host, bool bFails);

 private:
  World& world_;
};

// ---- The network facet ----------------------------------------------------------------
// Names, latencies, partitions and raw connections of the world's network; the world
// owns it and hands it out as World::Net().
class WorldNet {
 public:
  explicit WorldNet(World& world) : world_(world) {}
  WorldNet(const WorldNet&) = delete;
  WorldNet& operator=(const WorldNet&) = delete;

  // ---- Sockets library and names ----
  SocketsLibrarySettings& SocketsLibrary(HostId host);
  // An extra name (or an override) in the host's name table.
  void AddNameEntry(HostId host, const std::string& sName, const std::string& sAddress);
  // Look-ups of sName from this host fail (or work again).
  void FailLookup(HostId host, const std::string& sName, bool bFails);

  // ---- Links ----
  NetworkSettings& Settings();
  // Latency range between two hosts, both directions.
  void SetLatency(HostId a, HostId b, Nanos min, Nanos max);
  // Packets from `from` to `to` are lost between start and end (directed; kAnyHost on
  // either side matches every host). Connects then time out, sends are lost and their
  // connection errors.
  void Partition(HostId from, HostId to, Nanos start, Nanos end = kForever);
  // Ends the partitions from `from` to `to` now.
  void Heal(HostId from, HostId to);
  // The next two sends from `from` to `to` arrive as one data arrival.
  void MergeNextSends(HostId from, HostId to);
  // The next send from `from` to `to` arrives as two data arrivals.
  void SplitNextSend(HostId from, HostId to);
  // Connects, refusals, accepts, closes and errors in the transcript (off by default).
  void SetTrace(bool bOn);
  // With the net trace on, each send also writes a line "send LOCAL -> REMOTE " and
  // what describe makes of its bytes (the simulator cannot read messages itself).
  void SetSendText(std::function<std::string(const Bytes&)> describe);
  // A connection from `from` (no process needed) to sTarget:lngPort that sends data
  // once connected, then closes when bCloseAfter. Without bCloseAfter it is kept: the
  // next RawSend from `from` to the same target and port goes on it (queued until it
  // connects), until one with bCloseAfter closes it. Failures show only in the net trace.
  void RawSend(HostId from, const std::string& sTarget, Long lngPort, Bytes data,
               bool bCloseAfter = true);

 private:
  World& world_;
};

// ---- The disks facet ------------------------------------------------------------------
// Files, folders, disk capacities, shares and the share search of the world's hosts; the
// world owns it and hands it out as World::Files().
class WorldFiles {
 public:
  explicit WorldFiles(World& world) : world_(world) {}
  WorldFiles(const WorldFiles&) = delete;
  WorldFiles& operator=(const WorldFiles&) = delete;

  // Scenario-side file access (no transcript lines). Folders on the way are created,
  // and a drive letter not yet seen becomes a new drive.
  bool WriteFile(HostId host, const std::string& sPath, const Bytes& content, bool bHidden = false);
  bool WriteFile(HostId host, const std::string& sPath, const std::string& sText,
                 bool bHidden = false);
  bool MakeFolder(HostId host, const std::string& sPath, bool bHidden = false);
  bool RemovePath(HostId host, const std::string& sPath);
  bool SetHidden(HostId host, const std::string& sPath, bool bHidden);
  std::optional<Bytes> ReadFile(HostId host, const std::string& sPath) const;
  bool FolderExists(HostId host, const std::string& sPath) const;
  // Bytes a drive may hold (files' sizes summed); nullopt = unlimited.
  void SetDiskCapacity(HostId host, char cDrive, std::optional<std::uint64_t> bytes);
  // The system folder ("C:\Windows\System32" by default); nullopt makes it missing.
  void SetSystemFolder(HostId host, std::optional<std::string> sPath);
  // \\host\sShare reaches sFolder of this host; an unreadable share refuses everything.
  bool AddShare(HostId host, const std::string& sShare, const std::string& sFolder,
                bool bReadable = true);
  bool SetShareReadable(HostId host, const std::string& sShare, bool bReadable);
  bool RemoveShare(HostId host, const std::string& sShare);
  // The share search's result list on this host; by default every share of every host
  // that is up, in host order. Any text may be listed, also names without "\\".
  void SetVisibleShares(HostId host, std::vector<std::string> names);
  void ClearVisibleShares(HostId host);  // back to the default
  // How long a search runs on this host; nullopt = drawn per search, 1 to 3 seconds.
  void SetShareSearchTime(HostId host, std::optional<Nanos> time);
  void SetShareSearchError(HostId host, bool bError);

 private:
  World& world_;
};

// ---- The programs facet -----------------------------------------------------------------
// Program kinds, program files, processes and the hosts' top-level windows; the world
// owns it and hands it out as World::Programs().
class WorldPrograms {
 public:
  explicit WorldPrograms(World& world) : world_(world) {}
  WorldPrograms(const WorldPrograms&) = delete;
  WorldPrograms& operator=(const WorldPrograms&) = delete;

  // ---- Programs and processes ----
  // Registers (or replaces) a program kind. The built-in kind "varno" is the stand-in
  // main application.
  void RegisterProgram(const std::string& sKind, ProgramBody body);
  bool HasProgram(const std::string& sKind) const;
  // Writes a program file: its content "SIMPROGRAM <kind> <options>" marks it as a
  // program for the shell, e.g. WriteProgramFile(h, "C:\Apps\Varno2.exe", "varno",
  // "window-delay=5 refuse-close=2").
  bool WriteProgramFile(HostId host, const std::string& sPath, const std::string& sKind,
                        const std::string& sOptions = "");
  // Starts the program file at sPath the way the shell does (local or \\host\share path).
  StartResult StartProgram(HostId host, const std::string& sPath,
                           const std::string& sParameters = "");
  // Starts a registered kind directly, without a program file. sPath becomes the
  // process's executable path (its folder is the agent folder); "" = "C:\<kind>.exe".
  // 0 when the kind is unknown or the host is down.
  ProcessId StartProcess(HostId host, const std::string& sKind, const std::string& sPath = "",
                         const std::string& sParameters = "",
                         std::vector<std::pair<std::string, std::string>> options = {});
  // Ends a process from outside: its current wait throws platform::ProcessEnded, so its
  // stack unwinds (its forms detach, its sockets close). False when not alive.
  bool Kill(ProcessId pid);
  bool Alive(ProcessId pid) const;
  std::optional<ProcessInfo> Process(ProcessId pid) const;
  // Processes of a host that are alive, oldest first.
  std::vector<ProcessInfo> Processes(HostId host) const;
  // The platform bundle of a live process (use it inside Call); nullptr otherwise.
  platform::Platform* PlatformOf(ProcessId pid);
  // The process whose fiber is running, 0 on the scheduler's stack.
  ProcessId CurrentProcess() const;

  // ---- Windows ----
  // Top-level windows of a host, topmost first.
  std::vector<WindowInfo> Windows(HostId host) const;
  // The topmost attached form named sFormName ("frmAgentSetup"); nullopt when none.
  std::optional<WindowInfo> FindForm(HostId host, const std::string& sFormName) const;
  // A window owned by no process (a folder window, another program's window). It
  // refuses nRefuseClose close requests (-1: all) and closes on the next.
  platform::WindowHandle AddWindow(HostId host, const std::string& sClass,
                                   const std::string& sTitle, int nRefuseClose = 0);
  // The user closes a window: a close request to its owner, not waited for. False when
  // the window does not exist.
  bool CloseWindow(HostId host, platform::WindowHandle hWnd);

 private:
  World& world_;
};

// ---- The world ----------------------------------------------------------------------
class World {
 public:
  // The seed decides every random draw (latencies, default search times, addresses
  // never). Start date-time defaults to 2026-01-05 08:00:00.
  explicit World(std::uint64_t seed);
  ~World();  // ends every process (unwinding its stack) before anything else goes
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  std::uint64_t Seed() const;
  // An independent seed for a named purpose (a scenario's fault campaign...).
  std::uint64_t SubSeed(const std::string& sPurpose) const;

  // ---- Time and scheduling ----
  // Only before the first host is added: the world time at virtual time 0.
  void SetStartDateTime(DateTime start);
  DateTime StartDateTime() const;
  Nanos Now() const;
  // Runs every event up to and including virtual time t; Now() is t afterwards.
  void RunUntil(Nanos t);
  void RunFor(Nanos d);
  // Runs one event; false when there is none.
  bool Step();
  // Runs fn at virtual time t (now if t is past) on the scheduler's stack, as a
  // scenario action. fn may call any World method, Call included.
  void At(Nanos t, std::function<void()> fn);
  // Runs fn inside the process (on its fiber, between its events) at the current time
  // and returns when fn has finished; time advances meanwhile if fn waits. False when
  // the process is not alive or ends before fn has finished.
  bool Call(ProcessId pid, std::function<void()> fn);

  // ---- Hosts, clocks and their registries ----
  WorldHosts& Hosts() { return hosts_; }

  // ---- Programs, processes and windows ----
  WorldPrograms& Programs() { return programs_; }

  // ---- Names and the network ----
  WorldNet& Net() { return net_; }

  // ---- Disks, shares, share search ----
  WorldFiles& Files() { return files_; }

  // ---- Transcript ----
  // Lines "HH:MM:SS.mmm <host> <kind> <text>"; world-level lines name host "-".
  // Empty when the lines are not kept.
  const std::vector<std::string>& Transcript() const;
  // The kept lines, moved out; the world keeps on from an empty transcript.
  std::vector<std::string> TakeTranscript();
  // Called with every new line as it is recorded.
  void SetTranscriptSink(std::function<void(const std::string&)> sink);
  // Whether lines are kept for Transcript() (the default) or only handed to the sink.
  // Off, a world that nobody reads writes no line at all.
  void KeepTranscript(bool bKeep);
  void Record(std::optional<HostId> host, TranscriptKind kind, const std::string& sText);
  void Note(std::optional<HostId> host, const std::string& sText);

 private:
  friend class WorldHosts;
  friend class WorldNet;
  friend class WorldFiles;
  friend class WorldPrograms;
  std::unique_ptr<WorldImpl> impl_;
  WorldHosts hosts_{*this};
  WorldNet net_{*this};
  WorldFiles files_{*this};
  WorldPrograms programs_{*this};
};

}  // namespace launchagent::sim
