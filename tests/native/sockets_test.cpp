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

class SocketArrayTest : public ::testing::Test {
 protected:
  SocketArrayTest()
      : time_(1.0),
        loop_(time_),
        hosts_(dir_ / "hosts"),
        server_(loop_, hosts_, "127.0.0.1"),
        client_(loop_, hosts_, "") {
    test::WriteText(dir_ / "hosts", "127.0.0.1 loopback-peer\n");
    server_.OnConnectionRequest = [this](Long i, Long id) {
      requests_.push_back({i, id});
      if (!bAccept_) return;
      const Long n = server_.UBound() + 1;
      server_.Load(n);
      server_.SetLocalPort(n, 0);
      server_.Accept(n, id);
    };
    server_.OnDataArrival = [this](Long i, Long n) { arrivals_.push_back({i, n}); };
  }

  Long Listen() {
    EXPECT_TRUE(server_.SetLocalPort(0, 0));
    EXPECT_TRUE(server_.Listen(0));
    EXPECT_EQ(server_.State(0), kSckListening);
    return server_.BoundPort(0);
  }

  void ConnectClient(Long lngPort, const std::string& sHost = "127.0.0.1") {
    ASSERT_TRUE(client_.Load(1));
    ASSERT_TRUE(client_.SetRemoteHost(1, sHost));
    ASSERT_TRUE(client_.SetRemotePort(1, lngPort));
    ASSERT_TRUE(client_.Connect(1));
    EXPECT_NE(client_.State(1), kSckConnected);  // never at once
    ASSERT_TRUE(test::WaitUntil(loop_, [&] {
      return client_.State(1) == kSckConnected && server_.State(1) == kSckConnected;
    }));
  }

  Bytes Receive(Long i) {
    arrivals_.clear();
    EXPECT_TRUE(test::WaitUntil(loop_, [&] { return !arrivals_.empty(); }));
    auto data = server_.GetData(i);
    return data ? *data : Bytes{};
  }

  test::TempDir dir_;
  TimeBase time_;
  NativeEventLoop loop_;
  HostsFile hosts_;
  NativeSocketArray server_;
  NativeSocketArray client_;
  bool bAccept_ = true;
  std::vector<std::pair<Long, Long>> requests_;
  std::vector<std::pair<Long, Long>> arrivals_;
};

TEST_F(SocketArrayTest, PositionsThatDoNotExistFail) {
  EXPECT_TRUE(server_.Exists(0));
  EXPECT_EQ(server_.UBound(), 0);
  EXPECT_FALSE(server_.Exists(1));
  EXPECT_FALSE(server_.State(1).has_value());
  EXPECT_FALSE(server_.Tag(1).has_value());
  EXPECT_FALSE(server_.GetData(1).has_value());
  EXPECT_FALSE(server_.SetLocalPort(3, 0));
  EXPECT_FALSE(server_.SendData(3, {1}));
  EXPECT_FALSE(server_.Close(3));
  EXPECT_FALSE(server_.Connect(3));
  EXPECT_FALSE(server_.Load(0));
  EXPECT_FALSE(server_.Load(32768));
  EXPECT_FALSE(server_.Load(-1));
  EXPECT_TRUE(server_.Load(32767));
  EXPECT_EQ(server_.UBound(), 32767);
  EXPECT_FALSE(server_.Load(32767));
  EXPECT_FALSE(server_.Accept(32767, 12345));  // no such request
  EXPECT_TRUE(server_.SetTag(32767, "7"));
  EXPECT_EQ(server_.Tag(32767), "7");
  EXPECT_EQ(server_.State(32767), kSckClosed);
  EXPECT_FALSE(server_.SendData(32767, {1}));  // not connected
}

