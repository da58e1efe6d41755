#include "platform/win32/files.h"

#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

// Files the agent reads are records of a few kilobytes; anything far bigger is not one
// of them and is not read into memory.
constexpr LONGLONG kMaxReadBytes = 64LL * 1024 * 1024;
constexpr const char* kTempMark = ".new-";

std::string FolderOf(const std::string& sPath) {
  const auto n = sPath.find_last_of("\\/");
  return n == std::string::npos ? std::string() : sPath.substr(0, n + 1);
}

bool ProcessRunning(DWORD dwId) {
  HANDLE h = OpenProcess(SYNCHRONIZE, FALSE, dwId);
  if (!h) return GetLastError() == ERROR_ACCESS_DENIED;  // exists, not ours to open
  const bool bRunning = WaitForSingleObject(h, 0) == WAIT_TIMEOUT;
  CloseHandle(h);
  return bRunning;
}

// Leftovers of saves that were interrupted: "<name>.new-<process id>" of processes
// that are gone. A save still running in another process keeps its file.
void RemoveLeftovers(const std::string& sPath) {
  WIN32_FIND_DATAA fd;
  const std::string sMask = sPath + kTempMark + "*";
  HANDLE h = FindFirstFileA(sMask.c_str(), &fd);
  if (h == INVALID_HANDLE_VALUE) return;
  const std::string sFolder = FolderOf(sPath);
  const std::string sPrefix = sPath.substr(sFolder.size()) + kTempMark;
  do {
    const std::string sName = fd.cFileName;
    if (sName.size() <= sPrefix.size() || (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
      continue;
    const std::string sId = sName.substr(sPrefix.size());
    if (sId.find_first_not_of("0123456789") != std::string::npos || sId.size() > 10) continue;
    const auto dwId = static_cast<DWORD>(std::stoull(sId));
    if (dwId == GetCurrentProcessId() || !ProcessRunning(dwId))
      DeleteFileA((sFolder + sName).c_str());
  } while (FindNextFileA(h, &fd));
  FindClose(h);
}

bool WriteWhole(HANDLE h, const Bytes& content) {
  size_t nDone = 0;
  while (nDone < content.size()) {
    DWORD dwWritten = 0;
    const auto dwChunk = static_cast<DWORD>(std::min<size_t>(content.size() - nDone, 1 << 20));
    if (!WriteFile(h, content.data() + nDone, dwChunk, &dwWritten, nullptr) || dwWritten == 0)
      return false;
    nDone += dwWritten;
  }
  return true;
}

bool SameFile(const std::string& a, const std::string& b) {
  auto Identity = [](const std::string& s, BY_HANDLE_FILE_INFORMATION& info) {
    HANDLE h = CreateFileA(s.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                           nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (h == INVALID_HANDLE_VALUE) return false;
    const bool bOk = GetFileInformationByHandle(h, &info) != 0;
    CloseHandle(h);
    return bOk;
  };
  BY_HANDLE_FILE_INFORMATION ia{}, ib{};
  if (!Identity(a, ia) || !Identity(b, ib)) return false;
  return ia.dwVolumeSerialNumber == ib.dwVolumeSerialNumber &&
         ia.nFileIndexHigh == ib.nFileIndexHigh && ia.nFileIndexLow == ib.nFileIndexLow;
}

}  // namespace

std::string TemporaryNameFor(const std::string& sPath, unsigned long lngProcessId) {
  return sPath + kTempMark + std::to_string(lngProcessId);
}

std::string Win32FileSystem::AgentFolder() {
  std::string s(MAX_PATH, '\0');
  DWORD n = 0;
  while (true) {
    n = GetModuleFileNameA(nullptr, s.data(), static_cast<DWORD>(s.size()));
    if (n == 0) return ".";
    if (n < s.size()) break;
    s.resize(s.size() * 2);  // the path was cut
  }
  s.resize(n);
  const auto nSep = s.find_last_of('\\');
  return nSep == std::string::npos ? s : s.substr(0, nSep);
}

std::optional<std::vector<platform::DirEntry>> Win32FileSystem::List(const std::string& sPattern,
                                                                     bool bHidden, bool bFolders) {
  std::string sMask = sPattern;
  // A folder given with its separator, or a bare drive, lists the folder itself.
  if (sMask.size() == 2 && sMask[1] == ':') sMask += "\\";
  if (!sMask.empty() && (sMask.back() == '\\' || sMask.back() == '/')) sMask += "*";
  WIN32_FIND_DATAA fd;
  HANDLE h = FindFirstFileA(sMask.c_str(), &fd);
  std::vector<platform::DirEntry> out;
  if (h == INVALID_HANDLE_VALUE) {
    const DWORD dwError = GetLastError();
    // Nothing matches in a folder that exists: an empty listing.
    if (dwError == ERROR_FILE_NOT_FOUND || dwError == ERROR_NO_MORE_FILES) return out;
    return std::nullopt;
  }
  do {
    platform::DirEntry entry;
    entry.sName = fd.cFileName;
    entry.bFolder = (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    entry.bHidden = (fd.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN) != 0;
    if (entry.bFolder && !bFolders) continue;
    if (entry.bHidden && !bHidden) continue;
    // System files are neither normal nor hidden ones.
    if (!entry.bFolder && (fd.dwFileAttributes & FILE_ATTRIBUTE_SYSTEM)) continue;
    out.push_back(std::move(entry));
  } while (FindNextFileA(h, &fd));
  FindClose(h);
  return out;
}

bool Win32FileSystem::FolderExists(const std::string& sPath) {
  const DWORD dw = GetFileAttributesA(sPath.c_str());
  return dw != INVALID_FILE_ATTRIBUTES && (dw & FILE_ATTRIBUTE_DIRECTORY);
}

bool Win32FileSystem::CanOpenForReading(const std::string& sPath) {
  HANDLE h = CreateFileA(sPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  CloseHandle(h);
  return true;
}

std::optional<Bytes> Win32FileSystem::ReadFile(const std::string& sPath) {
  HANDLE h = CreateFileA(sPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return std::nullopt;
  LARGE_INTEGER size{};
  if (!GetFileSizeEx(h, &size) || size.QuadPart > kMaxReadBytes) {
    CloseHandle(h);
    return std::nullopt;
  }
  Bytes data(static_cast<size_t>(size.QuadPart));
  size_t nDone = 0;
  while (nDone < data.size()) {
    DWORD dwRead = 0;
    const auto dwChunk = static_cast<DWORD>(std::min<size_t>(data.size() - nDone, 1 << 20));
    if (!::ReadFile(h, data.data() + nDone, dwChunk, &dwRead, nullptr)) {
      CloseHandle(h);
      return std::nullopt;
    }
    if (dwRead == 0) break;  // it got shorter while we read
    nDone += dwRead;
  }
  CloseHandle(h);
  data.resize(nDone);
  return data;
}

bool Win32FileSystem::ReplaceFile(const std::string& sPath, const Bytes& content) {
  RemoveLeftovers(sPath);
  const std::string sTemp = TemporaryNameFor(sPath, GetCurrentProcessId());
  HANDLE h = CreateFileA(sTemp.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  bool bOk = WriteWhole(h, content) && FlushFileBuffers(h);
  bOk = CloseHandle(h) && bOk;
  if (bOk)
    bOk = MoveFileExA(sTemp.c_str(), sPath.c_str(),
                      MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
  if (!bOk) DeleteFileA(sTemp.c_str());
  return bOk;
}

std::optional<std::string> Win32FileSystem::SystemFolder() {
  char buf[MAX_PATH + 1] = {};
  const UINT n = GetSystemDirectoryA(buf, MAX_PATH);
  if (n == 0 || n > MAX_PATH) return std::nullopt;
  return std::string(buf, n);
}

Integer Win32FileSystem::CopyFile(const std::string& sSource, const std::string& sDestination) {
  // The same file needs no copy (the system folder may be the agent's own folder).
  if (SameFile(sSource, sDestination)) return 0;
  if (CopyFileA(sSource.c_str(), sDestination.c_str(), FALSE)) return 0;
  switch (GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
      return 2;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
      return 3;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:  // a running program cannot be overwritten
      return 5;
    default:
      return 6;
  }
}

}  // namespace launchagent::win32
