#include "platform/win32/sockets.h"

#include <gtest/gtest.h>

#include <string>

#include "win32_test_support.h"

namespace launchagent::win32 {
namespace {

Bytes B(const std::string& s) { return Bytes(s.begin(), s.end()); }
std::string S(const std::optional<Bytes>& b) {
  return b ? std::string(b->begin(), b->end()) : std::string("<none>");
}

class SocketsTest : public Win32LoopTest {
 protected:
  void SetUp() override {
    Win32LoopTest::SetUp();
    server = std::make_unique<Win32SocketArray>(loop, hosts, "127.0.0.1");
    client = std::make_unique<Win32SocketArray>(loop, hosts, "");
    // The server takes every request on a new position and reads every arrival whole.
    server->OnConnectionRequest = [this](Long, Long lngId) {
      const Long lngIndex = server->UBound() + 1;
      ASSERT_TRUE(server->Load(lngIndex));
      ASSERT_TRUE(server->Accept(lngIndex, lngId));
      lngAccepted = lngIndex;
    };
    server->OnDataArrival = [this](Long lngIndex, Long lngBytes) {
      lngArrivalBytes = lngBytes;
      sReceived += S(server->GetData(lngIndex));
    };
    ASSERT_TRUE(server->SetLocalPort(0, 0));
    ASSERT_TRUE(server->Listen(0));
    lngPort = server->BoundPort(0);
    ASSERT_GT(lngPort, 0);
  }
  void TearDown() override {
    server.reset();
    client.reset();
    Win32LoopTest::TearDown();
  }
  // Connects client position 0 to the server and waits until both ends are connected.
  void ConnectPair() {
    ASSERT_TRUE(client->SetRemoteHost(0, "127.0.0.1"));
    ASSERT_TRUE(client->SetRemotePort(0, lngPort));
    ASSERT_TRUE(client->Connect(0));
    EXPECT_NE(client->State(0), platform::kSckConnected) << "connected at once";
    ASSERT_TRUE(
        PumpUntil([&] { return client->State(0) == platform::kSckConnected && lngAccepted > 0; }));
    EXPECT_EQ(server->State(lngAccepted), platform::kSckConnected);
  }

