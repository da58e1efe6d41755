// The LAN host table: filled by the LAN discovery capability.
#include "agent/agent.h"
#include "launcher/launcher.h"

namespace launchagent {
void Launcher::RefreshLANHosts() {}
std::string Launcher::GetHostFromUNC(const std::string&) { return ""; }
Integer Launcher::FindLANHost(const std::string&) { return 0; }
void Launcher::AddLANHost(const std::string&) {}
std::string Launcher::GetLANHost(Integer) { return ""; }
void Launcher::RegisterLANHosts() {}
}  // namespace launchagent