TEST_F(SocketArrayTest, AcceptsReceivesAndSendsBack) {
  const Long lngPort = Listen();
  ASSERT_GT(lngPort, 0);
  ConnectClient(lngPort);
  ASSERT_EQ(requests_.size(), 1u);
  EXPECT_EQ(requests_[0].first, 0);

  const Bytes image = {'h', 'e', 'l', 'l', 'o', 0, 255};
  ASSERT_TRUE(client_.SendData(1, image));
  EXPECT_EQ(Receive(1), image);
  EXPECT_EQ(arrivals_[0].first, 1);
  EXPECT_EQ(arrivals_[0].second, static_cast<Long>(image.size()));
  // Nothing waits any more: a read gives nothing.
  EXPECT_EQ(server_.GetData(1), Bytes{});

  Bytes received;
  client_.OnDataArrival = [&](Long i, Long) { received = *client_.GetData(i); };
  ASSERT_TRUE(server_.SendData(1, {'o', 'k'}));
  ASSERT_TRUE(test::WaitUntil(loop_, [&] { return !received.empty(); }));
  EXPECT_EQ(received, (Bytes{'o', 'k'}));
}

TEST_F(SocketArrayTest, HostsFileNamesAndPeerCloseKeepThePosition) {
  const Long lngPort = Listen();
  ConnectClient(lngPort, "LOOPBACK-PEER");
  const int nOpen = OpenDescriptors();
  ASSERT_TRUE(client_.SendData(1, {'x'}));
  ASSERT_TRUE(client_.Close(1));
  EXPECT_EQ(client_.State(1), kSckClosed);
  ASSERT_TRUE(test::WaitUntil(loop_, [&] { return server_.State(1) == kSckClosing; }));
  // What came before the close can still be read; the descriptor is given back.
  EXPECT_EQ(server_.GetData(1), (Bytes{'x'}));
  EXPECT_TRUE(server_.Exists(1));
  loop_.WaitForEvents(0.05);  // lets deferred deletions run
  EXPECT_LT(OpenDescriptors(), nOpen);
  EXPECT_FALSE(server_.SendData(1, {'y'}));
  // A new connection takes a new position.
  ASSERT_TRUE(client_.Connect(1));
  ASSERT_TRUE(test::WaitUntil(loop_, [&] { return server_.State(2) == kSckConnected; }));
  EXPECT_EQ(server_.State(1), kSckClosing);
  EXPECT_TRUE(server_.Close(1));
  EXPECT_EQ(server_.State(1), kSckClosed);
}

TEST_F(SocketArrayTest, AnArrivalIsCappedAt64KiB) {
  const Long lngPort = Listen();
  ConnectClient(lngPort);
  const Bytes flood(200 * 1024, 'z');
  ASSERT_TRUE(client_.SendData(1, flood));
  size_t nTotal = 0;
  size_t nBiggest = 0;
  server_.OnDataArrival = [&](Long i, Long) {
    auto data = server_.GetData(i);
    ASSERT_TRUE(data);
    nTotal += data->size();
    nBiggest = std::max(nBiggest, data->size());
  };
  ASSERT_TRUE(test::WaitUntil(loop_, [&] { return nTotal == flood.size(); }));
  EXPECT_LE(nBiggest, static_cast<size_t>(kMaxArrivalBytes));
}

TEST_F(SocketArrayTest, UnreadBytesStayUntilRead) {
  const Long lngPort = Listen();
  ConnectClient(lngPort);
  ASSERT_TRUE(client_.SendData(1, {'a'}));
  ASSERT_TRUE(test::WaitUntil(loop_, [&] { return arrivals_.size() == 1; }));
  ASSERT_TRUE(client_.SendData(1, {'b'}));
  ASSERT_TRUE(test::WaitUntil(loop_, [&] { return arrivals_.size() == 2; }));
  EXPECT_EQ(arrivals_[1].second, 2);
  EXPECT_EQ(server_.GetData(1), (Bytes{'a', 'b'}));
}

