#pragma once
// A parsed scenario: the world (seed, start, network-event verbosity), its hosts, the
// steps to run (actions at virtual times and "run until" marks, in file order) and the
// expectations on the transcript. The language is described in docs/scenario-language.md.
// Nothing here knows the simulated world; the runner binds a Scenario to it.
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace launchagent::scenario {

// Virtual time in integer nanoseconds since the start of the run.
using Nanos = std::int64_t;
constexpr Nanos kNanosPerSecond = 1'000'000'000;
constexpr Nanos kEndOfRun = INT64_MAX;

// Where the agent is installed unless a host says otherwise.
inline constexpr const char* kDefaultAgentFolder = "C:\\Program Files\\Launch";

struct FileSetup {
  int nLine = 0;
  std::string sPath;  // "C:\folder\name"
  bool bHidden = false;
  // A program file runs when started: "launch" (the agent) or "varno" (the stand-in
  // main application); otherwise the file holds sText.
  std::string sProgram;
  // Program options as written: window-delay=5 refuse-close=2.
  std::vector<std::pair<std::string, std::string>> options;
  std::string sText;
};

struct ShareSetup {
  int nLine = 0;
  std::string sUNC;     // "\\host\share"
  std::string sFolder;  // folder of the owning host it reaches
  bool bReadable = true;
};

// A top-level window that belongs to no agent (another program's window).
struct WindowSetup {
  int nLine = 0;
  std::string sClass;
  std::string sTitle;
  int nRefuseClose = 0;  // close requests it refuses; -1: all
};

struct NameEntry {
  int nLine = 0;
  std::string sName;
  std::string sAddress;
};

struct DiskSetup {
  int nLine = 0;
  std::string sDrive;  // "C:"
  std::int64_t lngCapacity = 0;
};

struct SocketsFaults {
  std::optional<std::int32_t> lngStartupResult;  // non-zero: startup fails with it
  std::optional<std::uint16_t> wVersion;         // negotiated version word (low byte major)
  std::optional<std::int32_t> lngMaxSockets;
  bool bCleanupFails = false;
  bool bHostNameFails = false;
  std::optional<std::int32_t> lngLastError;  // what LastError reports
  bool bAllLookupsFail = false;
  std::vector<std::string> lookupFailures;  // names whose look-up fails
  std::optional<Nanos> lookupTime;          // how long a blocking look-up takes
};

struct HostSetup {
  int nLine = 0;
  std::string sName;          // Winsock host name
  std::string sComputerName;  // operating system's computer name; "" = same as sName
  std::string sAddress;       // dotted IPv4; "" = assigned by the world
  Nanos clockOffset = 0;
  double dClockSkewPpm = 0;  // the clock runs fast (+) or slow (-) by this rate
  bool bComputerNameFails = false;
  std::string sAgentFolder = kDefaultAgentFolder;
  std::vector<std::string> folders;
  std::vector<FileSetup> files;
  std::vector<ShareSetup> shares;
  std::vector<WindowSetup> windows;
  std::vector<NameEntry> names;
  // The share search's answer; unset = every readable share of the LAN, in host order.
  std::optional<std::vector<std::string>> visibleShares;
  std::optional<Nanos> shareSearchTime;
  bool bShareSearchError = false;
  bool bRegistryDenied = false;
  SocketsFaults sockets;
  bool bSystemFolderMissing = false;
  std::string sSystemFolder;  // "" = the world's default
  std::vector<DiskSetup> disks;
};

// What an action does, one type per verb; the host (and the peer of a pair) stand in
// Action itself.
namespace act {
struct StartAgent {
  std::string sFolder;  // "" = the host's agent folder
};
struct Start {
  std::string sPath;
  std::string sParameters;
};
struct CloseApp {};   // a close request to the main application's windows
struct KillApp {};    // the main application ends at once
struct KillAgent {};  // the agent ends at once
struct Crash {};
struct Restart {};  // back up after a crash, Run values started
struct OpenSetup {};
struct ClockJump {
  Nanos delta = 0;
};
struct Partition {
  Nanos duration = 0;  // 0: until healed
};
struct Heal {};  // host "*": every partition
struct SendBytes {
  int nPort = 1230;
  std::vector<std::uint8_t> bytes;
  bool bKeep = false;  // the connection stays open for the next send from A to B:PORT
};
struct MergeNextSends {};  // the next two sends arrive as one
struct SplitNextSend {};   // the next send arrives in two parts
struct Click {
  std::string sForm, sControl;
};
struct Select {
  std::string sForm, sControl;
  std::vector<int> indexes;
};
struct Type {
  std::string sForm, sControl, sText;
};
struct CloseWindow {
  std::string sForm;  // the frame's close box
};
struct ShowForm {
  std::string sForm;  // every control's state into the transcript
};
// Changes of a host during the run, in the words of its host statements.
struct WriteFile {
  FileSetup file;  // written or replaced
};
struct Delete {
  std::string sPath;  // a file, or a folder with everything in it
};
struct AddShare {
  ShareSetup share;  // the host is the share's owner; one of that name is replaced
};
struct DropShare {
  std::string sUNC;
};
struct VisibleShares {
  std::optional<std::vector<std::string>> names;  // nullopt: back to the default
};
struct ShareSearch {
  std::optional<Nanos> time;  // nullopt: drawn per search
  bool bError = false;
};
}  // namespace act

using ActionBody =
    std::variant<act::StartAgent, act::Start, act::CloseApp, act::KillApp, act::KillAgent,
                 act::Crash, act::Restart, act::OpenSetup, act::ClockJump, act::Partition,
                 act::Heal, act::SendBytes, act::MergeNextSends, act::SplitNextSend, act::Click,
                 act::Select, act::Type, act::CloseWindow, act::ShowForm, act::WriteFile,
                 act::Delete, act::AddShare, act::DropShare, act::VisibleShares, act::ShareSearch>;

struct Action {
  int nLine = 0;
  std::string sSource;  // the action as written, without its time
  Nanos at = 0;
  std::string sHost;       // where it happens; "*" for every host (heal all)
  std::string sPeer;       // the other side of a pair action (A -> B), else ""
  bool bBothWays = false;  // a pair written A <-> B
  ActionBody what;
};

// One step of the run, in file order: an action, or running the world up to a time.
struct Step {
  bool bRunUntil = false;
  Nanos until = 0;  // for bRunUntil
  Action action;    // otherwise
};

// A transcript kind: "log" (activity log), "window", "launch", "registry", "file",
// "msgbox", "process", "net", "note"; "any" matches them all.
// A line that must follow the expectation's match: later in the transcript ("then"),
// or as the very next line of the previous match's host ("next").
struct ChainStep {
  int nLine = 0;
  bool bNext = false;
  std::string sHost;  // "*" for any host
  std::string sKind;
  bool bContains = false;
  std::string sText;
};

struct Expectation {
  int nLine = 0;
  std::string sSource;  // the line as written, for reports
  bool bNever = false;
  std::string sHost;  // "*" for any host
  std::string sKind;
  bool bContains = false;  // else the whole text must be equal
  std::string sText;
  Nanos from = 0;
  Nanos to = kEndOfRun;
  std::optional<int> nTimes;     // exact number of matching lines
  std::vector<ChainStep> chain;  // lines that must follow, in order
};

struct Scenario {
  std::string sFileName;
  std::uint64_t lngSeed = 1;
  // Local date-time of every clock at the start (before the hosts' offsets).
  int nYear = 2002, nMonth = 5, nDay = 3, nHour = 10, nMinute = 0, nSecond = 0;
  bool bNetEvents = false;  // connections, refusals, closes and errors in the transcript
  std::vector<HostSetup> hosts;
  std::vector<Step> steps;
  std::vector<Expectation> expectations;

  const HostSetup* FindHost(const std::string& sName) const;
  Nanos EndTime() const;  // the last "run until"
};

struct Diagnostic {
  int nLine = 0;
  std::string sMessage;
};

struct ParseResult {
  Scenario scenario;
  std::vector<Diagnostic> errors;
  bool Ok() const { return errors.empty(); }
};

// Parses scenario text. Never throws; every problem becomes a diagnostic with its line.
ParseResult ParseScenario(const std::string& sText, const std::string& sFileName);

// Text forms shared by the parser, the runner and the transcript.
// "HH:MM:SS" or "HH:MM:SS.fff" (hours may pass 24); "500ms", "5s", "2m", "1h"; a plain
// number is seconds. nullopt when the text is none of these.
std::optional<Nanos> ParseDuration(const std::string& s);
// "+00:00:05", "-1h"; a duration without a sign is positive.
std::optional<Nanos> ParseSignedDuration(const std::string& s);
// "HH:MM:SS.mmm", hours at least two digits.
std::string FormatTime(Nanos t);
// Hex digits, blanks ignored ("0a 0B ff"); nullopt on an odd count or a non-hex digit.
std::optional<std::vector<std::uint8_t>> ParseHex(const std::string& s);

}  // namespace launchagent::scenario
