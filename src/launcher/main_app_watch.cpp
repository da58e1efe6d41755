// Watching the main application's window: filled by the window-watch capability.
#include "agent/agent.h"
#include "launcher/launcher.h"

namespace launchagent {
Integer Launcher::CountMainAppWindows() { return 0; }
void Launcher::MonitorMainApp() {}
}  // namespace launchagent
