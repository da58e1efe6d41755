#pragma once
// The ordered registry of known agents (colAgents), kept in ascending order of the
// lower-cased host name. Positions are 1-based. Read operations hand out the stored
// message objects themselves, not copies.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/activity_sink.h"
#include "platform/services.h"
#include "platform/types.h"

namespace launchagent {

class clsAgentInfo;
class clsMsgHostInfo;
class MessageContext;

class AgentHostInfo {
 public:
  // Tells the client which registry position a socket serves (its tag): the client sits
  // above the registry, so Agent hands this in.
  using SocketPositionFn = std::function<void(Long lngSocketIndex, Long lngAgentIndex)>;

  AgentHostInfo(platform::Clock& clock, MessageContext& context, LogActivityFn logActivity,
                SocketPositionFn onSocketPosition);
  ~AgentHostInfo();

  Long SearchAgent(const std::shared_ptr<clsMsgHostInfo>& objMsg, Long& lngLow, Long& lngHigh);
  Long SearchAgentByName(const std::string& sHostName, Long& lngLow, Long& lngHigh);
  Long FindAgentIndex(const std::string& sHostName);
  Long InsertAgent(const std::shared_ptr<clsMsgHostInfo>& objMsg, Long lngLow, Long lngHigh);
  Long RegisterAgent(const std::shared_ptr<clsMsgHostInfo>& objMsg);
  Long UpdateAgent(const std::shared_ptr<clsMsgHostInfo>& objMsg);
  Long GetAgentCount() const;
  bool GetAgentHostInfo(Long lngIndex, std::shared_ptr<clsMsgHostInfo>& objOut);
  bool GetAgentHostInfoByName(const std::string& sHostName,
                              std::shared_ptr<clsMsgHostInfo>& objOut);
  bool GetAgentPort(const std::string& sHostName, Integer& nPort, Long& lngIndex);
  bool SetAgentPort(const std::string& sHostName, Integer nPort);
  bool GetAgentSocketIndex(const std::string& sHostName, Long& lngSocketIndex, Long& lngIndex);
  bool SetAgentSocketIndex(const std::string& sHostName, Long lngSocketIndex);
  bool GetAgentConnectTrials(const std::string& sHostName, Integer& nTrials);
  bool SetAgentConnectTrials(const std::string& sHostName, Long lngTrials);
  void LogAgentSites();

  // The record at a 1-based position, or nullptr.
  std::shared_ptr<clsAgentInfo> GetAgentRecord(Long lngIndex) const;

 private:
  // A record and its lower-cased host name, folded once when the record is made: every
  // send and arrival searches, and comparing bytes needs no folding on the way.
  struct Slot {
    std::string sKey;
    std::shared_ptr<clsAgentInfo> objRecord;
  };

  // The binary search on a name not yet lower-cased.
  Long SearchName(std::string_view sHostName, Long& lngLow, Long& lngHigh);
  clsAgentInfo& At(Long lngIndex) const { return *slots_[order_[lngIndex - 1]].objRecord; }

  platform::Clock& clock_;
  MessageContext& context_;
  LogActivityFn logActivity_;
  SocketPositionFn onSocketPosition_;
  // Records stay where they were first stored; colAgents is the order over them, so an
  // insertion shifts four bytes per later record rather than a whole record.
  std::vector<Slot> slots_;
  std::vector<std::uint32_t> order_;  // colAgents: position i is slots_[order_[i - 1]]
  std::string sQuery_;                // the lower-cased query, its buffer reused
};

}  // namespace launchagent
