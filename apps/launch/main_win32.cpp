// The Windows agent: the Win32 platform of this desktop, one Agent, the message loop.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "agent/agent.h"
#include "hardening/hardening_policy.h"
#include "platform/win32/desktop.h"
#include "platform/win32/settings.h"
#include "platform/win32/sockets.h"
#include "platform/win32/tray.h"
#include "platform/win32/win.h"
#include "platform/win32/win32_platform.h"

namespace win32 = launchagent::win32;

namespace {

constexpr const char* kProgram = "Launch.exe";

std::optional<std::string> Env(const std::string& sName) {
  const char* sz = std::getenv(sName.c_str());
  if (!sz) return std::nullopt;
  return std::string(sz);
}

// A windowed program has no console: text goes to standard output when it leads
// somewhere (a pipe, a file, Wine's terminal), else to the console of the program that
// started it, else into a message box.
void Say(const std::string& sText, bool bError) {
  FILE* out = bError ? stderr : stdout;
  HANDLE h = GetStdHandle(bError ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
  if (h == nullptr || h == INVALID_HANDLE_VALUE) {
    if (AttachConsole(ATTACH_PARENT_PROCESS)) {
      out = std::freopen("CONOUT$", "w", out);
    } else {
      out = nullptr;
    }
  }
  if (!out) {
    MessageBoxA(nullptr, sText.c_str(), kProgram, MB_OK | (bError ? MB_ICONERROR : 0));
    return;
  }
  std::fputs(sText.c_str(), out);
  std::fflush(out);
}

int BadUsage(const std::string& sError) {
  Say(std::string(kProgram) + ": " + sError + "\nTry '" + kProgram +
          " --help' for more information.\n",
      true);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  win32::Win32Settings settings;
  std::string sError;
  if (!win32::ParseWin32Settings(args, Env, settings, sError)) return BadUsage(sError);
  if (settings.bHelp) {
    Say(win32::Win32SettingsHelp(kProgram), false);
    return 0;
  }
  if (settings.bVersion) {
    Say(std::string(kProgram) + " (launch agent for Windows) " LA_VERSION "\n", false);
    return 0;
  }

  if (!win32::JoinDesktop(settings.sDesktop))
    return BadUsage("cannot use the desktop " + settings.sDesktop);
  auto platform = std::make_unique<win32::Win32Platform>(settings);
  if (!settings.sBindAddress.empty() && !win32::IsLocalAddress(settings.sBindAddress))
    return BadUsage("bad bind address (not an address of this computer): " + settings.sBindAddress);

  launchagent::Agent agent(platform->Get());
  // Asking for the narrower launch-site rule asks for the hardened mode it belongs to.
  // Its refusals go to the debug output, with the backend's other diagnostics.
  if (settings.bHardened || settings.bActiveComputersOnly) {
    launchagent::HardeningRules rules;
    rules.bActiveComputersOnly = settings.bActiveComputersOnly;
    agent.EnableHardening(rules, [](const std::string& sText) {
      OutputDebugStringA(("launch agent: " + sText + "\n").c_str());
    });
  }
  std::unique_ptr<win32::AgentTray> tray;
  try {
    agent.Main();
    if (!settings.bOffscreen)
      tray = std::make_unique<win32::AgentTray>(
          platform->Loop(), [&agent] { agent.LaunchForm().Show(); },
          [&agent] { agent.OpenAgentSetup(); });
    if (settings.bShowSetup) platform->Loop().Deliver([&agent] { agent.OpenAgentSetup(); });
    platform->Get().loop.Run();
  } catch (const launchagent::platform::ProcessEnded&) {
  }
  // The process ends here, without clean-up, as the system's own agent does; only the
  // notification area is told, so no dead icon stays behind.
  tray.reset();
  std::fflush(stdout);
  std::_Exit(0);
}
