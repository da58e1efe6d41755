#pragma once
// The ordered registry of known agents (colAgents), kept in ascending order of the
// lower-cased host name. Positions are 1-based. Read operations hand out the stored
// message objects themselves, not copies.
#include <functional>
#include <memory>
#include <string>
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
  // The binary search on an already lower-cased name.
  Long SearchName(const std::string& sQuery, Long& lngLow, Long& lngHigh);

  platform::Clock& clock_;
  MessageContext& context_;
  LogActivityFn logActivity_;
  SocketPositionFn onSocketPosition_;
  std::vector<std::shared_ptr<clsAgentInfo>> colAgents_;  // colAgents, position i at [i - 1]
};

}  // namespace launchagent
