#include "setup/host_identity.h"

#include <algorithm>
#include <string>

#include "messages/text_forms.h"

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
  // Every broadcast asks the address of each host: the digits are written in place.
  std::string s;
  s.reserve(4 * n);
  for (std::size_t i = 0; i < n; ++i) {
    if (i > 0) s += '.';
    const unsigned v = bytes[i];
    if (v >= 100) s += static_cast<char>('0' + v / 100);
    if (v >= 10) s += static_cast<char>('0' + v / 10 % 10);
    s += static_cast<char>('0' + v % 10);
  }
  return s;
}

}  // namespace

Long HostIdentity::hibyte(Integer wParam) { return (wParam / 256) & 255; }

Long HostIdentity::lobyte(Integer wParam) { return wParam & 255; }

void HostIdentity::SocketsInitialize() {
  platform::SocketsStartupData data;
  if (sockets_.Startup(kRequestedVersion, data) != 0) {
    logActivity_("Winsock.dll is not responding.", 1);
    loop_.EndProcess();
  }
  const Integer wVersion = static_cast<Integer>(data.wVersion);
  const Long lo = lobyte(wVersion);
  const Long hi = hibyte(wVersion);
  if (lo < 1 || (lo == 1 && hi < 1)) {
    logActivity_("Windows Sockets version " + std::to_string(lo) + "." + std::to_string(hi) +
                     " is not supported by winsock.dll ",
                 1);
    loop_.EndProcess();
  }
  if (data.lngMaxSockets < kMinSockets) {
    logActivity_("This application requires a minimum of " + std::to_string(kMinSockets) +
                     " supported sockets.",
                 1);
    loop_.EndProcess();
  }
}

void HostIdentity::SocketsCleanup() {
  const Long lngResult = sockets_.Cleanup();
  if (lngResult != 0) {
    logActivity_("Socket error " + std::to_string(lngResult) + " occurred in Cleanup", 1);
    loop_.EndProcess();
  }
}

void HostIdentity::GetHostInfo() {
  const auto name = sockets_.HostName();
  if (!name) {
    logActivity_("Windows Sockets error " + text_forms::SignedForm(sockets_.LastError()), 1);
    return;
  }
  // The name and its terminating NUL go to the front of the buffer; the rest keeps
  // what it held.
  const std::size_t n = std::min(name->size(), kHostNameBufferLen - 1);
  sHostName.replace(0, n, *name, 0, n);
  sHostName[n] = '\0';

  const auto entry = sockets_.HostByName(GetHostName());
  if (!entry) {
    logActivity_("Winsock.dll is not responding.", 1);
    return;
  }
  sIPAddress = DottedAddress(*entry);
}

std::string HostIdentity::GetHostName() {
  const std::size_t nul = sHostName.find('\0');
  if (nul == std::string::npos) return "";
  return sHostName.substr(0, nul);
}

std::string HostIdentity::GetIPAddress() { return sIPAddress; }

std::string HostIdentity::GetIPInfo(const std::string& hostname) {
  SocketsInitialize();
  const auto entry = sockets_.HostByName(hostname);
  if (!entry) return "";
  return DottedAddress(*entry);
}

}  // namespace launchagent
