// Launching the main application: filled by the launching capability.
#include "agent/agent.h"
#include "launcher/launcher.h"

namespace launchagent {
std::string Launcher::FindMainAppFile() { return ""; }
bool Launcher::LaunchMainApp(std::string&) { return false; }
void Launcher::LaunchFromLaunchSite() {}
bool Launcher::IsMainAppFileName(const std::string&) { return false; }
bool Launcher::HasExtension(const std::string&, const std::string&) { return false; }
std::vector<std::string> Launcher::GetLibraryFiles(const std::string&) { return {}; }
std::string Launcher::GetSystemFolder() { return ""; }
bool Launcher::CopyAppFile(std::string&, std::string&) { return false; }
std::string Launcher::GetFileName(const std::string& sPath) { return sPath; }
std::string Launcher::GetFolderName(const std::string& sPath) { return sPath; }
}  // namespace launchagent
