// When Winsock has no socket left, a listener rests and tries again on its timer instead
// of asking for FD_ACCEPT at once (which comes straight back while a request waits), a
// send fails as to an unreachable host, and each says so on the debug output at most once
// per ten seconds. The shortage itself is made through the table's test hooks.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/win32/sockets.h"
#include "win32_test_support.h"

namespace launchagent::win32 {
namespace {

class SocketShortageTest : public Win32LoopTest {
 protected:
  void TearDown() override {
    if (peer != INVALID_SOCKET) closesocket(peer);
    Win32LoopTest::TearDown();
  }

  // A listener on a free loopback port that accepts at position 1.
  void Listen(Win32SocketArray& server) {
    ASSERT_TRUE(server.SetLocalPort(0, 0));
    ASSERT_TRUE(server.Listen(0));
    server.OnConnectionRequest = [&server, this](Long lngIndex, Long lngRequestId) {
      ASSERT_TRUE(server.Load(1));
      ASSERT_TRUE(server.Accept(1, lngRequestId));
      nRequests += lngIndex == 0 ? 1 : 0;
    };
  }

  DebugLines debug;
  std::vector<std::string>& lines = debug.lines;
  SOCKET peer = INVALID_SOCKET;
  int nRequests = 0;
};

TEST_F(SocketShortageTest, ARestingListenerTakesTheWaitingRequestWhenTheRestEnds) {
  struct Case {
    int nError;
    int nFailures;  // accepts in a row that fail before sockets are back
  };
  const Case cases[] = {
      {WSAEMFILE, 1},
      {WSAENOBUFS, 3},
      {WSAEINVAL, 2},  // what Wine answers when its server runs out of descriptors
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.nError);
    lines.clear();
    nRequests = 0;
    if (peer != INVALID_SOCKET) closesocket(peer);
    HostsFile hosts("");
    Win32SocketArray server(loop, hosts, "127.0.0.1");
    int nCalls = 0;
    server.acceptErrorForTest = [&] { return ++nCalls <= c.nFailures ? c.nError : 0; };
    Listen(server);
    peer = CallLoopback(server.BoundPort(0));
    ASSERT_NE(peer, INVALID_SOCKET);
    ASSERT_TRUE(PumpUntil([&] { return nRequests == 1; }));
    EXPECT_EQ(server.State(1), platform::kSckConnected);
    // Each failure rested the listener; the ones after the first were held back.
    const std::string sLine = "launch agent: cannot accept (error " + std::to_string(c.nError) +
                              "), not accepting for 250 ms\n";
    ASSERT_EQ(lines, std::vector<std::string>{sLine});
  }
}

TEST_F(SocketShortageTest, ASendWithoutASocketFailsAsToAnUnreachableHostAndSaysSoOnce) {
  HostsFile hosts("");
  Win32SocketArray server(loop, hosts, "127.0.0.1");
  Listen(server);
  Win32SocketArray client(loop, hosts, "");
  bool bShort = true;
  client.socketErrorForTest = [&] { return bShort ? WSAENOBUFS : 0; };
  ASSERT_TRUE(client.SetRemoteHost(0, "127.0.0.1"));
  ASSERT_TRUE(client.SetRemotePort(0, server.BoundPort(0)));
  for (int i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    ASSERT_TRUE(client.Connect(0));
    EXPECT_EQ(client.State(0), platform::kSckError);
    ASSERT_TRUE(client.Close(0));
  }
  EXPECT_EQ(lines, std::vector<std::string>{
                       "launch agent: cannot make a socket (error 10055), connection to "
                       "127.0.0.1 not tried\n"});
  // Once sockets are back, the next attempt connects.
  bShort = false;
  ASSERT_TRUE(client.Connect(0));
  ASSERT_TRUE(PumpUntil([&] { return client.State(0) == platform::kSckConnected; }));
}

}  // namespace
}  // namespace launchagent::win32
