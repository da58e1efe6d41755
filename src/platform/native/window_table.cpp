#include "platform/native/window_table.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>

namespace launchagent::native {
namespace {

constexpr size_t kMaxTableBytes = 1 << 20;

std::string Escape(const std::string& s) {
  std::string out;
  for (unsigned char c : s) {
    if (c == '%' || c == '\t' || c == '\n' || c == '\r' || c == 0) {
      static const char* kHex = "0123456789ABCDEF";
      out += '%';
      out += kHex[c >> 4];
      out += kHex[c & 15];
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

std::string Unescape(const std::string& s) {
  std::string out;
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '%' && i + 2 < s.size() && HexDigit(s[i + 1]) >= 0 && HexDigit(s[i + 2]) >= 0) {
      out += static_cast<char>(HexDigit(s[i + 1]) * 16 + HexDigit(s[i + 2]));
      i += 2;
    } else {
      out += s[i];
    }
  }
  return out;
}

bool ParseInt(const std::string& s, long long& n) {
  if (s.empty() || s.size() > 19) return false;
  char* end = nullptr;
  errno = 0;
  n = std::strtoll(s.c_str(), &end, 10);
  return errno == 0 && end && *end == '\0';
}

bool Alive(long lngPid) {
  if (lngPid <= 0) return false;
  return ::kill(static_cast<pid_t>(lngPid), 0) == 0 || errno != ESRCH;
}

std::string ReadAll(int fd) {
  std::string s;
  char buf[8192];
  ::lseek(fd, 0, SEEK_SET);
  while (s.size() < kMaxTableBytes) {
    const ssize_t n = ::read(fd, buf, sizeof buf);
    if (n <= 0) break;
    s.append(buf, static_cast<size_t>(n));
  }
  return s;
}

// Holds the table file open and locked for one read or change.
class Locked {
 public:
  Locked(const std::string& sPath, bool bWrite) {
    fd_ = ::open(sPath.c_str(), (bWrite ? O_RDWR | O_CREAT : O_RDONLY) | O_CLOEXEC, 0600);
    if (fd_ >= 0 && ::flock(fd_, bWrite ? LOCK_EX : LOCK_SH) != 0) {
      ::close(fd_);
      fd_ = -1;
    }
  }
  ~Locked() {
    if (fd_ >= 0) ::close(fd_);  // closing drops the lock
  }
  int fd() const { return fd_; }

 private:
  int fd_ = -1;
};

}  // namespace

std::string WindowTable::Format(std::int64_t lngNext, const std::vector<WindowEntry>& entries) {
  std::string s = "next\t" + std::to_string(lngNext) + "\n";
  for (const auto& e : entries)
    s += std::to_string(e.lngHandle) + "\t" + std::to_string(e.lngPid) + "\t" +
         std::to_string(e.nCloseRequests) + "\t" + std::to_string(e.nCloseHandled) + "\t" +
         Escape(e.sClass) + "\t" + Escape(e.sTitle) + "\n";
  return s;
}

std::vector<WindowEntry> WindowTable::Parse(const std::string& sText, std::int64_t& lngNext) {
  std::vector<WindowEntry> entries;
  lngNext = 1;
  std::istringstream in(sText);
  std::string sLine;
  while (std::getline(in, sLine)) {
    std::vector<std::string> f;
    std::string sField;
    std::istringstream fields(sLine);
    while (std::getline(fields, sField, '\t')) f.push_back(sField);
    long long n = 0;
    if (f.size() == 2 && f[0] == "next") {
      if (ParseInt(f[1], n) && n > 0) lngNext = n;
      continue;
    }
    if (f.size() == 5) f.emplace_back();  // an empty title ends the line
    if (f.size() != 6) continue;
    WindowEntry e;
    long long a = 0, b = 0, c = 0;
    if (!ParseInt(f[0], n) || !ParseInt(f[1], a) || !ParseInt(f[2], b) || !ParseInt(f[3], c))
      continue;
    if (n <= 0 || b < 0 || c < 0 || b > 1000000000 || c > 1000000000) continue;
    e.lngHandle = n;
    e.lngPid = static_cast<long>(a);
    e.nCloseRequests = static_cast<int>(b);
    e.nCloseHandled = static_cast<int>(c);
    e.sClass = Unescape(f[4]);
    e.sTitle = Unescape(f[5]);
    if (e.lngHandle >= lngNext) lngNext = e.lngHandle + 1;
    entries.push_back(std::move(e));
  }
  return entries;
}

template <class F>
bool WindowTable::Update(F&& change) {
  Locked lock(sPath_, true);
  if (lock.fd() < 0) return false;
  std::int64_t lngNext = 1;
  auto entries = Parse(ReadAll(lock.fd()), lngNext);
  std::vector<WindowEntry> live;
  for (auto& e : entries)
    if (Alive(e.lngPid)) live.push_back(std::move(e));
  const bool bResult = change(live, lngNext);
  const std::string sText = Format(lngNext, live);
  if (::ftruncate(lock.fd(), 0) != 0) return false;
  if (::pwrite(lock.fd(), sText.data(), sText.size(), 0) != static_cast<ssize_t>(sText.size()))
    return false;
  return bResult;
}

std::vector<WindowEntry> WindowTable::List() const {
  Locked lock(sPath_, false);
  if (lock.fd() < 0) return {};
  std::int64_t lngNext = 1;
  auto entries = Parse(ReadAll(lock.fd()), lngNext);
  std::vector<WindowEntry> live;
  for (auto& e : entries)
    if (Alive(e.lngPid)) live.push_back(std::move(e));
  return live;
}

std::int64_t WindowTable::Add(const std::string& sClass, const std::string& sTitle) {
  std::int64_t lngHandle = 0;
  Update([&](std::vector<WindowEntry>& entries, std::int64_t& lngNext) {
    WindowEntry e;
    e.lngHandle = lngHandle = lngNext++;
    e.lngPid = static_cast<long>(::getpid());
    e.sClass = sClass;
    e.sTitle = sTitle;
    entries.insert(entries.begin(), std::move(e));
    return true;
  });
  return lngHandle;
}

bool WindowTable::SetTitle(std::int64_t lngHandle, const std::string& sTitle) {
  return Update([&](std::vector<WindowEntry>& entries, std::int64_t&) {
    for (auto& e : entries)
      if (e.lngHandle == lngHandle) {
        e.sTitle = sTitle;
        return true;
      }
    return false;
  });
}

bool WindowTable::Remove(std::int64_t lngHandle) {
  return Update([&](std::vector<WindowEntry>& entries, std::int64_t&) {
    for (auto it = entries.begin(); it != entries.end(); ++it)
      if (it->lngHandle == lngHandle) {
        entries.erase(it);
        return true;
      }
    return false;
  });
}

int WindowTable::RequestClose(std::int64_t lngHandle) {
  int nRequest = 0;
  Update([&](std::vector<WindowEntry>& entries, std::int64_t&) {
    for (auto& e : entries)
      if (e.lngHandle == lngHandle) {
        nRequest = ++e.nCloseRequests;
        return true;
      }
    return false;
  });
  return nRequest;
}

bool WindowTable::CloseHandled(std::int64_t lngHandle, int nRequest) const {
  for (const auto& e : List())
    if (e.lngHandle == lngHandle) return e.nCloseHandled >= nRequest;
  return true;
}

std::vector<std::int64_t> WindowTable::TakeCloseRequests() {
  std::vector<std::int64_t> handles;
  const long lngPid = static_cast<long>(::getpid());
  // Only write when there is something to take: every owner polls this.
  bool bAny = false;
  for (const auto& e : List())
    if (e.lngPid == lngPid && e.nCloseRequests > e.nCloseHandled) bAny = true;
  if (!bAny) return handles;
  Update([&](std::vector<WindowEntry>& entries, std::int64_t&) {
    for (auto& e : entries)
      if (e.lngPid == lngPid && e.nCloseRequests > e.nCloseHandled) {
        e.nCloseHandled = e.nCloseRequests;
        handles.push_back(e.lngHandle);
      }
    return true;
  });
  return handles;
}

}  // namespace launchagent::native
