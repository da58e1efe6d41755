#include <string>

#include "agent/agent.h"
#include "launcher/launcher.h"
#include "messages/text_forms.h"
#include "setup/frm_agent_setup.h"

namespace launchagent {

namespace {

constexpr std::uint16_t kRequestedVersion = 257;  // 1.1
constexpr Long kMinSockets = 1;
constexpr std::size_t kHostNameBufferLen = 256;

std::string DottedAddress(const platform::HostEntry& entry) {
  if (entry.addresses.empty()) return "";
  const auto& bytes = entry.addresses.front();
  const std::size_t n = std::min<std::size_t>(
      bytes.size(), static_cast<std::size_t>(std::max<Integer>(0, entry.nAddressLength)));
  std::string s;
  for (std::size_t i = 0; i < n; ++i) s += std::to_string(bytes[i]) + ".";
  if (!s.empty()) s.pop_back();
  return s;
}

}  // namespace

Long FrmAgentSetup::hibyte(Integer wParam) { return (wParam / 256) & 255; }

Long FrmAgentSetup::lobyte(Integer wParam) { return wParam & 255; }

void FrmAgentSetup::SocketsInitialize() {
  platform::Platform& p = agent_.Platform();
  platform::SocketsStartupData data;
  if (p.sockets.Startup(kRequestedVersion, data) != 0) {
    agent_.LogActivity("Winsock.dll is not responding.", 1);
    p.loop.EndProcess();
  }
  const Integer wVersion = static_cast<Integer>(data.wVersion);
  const Long lo = lobyte(wVersion);
  const Long hi = hibyte(wVersion);
  if (lo < 1 || (lo == 1 && hi < 1)) {
    agent_.LogActivity("Windows Sockets version " + std::to_string(lo) + "." + std::to_string(hi) +
                           " is not supported by winsock.dll ",
                       1);
    p.loop.EndProcess();
  }
  if (data.lngMaxSockets < kMinSockets) {
    agent_.LogActivity("This application requires a minimum of " + std::to_string(kMinSockets) +
                           " supported sockets.",
                       1);
    p.loop.EndProcess();
  }
}

void FrmAgentSetup::SocketsCleanup() {
  platform::Platform& p = agent_.Platform();
  const Long lngResult = p.sockets.Cleanup();
  if (lngResult != 0) {
    agent_.LogActivity("Socket error " + std::to_string(lngResult) + " occurred in Cleanup", 1);
    p.loop.EndProcess();
  }
}

void FrmAgentSetup::GetHostInfo() {
  platform::Platform& p = agent_.Platform();
  const auto name = p.sockets.HostName();
  if (!name) {
    agent_.LogActivity("Windows Sockets error " + text_forms::SignedForm(p.sockets.LastError()), 1);
    return;
  }
  // The name and its terminating NUL go to the front of the buffer; the rest keeps
  // what it held.
  const std::size_t n = std::min(name->size(), kHostNameBufferLen - 1);
  sHostName.replace(0, n, *name, 0, n);
  sHostName[n] = '\0';

  const auto entry = p.sockets.HostByName(GetHostName());
  if (!entry) {
    agent_.LogActivity("Winsock.dll is not responding.", 1);
    return;
  }
  sIPAddress = DottedAddress(*entry);
}

std::string FrmAgentSetup::GetHostName() {
  const std::size_t nul = sHostName.find('\0');
  if (nul == std::string::npos) return "";
  return sHostName.substr(0, nul);
}

std::string FrmAgentSetup::GetIPAddress() { return sIPAddress; }

std::string FrmAgentSetup::GetIPInfo(const std::string& hostname) {
  SocketsInitialize();
  const auto entry = agent_.Platform().sockets.HostByName(hostname);
  if (!entry) return "";
  return DottedAddress(*entry);
}

// The internet check runs on every sixth tick. The agent has no detection of internet
// access: the state it reads is always False, as the flag is, so the check never acts.
void FrmAgentSetup::TimerCheckInternet_Timer() {
  if (nInternetTicks < 5) {
    ++nInternetTicks;
    return;
  }
  nInternetTicks = 0;
  TimerCheckInternet->SetTimerEnabled(false);
  TimerCheckInternet->SetTimerEnabled(true);
}

}  // namespace launchagent
