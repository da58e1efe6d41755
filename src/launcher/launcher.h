#pragma once
// The launcher module: start-up, the activity log, agent ports, the pause and path
// test, launching and watching the main application, the LAN host table and the host
// information exchange. One class; its parts live in one source file each.
#include <memory>
#include <string>
#include <vector>

#include "launcher/launch_globals.h"
#include "platform/services.h"
#include "platform/types.h"

namespace launchagent {

class AgentHostInfo;
class LauncherForms;
class MessageContext;
class clsMsg;
class clsMsgHostInfo;

class Launcher {
 public:
  Launcher(platform::Platform& platform, LauncherForms& forms, AgentHostInfo& registry,
           MessageContext& context, bool& bActiveAgentServices, LaunchGlobals& launch)
      : platform_(platform),
        forms_(forms),
        registry_(registry),
        context_(context),
        bActiveAgentServices_(bActiveAgentServices),
        launch_(launch) {}

  // ---- Start-up (launcher_main.cpp) ----
  void Main();
  bool RegisterAutoStart();

  // ---- Activity log (activity_log.cpp) ----
  void LogActivity(const std::string& sText, Integer nLevel);

  // ---- Launching the main application (main_app_launch.cpp) ----
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

  // ---- Watching the main application's window (main_app_watch.cpp) ----
  Integer CountMainAppWindows();
  void MonitorMainApp();

  // ---- LAN host table (lan_host_table.cpp) ----
  void RefreshLANHosts();
  static std::string GetHostFromUNC(const std::string& sPath);
  Integer FindLANHost(const std::string& sHostName);
  void AddLANHost(const std::string& sHostName);
  std::string GetLANHost(Integer nIndex);
  void RegisterLANHosts();
  // Entries 1..nLANHostCnt hold names; entry 0 is unused. Sized nLANHostMax + 1.
  std::vector<std::string> LANHosts;
  Integer nLANHostCnt = 0;
  Integer nLANHostMax = 0;

  // ---- Host information exchange (host_info_exchange.cpp) ----
  void RefreshLocalHostInfo();
  void BroadcastLocalHostInfo();
  void ProcessReceivedMessage(Long Index, const Bytes& byteArray);
  void ProcessHostInfo(Long Index, const Bytes& byteArray);
  bool CanOpenFile(const std::string& sPath);
  // This computer's description as it is broadcast, and the plain message that reads
  // the type of an arrival; both made on first use.
  std::shared_ptr<clsMsgHostInfo> objLocalHost();
  std::shared_ptr<clsMsg> objMsg();

 private:
  std::string AppPath() { return platform_.files.AgentFolder(); }

  platform::Platform& platform_;
  LauncherForms& forms_;
  AgentHostInfo& registry_;
  MessageContext& context_;
  bool& bActiveAgentServices_;
  LaunchGlobals& launch_;
  std::shared_ptr<clsMsgHostInfo> objLocalHost_;
  std::shared_ptr<clsMsg> objMsg_;
};

}  // namespace launchagent
