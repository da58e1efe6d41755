#pragma once
// A real agent (Launch.exe) under attack from this process over loopback: its own folder,
// drive, mount root and hosts file, an optional descriptor limit, its log on standard
// output and its diagnostics on standard error, both in files. Every wait is bounded.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "messages/cls_msg_host_info.h"

namespace launchagent::hostile {

inline std::string ReadText(const std::string& sPath) {
  std::ostringstream s;
  s << std::ifstream(sPath, std::ios::binary).rdbuf();
  return s.str();
}

inline void WriteText(const std::string& sPath, const std::string& sText, bool bProgram = false) {
  std::filesystem::create_directories(std::filesystem::path(sPath).parent_path());
  std::ofstream(sPath, std::ios::binary) << sText;
  if (bProgram) std::filesystem::permissions(sPath, std::filesystem::perms::owner_all);
}

// Polls cond every 20 ms for at most dSeconds.
inline bool WaitUntil(const std::function<bool()>& cond, double dSeconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(dSeconds);
  while (!cond()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

// The host information image a computer called sHostName sends about itself.
inline Bytes HostInfoImage(const std::string& sHostName, const std::string& sAppPath = "") {
  struct Context : MessageContext {
    double SecondsSinceMidnight() override { return 1000.5; }
    std::string LocalHostName() override { return "tester"; }
  } ctx;
  clsMsgHostInfo msg(ctx);
  msg.SetHostName(sHostName);
  msg.SetAppPath(sAppPath);
  return msg.GetObjectData();
}

// A non-blocking TCP connection from sFrom (any loopback address) to the agent's port,
// given nMs to be taken; -1 when it could not begin, or was not taken unless bKeepUntaken.
inline int Connect(const std::string& sTo, const std::string& sFrom = "", int nMs = 5000,
                   bool bKeepUntaken = false) {
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd < 0) return -1;
  sockaddr_in a{};
  a.sin_family = AF_INET;
  ::inet_pton(AF_INET, sFrom.c_str(), &a.sin_addr);
  int nErr = 0;
  if (!sFrom.empty() && ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) nErr = errno;
  a.sin_port = htons(1230);
  ::inet_pton(AF_INET, sTo.c_str(), &a.sin_addr);
  if (!nErr && ::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 &&
      errno != EINPROGRESS)
    nErr = errno;
  pollfd p{fd, POLLOUT, 0};
  socklen_t nLen = sizeof nErr;
  if (!nErr && (::poll(&p, 1, nMs) != 1 ||
                ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &nErr, &nLen) != 0 || nErr != 0))
    nErr = bKeepUntaken ? 0 : nErr ? nErr : ETIMEDOUT;
  if (!nErr) return fd;
  errno = nErr;
  return ::close(fd), -1;
}

// Writes what the socket takes within a second; the bytes written.
inline size_t SendSome(int fd, const Bytes& data) {
  size_t nDone = 0;
  pollfd p{fd, POLLOUT, 0};
  while (nDone < data.size() && ::poll(&p, 1, 1000) == 1) {
    const ssize_t n = ::send(fd, data.data() + nDone, data.size() - nDone, MSG_NOSIGNAL);
    if (n <= 0) break;
    nDone += static_cast<size_t>(n);
  }
  return nDone;
}

class Agent {
 public:
  // sHosts: extra lines of the hosts file; lngSoftLimit: the descriptor limit, 0 as
  // inherited; lngHardLimit: 0 for the same as the soft one.
  explicit Agent(std::string sAddress, const std::string& sHosts = "", long lngSoftLimit = 0,
                 long lngHardLimit = 0, std::vector<std::string> extraArgs = {})
      : sAddress_(std::move(sAddress)),
        lngSoftLimit_(lngSoftLimit),
        lngHardLimit_(lngHardLimit ? lngHardLimit : lngSoftLimit),
        extraArgs_(std::move(extraArgs)) {
    char sz[] = "/tmp/la-hostile-XXXXXX";
    sRoot_ = ::mkdtemp(sz) ? sz : "/tmp/la-hostile";
    for (const char* s : {"/c/Launch", "/c/sys", "/net"})
      std::filesystem::create_directories(sRoot_ + s);
    // LA_HOSTILE_AGENT names another build of the agent to attack (an older one, say).
    const char* szAgent = std::getenv("LA_HOSTILE_AGENT");
    std::filesystem::copy_file(szAgent && *szAgent ? szAgent : LA_LAUNCH_PATH, Exe());
    WriteText(sRoot_ + "/hosts", sAddress_ + " pc1\n" + sHosts);
  }
  ~Agent() {
    if (pid_ > 0) ::kill(pid_, SIGKILL), ::waitpid(pid_, nullptr, 0);
    std::error_code e;
    std::filesystem::remove_all(sRoot_, e);
  }

  const std::string& Root() const { return sRoot_; }
  const std::string& Address() const { return sAddress_; }
  std::string Exe() const { return sRoot_ + "/c/Launch/Launch.exe"; }
  std::string Log() const { return ReadText(sRoot_ + "/out.txt"); }
  std::string Diagnostics() const { return ReadText(sRoot_ + "/err.txt"); }
  std::string Proc(const char* szWhat) const {
    return "/proc/" + std::to_string(pid_) + "/" + szWhat;
  }

