#pragma once
// The seam: every operating-system service the agent uses, as small abstract
// interfaces. Backends (native, sim) implement them; the agent receives one Platform
// bundle. Failures come back as results (false, empty optional, error codes), never as
// exceptions. Paths are in the system's own form: "C:\folder\name", "\\host\share\rest".
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/date_time.h"
#include "platform/types.h"

namespace launchagent::ui {
class Form;
class TimerDriver;
}  // namespace launchagent::ui

namespace launchagent::platform {

// ---- Clock --------------------------------------------------------------------------
class Clock {
 public:
  virtual ~Clock() = default;
  // Local date and time, to the second.
  virtual DateTime Now() const = 0;
  // Seconds since local midnight, with fractions.
  virtual double SecondsSinceMidnight() const = 0;
};

// ---- Event loop ---------------------------------------------------------------------
// Thrown (only) by EventLoop::EndProcess to unwind the agent; backends catch it at the
// process root. System code never catches it.
struct ProcessEnded {};

class EventLoop {
 public:
  virtual ~EventLoop() = default;
  // Runs every event of this process that is due now (timer ticks, socket events, user
  // actions), then returns. Re-entrant: a handler may call it again.
  virtual void ProcessPendingEvents() = 0;
  // Waits until at least one event of this process has been handled or until
  // dSeconds have passed, whichever comes first; handles every due event. Never spins.
  virtual void WaitForEvents(double dSeconds) = 0;
  // Runs the message loop until the process ends. Does not return normally.
  virtual void Run() = 0;
  // Ends this process at once: no clean-up, no further events. Unwinds the agent.
  [[noreturn]] virtual void EndProcess() = 0;
  // The driver that makes the forms' timers tick.
  virtual ui::TimerDriver& Timers() = 0;
};

// ---- Top-level windows and forms ----------------------------------------------------
using WindowHandle = std::int64_t;  // 0: no window

class WindowSystem {
 public:
  virtual ~WindowSystem() = default;
  // First top-level window in Z order (topmost first) whose title is exactly sTitle,
  // any class; 0 when none. Hidden windows count.
  virtual WindowHandle FindWindowByTitle(const std::string& sTitle) = 0;
  // The next top-level window below hWnd in Z order; 0 when none.
  virtual WindowHandle NextWindow(WindowHandle hWnd) = 0;
  // Class name and title, cut to nBufferLen - 1 characters; nullopt when the call fails.
  virtual std::optional<std::string> ClassName(WindowHandle hWnd, int nBufferLen) = 0;
  virtual std::optional<std::string> WindowText(WindowHandle hWnd, int nBufferLen) = 0;
  // Sends a close request and waits until the window's owner has handled it. False
  // when the window is gone or the call fails.
  virtual bool SendClose(WindowHandle hWnd) = 0;

  // The agent's own forms become top-level windows of this desktop (class
  // "ThunderRT6FormDC", title = caption) for as long as they are attached.
  virtual void AttachForm(ui::Form& form) = 0;
  virtual void DetachForm(ui::Form& form) = 0;
  // Modal message box with an OK button; returns when the user has answered.
  virtual void MessageBox(const std::string& sTitle, const std::string& sText) = 0;
};

// ---- Shell --------------------------------------------------------------------------
class Shell {
 public:
  virtual ~Shell() = default;
  // Starts a program. Result > 32 on success; 2 file not found, 3 path not found,
  // 5 access denied, 0 out of resources.
  virtual Long Execute(const std::string& sVerb, const std::string& sFile,
                       const std::string& sParameters, const std::string& sFolder,
                       Long lngShowCmd) = 0;
};

// ---- Registry -----------------------------------------------------------------------
enum class RegistryRoot { LocalMachine, CurrentUser };
using RegistryKey = std::int64_t;

class Registry {
 public:
  virtual ~Registry() = default;
  // Opens or creates the key for writing; nullopt when access is denied or it fails.
  virtual std::optional<RegistryKey> CreateKey(RegistryRoot root, const std::string& sSubKey) = 0;
  virtual bool SetStringValue(RegistryKey key, const std::string& sName,
                              const std::string& sData) = 0;
  virtual bool CloseKey(RegistryKey key) = 0;
};

// ---- Kernel -------------------------------------------------------------------------
class Kernel {
 public:
  virtual ~Kernel() = default;
  // The operating system's computer name; nullopt on failure.
  virtual std::optional<std::string> ComputerName() = 0;
};

// ---- Sockets library (name and address services) ------------------------------------
struct SocketsStartupData {
  std::uint16_t wVersion = 0;  // negotiated version: low byte major, high byte minor
  std::uint16_t wHighVersion = 0;
  Long lngMaxSockets = 0;
};

struct HostEntry {
  Integer nAddressLength = 4;
  std::vector<std::array<std::uint8_t, 4>> addresses;  // first one is used
};

class SocketsLibrary {
 public:
  virtual ~SocketsLibrary() = default;
  virtual Long Startup(std::uint16_t wVersionRequested, SocketsStartupData& data) = 0;
  virtual Long Cleanup() = 0;  // 0 success, -1 failure
  virtual Long LastError() = 0;
  // This computer's host name; nullopt is the failure result (-1).
  virtual std::optional<std::string> HostName() = 0;
  // Blocking look-up of a host name (or dotted address); nullopt when unknown.
  virtual std::optional<HostEntry> HostByName(const std::string& sName) = 0;
};

// ---- TCP socket arrays ----------------------------------------------------------------
// Socket states.
enum SocketState : Integer {
  kSckClosed = 0,
  kSckOpen = 1,
  kSckListening = 2,
  kSckConnectionPending = 3,
  kSckResolvingHost = 4,
  kSckHostResolved = 5,
  kSckConnecting = 6,
  kSckConnected = 7,
  kSckClosing = 8,
  kSckError = 9,
};

// A form's table of TCP sockets addressed by position. Position 0 exists from the
// start; Load(i) makes position i from it. Positions are 0..32767. Every operation on
// a position that does not exist fails (false / nullopt).
class SocketArray {
 public:
  virtual ~SocketArray() = default;
  virtual bool Load(Long lngIndex) = 0;
  virtual bool Exists(Long lngIndex) const = 0;
  virtual Long UBound() const = 0;  // highest existing position
  virtual bool SetLocalPort(Long lngIndex, Long lngPort) = 0;
  virtual bool SetRemoteHost(Long lngIndex, const std::string& sHost) = 0;
  virtual bool SetRemotePort(Long lngIndex, Long lngPort) = 0;
  virtual bool SetTag(Long lngIndex, const std::string& sTag) = 0;
  virtual std::optional<std::string> Tag(Long lngIndex) const = 0;
  virtual std::optional<Integer> State(Long lngIndex) const = 0;
  // Listens on the local port, all local addresses.
  virtual bool Listen(Long lngIndex) = 0;
  // Accepts a pending connection request on this (closed) socket.
  virtual bool Accept(Long lngIndex, Long lngRequestId) = 0;
  // Starts connecting to the remote host and port; never connected at once.
  virtual bool Connect(Long lngIndex) = 0;
  virtual bool SendData(Long lngIndex, const Bytes& data) = 0;
  // Every byte waiting on the connection, in one read.
  virtual std::optional<Bytes> GetData(Long lngIndex) = 0;
  virtual bool Close(Long lngIndex) = 0;
  // The dotted address of the peer an accepted connection came from; nullopt when the
  // backend does not tell (only the hardened mode asks).
  virtual std::optional<std::string> RemoteHostIP(Long /*lngIndex*/) const { return std::nullopt; }

