#include "platform/win32/hosts_file.h"

#include <cctype>
#include <sstream>

#include "platform/win32/settings.h"
#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

// A hosts file is small; a huge one is cut rather than read whole.
constexpr DWORD kMaxHostsBytes = 1 << 20;

std::string Lower(std::string s) {
  for (auto& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

}  // namespace

std::optional<Ipv4> ParseIpv4(const std::string& s) {
  if (!IsDottedIpv4(s)) return std::nullopt;
  Ipv4 a{};
  std::istringstream in(s);
  for (size_t i = 0; i < 4; ++i) {
    int n = 0;
    char dot = 0;
    in >> n;
    if (i < 3) in >> dot;
    a[i] = static_cast<std::uint8_t>(n);
  }
  return a;
}

std::map<std::string, Ipv4> HostsFile::Parse(const std::string& sText) {
  std::map<std::string, Ipv4> names;
  std::istringstream in(sText);
  std::string sLine;
  while (std::getline(in, sLine)) {
    if (auto n = sLine.find('#'); n != std::string::npos) sLine.resize(n);
    std::istringstream words(sLine);
    std::string sAddress, sName;
    if (!(words >> sAddress)) continue;
    auto address = ParseIpv4(sAddress);
    if (!address) continue;
    while (words >> sName) names.emplace(Lower(sName), *address);
  }
  return names;
}

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
  auto it = names_.find(Lower(sName));
  if (it == names_.end()) return std::nullopt;
  return it->second;
}

}  // namespace launchagent::win32
