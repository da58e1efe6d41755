#include "launcher/frm_launch.h"
#include "launcher/launcher.h"
#include "launcher/launcher_forms.h"
#include "transport/frm_client.h"
#include "transport/frm_server.h"

namespace launchagent {

namespace {
constexpr const char* kRunKey = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";
}

Launcher::Launcher(platform::Platform& platform, LauncherForms& forms, AgentHostInfo& registry,
                   MessageContext& context, bool& bActiveAgentServices, LaunchGlobals& launch)
    : platform_(platform),
      forms_(forms),
      bActiveAgentServices_(bActiveAgentServices),
      launch_(launch),
      lanHosts_(platform.loop, forms, registry, context),
      mainApp_(
          platform, registry,
          [this](const std::string& sText, Integer nLevel) { LogActivity(sText, nLevel); }, launch),
      exchange_(platform, forms, registry, context, lanHosts_, mainApp_,
                [this](const std::string& sText, Integer nLevel) { LogActivity(sText, nLevel); }) {}

void Launcher::Main() {
  platform::Platform& p = platform_;
  launch_.bLaunchIndexing = false;
  launch_.sLaunchUserName = "";

  // A running agent is known by its window title; look before our own window exists.
  const bool bAlreadyRunning = p.windows.FindWindowByTitle(FrmLaunch::kServiceTitle) != 0;

  FrmLaunch& frm = forms_.frmLaunch();
  frm.Form().Show();
  if (bAlreadyRunning) p.loop.EndProcess();

  frm.Form().SetCaption(FrmLaunch::kServiceTitle);
  RegisterAutoStart();
  bActiveAgentServices_ = true;
  forms_.frmClient();
  forms_.frmServer();
  frm.Init();
  exchange_.RefreshLocalHostInfo();
  lanHosts_.RegisterLANHosts();
  exchange_.BroadcastLocalHostInfo();
}

bool Launcher::RegisterAutoStart() {
  platform::Platform& p = platform_;
  const auto key = p.registry.CreateKey(platform::RegistryRoot::LocalMachine, kRunKey);
  if (!key) return false;
  // Always "Launch.exe" in the agent's folder, whatever this executable is called.
  const std::string sData = platform_.files.AgentFolder() + "\\" + "Launch.exe";
  if (!p.registry.SetStringValue(*key, "1", sData)) return false;
  p.registry.CloseKey(*key);
  return true;
}

}  // namespace launchagent
