#pragma once
// The launcher module: start-up, the activity log, agent ports, the pause and path
// test, launching and watching the main application, the LAN host table and the host
// information exchange. One class; its parts live in one source file each.
#include <memory>
#include <string>
#include <vector>

#include "platform/types.h"

namespace launchagent {

class Agent;

class Launcher {
 public:
  explicit Launcher(Agent& agent) : agent_(agent) {}

  // ---- Start-up (launcher_main.cpp) ----
  void Main();
  bool RegisterAutoStart();

  // ---- Activity log (activity_log.cpp) ----
  void LogActivity(const std::string& sText, Integer nLevel);

  // ---- Agent ports, pause and path test (agent_ports.cpp) ----
  static Integer GetDefaultAgentPort() { return 1230; }
  static Integer GetFirstAgentPort() { return 1230; }
  static Integer GetLastAgentPort() { return 1235; }
  static void NextAgentPort(Integer& nPort);
  void Pause(Long lngSeconds);
  bool PathExists(const std::string& sPath);

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

 private:
  Agent& agent_;
};

}  // namespace launchagent
