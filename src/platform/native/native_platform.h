#pragma once
// Every service of the seam for this machine, built from the backend's settings and
// handed to the agent as one Platform. A QApplication must exist first.
#include <memory>
#include <string>

#include "platform/native/clock.h"
#include "platform/native/event_loop.h"
#include "platform/native/files.h"
#include "platform/native/hosts_file.h"
#include "platform/native/paths.h"
#include "platform/native/registry.h"
#include "platform/native/settings.h"
#include "platform/native/share_search.h"
#include "platform/native/shell.h"
#include "platform/native/sockets.h"
#include "platform/native/window_system.h"
#include "platform/services.h"

namespace launchagent::native {

class NativePlatform {
 public:
  explicit NativePlatform(const NativeSettings& settings);
  NativePlatform(const NativePlatform&) = delete;
  NativePlatform& operator=(const NativePlatform&) = delete;

  platform::Platform& Get() { return platform_; }
  const NativeSettings& Settings() const { return settings_; }
  const PathMapper& Paths() const { return paths_; }
  NativeEventLoop& Loop() { return loop_; }
  NativeWindowSystem& Windows() { return windows_; }
  NativeShell& ShellService() { return shell_; }
  // The local folder of the "system" folder and of the agent.
  const std::string& SystemFolderLocal() const { return sSystemFolder_; }
  const std::string& AgentFolderLocal() const { return sAgentFolder_; }

 private:
  NativeSettings settings_;
  std::string sAgentFolder_;
  std::string sSystemFolder_;
  TimeBase time_;
  PathMapper paths_;
  HostsFile hosts_;
  NativeClock clock_;
  NativeEventLoop loop_;
  NativeWindowSystem windows_;
  NativeShell shell_;
  NativeRegistry registry_;
  NativeKernel kernel_;
  NativeSocketsLibrary sockets_;
  NativeNetwork network_;
  NativeFileSystem files_;
  NativeShareSearch shares_;
  NativeTrace trace_;
  platform::Platform platform_;
};

}  // namespace launchagent::native
