// Socket arrays over real loopback TCP, driven by the native event loop.
#include "platform/native/sockets.h"

#include <dirent.h>
#include <gtest/gtest.h>

#include "test_support.h"

namespace launchagent::native {
namespace {

using platform::kSckClosed;
using platform::kSckClosing;
using platform::kSckConnected;
using platform::kSckConnecting;
using platform::kSckError;
using platform::kSckListening;

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
    test::WriteText(dir_ / "hosts", "127.0.0.1 loopback-peer\n");
    server_->OnConnectionRequest = [this](Long i, Long id) {
      requests_.push_back({i, id});
      if (!bAccept_) return;
      const Long n = server_->UBound() + 1;
      server_->Load(n);
      server_->Accept(n, id);
    };
    server_->OnDataArrival = [this](Long i, Long n) { arrivals_.push_back({i, n}); };
  }

  bool Until(const std::function<bool()>& cond) { return test::WaitUntil(loop_, cond); }

  Long Listen() {
    EXPECT_TRUE(server_->Listen(0));
    EXPECT_EQ(server_->State(0), kSckListening);
    return server_->BoundPort(0);
  }

  void Connect(const std::string& sHost = "127.0.0.1") {
    ASSERT_TRUE(Dial(client_, 1, Listen(), sHost));
    EXPECT_NE(client_.State(1), kSckConnected);  // never at once
    ASSERT_TRUE(Until(
        [&] { return client_.State(1) == kSckConnected && server_->State(1) == kSckConnected; }));
  }

  test::TempDir dir_;
  TimeBase time_;
  NativeEventLoop loop_;
  HostsFile hosts_;
  std::unique_ptr<NativeSocketArray> server_;
  NativeSocketArray client_;
  bool bAccept_ = true;
  std::vector<std::pair<Long, Long>> requests_;
  std::vector<std::pair<Long, Long>> arrivals_;
};

TEST_F(SocketArrayTest, PositionsRunFromZeroTo32767AndOthersFail) {
  EXPECT_EQ(server_->UBound(), 0);
  EXPECT_FALSE(server_->Exists(1) || server_->State(1) || server_->Tag(1) || server_->GetData(1));
  EXPECT_FALSE(server_->SetLocalPort(3, 0) || server_->SendData(3, {1}) || server_->Close(3) ||
               server_->Connect(3));
  for (Long i : {0, -1, 32768}) EXPECT_FALSE(server_->Load(i)) << i;
  ASSERT_TRUE(server_->Load(32767));
  EXPECT_EQ(server_->UBound(), 32767);
  EXPECT_FALSE(server_->Load(32767));
  EXPECT_FALSE(server_->Accept(32767, 12345));  // no such request
  EXPECT_EQ(server_->State(32767), kSckClosed);
  EXPECT_FALSE(server_->SendData(32767, {1}));  // not connected
}

