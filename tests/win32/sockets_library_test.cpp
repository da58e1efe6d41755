#include <gtest/gtest.h>

#include "platform/win32/hosts_file.h"
#include "platform/win32/sockets.h"

namespace launchagent::win32 {
namespace {

TEST(Win32SocketsLibrary, StartsVersionOneOneAndResolvesNames) {
  HostsFile hosts("");
  Win32SocketsLibrary lib(hosts, "", "");
  platform::SocketsStartupData data;
  ASSERT_EQ(lib.Startup(0x0101, data), 0) << lib.LastError();
  EXPECT_EQ(data.wVersion, 0x0101);
  EXPECT_GE(data.lngMaxSockets, 1);
  const auto name = lib.HostName();
  ASSERT_TRUE(name.has_value());
  const auto entry = lib.HostByName("127.0.0.1");
  ASSERT_TRUE(entry.has_value());
  EXPECT_EQ(entry->addresses.front(), (Ipv4{127, 0, 0, 1}));
  EXPECT_EQ(lib.Cleanup(), 0);
}

}  // namespace
}  // namespace launchagent::win32