TEST_F(SocketArrayTest, RefusedAndUnacceptedConnectionsEndInErrorOrClosing) {
  // Nobody listens on this port.
  const Long lngPort = Listen();
  ASSERT_TRUE(server_.Close(0));
  ASSERT_TRUE(client_.Load(1));
  client_.SetRemoteHost(1, "127.0.0.1");
  client_.SetRemotePort(1, lngPort);
  ASSERT_TRUE(client_.Connect(1));
  EXPECT_FALSE(client_.Connect(1));  // busy connecting: no effect
  ASSERT_TRUE(test::WaitUntil(loop_, [&] { return client_.State(1) == kSckError; }));

  // A listener whose owner does not accept refuses the request.
  bAccept_ = false;
  const Long lngPort2 = Listen();
  client_.Close(1);
  client_.SetRemotePort(1, lngPort2);
  ASSERT_TRUE(client_.Connect(1));
  ASSERT_TRUE(test::WaitUntil(loop_, [&] {
    const auto n = client_.State(1);
    return !requests_.empty() && (n == kSckClosing || n == kSckError);
  }));
  EXPECT_FALSE(server_.Exists(1));
}

TEST_F(SocketArrayTest, ListeningTwiceOnOnePortFails) {
  const Long lngPort = Listen();
  NativeSocketArray other(loop_, hosts_, "127.0.0.1");
  ASSERT_TRUE(other.SetLocalPort(0, lngPort));
  EXPECT_FALSE(other.Listen(0));
  EXPECT_EQ(other.State(0), kSckClosed);
  EXPECT_FALSE(server_.Listen(0));  // already listening
}

TEST_F(SocketArrayTest, AnArrayGoingAwayMidConnectionIsSafe) {
  const Long lngPort = Listen();
  {
    NativeSocketArray temp(loop_, hosts_, "");
    temp.Load(1);
    temp.SetRemoteHost(1, "127.0.0.1");
    temp.SetRemotePort(1, lngPort);
    ASSERT_TRUE(temp.Connect(1));
  }
  loop_.WaitForEvents(0.1);
  SUCCEED();
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

  struct Case {
    const char* sz;
    std::optional<std::string> address;
  };
  const Case cases[] = {
      {"pc3", "127.0.0.3"},
      {"PC3", "127.0.0.3"},
      {"10.0.0.1", "10.0.0.1"},
      {"pc1", "127.0.0.7"},
      {"localhost", "127.0.0.1"},
      {"", std::nullopt},
      {"no-such-host.invalid", std::nullopt},
  };
  for (const auto& c : cases) {
    auto e = lib.HostByName(c.sz);
    ASSERT_EQ(e.has_value(), c.address.has_value()) << c.sz;
    if (!e) continue;
    EXPECT_EQ(e->nAddressLength, 4);
    EXPECT_EQ(Ipv4Text(e->addresses.at(0)), *c.address) << c.sz;
  }
  EXPECT_NE(lib.LastError(), 0);
}

}  // namespace
}  // namespace launchagent::native

namespace launchagent::native {
namespace {

TEST(SocketArrayLifetime, ATableUnloadedByItsOwnHandlerIsSafe) {
  TimeBase time(1.0);
  NativeEventLoop loop(time);
  HostsFile hosts("");
  auto server = std::make_unique<NativeSocketArray>(loop, hosts, "127.0.0.1");
  NativeSocketArray client(loop, hosts, "");
  ASSERT_TRUE(server->Listen(0));
  const Long lngPort = server->BoundPort(0);
  int nRequests = 0;
  server->OnConnectionRequest = [&](Long, Long) {
    ++nRequests;
    server.reset();  // the form that owns the table is unloaded right here
  };
  for (Long i = 1; i <= 2; ++i) {
    client.Load(i);
    client.SetRemoteHost(i, "127.0.0.1");
    client.SetRemotePort(i, lngPort);
    ASSERT_TRUE(client.Connect(i));
  }
  ASSERT_TRUE(test::WaitUntil(loop, [&] { return nRequests == 1 && !server; }));
  // The second request finds nobody; the client learns it the usual way.
  EXPECT_TRUE(test::WaitUntil(loop, [&] {
    return client.State(1) != platform::kSckConnecting &&
           client.State(2) != platform::kSckConnecting;
  }));
  EXPECT_EQ(nRequests, 1);
}

}  // namespace
}  // namespace launchagent::native
