#pragma once
// The launcher module: start-up, the activity log, and the three parts it drives (the LAN
// host table, the main application, the host information exchange), each a class of
// its own in files of their own.
#include <string>

#include "launcher/host_info_exchange.h"
#include "launcher/lan_host_table.h"
#include "launcher/launch_globals.h"
#include "launcher/main_app.h"
#include "platform/services.h"
#include "platform/types.h"

namespace launchagent {

class AgentHostInfo;
class LauncherForms;
class MessageContext;

class Launcher {
 public:
  Launcher(platform::Platform& platform, LauncherForms& forms, AgentHostInfo& registry,
           MessageContext& context, bool& bActiveAgentServices, LaunchGlobals& launch);

  // ---- Start-up (launcher_main.cpp) ----
  void Main();
  bool RegisterAutoStart();

  // ---- Activity log (activity_log.cpp) ----
  void LogActivity(const std::string& sText, Integer nLevel);

  LanHostTable& lanHosts() { return lanHosts_; }
  MainApp& mainApp() { return mainApp_; }
  HostInfoExchange& exchange() { return exchange_; }

 private:
  platform::Platform& platform_;
  LauncherForms& forms_;
  bool& bActiveAgentServices_;
  LaunchGlobals& launch_;
  LanHostTable lanHosts_;
  MainApp mainApp_;
  HostInfoExchange exchange_;
};

}  // namespace launchagent
