// LAN resource discovery: filled by the share search capability.
#include "lanresources/frm_lan_resources.h"

namespace launchagent {
void FrmLANResources::UpdateResources(std::vector<std::string>&) {}
std::string FrmLANResources::GetUNC(const std::string&) { return ""; }
bool FrmLANResources::CanAccessFile(const std::string&) { return false; }
bool FrmLANResources::CanAccessFolder(const std::string&) { return false; }
std::string FrmLANResources::TrimAtNull(const std::string& s) { return s.substr(0, s.find('\0')); }
}  // namespace launchagent
