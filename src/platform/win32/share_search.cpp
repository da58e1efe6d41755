#include "platform/win32/share_search.h"

#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

// Containers nest (network, domain, server); deeper than this is a loop, not a LAN.
constexpr int kMaxDepth = 8;
constexpr size_t kMaxNames = 100000;

bool Walk(NETRESOURCEA* container, int nDepth, std::vector<std::string>& names) {
  HANDLE hEnum = nullptr;
  if (WNetOpenEnumA(RESOURCE_GLOBALNET, RESOURCETYPE_DISK, 0, container, &hEnum) != NO_ERROR)
    return false;
  std::vector<unsigned char> buffer(16384);
  bool bOk = true;
  while (names.size() < kMaxNames) {
    DWORD dwCount = 0xffffffff;
    DWORD dwSize = static_cast<DWORD>(buffer.size());
    const DWORD r = WNetEnumResourceA(hEnum, &dwCount, buffer.data(), &dwSize);
    if (r == ERROR_NO_MORE_ITEMS) break;
    if (r == ERROR_MORE_DATA && dwSize > buffer.size()) {
      buffer.resize(dwSize);
      continue;
    }
    if (r != NO_ERROR) {
      bOk = false;
      break;
    }
    auto* items = reinterpret_cast<NETRESOURCEA*>(buffer.data());
    for (DWORD i = 0; i < dwCount; ++i) {
      NETRESOURCEA& item = items[i];
      if (item.dwUsage & RESOURCEUSAGE_CONTAINER) {
        // An unreachable server shows nothing; the rest of the LAN still counts.
        if (nDepth < kMaxDepth) Walk(&item, nDepth + 1, names);
      } else if (item.dwType == RESOURCETYPE_DISK && item.lpRemoteName) {
        names.emplace_back(item.lpRemoteName);
      }
    }
  }
  WNetCloseEnum(hEnum);
  return bOk;
}

}  // namespace

Win32ShareSearch::Win32ShareSearch(std::optional<std::vector<std::string>> configured)
    : platform::BackgroundShareSearch([configured = std::move(configured)](auto& names) {
        if (!configured) return EnumerateNetwork(names);
        names = *configured;
        return true;
      }) {}

bool Win32ShareSearch::EnumerateNetwork(std::vector<std::string>& names) {
  names.clear();
  return Walk(nullptr, 0, names);
}

}  // namespace launchagent::win32