// One connection through its life: accepted, data both ways, capped arrivals, the peer's close.
TEST_F(SocketArrayTest, AConnectionFromAcceptToPeerClose) {
  Connect("LOOPBACK-PEER");  // a name of the hosts file
  ASSERT_EQ(requests_.size(), 1u);
  EXPECT_EQ(requests_[0].first, 0);
  Bytes image = {'h', 'e', 'l', 'l', 'o', 0, 255};
  ASSERT_TRUE(client_.SendData(1, image));
  ASSERT_TRUE(Until([&] { return arrivals_.size() == 1; }));
  EXPECT_EQ(arrivals_[0], (std::pair<Long, Long>{1, 7}));
  // Bytes not read yet count again in the next arrival.
  ASSERT_TRUE(client_.SendData(1, {'a'}));
  ASSERT_TRUE(Until([&] { return arrivals_.size() == 2; }));
  EXPECT_EQ(arrivals_[1].second, 8);
  image.push_back('a');
  EXPECT_EQ(server_->GetData(1), image);
  EXPECT_EQ(server_->GetData(1), Bytes{});
  Bytes received;
  client_.OnDataArrival = [&](Long i, Long) { received = *client_.GetData(i); };
  ASSERT_TRUE(server_->SendData(1, {'o', 'k'}));
  ASSERT_TRUE(Until([&] { return !received.empty(); }));
  EXPECT_EQ(received, (Bytes{'o', 'k'}));

  // No arrival hands over more than 64 KiB.
  const Bytes flood(200 * 1024, 'z');
  ASSERT_TRUE(client_.SendData(1, flood));
  size_t nTotal = 0, nBiggest = 0;
  server_->OnDataArrival = [&](Long i, Long) {
    const size_t n = server_->GetData(i)->size();
    nTotal += n;
    nBiggest = std::max(nBiggest, n);
  };
  ASSERT_TRUE(Until([&] { return nTotal == flood.size(); }));
  EXPECT_LE(nBiggest, static_cast<size_t>(kMaxArrivalBytes));

  // The peer closes: its last bytes can still be read, the descriptor is given back, and
  // the position stays, closing, until it is closed here.
  server_->OnDataArrival = nullptr;
  const int nOpen = OpenDescriptors();
  ASSERT_TRUE(client_.SendData(1, {'x'}));
  ASSERT_TRUE(client_.Close(1));
  EXPECT_EQ(client_.State(1), kSckClosed);
  ASSERT_TRUE(Until([&] { return server_->State(1) == kSckClosing; }));
  EXPECT_EQ(server_->GetData(1), (Bytes{'x'}));
  loop_.WaitForEvents(0.05);  // lets deferred deletions run
  EXPECT_LT(OpenDescriptors(), nOpen);
  EXPECT_FALSE(server_->SendData(1, {'y'}));
  ASSERT_TRUE(client_.Connect(1));  // a new connection takes a new position
  ASSERT_TRUE(Until([&] { return server_->State(2) == kSckConnected; }));
  EXPECT_EQ(server_->State(1), kSckClosing);
  EXPECT_TRUE(server_->Close(1));
  EXPECT_EQ(server_->State(1), kSckClosed);
}

TEST_F(SocketArrayTest, TakenPortsRefusedAndUnacceptedConnectionsFail) {
  const Long lngPort = Listen();
  NativeSocketArray other(loop_, hosts_, "127.0.0.1");
  ASSERT_TRUE(other.SetLocalPort(0, lngPort));
  EXPECT_FALSE(other.Listen(0));
  EXPECT_EQ(other.State(0), kSckClosed);
  EXPECT_FALSE(server_->Listen(0));  // already listening

  // Nobody listens on the port any more.
  ASSERT_TRUE(server_->Close(0));
  ASSERT_TRUE(Dial(client_, 1, lngPort));
  EXPECT_FALSE(client_.Connect(1));  // busy connecting: no effect
  ASSERT_TRUE(Until([&] { return client_.State(1) == kSckError; }));

  // A listener whose owner does not accept refuses the request.
  bAccept_ = false;
  client_.Close(1);
  ASSERT_TRUE(Dial(client_, 1, Listen()));
  ASSERT_TRUE(Until([&] {
    const auto n = client_.State(1);
    return !requests_.empty() && (n == kSckClosing || n == kSckError);
  }));
  EXPECT_FALSE(server_->Exists(1));
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

TEST(SocketsLibrary, StartupNamesAndLookups) {
  test::TempDir dir;
  test::WriteText(dir / "hosts", "127.0.0.3 pc3\n");
  HostsFile hosts(dir / "hosts");
  NativeSocketsLibrary lib(hosts, "pc1", "127.0.0.7");
  platform::SocketsStartupData data;
  EXPECT_EQ(lib.Startup(0x0101, data), 0);
  EXPECT_EQ(data.wVersion, 0x0101);
  EXPECT_GE(data.lngMaxSockets, 1);
  EXPECT_NE(lib.Startup(0x0000, data), 0);
  EXPECT_EQ(lib.Cleanup(), 0);
  EXPECT_EQ(lib.Cleanup(), -1);
  EXPECT_EQ(lib.HostName(), "pc1");
  const std::pair<const char*, const char*> cases[] = {{"pc3", "127.0.0.3"},
                                                       {"PC3", "127.0.0.3"},
                                                       {"10.0.0.1", "10.0.0.1"},
                                                       {"pc1", "127.0.0.7"},
                                                       {"localhost", "127.0.0.1"},
                                                       {"", "none"},
                                                       {"no-such-host.invalid", "none"}};
  for (const auto& [szName, szAddress] : cases) {
    const auto e = lib.HostByName(szName);
    EXPECT_EQ(!e                       ? "none"
              : e->nAddressLength != 4 ? "bad length"
                                       : Ipv4Text(e->addresses.at(0)),
              szAddress)
        << szName;
  }
  EXPECT_NE(lib.LastError(), 0);
}

}  // namespace
}  // namespace launchagent::native
