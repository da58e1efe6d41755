#include "platform/win32/win32_platform.h"

#include "platform/text.h"
#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

std::optional<std::vector<std::string>> ConfiguredShares(const Win32Settings& s) {
  if (!s.bSharesSet) return std::nullopt;
  return s.shares;
}

// The computer name follows an overridden host name (in capitals, as the desktops show
// it), so agents sharing one machine in tests tell themselves apart by both.
std::string ComputerNameOf(const Win32Settings& s) {
  if (!s.sComputerName.empty()) return s.sComputerName;
  return AsciiUpper(s.sHostName);  // "" leaves it to the system
}

}  // namespace

Win32Platform::WinsockReference::WinsockReference() {
  WSADATA wsa{};
  bStarted = WSAStartup(0x0101, &wsa) == 0;
  if (!bStarted) OutputDebugStringA("launch agent: Winsock did not start\n");
}

Win32Platform::WinsockReference::~WinsockReference() {
  if (bStarted) WSACleanup();
}

Win32Platform::Win32Platform(const Win32Settings& settings)
    : settings_(settings),
      time_(settings.dTimeScale),
      hosts_(settings.sHostsFile),
      clock_(time_),
      loop_(time_),
      windows_(loop_, settings.bOffscreen),
      kernel_(ComputerNameOf(settings)),
      sockets_(hosts_, settings.sHostName, settings.sBindAddress),
      network_(loop_, hosts_, settings.sBindAddress),
      shares_(ConfiguredShares(settings)),
      trace_(settings.bLogToStdout),
      platform_{clock_,   loop_,    windows_, shell_,  registry_, kernel_,
                sockets_, network_, files_,   shares_, trace_} {}

Win32Platform::~Win32Platform() = default;

}  // namespace launchagent::win32
