// The agent connection record: filled by the registry capability.
#include "transport/cls_agent_info.h"

namespace launchagent {
void clsAgentInfo::Init(std::shared_ptr<clsMsgHostInfo> objIn) { objMsg_ = std::move(objIn); }
void clsAgentInfo::SetConnectTrials(Long) {}
}  // namespace launchagent
