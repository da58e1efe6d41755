// Sockets really running short: run by socket_shortage_real.sh under a Wine server whose
// descriptor limit is low, so the test can take every descriptor and make the listener's
// accept fail in Winsock itself. Under Wine a failed accept asks for no new event, so a
// listener that did not rest would stay deaf to the request that waited.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/win32/sockets.h"
#include "win32_test_support.h"

namespace launchagent::win32 {
namespace {

using RealSocketShortage = Win32LoopTest;

TEST_F(RealSocketShortage, TheListenerRestsWhileSocketsAreShortAndServesTheWaitingRequestAfter) {
  DebugLines debug;
  const std::vector<std::string>& lines = debug.lines;
  HostsFile hosts("");
  Win32SocketArray server(loop, hosts, "127.0.0.1");
  int nAccepts = 0;  // counts the real accept calls; lets every one run
  server.acceptErrorForTest = [&] {
    ++nAccepts;
    return 0;
  };
  int nRequests = 0;
  server.OnConnectionRequest = [&](Long, Long lngRequestId) {
    server.Load(1);
    server.Accept(1, lngRequestId);
    ++nRequests;
  };
  ASSERT_TRUE(server.SetLocalPort(0, 0));
  ASSERT_TRUE(server.Listen(0));

  // Take every descriptor the Wine server has left, then give one back for the peer.
  std::vector<SOCKET> taken;
  int nError = 0;
  for (int i = 0; i < 4000; ++i) {
    const SOCKET s = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    if (s == INVALID_SOCKET) {
      nError = WSAGetLastError();
      break;
    }
    taken.push_back(s);
  }
  ASSERT_EQ(nError, WSAEMFILE) << "descriptors never ran short: run under a low limit";
  closesocket(taken.back());
  taken.pop_back();
  const SOCKET peer = CallLoopback(server.BoundPort(0));
  ASSERT_NE(peer, INVALID_SOCKET);

  // The accept fails for want of a descriptor, again after each rest.
  ASSERT_TRUE(PumpUntil([&] { return nAccepts >= 3; }));
  EXPECT_EQ(nRequests, 0);
  ASSERT_EQ(lines.size(), 1u);  // the later rests were held back
  EXPECT_EQ(lines[0].rfind("launch agent: cannot accept (error ", 0), 0u) << lines[0];
  EXPECT_NE(lines[0].find("), not accepting for 250 ms\n"), std::string::npos) << lines[0];

  // Descriptors come back: the request that waited is served, the listener still listens.
  for (const SOCKET s : taken) closesocket(s);
  ASSERT_TRUE(PumpUntil([&] { return nRequests == 1; }));
  EXPECT_EQ(server.State(1), platform::kSckConnected);
  EXPECT_EQ(server.State(0), platform::kSckListening);
  closesocket(peer);
}

}  // namespace
}  // namespace launchagent::win32
