#include "observer.h"

#include <memory>

#include "agent/agent.h"
#include "messages/cls_msg_host_info.h"
#include "platform/sim/transcript_text.h"
#include "platform/text.h"
#include "registry/agent_host_info.h"
#include "registry/cls_agent_info.h"
#include "setup/option_records.h"

namespace launchagent::campaign {

namespace {

constexpr std::size_t kTailLines = 40;
// The agent closes the main application when its own entry is this many whole minutes
// old on its host's clock; never sooner.
constexpr std::int64_t kCheckInMinutes = 9;

bool StartsWith(const std::string& s, const std::string& sPrefix) {
  return s.compare(0, sPrefix.size(), sPrefix) == 0;
}

}  // namespace

void Observer::Fail(const std::string& sInvariant) {
  if (!broken_) broken_ = Violation{world_.Now(), sInvariant};
}

void Observer::OnLine(const std::string& sLine) {
  tail_.push_back(sLine);
  if (tail_.size() > kTailLines) tail_.pop_front();
  const auto line = sim::ParseTranscriptLine(sLine);
  if (!line || line->sHost == "-") return;
  const auto host = world_.Hosts().FindHost(line->sHost);
  if (!host) return;
  if (line->sKind == "log")
    OnLog(*host, line->sText);
  else if (line->sKind == "process")
    OnProcess(*host, line->sText);
  else if (line->sKind == "file")
    OnFileWritten(*host, line->sText);
}

void Observer::OnLog(sim::HostId host, const std::string& sText) {
  HostWatch& w = watch_[host];
  const std::string sOwn = AsciiLower(world_.Hosts().HostName(host));
  if (StartsWith(sText, "HostInfoFrom=")) {
    const std::string sPeer = AsciiLower(sText.substr(13));
    w.heard[sPeer] = world_.Now();
    // The agent stamps the sender's entry with its clock as the information arrives.
    w.stamped[sPeer] = world_.Hosts().HostTime(host);
  } else if (StartsWith(sText, "Verifying Agent  ")) {
    // The check-in looks at each entry in turn; it closes Varno for the one whose name
    // is this computer's own (as the agent reads it).
    w.sChecking = AsciiLower(sText.substr(17));
  } else if (sText == "Shutting Down Varno.") {
    ++lngChecks_;
    const DateTime now = world_.Hosts().HostTime(host);
    const auto it = w.stamped.find(w.sChecking);
    if (it == w.stamped.end()) {
      Fail("Varno closed on " + sOwn + " for entry '" + w.sChecking +
           "', which its agent never had");
    } else if (now.WholeMinutes() - it->second.WholeMinutes() < kCheckInMinutes) {
      Fail("Varno closed on " + sOwn + " when entry '" + w.sChecking + "' was only " +
           std::to_string(now.WholeMinutes() - it->second.WholeMinutes()) +
           " minutes old (stamped " + it->second.ToText() + ", now " + now.ToText() + ")");
    }
    w.stamped[w.sChecking] = now;  // the close stamps the entry anew
    w.bClosing = true;
  } else if (StartsWith(sText, "Verifying Agent CheckIn")) {
    w.checkedIn = world_.Now();
  } else if (sText == "Verification completed." || sText == "ERROR: Verification.") {
    w.bClosing = false;
  } else if (sText == "Winsock.dll is not responding." ||
             sText == "This application requires a minimum of 1 supported sockets." ||
             StartsWith(sText, "Windows Sockets version ")) {
    w.libraryFailed = world_.Now();
  }
}

void Observer::OnProcess(sim::HostId host, const std::string& sText) {
  // "#N started KIND ...", "#N ended KIND[ after an uncaught exception: ...]"; "killed"
  // ends are the campaign's own (an agent killed, a host crashed).
  const auto nSpace = sText.find(' ');
  if (nSpace == std::string::npos) return;
  const std::string sPid = sText.substr(0, nSpace);
  const std::string sRest = sText.substr(nSpace + 1);
  const std::string sOwn = AsciiLower(world_.Hosts().HostName(host));
  const auto second = seconds_.find(sPid);
  if (second != seconds_.end()) {
    // A second agent sees the first one's window and ends as it starts.
    if (StartsWith(sRest, "ended launch")) {
      ++lngChecks_;
      if (second->second != world_.Now())
        Fail("a second agent on " + sOwn + " ended only after " +
             sim::FormatElapsed(world_.Now() - second->second) + ": " + sText);
    }
    if (!StartsWith(sRest, "started ")) seconds_.erase(second);
    return;
  }
  if (StartsWith(sRest, "started launch")) {
    if (agent_.count(host))
      seconds_[sPid] = world_.Now();
    else
      agent_[host] = sPid;
    return;
  }
  HostWatch& w = watch_[host];
  // A new agent starts from an empty registry.
  if (StartsWith(sRest, "killed launch")) {
    w = HostWatch{};
    agent_.erase(host);
  }
  if (!StartsWith(sRest, "ended ")) return;
  ++lngChecks_;
  // An agent whose sockets library fails at its start ends at once, saying so: that is
  // one of the listed causes.
  const bool bLibraryEnd = w.libraryFailed && *w.libraryFailed == world_.Now();
  if (StartsWith(sRest, "ended launch") && !bLibraryEnd) {
    Fail("the agent on " + sOwn + " ended by itself: " + sText);
  } else if (StartsWith(sRest, "ended varno") && !w.bClosing) {
    Fail("Varno on " + sOwn + " ended while its agent was not closing it: " + sText);
  }
  if (StartsWith(sRest, "ended launch")) {
    w = HostWatch{};
    agent_.erase(host);
  }
}

void Observer::OnFileWritten(sim::HostId host, const std::string& sText) {
  for (const char* sName : {"\\agent.dat", "\\AgentInfo_"}) {
    const auto nAt = sText.find(sName);
    if (nAt == std::string::npos) continue;
    const auto nEnd = sText.find(' ', nAt);
    CheckOptionFile(host, sText.substr(0, nEnd));
  }
}

void Observer::CheckOptionFile(sim::HostId host, const std::string& sPath) {
  ++lngChecks_;
  const auto bytes = world_.Files().ReadFile(host, sPath);
  if (!bytes) return;  // never written whole: nothing to load, which loading tolerates
  const std::string sWhere = world_.Hosts().HostName(host) + " " + sPath;
  if (sPath.ends_with("agent.dat")) {
    AgentOptions rec;
    if (bytes->size() != AgentOptions::kRecordLength || !DecodeAgentOptions(*bytes, rec))
      Fail(sWhere + " is not one whole record (" + std::to_string(bytes->size()) + " bytes)");
    return;
  }
  const std::size_t n = AgentInfoRecord::kRecordLength;
  if (bytes->empty() || bytes->size() % n != 0) {
    Fail(sWhere + " holds a partial record (" + std::to_string(bytes->size()) + " bytes)");
    return;
  }
  AgentInfoRecord rec;
  for (std::size_t k = 1; k <= bytes->size() / n; ++k)
    if (!DecodeAgentInfoRecord(*bytes, k, rec)) Fail(sWhere + " record " + std::to_string(k));
}

void Observer::CheckRegistry(sim::HostId host, Agent& agent) {
  ++lngChecks_;
  AgentHostInfo& registry = agent.agentHostInfo();
  std::string sPrevious;
  for (Long i = 1; i <= registry.GetAgentCount(); ++i) {
    std::shared_ptr<clsMsgHostInfo> info;
    if (const auto record = registry.GetAgentRecord(i)) record->GetMessage(info);
    if (!info) return Fail("registry of " + world_.Hosts().HostName(host) + " has an empty entry");
    const std::string sName = AsciiLower(info->GetHostName());
    // An entry no arrival made: the agent registered it itself, stamped as it did so.
    watch_[host].stamped.emplace(sName, info->GetDateReceived());
    if (i > 1 && !(sPrevious < sName))
      return Fail("registry of " + world_.Hosts().HostName(host) + " not sorted and unique: '" +
                  sPrevious + "' then '" + sName + "'");
    sPrevious = sName;
  }
}

bool Observer::CheckedInSince(sim::HostId host, sim::Nanos since) const {
  const auto w = watch_.find(host);
  return w != watch_.end() && w->second.checkedIn && *w->second.checkedIn >= since;
}

bool Observer::HeardFrom(sim::HostId host, const std::string& sPeerLower, sim::Nanos since) const {
  const auto w = watch_.find(host);
  if (w == watch_.end()) return false;
  const auto it = w->second.heard.find(sPeerLower);
  return it != w->second.heard.end() && it->second >= since;
}

}  // namespace launchagent::campaign
