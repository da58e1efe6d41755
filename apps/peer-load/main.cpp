// Plays many peers against one real agent on loopback: each peer has a host name of its
// own and sends its host information image to the agent's port every period (real
// time), on a connection of its own, as an agent does. Optionally asks the agent's
// window to close (it hides) at a given time, through the session's window table.
//
//   peer-load --agent 127.0.0.50:1230 --peers 1000 --period 31 --seconds 200
//             [--hide-at 100 --window-table FILE --title TEXT]
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "messages/cls_msg_host_info.h"
#include "platform/native/window_table.h"

namespace {

using Clock = std::chrono::steady_clock;

class PeerContext : public launchagent::MessageContext {
 public:
  explicit PeerContext(std::string sName) : sName_(std::move(sName)) {}
  double SecondsSinceMidnight() override { return 3600.0 + static_cast<double>(sName_.size()); }
  std::string LocalHostName() override { return sName_; }

 private:
  std::string sName_;
};

struct Options {
  std::string sAddress = "127.0.0.1";
  int nPort = 1230;
  int nPeers = 1000;
  double dPeriod = 31;
  double dSeconds = 60;
  double dHideAt = -1;
  std::string sWindowTable, sTitle = "Launch Service for Varno";
};

bool Parse(int argc, char** argv, Options& o) {
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string sKey = argv[i], sValue = argv[i + 1];
    if (sKey == "--agent") {
      const auto nColon = sValue.find(':');
      o.sAddress = sValue.substr(0, nColon);
      if (nColon != std::string::npos) o.nPort = std::atoi(sValue.c_str() + nColon + 1);
    } else if (sKey == "--peers") {
      o.nPeers = std::atoi(sValue.c_str());
    } else if (sKey == "--period") {
      o.dPeriod = std::atof(sValue.c_str());
    } else if (sKey == "--seconds") {
      o.dSeconds = std::atof(sValue.c_str());
    } else if (sKey == "--hide-at") {
      o.dHideAt = std::atof(sValue.c_str());
    } else if (sKey == "--window-table") {
      o.sWindowTable = sValue;
    } else if (sKey == "--title") {
      o.sTitle = sValue;
    } else {
      return false;
    }
  }
  return argc % 2 == 1 && o.nPeers > 0 && o.dPeriod > 0;
}

launchagent::Bytes PeerImage(int i) {
  char szName[32];
  std::snprintf(szName, sizeof szName, "peer%04d", i);
  PeerContext ctx(szName);
  launchagent::clsMsgHostInfo msg(ctx);
  msg.SetHostName(szName);
  msg.SetUserName("user");
  // A launch site on the peer's share, which this machine does not hold.
  msg.SetAppPath(std::string("\\\\") + szName + "\\c\\Varno\\Varno3.exe");
  msg.SetIPAddress("127.1." + std::to_string(i / 250) + "." + std::to_string(i % 250 + 1));
  msg.SetLocalPort(1230);
  return msg.GetObjectData();
}

bool Send(const sockaddr_in& to, const launchagent::Bytes& image) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return false;
  bool bOk = ::connect(fd, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0;
  for (std::size_t nSent = 0; bOk && nSent < image.size();) {
    const ssize_t n = ::send(fd, image.data() + nSent, image.size() - nSent, MSG_NOSIGNAL);
    bOk = n > 0;
    if (bOk) nSent += static_cast<std::size_t>(n);
  }
  ::close(fd);
  return bOk;
}

void HideWindow(const Options& o) {
  launchagent::native::WindowTable table(o.sWindowTable);
  for (const auto& entry : table.List()) {
    if (entry.sTitle != o.sTitle) continue;
    std::printf("hide: close request %d\n", table.RequestClose(entry.lngHandle));
    return;
  }
  std::printf("hide: no window titled \"%s\"\n", o.sTitle.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  Options o;
  if (!Parse(argc, argv, o)) {
    std::fprintf(stderr,
                 "usage: %s --agent ADDR:PORT --peers N --period SECONDS --seconds SECONDS "
                 "[--hide-at SECONDS --window-table FILE --title TEXT]\n",
                 argv[0]);
    return 2;
  }
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(static_cast<std::uint16_t>(o.nPort));
  if (::inet_pton(AF_INET, o.sAddress.c_str(), &to.sin_addr) != 1) return 2;

  std::vector<launchagent::Bytes> images;
  for (int i = 0; i < o.nPeers; ++i) images.push_back(PeerImage(i + 1));

  // Peer i sends at i/n of the period and every period after, so arrivals are even.
  const auto start = Clock::now();
  const auto At = [&](double d) {
    return start + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(d));
  };
  long nSent = 0, nFailed = 0;
  bool bHidden = o.dHideAt < 0 || o.sWindowTable.empty();
  for (long k = 0;; ++k) {
    const double dWhen = static_cast<double>(k) * o.dPeriod / o.nPeers;
    if (dWhen >= o.dSeconds) break;
    if (!bHidden && dWhen >= o.dHideAt) {
      std::this_thread::sleep_until(At(o.dHideAt));
      HideWindow(o);
      bHidden = true;
    }
    std::this_thread::sleep_until(At(dWhen));
    (Send(to, images[static_cast<std::size_t>(k % o.nPeers)]) ? nSent : nFailed)++;
  }
  std::printf("sent %ld images, %ld failed\n", nSent, nFailed);
  return nFailed == 0 ? 0 : 1;
}