  // Starts it and waits until it accepts connections. Agent time runs sTimeScale times
  // as fast as real time, so that minutes of its life pass in seconds.
  bool Start(const std::string& sTimeScale = "60") {
    started_ = std::chrono::steady_clock::now();
    const std::string& r = sRoot_;
    std::istringstream options(
        "--log-stdout --host-name pc1 --bind " + sAddress_ + " --time-scale " + sTimeScale +
        " --drive C:=" + r + "/c --mount-root " + r + "/net --hosts-file " + r +
        "/hosts --window-table " + r + "/windows --system-folder " + r + "/c/sys --registry-file " +
        r + "/etc/registry --autostart-dir " + r + "/etc/auto --user-registry-file " + r +
        "/home/registry --user-autostart-dir " + r + "/home/auto");
    std::vector<std::string> args = {"sh", "-c", "exec \"$0\" \"$@\"", Exe()};
    for (std::string s; options >> s;) args.push_back(s);
    args.insert(args.end(), extraArgs_.begin(), extraArgs_.end());
    if (lngSoftLimit_ > 0)
      args[2] = "ulimit -S -n " + std::to_string(lngSoftLimit_) + " && ulimit -H -n " +
                std::to_string(lngHardLimit_) + " && " + args[2];
    pid_ = ::fork();
    if (pid_ == 0) {
      for (const char* s : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) ::unsetenv(s);
      ::dup2(::open((sRoot_ + "/out.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 1);
      ::dup2(::open((sRoot_ + "/err.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), 2);
      std::vector<char*> argv;
      for (auto& s : args) argv.push_back(s.data());
      argv.push_back(nullptr);
      ::execv("/bin/sh", argv.data());
      ::_exit(127);
    }
    const auto Accepts = [this] {
      const int fd = Connect(sAddress_);
      return fd >= 0 && ::close(fd) == 0;
    };
    return pid_ > 0 && WaitUntil(Accepts, 20);
  }

  bool Alive() const { return pid_ > 0 && ::waitpid(pid_, nullptr, WNOHANG) == 0; }

  // Sends one host information image that announces sSite as sHost's launch site from a
  // fresh connection, closed before or after the wait; whether the agent logged sLogged
  // within dSeconds.
  bool Sent(const std::string& sHost, const std::string& sSite, const std::string& sFrom,
            const std::string& sLogged, double dSeconds, bool bCloseFirst) const {
    const size_t nBefore = Log().size();
    const int fd = Connect(sAddress_, sFrom);
    if (fd < 0) return false;
    const Bytes image = HostInfoImage(sHost, sSite);
    const bool bSent = SendSome(fd, image) == image.size();
    if (bCloseFirst) ::close(fd);
    const bool bSeen =
        bSent &&
        WaitUntil([&] { return Log().find(sLogged, nBefore) != std::string::npos; }, dSeconds);
    if (!bCloseFirst) ::close(fd);
    return bSeen;
  }
  // Whether a host information image from sFrom was handled within dSeconds.
  bool Served(const std::string& sHost, double dSeconds = 10, const std::string& sFrom = "") {
    return Sent(sHost, "", sFrom, "HostInfoFrom=" + sHost + "\n", dSeconds, false);
  }

  // Whether standard error holds sPart at most nFree times more than once per ten seconds
  // since the start: a refusal met again and again must not flood it.
  bool Quiet(const std::string& sPart, int nFree) const {
    const std::string s = Diagnostics();
    int n = 0;
    for (auto at = s.find(sPart); at != std::string::npos; at = s.find(sPart, at + 1)) ++n;
    const std::chrono::duration<double> up = std::chrono::steady_clock::now() - started_;
    return n <= nFree + up.count() / 10;
  }

  size_t OpenDescriptors() const {
    std::error_code e;
    size_t n = 0;
    for (auto it = std::filesystem::directory_iterator(Proc("fd"), e);
         !e && it != std::filesystem::directory_iterator(); it.increment(e))
      ++n;
    return n;
  }

 private:
  std::string sAddress_;
  long lngSoftLimit_, lngHardLimit_;
  std::vector<std::string> extraArgs_;
  std::string sRoot_;
  pid_t pid_ = -1;
  std::chrono::steady_clock::time_point started_;
};

// Announces sSite as sHost's launch site from address sFrom ("" for any) and returns the
// last site the agent's registry then shows for sHost; "(no answer)" when none in time.
inline std::string Announce(const Agent& agent, const std::string& sFrom, const std::string& sHost,
                            const std::string& sSite) {
  const std::string sKey = "Host=" + sHost + " LaunchSite=";
  if (!agent.Sent(sHost, sSite, sFrom, sKey, 10, true)) return "(no answer)";
  const std::string s = agent.Log();
  const auto nStart = s.rfind(sKey) + sKey.size();
  return s.substr(nStart, s.find('\n', nStart) - nStart);
}

}  // namespace launchagent::hostile