  // Events, delivered on the owning process's event loop.
  std::function<void(Long lngIndex, Long lngRequestId)> OnConnectionRequest;
  std::function<void(Long lngIndex, Long lngBytesTotal)> OnDataArrival;
};

class Network {
 public:
  virtual ~Network() = default;
  // A new, empty socket table for one form (position 0 only).
  virtual std::unique_ptr<SocketArray> CreateSocketArray(const std::string& sName) = 0;
};

// ---- Files ----------------------------------------------------------------------------
struct DirEntry {
  std::string sName;
  bool bFolder = false;
  bool bHidden = false;
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;
  // The folder of the running executable, e.g. "C:\Program Files\Launch".
  virtual std::string AgentFolder() = 0;
  // Entries matching sPattern (a path whose last part may hold * and ?), in the order
  // the file system returns them. Normal files always; hidden ones when bHidden;
  // folders when bFolders. nullopt when the folder cannot be read (missing drive...).
  virtual std::optional<std::vector<DirEntry>> List(const std::string& sPattern, bool bHidden,
                                                    bool bFolders) = 0;
  virtual bool FolderExists(const std::string& sPath) = 0;
  // Opens a file for reading and closes it again.
  virtual bool CanOpenForReading(const std::string& sPath) = 0;
  virtual std::optional<Bytes> ReadFile(const std::string& sPath) = 0;
  // Replaces the file's content as one step: the new content is written beside it and
  // renamed into place, so an interrupted write leaves the old file whole.
  virtual bool ReplaceFile(const std::string& sPath, const Bytes& content) = 0;
  // The folder the system keeps shared libraries in ("system" special folder).
  virtual std::optional<std::string> SystemFolder() = 0;
  // Copies a file, replacing the destination; 0 on success. Copes with a source and
  // destination that are the same file.
  virtual Integer CopyFile(const std::string& sSource, const std::string& sDestination) = 0;
};

// ---- Share search ---------------------------------------------------------------------
// Lists the \\host\share resources visible from this computer: an asynchronous start,
// a running flag, an error flag, a count, sequential fetches, a release.
class ShareSearch {
 public:
  virtual ~ShareSearch() = default;
  virtual void FindResources() = 0;
  virtual Long StillProcessing() = 0;
  virtual Long ErrorOccurred() = 0;
  virtual void GetNResources(Long& lngCount) = 0;
  // Copies the next resource name as zero-terminated 8-bit text into the 256-byte
  // buffer (plus terminator); at most 255 characters of name.
  virtual void GetResource(std::array<char, 257>& buffer) = 0;
  virtual void FreeResources() = 0;
};

// ---- Trace ----------------------------------------------------------------------------
// Where a backend shows what an agent does: the simulator's transcript, the native
// agent's standard output when it has no display.
class Trace {
 public:
  virtual ~Trace() = default;
  virtual void ActivityLine(const std::string& sText) = 0;
};

struct Platform {
  Clock& clock;
  EventLoop& loop;
  WindowSystem& windows;
  Shell& shell;
  Registry& registry;
  Kernel& kernel;
  SocketsLibrary& sockets;
  Network& network;
  FileSystem& files;
  ShareSearch& shares;
  Trace& trace;
};

}  // namespace launchagent::platform
