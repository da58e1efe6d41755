// Host users and contexts: filled by the setup capability.
#include "setup/frm_agent_setup.h"

namespace launchagent {
Long FrmAgentSetup::FindHostRecord(const std::string&) { return 0; }
Integer FrmAgentSetup::FindHostUser(Long, const std::string&) { return 0; }
std::string FrmAgentSetup::LookupUserContext(const std::string&, const std::string&) { return ""; }
void FrmAgentSetup::StoreHostUsers(Integer, const std::shared_ptr<clsMsgHostInfo>&) {}
void FrmAgentSetup::UpdateHostUsers(const std::string&) {}
void FrmAgentSetup::ShowHostUsers(const std::shared_ptr<clsMsgUserList>&) {}
void FrmAgentSetup::SelectContext(const std::string&) {}
void FrmAgentSetup::ClearContextSelection() {}
void FrmAgentSetup::PopulateContextList() {}
}  // namespace launchagent
