// The option files: filled by the setup capability.
#include "setup/frm_agent_setup.h"

namespace launchagent {
bool FrmAgentSetup::LoadOptions() { return false; }
bool FrmAgentSetup::SaveOptions() { return false; }
void FrmAgentSetup::SetAgentInfoFN(Long lngID) { sAgentInfoFN = "AgentInfo_" + std::to_string(lngID); }
bool FrmAgentSetup::LoadAgentInfo() { return false; }
bool FrmAgentSetup::SaveAgentInfo() { return false; }
}  // namespace launchagent
