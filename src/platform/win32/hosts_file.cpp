#include "platform/win32/hosts_file.h"

#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

// A hosts file is small; a huge one is cut rather than read whole.
constexpr DWORD kMaxHostsBytes = 1 << 20;

}  // namespace

void HostsFile::Reload() {
  WIN32_FILE_ATTRIBUTE_DATA info{};
  if (sPath_.empty() || !GetFileAttributesExA(sPath_.c_str(), GetFileExInfoStandard, &info)) {
    names_.clear();
    ullStamp_ = ~0ULL;
    return;
  }
  const unsigned long long ullStamp =
      ((static_cast<unsigned long long>(info.ftLastWriteTime.dwHighDateTime) << 32) |
       info.ftLastWriteTime.dwLowDateTime) +
      info.nFileSizeLow;
  if (ullStamp == ullStamp_) return;
  ullStamp_ = ullStamp;
  std::string sText;
  HANDLE h = CreateFileA(sPath_.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h != INVALID_HANDLE_VALUE) {
    sText.resize(kMaxHostsBytes);
    DWORD dwRead = 0;
    if (!::ReadFile(h, sText.data(), kMaxHostsBytes, &dwRead, nullptr)) dwRead = 0;
    sText.resize(dwRead);
    CloseHandle(h);
  }
  names_ = Parse(sText);
}

std::optional<Ipv4> HostsFile::Lookup(const std::string& sName) {
  Reload();
  auto it = names_.find(LowerName(sName));
  if (it == names_.end()) return std::nullopt;
  return it->second;
}

}  // namespace launchagent::win32
