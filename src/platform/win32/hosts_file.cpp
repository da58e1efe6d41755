#include "platform/win32/hosts_file.h"

#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

std::optional<unsigned long long> Stamp(const std::string& sPath) {
  WIN32_FILE_ATTRIBUTE_DATA info{};
  if (!GetFileAttributesExA(sPath.c_str(), GetFileExInfoStandard, &info)) return std::nullopt;
  return ((static_cast<unsigned long long>(info.ftLastWriteTime.dwHighDateTime) << 32) |
          info.ftLastWriteTime.dwLowDateTime) +
         info.nFileSizeLow;
}

std::string Read(const std::string& sPath, std::size_t nMaxBytes) {
  std::string sText;
  HANDLE h = CreateFileA(sPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return sText;
  sText.resize(nMaxBytes);
  DWORD dwRead = 0;
  if (!::ReadFile(h, sText.data(), static_cast<DWORD>(nMaxBytes), &dwRead, nullptr)) dwRead = 0;
  sText.resize(dwRead);
  CloseHandle(h);
  return sText;
}

}  // namespace

HostsFile::HostsFile(std::string sPath)
    : platform::HostsFileNames(std::move(sPath), {Stamp, Read}) {}

}  // namespace launchagent::win32
