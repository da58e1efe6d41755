// The real agent: the native platform of this desktop, one Agent, the Qt loop.
#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "agent/agent.h"
#include "hardening/hardening_policy.h"
#include "platform/native/descriptors.h"
#include "platform/native/native_platform.h"
#include "platform/native/settings.h"
#include "platform/native/tray.h"
#include "platform/native/window_system.h"

namespace native = launchagent::native;

int main(int argc, char** argv) {
  const std::string sProgram = argc > 0 ? argv[0] : "Launch.exe";
  std::vector<std::string> args(argv + 1, argv + argc);
  native::NativeSettings settings;
  std::string sError;
  if (native::ParseNativeSettings(args, native::ProcessEnv, settings, sError) && !settings.bHelp &&
      !settings.bVersion && !settings.sBindAddress.empty() &&
      !native::IsLocalIpv4Address(settings.sBindAddress))
    // Listening anywhere else would put the agent where it was not asked to be.
    sError = "bind address " + settings.sBindAddress + " is not an address of this machine";
  if (!sError.empty()) {
    std::fprintf(stderr, "%s: %s\nTry '%s --help' for more information.\n", sProgram.c_str(),
                 sError.c_str(), sProgram.c_str());
    return 2;
  }
  if (settings.bHelp) {
    std::fputs(native::NativeSettingsHelp(sProgram).c_str(), stdout);
    return 0;
  }
  if (settings.bVersion) {
    std::printf("launch-agent %s\n", LA_VERSION);
    return 0;
  }
  // Every connection a peer opens costs a descriptor: take all this process may have.
  native::RaiseDescriptorLimit();
  // Programs the agent starts share its session: its window table and its display.
  ::setenv("LA_WINDOW_TABLE", settings.sWindowTable.c_str(), 1);
  if (settings.bOffscreen) ::setenv("QT_QPA_PLATFORM", "offscreen", 1);

  int nQtArgc = 1;
  QApplication app(nQtArgc, argv);
  QCoreApplication::setApplicationName(launchagent::kFormWindowClass);
  QApplication::setQuitOnLastWindowClosed(false);
  QApplication::setWindowIcon(native::AgentIcon());

  native::NativePlatform platform(settings);
  ::mkdir(platform.SystemFolderLocal().c_str(), 0755);  // may exist or be out of reach

  launchagent::Agent agent(platform.Get());
  // Asking for the narrower launch-site rule asks for the hardened mode it belongs to.
  if (settings.bHardened || settings.bActiveComputersOnly) {
    launchagent::HardeningRules rules;
    rules.bActiveComputersOnly = settings.bActiveComputersOnly;
    agent.EnableHardening(rules, [](const std::string& sText) {
      std::fprintf(stderr, "Launch: %s\n", sText.c_str());
    });
  }
  std::unique_ptr<native::AgentTray> tray;
  try {
    agent.Main();
    if (!settings.bOffscreen)
      tray = std::make_unique<native::AgentTray>(
          platform.Loop(), [&agent] { agent.LaunchForm().Show(); },
          [&agent] { agent.OpenAgentSetup(); });
    // A desktop without a notification area could never show a hidden window again.
    if (!tray || !tray->Available()) platform.Windows().SetMinimiseOnClose(true);
    if (settings.bShowSetup) platform.Loop().Deliver([&agent] { agent.OpenAgentSetup(); });
    platform.Get().loop.Run();
  } catch (const launchagent::platform::ProcessEnded&) {
  }
  // The process ends here, without clean-up, as the system's own agent does.
  std::fflush(stdout);
  std::_Exit(0);
}
