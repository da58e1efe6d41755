#include "platform/win32/share_search.h"

#include <cstring>

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

Win32ShareSearch::~Win32ShareSearch() { Join(); }

void Win32ShareSearch::Join() {
  if (worker_.joinable()) worker_.join();
}

bool Win32ShareSearch::EnumerateNetwork(std::vector<std::string>& names) {
  names.clear();
  return Walk(nullptr, 0, names);
}

void Win32ShareSearch::FindResources() {
  Join();
  {
    std::lock_guard<std::mutex> lock(mutex_);
    names_.clear();
    nNext_ = 0;
    bError_ = false;
  }
  bRunning_ = true;
  worker_ = std::thread([this] {
    std::vector<std::string> names;
    bool bOk = true;
    if (configured_)
      names = *configured_;
    else
      bOk = EnumerateNetwork(names);
    {
      std::lock_guard<std::mutex> lock(mutex_);
      names_ = std::move(names);
      bError_ = !bOk;
    }
    bRunning_ = false;
  });
}

Long Win32ShareSearch::StillProcessing() { return bRunning_ ? 1 : 0; }

Long Win32ShareSearch::ErrorOccurred() {
  std::lock_guard<std::mutex> lock(mutex_);
  return bError_ ? 1 : 0;
}

void Win32ShareSearch::GetNResources(Long& lngCount) {
  std::lock_guard<std::mutex> lock(mutex_);
  lngCount = static_cast<Long>(std::min<size_t>(names_.size(), 0x7fffffff));
}

void Win32ShareSearch::GetResource(std::array<char, 257>& buffer) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (nNext_ >= names_.size()) {
    buffer[0] = '\0';
    return;
  }
  const std::string& s = names_[nNext_++];
  const size_t n = std::min<size_t>(s.size(), 255);
  std::memcpy(buffer.data(), s.data(), n);
  buffer[n] = '\0';
}

void Win32ShareSearch::FreeResources() {
  // A search still running is not stopped; the next start waits for it and clears.
  std::lock_guard<std::mutex> lock(mutex_);
  names_.clear();
  nNext_ = 0;
}

}  // namespace launchagent::win32