  HostsFile hosts{""};
  std::unique_ptr<Win32SocketArray> server, client;
  Long lngPort = 0;
  Long lngAccepted = 0;
  Long lngArrivalBytes = 0;
  std::string sReceived;
};

TEST_F(SocketsTest, ListenerAndClientConnectAndDeliverAnArrival) {
  EXPECT_EQ(server->State(0), platform::kSckListening);
  ConnectPair();
  ASSERT_TRUE(client->SendData(0, B("hello, agent")));
  ASSERT_TRUE(PumpUntil([&] { return sReceived.size() >= 12; }));
  EXPECT_EQ(sReceived, "hello, agent");
  EXPECT_EQ(lngArrivalBytes, 12);
}

TEST_F(SocketsTest, APeerThatClosesKeepsItsPositionInStateClosing) {
  ConnectPair();
  // The server does not read this one: it must still be there after the peer has gone.
  server->OnDataArrival = nullptr;
  ASSERT_TRUE(client->SendData(0, B("last words")));
  ASSERT_TRUE(client->Close(0));
  EXPECT_EQ(client->State(0), platform::kSckClosed);
  ASSERT_TRUE(PumpUntil([&] { return server->State(lngAccepted) == platform::kSckClosing; }));
  EXPECT_TRUE(server->Exists(lngAccepted));
  EXPECT_EQ(S(server->GetData(lngAccepted)), "last words");
  EXPECT_EQ(S(server->GetData(lngAccepted)), "");
  EXPECT_FALSE(server->SendData(lngAccepted, B("x")));
  ASSERT_TRUE(server->Close(lngAccepted));
  EXPECT_EQ(server->State(lngAccepted), platform::kSckClosed);
}

TEST_F(SocketsTest, ArrivalsAreCutAtTheCap) {
  ConnectPair();
  server->OnDataArrival = [this](Long lngIndex, Long lngBytes) {
    lngArrivalBytes = std::max(lngArrivalBytes, lngBytes);
    const auto data = server->GetData(lngIndex);
    ASSERT_TRUE(data.has_value());
    EXPECT_LE(data->size(), static_cast<size_t>(kMaxArrivalBytes));
    sReceived += S(data);
  };
  const std::string sBig(3 * kMaxArrivalBytes + 17, 'x');
  ASSERT_TRUE(client->SendData(0, B(sBig)));
  ASSERT_TRUE(PumpUntil([&] { return sReceived.size() >= sBig.size(); }));
  EXPECT_EQ(sReceived, sBig);
  EXPECT_LE(lngArrivalBytes, kMaxArrivalBytes);
}

TEST_F(SocketsTest, FailedConnectionsEndInStateError) {
  struct Case {
    const char* szName;
    std::string sHost;
    bool bClosedPort;
  };
  const Case cases[] = {
      {"refused", "127.0.0.1", true},
      {"unknown host", "no-such-host.invalid", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.szName);
    Win32SocketArray refused(loop, hosts, "");
    Long lngClosedPort = lngPort;
    if (c.bClosedPort) {
      ASSERT_TRUE(server->Close(0));  // nobody listens there any more
    }
    ASSERT_TRUE(refused.SetRemoteHost(0, c.sHost));
    ASSERT_TRUE(refused.SetRemotePort(0, lngClosedPort));
    ASSERT_TRUE(refused.Connect(0));
    ASSERT_TRUE(PumpUntil([&] { return refused.State(0) == platform::kSckError; }));
  }
}

TEST_F(SocketsTest, PositionsExistOnlyOnceLoaded) {
  EXPECT_FALSE(client->Exists(1));
  EXPECT_FALSE(client->SetTag(1, "x"));
  EXPECT_FALSE(client->State(1).has_value());
  EXPECT_FALSE(client->Load(0));
  EXPECT_FALSE(client->Load(32768));
  ASSERT_TRUE(client->Load(5));
  EXPECT_FALSE(client->Load(5));
  EXPECT_EQ(client->UBound(), 5);
  ASSERT_TRUE(client->SetTag(5, "peer"));
  EXPECT_EQ(client->Tag(5), "peer");
  EXPECT_FALSE(client->Connect(5)) << "no remote host";
  EXPECT_FALSE(client->Accept(5, 12345)) << "no such request";
}

TEST_F(SocketsTest, APortInUseCannotBeListenedOnTwice) {
  Win32SocketArray other(loop, hosts, "127.0.0.1");
  ASSERT_TRUE(other.SetLocalPort(0, lngPort));
  EXPECT_FALSE(other.Listen(0));
  EXPECT_EQ(other.State(0), platform::kSckClosed);
}

TEST(Win32SocketsLibrary, StartsVersionOneOneAndResolvesNames) {
  HostsFile hosts("");
  Win32SocketsLibrary lib(hosts, "pc1", "127.0.0.1");
  platform::SocketsStartupData data;
  ASSERT_EQ(lib.Startup(0x0101, data), 0) << lib.LastError();
  EXPECT_EQ(data.wVersion, 0x0101);
  EXPECT_GE(data.lngMaxSockets, 1);
  EXPECT_EQ(lib.HostName(), "pc1");
  struct Case {
    const char* szName;
    std::optional<Ipv4> expected;
  };
  const Case cases[] = {
      {"127.0.0.1", Ipv4{127, 0, 0, 1}},
      {" 10.1.2.3 ", Ipv4{10, 1, 2, 3}},
      {"PC1", Ipv4{127, 0, 0, 1}},  // our own name stands for the bound address
      {"", std::nullopt},
      {"no-such-host.invalid", std::nullopt},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.szName);
    const auto entry = lib.HostByName(c.szName);
    ASSERT_EQ(entry.has_value(), c.expected.has_value());
    if (entry) {
      EXPECT_EQ(entry->addresses.front(), *c.expected);
    } else {
      EXPECT_NE(lib.LastError(), 0);
    }
  }
  EXPECT_TRUE(IsLocalAddress("127.0.0.1"));
  EXPECT_FALSE(IsLocalAddress("10.254.254.254"));
  EXPECT_EQ(lib.Cleanup(), 0);
}

}  // namespace
}  // namespace launchagent::win32
