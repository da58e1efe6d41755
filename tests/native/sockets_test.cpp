// Socket arrays over real loopback TCP, driven by the native event loop.
#include "platform/native/sockets.h"

#include <dirent.h>
#include <gtest/gtest.h>

#include "test_support.h"

namespace launchagent::native {
namespace {

using platform::kSckClosing;
using platform::kSckConnected;
using platform::kSckConnecting;

int OpenDescriptors() {
  int n = 0;
  if (DIR* d = ::opendir("/proc/self/fd")) {
    while (::readdir(d)) ++n;
    ::closedir(d);
  }
  return n;
}

// Loads position i when needed and dials a port of this machine from it.
bool Dial(NativeSocketArray& a, Long i, Long lngPort, const std::string& sHost = "127.0.0.1") {
  if (!a.Exists(i)) a.Load(i);
  return a.SetRemoteHost(i, sHost) && a.SetRemotePort(i, lngPort) && a.Connect(i);
}

class SocketArrayTest : public ::testing::Test {
 protected:
  SocketArrayTest()
      : time_(1.0),
        loop_(time_),
        hosts_(dir_ / "hosts"),
        server_(std::make_unique<NativeSocketArray>(loop_, hosts_, "127.0.0.1")),
        client_(loop_, hosts_, "") {
    test::WriteText(dir_ / "hosts", "127.0.0.1 loopback-peer\n127.0.0.3 pc3\n");
    server_->OnConnectionRequest = [this](Long, Long id) {
      const Long n = server_->UBound() + 1;
      server_->Load(n);
      server_->Accept(n, id);
    };
  }

  bool Until(const std::function<bool()>& cond) { return test::WaitUntil(loop_, cond); }

  Long Listen() {
    EXPECT_TRUE(server_->Listen(0));
    return server_->BoundPort(0);
  }

  void Connect(const std::string& sHost = "127.0.0.1") {
    ASSERT_TRUE(Dial(client_, 1, Listen(), sHost));
    ASSERT_TRUE(Until(
        [&] { return client_.State(1) == kSckConnected && server_->State(1) == kSckConnected; }));
  }

  test::TempDir dir_;
  TimeBase time_;
  NativeEventLoop loop_;
  HostsFile hosts_;
  std::unique_ptr<NativeSocketArray> server_;
  NativeSocketArray client_;
};

// Positions, states through a connection's life (the peer's close included), data both
// ways, capped arrivals, refused and taken ports are the seam's contract (tests/contract).
// Here: a name of the hosts file, and the peer's close giving its descriptor back.
TEST_F(SocketArrayTest, APeerFoundThroughTheHostsFileClosesAndGivesItsDescriptorBack) {
  Connect("LOOPBACK-PEER");
  const int nOpen = OpenDescriptors();
  ASSERT_TRUE(client_.SendData(1, {'x'}));  // its last byte, still readable (the contract)
  ASSERT_TRUE(client_.Close(1));
  ASSERT_TRUE(Until([&] { return server_->State(1) == kSckClosing; }));
  loop_.WaitForEvents(0.05);  // lets deferred deletions run
  EXPECT_LT(OpenDescriptors(), nOpen);
}

TEST_F(SocketArrayTest, TablesGoingAwayMidConnectionAreSafe) {
  const Long lngPort = Listen();
  {
    NativeSocketArray temp(loop_, hosts_, "");
    ASSERT_TRUE(Dial(temp, 1, lngPort));
  }
  loop_.WaitForEvents(0.1);
  // The form that owns the listening table is unloaded inside the table's own handler.
  int nRequests = 0;
  server_->OnConnectionRequest = [&](Long, Long) {
    ++nRequests;
    server_.reset();
  };
  for (Long i = 1; i <= 2; ++i) ASSERT_TRUE(Dial(client_, i, lngPort));
  ASSERT_TRUE(Until([&] { return !server_; }));
  // The second request finds nobody; the client learns it the usual way.
  EXPECT_TRUE(Until(
      [&] { return client_.State(1) != kSckConnecting && client_.State(2) != kSckConnecting; }));
  EXPECT_EQ(nRequests, 1);
}

TEST_F(SocketArrayTest, TheSocketsLibraryNamesThisMachineAndFindsOthers) {
  NativeSocketsLibrary lib(hosts_, "pc1", "127.0.0.7");
  // Startup, cleanup, the name lookups' shape and the resolver are the seam's contract.
  platform::SocketsStartupData data;
  EXPECT_NE(lib.Startup(0x0000, data), 0);
  EXPECT_EQ(lib.HostName(), "pc1");
  // What is known before the resolver (our own name too) is tests/backend's table; here
  // the hosts file reaches the library.
  const auto pc3 = lib.HostByName("pc3");
  EXPECT_EQ(pc3 ? Ipv4Text(pc3->addresses.at(0)) : "none", "127.0.0.3");
  // The hosts file is read again when it changes (through this backend's file stamps; the
  // fixture wrote it after the hosts file was opened). Its text: tests/backend.
  EXPECT_FALSE(HostsFile(dir_ / "none").Lookup("pc3"));
  test::WriteText(dir_ / "hosts", "127.0.0.42 PC3 other\n");
  const auto e = lib.HostByName("pc3");
  EXPECT_EQ(e ? Ipv4Text(e->addresses.at(0)) : "none", "127.0.0.42");
}

}  // namespace
}  // namespace launchagent::native
