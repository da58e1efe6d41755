#pragma once
// The hardened mode: rules an administrator turns on for a LAN not fully trusted. Off by
// default; then no subsystem asks this object anything and the agent behaves as it always
// has. Transport, launcher and registry each consult it through one hook. Each rule and
// the threat it answers is described in docs/security.md.
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>

#include "launcher/host_info_rules.h"
#include "platform/diagnostic_throttle.h"
#include "platform/services.h"
#include "platform/types.h"
#include "transport/connection_rules.h"

namespace launchagent {

struct HardeningRules {
  double dIdleSeconds = 120;  // an accepted connection silent this long is closed
  int nMaxPerAddress = 8;     // accepted connections open at once from one address
  int nMaxStrangers = 16;     // hosts first heard of from strangers that the registry takes
  double dSweepSeconds = 10;  // how often idle connections are looked for
  // Launch sites only from hosts of the "Active Computers" list (the administrator's choice).
  bool bActiveComputersOnly = false;
  double dNoteSeconds = 10;  // at most one refusal line of a kind per this many seconds
};

// What the policy needs to know of the agent, handed in when the agent wires it.
struct HardeningHooks {
  std::function<double()> secondsNow;  // agent clock, for idle times
  // A host name's address as dotted text (nullopt when unknown).
  std::function<std::optional<std::string>(const std::string&)> addressOf;
  std::function<bool(const std::string&)> isLanHost;          // in the LAN host table
  std::function<bool(const std::string&)> isMainAppFileName;  // the main application's name test
  // In the "Active Computers" list; asked only when bActiveComputersOnly is set.
  std::function<bool(const std::string&)> isActiveComputer;
  std::function<void(const std::string&)> note;  // diagnostic output, not the log
};

class HardeningPolicy : public ConnectionRules, public HostInfoRules {
 public:
  HardeningPolicy(HardeningRules rules, HardeningHooks hooks);

  // Connections. The position a new request is accepted on: a closed one when there is
  // one (after closing those idle too long), else the next new one; 0 when none is left.
  Long PositionForRequest(platform::SocketArray& sockets) override;
  // After the accept: false when the remote address already holds its share.
  bool KeepAccepted(platform::SocketArray& sockets, Long lngIndex) override;
  void NoteArrival(Long lngIndex) override;
  // Closes the accepted connections silent longer than the idle limit.
  void Sweep(platform::SocketArray& sockets) override;
  Long SweepIntervalMs() const override;
  // The address the connection at an accepted position came from, while it is known.
  std::optional<std::string> SenderOf(Long lngIndex) const override;

  // Host information from sSender (nullopt when unknown). Whether the registry takes a
  // host it does not know yet (bKnown false); whether a launch site may be stored.
  bool AdmitHost(const std::string& sHostName, bool bKnown,
                 const std::optional<std::string>& sSender) override;
  bool AcceptLaunchSite(const std::string& sHostName, const std::string& sAppPath,
                        const std::optional<std::string>& sSender) override;

 private:
  bool Vouched(const std::string& sHostName, const std::optional<std::string>& sSender);
  // A refusal line through the throttle of its kind.
  void Note(DiagnosticThrottle& throttle, const std::string& sText);

  HardeningRules rules_;
  HardeningHooks hooks_;
  std::unordered_map<Long, double> lastActivity_;  // accepted position -> agent seconds
  std::unordered_map<Long, std::string> senders_;  // accepted position -> remote address
  std::set<std::string> strangers_;                // lower-cased host names
  Long lngCursor_ = 1;
  // A peer can make each of these refusals as often as it likes.
  DiagnosticThrottle crowdingNotes_{rules_.dNoteSeconds};
  DiagnosticThrottle strangerNotes_{rules_.dNoteSeconds};
  DiagnosticThrottle siteNotes_{rules_.dNoteSeconds};
};

}  // namespace launchagent
