// The agent registry: filled by the registry capability.
#include "registry/agent_host_info.h"

#include "transport/cls_agent_info.h"

namespace launchagent {
AgentHostInfo::AgentHostInfo(Agent& agent) : agent_(agent) {}
AgentHostInfo::~AgentHostInfo() = default;
Long AgentHostInfo::SearchAgent(const std::shared_ptr<clsMsgHostInfo>&, Long&, Long&) { return -1; }
Long AgentHostInfo::SearchAgentByName(const std::string&, Long&, Long&) { return -1; }
Long AgentHostInfo::FindAgentIndex(const std::string&) { return -1; }
Long AgentHostInfo::InsertAgent(const std::shared_ptr<clsMsgHostInfo>&, Long, Long) { return -1; }
Long AgentHostInfo::RegisterAgent(const std::shared_ptr<clsMsgHostInfo>&) { return -1; }
Long AgentHostInfo::UpdateAgent(const std::shared_ptr<clsMsgHostInfo>&) { return -1; }
Long AgentHostInfo::GetAgentCount() const { return 0; }
bool AgentHostInfo::GetAgentHostInfo(Long, std::shared_ptr<clsMsgHostInfo>&) { return false; }
bool AgentHostInfo::GetAgentHostInfoByName(const std::string&, std::shared_ptr<clsMsgHostInfo>&) { return false; }
bool AgentHostInfo::GetAgentPort(const std::string&, Integer&, Long&) { return false; }
bool AgentHostInfo::SetAgentPort(const std::string&, Integer) { return false; }
bool AgentHostInfo::GetAgentSocketIndex(const std::string&, Long&, Long&) { return false; }
bool AgentHostInfo::SetAgentSocketIndex(const std::string&, Long) { return false; }
bool AgentHostInfo::GetAgentConnectTrials(const std::string&, Integer&) { return false; }
bool AgentHostInfo::SetAgentConnectTrials(const std::string&, Long) { return false; }
void AgentHostInfo::LogAgentSites() {}
std::shared_ptr<clsAgentInfo> AgentHostInfo::GetAgentRecord(Long) const { return nullptr; }
}  // namespace launchagent
