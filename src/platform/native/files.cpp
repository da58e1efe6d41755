#include "platform/native/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "platform/text.h"

namespace launchagent::native {
namespace {

// Files the agent reads are records of a few kilobytes; anything far bigger is not one
// of them and is not read into memory.
constexpr off_t kMaxReadBytes = 64 * 1024 * 1024;
// The copy routine's answer for a file another program holds open.
constexpr Integer kSharingViolation = 32;

std::string ParentOf(const std::string& s) {
  const auto n = s.find_last_of('/');
  if (n == std::string::npos) return ".";
  if (n == 0) return "/";
  return s.substr(0, n);
}

bool WriteAll(int fd, const char* p, size_t n) {
  while (n > 0) {
    const ssize_t w = ::write(fd, p, n);
    if (w < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    p += w;
    n -= static_cast<size_t>(w);
  }
  return true;
}

// A save that was killed half-way leaves its "<name>.new-<pid>" beside the file; the next
// save of that file removes it, unless the process that writes it is still alive.
void RemoveStaleTemps(const std::string& sLocalPath) {
  const auto nSlash = sLocalPath.find_last_of('/');
  const std::string sPrefix =
      (nSlash == std::string::npos ? sLocalPath : sLocalPath.substr(nSlash + 1)) + ".new-";
  DIR* dir = ::opendir(ParentOf(sLocalPath).c_str());
  if (!dir) return;
  std::vector<std::string> stale;
  while (dirent* e = ::readdir(dir)) {
    const std::string sName = e->d_name;
    if (sName.size() <= sPrefix.size() || sName.compare(0, sPrefix.size(), sPrefix) != 0) continue;
    const std::string sPid = sName.substr(sPrefix.size());
    if (sPid.size() > 9 || sPid.find_first_not_of("0123456789") != std::string::npos) continue;
    const pid_t pid = static_cast<pid_t>(std::atol(sPid.c_str()));
    if (pid == ::getpid() || (::kill(pid, 0) != 0 && errno == ESRCH)) stale.push_back(sName);
  }
  ::closedir(dir);
  for (const auto& sName : stale) {
    const std::string sPath = ParentOf(sLocalPath) + "/" + sName;
    if (::unlink(sPath.c_str()) == 0)
      std::fprintf(stderr, "Launch: removed %s left by an interrupted save\n", sPath.c_str());
  }
}

bool ReplaceWith(const std::string& sLocalPath, const char* data, size_t n, mode_t mode) {
  RemoveStaleTemps(sLocalPath);
  const std::string sTemp = sLocalPath + ".new-" + std::to_string(::getpid());
  const int fd = ::open(sTemp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
  if (fd < 0) return false;
  bool bOk = WriteAll(fd, data, n) && ::fsync(fd) == 0;
  bOk = ::close(fd) == 0 && bOk;
  if (bOk) bOk = ::rename(sTemp.c_str(), sLocalPath.c_str()) == 0;
  if (!bOk) {
    ::unlink(sTemp.c_str());
    return false;
  }
  // The rename itself must survive a crash too.
  const int dfd = ::open(ParentOf(sLocalPath).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dfd >= 0) {
    ::fsync(dfd);
    ::close(dfd);
  }
  return true;
}

// Whether a running process (this agent first) was started from the file: the system's
// own platform never lets such a file be replaced, and a copy over it would run as the
// next start of that program.
bool IsRunningProgram(const struct stat& file) {
  auto Same = [&file](const std::string& sExe) {
    struct stat st {};
    return ::stat(sExe.c_str(), &st) == 0 && st.st_dev == file.st_dev && st.st_ino == file.st_ino;
  };
  if (Same("/proc/self/exe")) return true;
  DIR* proc = ::opendir("/proc");
  if (!proc) return false;
  bool bRunning = false;
  while (dirent* e = ::readdir(proc)) {
    if (e->d_name[0] < '1' || e->d_name[0] > '9') continue;
    if (Same(std::string("/proc/") + e->d_name + "/exe")) {
      bRunning = true;
      break;
    }
  }
  ::closedir(proc);
  return bRunning;
}

}  // namespace

std::string ExecutableFolder() {
  char buf[PATH_MAX + 1] = {};
  const ssize_t n = ::readlink("/proc/self/exe", buf, PATH_MAX);
  if (n <= 0) return ".";
  return ParentOf(std::string(buf, static_cast<size_t>(n)));
}

bool ReplaceLocalFile(const std::string& sLocalPath, const std::string& sContent) {
  return ReplaceWith(sLocalPath, sContent.data(), sContent.size(), 0644);
}

std::string NativeFileSystem::AgentFolder() {
  if (auto s = paths_.ToSystem(sAgentFolder_)) return *s;
  return sAgentFolder_;
}

std::optional<std::vector<platform::DirEntry>> NativeFileSystem::List(const std::string& sPattern,
                                                                      bool bHidden, bool bFolders) {
  // Split "folder\pattern"; a trailing separator lists the folder itself.
  const auto nSep = sPattern.find_last_of("\\/");
  std::string sFolder, sMask;
  if (nSep == std::string::npos) {
    if (sPattern.size() == 2 && sPattern[1] == ':') {
      sFolder = sPattern + "\\";
    } else {
      sFolder = ".";
      sMask = sPattern;
    }
  } else {
    sFolder = sPattern.substr(0, nSep + 1);
    sMask = sPattern.substr(nSep + 1);
  }
  if (sMask.empty()) sMask = "*";
  auto local = paths_.ToLocal(sFolder);
  if (!local) return std::nullopt;
  DIR* dir = ::opendir(local->c_str());
  if (!dir) return std::nullopt;
  std::vector<platform::DirEntry> out;
  while (dirent* e = ::readdir(dir)) {
    const std::string sName = e->d_name;
    const bool bDots = sName == "." || sName == "..";
    if (bDots && *local == "/") continue;  // a drive's root has none
    if (!MatchesWildcard(sName, sMask)) continue;
    struct stat st {};
    if (::stat((*local + "/" + sName).c_str(), &st) != 0) continue;
    platform::DirEntry entry;
    entry.sName = sName;
    entry.bFolder = S_ISDIR(st.st_mode);
    entry.bHidden = !bDots && sName[0] == '.';
    if (entry.bFolder && !bFolders) continue;
    if (entry.bHidden && !bHidden) continue;
    if (!entry.bFolder && !S_ISREG(st.st_mode)) continue;
    out.push_back(std::move(entry));
  }
  ::closedir(dir);
  return out;
}

bool NativeFileSystem::FolderExists(const std::string& sPath) {
  auto local = paths_.ToLocal(sPath);
  struct stat st {};
  return local && ::stat(local->c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool NativeFileSystem::CanOpenForReading(const std::string& sPath) {
  auto local = paths_.ToLocal(sPath);
  if (!local) return false;
  const int fd = ::open(local->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return false;
  struct stat st {};
  const bool bFile = ::fstat(fd, &st) == 0 && !S_ISDIR(st.st_mode);
  ::close(fd);
  return bFile;
}

std::optional<Bytes> NativeFileSystem::ReadFile(const std::string& sPath) {
  auto local = paths_.ToLocal(sPath);
  if (!local) return std::nullopt;
  const int fd = ::open(local->c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_size > kMaxReadBytes) {
    ::close(fd);
    return std::nullopt;
  }
  Bytes data;
  unsigned char buf[65536];
  while (true) {
    const ssize_t n = ::read(fd, buf, sizeof buf);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      ::close(fd);
      return std::nullopt;
    }
    if (n == 0) break;
    data.insert(data.end(), buf, buf + n);
    if (data.size() > static_cast<size_t>(kMaxReadBytes)) break;
  }
  ::close(fd);
  return data;
}

bool NativeFileSystem::ReplaceFile(const std::string& sPath, const Bytes& content) {
  auto local = paths_.ToLocal(sPath);
  if (!local) return false;
  struct stat st {};
  const mode_t mode = ::stat(local->c_str(), &st) == 0 ? (st.st_mode & 07777) : 0644;
  return ReplaceWith(*local, reinterpret_cast<const char*>(content.data()), content.size(), mode);
}

std::optional<std::string> NativeFileSystem::SystemFolder() {
  struct stat st {};
  if (sSystemFolder_.empty() || ::stat(sSystemFolder_.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
    return std::nullopt;
  return paths_.ToSystem(sSystemFolder_);
}

Integer NativeFileSystem::CopyFile(const std::string& sSource, const std::string& sDestination) {
  auto src = paths_.ToLocal(sSource);
  auto dst = paths_.ToLocal(sDestination);
  if (!src) return 3;
  if (!dst) return 4;
  const int in = ::open(src->c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) return 2;
  struct stat sst {};
  if (::fstat(in, &sst) != 0 || !S_ISREG(sst.st_mode)) {
    ::close(in);
    return 2;
  }
  // The same file needs no copy (the system folder may be the agent's own folder).
  struct stat dst_st {};
  if (::stat(dst->c_str(), &dst_st) == 0 && dst_st.st_dev == sst.st_dev &&
      dst_st.st_ino == sst.st_ino) {
    ::close(in);
    return 0;
  }
  if (::stat(dst->c_str(), &dst_st) == 0 && S_ISREG(dst_st.st_mode) && IsRunningProgram(dst_st)) {
    ::close(in);
    std::fprintf(stderr, "Launch: not copied onto the running program %s\n", dst->c_str());
    return kSharingViolation;
  }
  std::string sData;
  char buf[65536];
  bool bOk = true;
  while (true) {
    const ssize_t n = ::read(in, buf, sizeof buf);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) bOk = false;
    if (n <= 0) break;
    sData.append(buf, static_cast<size_t>(n));
  }
  ::close(in);
  if (!bOk) return 5;
  // A missing destination folder is "path not found", as the other systems answer it.
  const std::string::size_type nSlash = dst->rfind('/');
  struct stat dir_st {};
  if (nSlash != std::string::npos &&
      (::stat(dst->substr(0, std::max<std::string::size_type>(nSlash, 1)).c_str(), &dir_st) != 0 ||
       !S_ISDIR(dir_st.st_mode)))
    return 3;
  // Programs copied from another computer must stay runnable here.
  return ReplaceWith(*dst, sData.data(), sData.size(), sst.st_mode & 0777) ? 0 : 6;
}

}  // namespace launchagent::native
