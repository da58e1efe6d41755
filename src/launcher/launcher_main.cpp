#include "agent/agent.h"
#include "launcher/frm_launch.h"
#include "launcher/launcher.h"
#include "transport/frm_client.h"
#include "transport/frm_server.h"

namespace launchagent {

namespace {
constexpr const char* kRunKey = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";
}

void Launcher::Main() {
  platform::Platform& p = agent_.Platform();
  agent_.bLaunchIndexing = false;
  agent_.sLaunchUserName = "";

  // A running agent is known by its window title; look before our own window exists.
  const bool bAlreadyRunning = p.windows.FindWindowByTitle(FrmLaunch::kServiceTitle) != 0;

  FrmLaunch& frm = agent_.frmLaunch();
  frm.Form().Show();
  if (bAlreadyRunning) p.loop.EndProcess();

  frm.Form().SetCaption(FrmLaunch::kServiceTitle);
  RegisterAutoStart();
  agent_.bActiveAgentServices = true;
  agent_.frmClient();
  agent_.frmServer();
  frm.Init();
  RefreshLocalHostInfo();
  RegisterLANHosts();
  BroadcastLocalHostInfo();
}

bool Launcher::RegisterAutoStart() {
  platform::Platform& p = agent_.Platform();
  const auto key = p.registry.CreateKey(platform::RegistryRoot::LocalMachine, kRunKey);
  if (!key) return false;
  // Always "Launch.exe" in the agent's folder, whatever this executable is called.
  const std::string sData = agent_.AppPath() + "\\" + "Launch.exe";
  if (!p.registry.SetStringValue(*key, "1", sData)) return false;
  p.registry.CloseKey(*key);
  return true;
}

}  // namespace launchagent
