// The agent registry: colAgents kept in ascending order of the lower-cased host name,
// found by binary search, one record per host, records never removed.
#include "registry/agent_host_info.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "messages/cls_msg_host_info.h"
#include "platform/text.h"
#include "registry/agent_ports.h"
#include "registry/cls_agent_info.h"

namespace launchagent {

namespace {

// Ordinal order of two lower-cased names: character code by character code, the shorter
// name first when one starts the other.
int CompareOrdinal(std::string_view sQuery, std::string_view sKey) {
  const std::size_t n = std::min(sQuery.size(), sKey.size());
  if (n != 0) {
    if (const int nOrder = std::memcmp(sQuery.data(), sKey.data(), n); nOrder != 0) {
      return nOrder < 0 ? -1 : 1;
    }
  }
  if (sQuery.size() == sKey.size()) return 0;
  return sQuery.size() < sKey.size() ? -1 : 1;
}

// (low + high) / 2 rounded to the nearest whole number, a half to the even neighbour.
Long Middle(Long lngLow, Long lngHigh) {
  const std::int64_t nSum = static_cast<std::int64_t>(lngLow) + lngHigh;
  std::int64_t nMid = nSum / 2;  // truncates toward zero
  if (nSum % 2 != 0) {
    // nSum / 2 lies halfway between nMid and its neighbour away from zero.
    const std::int64_t nOther = nSum > 0 ? nMid + 1 : nMid - 1;
    if (nMid % 2 != 0) nMid = nOther;
  }
  return static_cast<Long>(nMid);
}

}  // namespace

AgentHostInfo::AgentHostInfo(platform::Clock& clock, MessageContext& context,
                             LogActivityFn logActivity, SocketPositionFn onSocketPosition)
    : clock_(clock),
      context_(context),
      logActivity_(std::move(logActivity)),
      onSocketPosition_(std::move(onSocketPosition)) {}
AgentHostInfo::~AgentHostInfo() = default;

Long AgentHostInfo::SearchAgent(const std::shared_ptr<clsMsgHostInfo>& objMsg, Long& lngLow,
                                Long& lngHigh) {
  // A missing message ends the search before it starts: 0, which callers take as not found.
  if (!objMsg) return 0;
  return SearchName(objMsg->GetHostName(), lngLow, lngHigh);
}

Long AgentHostInfo::SearchName(std::string_view sHostName, Long& lngLow, Long& lngHigh) {
  sQuery_.assign(sHostName);
  for (char& c : sQuery_) c = AsciiLower(c);
  const std::string_view sQuery = sQuery_;
  lngLow = 1;
  lngHigh = GetAgentCount();
  while (lngLow <= lngHigh) {
    const Long lngMiddle = Middle(lngLow, lngHigh);
    const int nOrder = CompareOrdinal(sQuery, slots_[order_[lngMiddle - 1]].sKey);
    if (nOrder == 0) return lngMiddle;
    if (nOrder < 0) {
      lngHigh = lngMiddle - 1;
    } else {
      lngLow = lngMiddle + 1;
    }
  }
  return -1;
}

Long AgentHostInfo::SearchAgentByName(const std::string& sHostName, Long& lngLow, Long& lngHigh) {
  // Only the host name of a query message is ever compared, so the name is searched
  // directly rather than through a message built for it.
  return SearchName(sHostName, lngLow, lngHigh);
}

Long AgentHostInfo::FindAgentIndex(const std::string& sHostName) {
  Long lngLow = 0;
  Long lngHigh = 0;
  return SearchAgentByName(sHostName, lngLow, lngHigh);
}

Long AgentHostInfo::InsertAgent(const std::shared_ptr<clsMsgHostInfo>& objMsg, Long lngLow,
                                Long lngHigh) {
  (void)lngLow;  // the place follows from the high bound alone
  // A record must always carry a message: its name is the record's key. Nothing else to do.
  if (!objMsg) return 0;
  auto objRecord = std::make_shared<clsAgentInfo>();
  objRecord->Init(objMsg);
  objMsg->SetDateReceived(clock_.Now());

  const Long lngCount = GetAgentCount();
  // After position lngHigh (0: first); a bound outside the registry makes the insertion
  // fail, and the result is given all the same.
  if (lngCount != 0 && (lngHigh < 0 || lngHigh > lngCount)) return -(lngHigh + 1);
  const Long lngAfter = lngCount == 0 ? 0 : lngHigh;
  const auto nSlot = static_cast<std::uint32_t>(slots_.size());
  slots_.push_back(Slot{AsciiLower(objMsg->GetHostName()), std::move(objRecord)});
  order_.insert(order_.begin() + lngAfter, nSlot);
  return lngCount == 0 || lngHigh == 0 ? -1 : -(lngHigh + 1);
}

Long AgentHostInfo::RegisterAgent(const std::shared_ptr<clsMsgHostInfo>& objMsg) {
  if (!objMsg) return 0;
  Long lngLow = 0;
  Long lngHigh = 0;
  const Long lngIndex = SearchAgent(objMsg, lngLow, lngHigh);
  if (lngIndex < 1) InsertAgent(objMsg, lngLow, lngHigh);
  return lngIndex;
}

Long AgentHostInfo::UpdateAgent(const std::shared_ptr<clsMsgHostInfo>& objMsg) {
  if (!objMsg) return 0;
  Long lngLow = 0;
  Long lngHigh = 0;
  const Long lngIndex = SearchAgent(objMsg, lngLow, lngHigh);
  if (lngIndex < 1) {
    InsertAgent(objMsg, lngLow, lngHigh);
    return -1;
  }
  clsAgentInfo& objRecord = At(lngIndex);
  const std::shared_ptr<clsMsgHostInfo>& objStored = objRecord.Message();
  // The receive time counts as a field, so a newer arrival always replaces the stored one.
  if (objStored->ChangeHostInfo(objMsg)) objRecord.SetMessage(objMsg);
  return lngIndex;
}

Long AgentHostInfo::GetAgentCount() const { return static_cast<Long>(order_.size()); }

bool AgentHostInfo::GetAgentHostInfo(Long lngIndex, std::shared_ptr<clsMsgHostInfo>& objOut) {
  if (lngIndex < 1 || lngIndex > GetAgentCount()) return false;
  At(lngIndex).GetMessage(objOut);
  return true;
}

bool AgentHostInfo::GetAgentHostInfoByName(const std::string& sHostName,
                                           std::shared_ptr<clsMsgHostInfo>& objOut) {
  const Long lngIndex = FindAgentIndex(sHostName);
  if (lngIndex < 1) return false;
  At(lngIndex).GetMessage(objOut);
  return true;
}

bool AgentHostInfo::GetAgentPort(const std::string& sHostName, Integer& nPort, Long& lngIndex) {
  lngIndex = FindAgentIndex(sHostName);
  if (lngIndex < 1) {
    nPort = GetDefaultAgentPort();
    // A host asked for is a host known from now on, with only its name.
    auto objMsg = std::make_shared<clsMsgHostInfo>(context_);
    objMsg->SetHostName(sHostName);
    RegisterAgent(objMsg);
    return false;
  }
  clsAgentInfo& objRecord = At(lngIndex);
  nPort = objRecord.GetPort();
  if (nPort < GetFirstAgentPort() || nPort > GetLastAgentPort()) {
    nPort = GetDefaultAgentPort();
    objRecord.SetPort(nPort);
  }
  return true;
}

bool AgentHostInfo::SetAgentPort(const std::string& sHostName, Integer nPort) {
  const Long lngIndex = FindAgentIndex(sHostName);
  if (lngIndex < 1) return false;
  At(lngIndex).SetPort(nPort);
  return true;
}

bool AgentHostInfo::GetAgentSocketIndex(const std::string& sHostName, Long& lngSocketIndex,
                                        Long& lngIndex) {
  lngIndex = FindAgentIndex(sHostName);
  if (lngIndex < 1) {
    lngIndex = -1;
    return false;
  }
  lngSocketIndex = At(lngIndex).GetSocketIndex();
  return true;
}

bool AgentHostInfo::SetAgentSocketIndex(const std::string& sHostName, Long lngSocketIndex) {
  const Long lngIndex = FindAgentIndex(sHostName);
  if (lngIndex < 1) return false;
  At(lngIndex).SetSocketIndex(lngSocketIndex);
  // The socket's tag names the registry position it serves.
  if (onSocketPosition_) onSocketPosition_(lngSocketIndex, lngIndex);
  return true;
}

bool AgentHostInfo::GetAgentConnectTrials(const std::string& sHostName, Integer& nTrials) {
  const Long lngIndex = FindAgentIndex(sHostName);
  if (lngIndex < 1) return false;
  nTrials = At(lngIndex).GetConnectTrials();
  return true;
}

bool AgentHostInfo::SetAgentConnectTrials(const std::string& sHostName, Long lngTrials) {
  const Long lngIndex = FindAgentIndex(sHostName);
  if (lngIndex < 1) return false;
  At(lngIndex).SetConnectTrials(lngTrials);
  return true;
}

void AgentHostInfo::LogAgentSites() {
  // The count is taken once: a record inserted while the log is written shifts the later
  // ones, and a position past the end is skipped.
  const Long lngCount = GetAgentCount();
  // Every arrival logs a line per known agent: each line is composed in one buffer,
  // sized once for the longest line, not in a chain of temporaries. Sizing it reads every
  // record in a tight loop first, so their memory is fetched together rather than one
  // record per logged line.
  std::size_t nLongest = 0;
  for (const Slot& slot : slots_) {
    const clsMsgHostInfo* pMsg = slot.objRecord->Message().get();
    if (pMsg) nLongest = std::max(nLongest, pMsg->GetHostName().size() + pMsg->GetAppPath().size());
  }
  std::string sLine;
  sLine.reserve(sizeof("Host= LaunchSite=") + nLongest);
  for (Long i = 1; i <= lngCount; ++i) {
    if (i > GetAgentCount()) continue;
    // The line is complete before it is logged, so the record's own pointer will do: no
    // reference count to touch for each of a thousand records.
    const std::shared_ptr<clsMsgHostInfo>& objMsg = At(i).Message();
    if (!objMsg) continue;
    const std::string& sHostName = objMsg->GetHostName();
    const std::string& sAppPath = objMsg->GetAppPath();
    sLine.assign("Host=").append(sHostName).append(" LaunchSite=").append(sAppPath);
    logActivity_(sLine, 5);
  }
}

std::shared_ptr<clsAgentInfo> AgentHostInfo::GetAgentRecord(Long lngIndex) const {
  if (lngIndex < 1 || lngIndex > GetAgentCount()) return nullptr;
  return slots_[order_[lngIndex - 1]].objRecord;
}

}  // namespace launchagent
