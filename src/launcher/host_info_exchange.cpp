// The host information exchange: filled by the exchange capability.
#include "agent/agent.h"
#include "launcher/launcher.h"

namespace launchagent {
void Launcher::RefreshLocalHostInfo() {}
void Launcher::BroadcastLocalHostInfo() {}
void Launcher::ProcessReceivedMessage(Long, const Bytes&) {}
void Launcher::ProcessHostInfo(Long, const Bytes&) {}
bool Launcher::CanOpenFile(const std::string&) { return false; }
}  // namespace launchagent
