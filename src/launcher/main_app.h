#pragma once
// The main application: found in the agent's folder or at a launch site another agent
// announced, launched with its libraries in place, and watched through its window.
#include <string>
#include <vector>

#include "launcher/launch_globals.h"
#include "platform/activity_sink.h"
#include "platform/services.h"
#include "platform/types.h"

namespace launchagent {

class AgentHostInfo;

class MainApp {
 public:
  MainApp(platform::Platform& platform, AgentHostInfo& registry, LogActivityFn logActivity,
          const LaunchGlobals& launch)
      : platform_(platform),
        registry_(registry),
        logActivity_(std::move(logActivity)),
        launch_(launch) {}

  // ---- Launching (main_app_launch.cpp) ----
  std::string FindMainAppFile();
  bool LaunchMainApp(std::string& sPath);
  void LaunchFromLaunchSite();
  static bool IsMainAppFileName(const std::string& sFileName);
  static bool HasExtension(const std::string& sFileName, const std::string& sExtension);
  std::vector<std::string> GetLibraryFiles(const std::string& sFolder);
  std::string GetSystemFolder();
  bool CopyAppFile(std::string& sSource, std::string& sDestination);
  static std::string GetFileName(const std::string& sPath);
  static std::string GetFolderName(const std::string& sPath);

  // ---- Watching its window (main_app_watch.cpp) ----
  Integer CountMainAppWindows();
  void MonitorMainApp();

 private:
  std::string AppPath() { return platform_.files.AgentFolder(); }

  platform::Platform& platform_;
  AgentHostInfo& registry_;
  LogActivityFn logActivity_;
  const LaunchGlobals& launch_;
};

}  // namespace launchagent
