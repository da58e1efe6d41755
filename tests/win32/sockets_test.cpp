// What only the Windows backend does with sockets: names through its hosts file and its
// own name. Connections, arrivals and positions are the seam's contract (tests/contract).
#include "platform/win32/sockets.h"

#include <gtest/gtest.h>

#include <string>

#include "win32_test_support.h"

namespace launchagent::win32 {
namespace {

using SocketsTest = Win32LoopTest;

TEST_F(SocketsTest, AConnectToANameNobodyKnowsEndsInError) {
  HostsFile hosts("");
  Win32SocketArray client(loop, hosts, "");
  ASSERT_TRUE(client.SetRemoteHost(0, "no-such-host.invalid"));
  ASSERT_TRUE(client.SetRemotePort(0, 1230));
  ASSERT_TRUE(client.Connect(0));
  ASSERT_TRUE(PumpUntil([&] { return client.State(0) == platform::kSckError; }));
}

// The version and the startup's counting are the seam's contract; here the names.
TEST(Win32SocketsLibrary, ResolvesItsOwnNameToTheBoundAddress) {
  HostsFile hosts("");
  Win32SocketsLibrary lib(hosts, "pc1", "127.0.0.1");
  platform::SocketsStartupData data;
  ASSERT_EQ(lib.Startup(0x0101, data), 0) << lib.LastError();
  EXPECT_EQ(lib.HostName(), "pc1");
  struct Case {
    const char* szName;
    std::optional<Ipv4> expected;
  };
  const Case cases[] = {
      {"PC1", Ipv4{127, 0, 0, 1}},  // our own name stands for the bound address
      {"localhost", Ipv4{127, 0, 0, 1}},
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
  lib.Cleanup();
}

}  // namespace
}  // namespace launchagent::win32
