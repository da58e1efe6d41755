#include "hardening/hardening_policy.h"

#include <algorithm>
#include <vector>

#include "platform/text.h"

namespace launchagent {
namespace {

constexpr Long kMaxPosition = 32767;

std::vector<std::string> Parts(const std::string& s) {
  std::vector<std::string> parts;
  std::string sCur;
  for (char c : s) {
    if (c == '\\' || c == '/') {
      parts.push_back(sCur);
      sCur.clear();
    } else {
      sCur += c;
    }
  }
  parts.push_back(sCur);
  return parts;
}

bool Reusable(const std::optional<Integer>& nState) {
  return nState && (*nState == platform::kSckClosed || *nState == platform::kSckClosing ||
                    *nState == platform::kSckError);
}

}  // namespace

HardeningPolicy::HardeningPolicy(HardeningRules rules, HardeningHooks hooks)
    : rules_(rules), hooks_(std::move(hooks)) {}

void HardeningPolicy::Sweep(platform::SocketArray& sockets) {
  const double dNow = hooks_.secondsNow();
  // A peer that holds a connection without a word keeps a descriptor and a position.
  for (auto it = lastActivity_.begin(); it != lastActivity_.end();) {
    if (dNow < it->second) it->second = dNow;  // the clock passed midnight
    if (dNow - it->second > rules_.dIdleSeconds &&
        sockets.State(it->first) == std::optional<Integer>(platform::kSckConnected)) {
      sockets.Close(it->first);
      it = lastActivity_.erase(it);
    } else {
      ++it;
    }
  }
}

Long HardeningPolicy::SweepIntervalMs() const {
  return static_cast<Long>(rules_.dSweepSeconds * 1000);
}

void HardeningPolicy::Note(DiagnosticThrottle& throttle, const std::string& sText) {
  if (!hooks_.note) return;
  if (const auto s = throttle.Pass(sText, hooks_.secondsNow())) hooks_.note(*s);
}

Long HardeningPolicy::PositionForRequest(platform::SocketArray& sockets) {
  const Long lngLast = sockets.UBound();
  Sweep(sockets);
  // Positions of connections that ended are taken again, so the table never runs out.
  for (Long n = 0; n < lngLast; ++n) {
    const Long i = 1 + (lngCursor_ - 1 + n) % std::max<Long>(lngLast, 1);
    if (sockets.Exists(i) && Reusable(sockets.State(i))) {
      sockets.Close(i);
      lngCursor_ = i + 1;
      return i;
    }
  }
  if (lngLast >= kMaxPosition) return 0;
  return lngLast + 1;
}

bool HardeningPolicy::KeepAccepted(platform::SocketArray& sockets, Long lngIndex) {
  lastActivity_[lngIndex] = hooks_.secondsNow();
  const auto sAddress = sockets.RemoteHostIP(lngIndex);
  senders_.erase(lngIndex);
  if (!sAddress) return true;
  senders_[lngIndex] = *sAddress;
  int nSame = 0;
  for (const auto& [i, d] : lastActivity_)
    if (sockets.State(i) == std::optional<Integer>(platform::kSckConnected) &&
        sockets.RemoteHostIP(i) == sAddress)
      ++nSame;
  if (nSame <= rules_.nMaxPerAddress) return true;
  lastActivity_.erase(lngIndex);
  senders_.erase(lngIndex);
  Note(crowdingNotes_, "hardened: too many connections from " + *sAddress);
  return false;
}

void HardeningPolicy::NoteArrival(Long lngIndex) {
  if (lastActivity_.count(lngIndex)) lastActivity_[lngIndex] = hooks_.secondsNow();
}

std::optional<std::string> HardeningPolicy::SenderOf(Long lngIndex) const {
  auto it = senders_.find(lngIndex);
  if (it == senders_.end()) return std::nullopt;
  return it->second;
}

bool HardeningPolicy::Vouched(const std::string& sHostName,
                              const std::optional<std::string>& sSender) {
  if (!sSender || sHostName.empty()) return false;
  const auto sAddress = hooks_.addressOf(sHostName);
  return sAddress && *sAddress == *sSender;
}

bool HardeningPolicy::AdmitHost(const std::string& sHostName, bool bKnown,
                                const std::optional<std::string>& sSender) {
  if (bKnown || hooks_.isLanHost(sHostName) || Vouched(sHostName, sSender)) return true;
  const std::string sKey = AsciiLower(sHostName);
  if (strangers_.count(sKey)) return true;
  if (static_cast<int>(strangers_.size()) >= rules_.nMaxStrangers) {
    Note(strangerNotes_, "hardened: no room for the stranger " + sHostName);
    return false;
  }
  strangers_.insert(sKey);
  return true;
}

bool HardeningPolicy::AcceptLaunchSite(const std::string& sHostName, const std::string& sAppPath,
                                       const std::optional<std::string>& sSender) {
  // \\<the sender's own host name>\<share>\...\<main application>, nothing climbing.
  const auto parts = Parts(sAppPath);
  bool bOk = parts.size() >= 5 && parts[0].empty() && parts[1].empty() &&
             EqualsIgnoringCase(parts[2], sHostName) && hooks_.isMainAppFileName(parts.back());
  for (size_t i = 3; bOk && i < parts.size(); ++i)
    bOk = !parts[i].empty() && parts[i] != "." && parts[i] != "..";
  bOk = bOk && Vouched(sHostName, sSender);
  // The administrator may narrow the owners further to the computers picked by hand.
  bOk = bOk && (!rules_.bActiveComputersOnly ||
                (hooks_.isActiveComputer && hooks_.isActiveComputer(sHostName)));
  if (!bOk)
    Note(siteNotes_, "hardened: launch site " + sAppPath + " from " + sHostName + " at " +
                         sSender.value_or("?") + " refused");
  return bOk;
}

}  // namespace launchagent
