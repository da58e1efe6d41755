// Neighbourhood and active computers: filled by the setup capability.
#include "setup/frm_agent_setup.h"

namespace launchagent {
void FrmAgentSetup::PopulateNeighborhoodList() {}
void FrmAgentSetup::AddHostToNeighborhood(std::string&) {}
bool FrmAgentSetup::InActiveHostList(const std::string&) { return false; }
void FrmAgentSetup::SplitIPAddress(const std::string&, std::string&, std::string&, std::string&, std::string&) {}
void FrmAgentSetup::ClearRemoteHostFields() {}
}  // namespace launchagent
