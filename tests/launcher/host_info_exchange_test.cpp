// The host information exchange: what the receiving side does with images that are no
// host information. Who hears whom and when, the order of the listed launch sites, and
// what is stored and logged of a launch site, are in tests/scenarios/host-info-*.scn,
// launcher-*.scn and launch-site.scn.
#include <gtest/gtest.h>

#include <memory>

#include "../support/sim_desktops.h"
#include "messages/cls_msg_hello.h"
#include "messages/cls_msg_user_list.h"

namespace launchagent::testing {
namespace {

TEST(HostInfoExchange, OtherMessagesAndForeignBytesChangeNothing) {
  Pc07 pc;
  EXPECT_TRUE(pc.Call([](LauncherParts& parts) {
                  for (const Bytes& image :
                       {std::make_shared<clsMsgUserList>(parts)->GetObjectData(),
                        std::make_shared<clsMsgHello>(parts)->GetObjectData(), Bytes{},
                        Bytes{1, 2, 3, 4, 5}, Bytes(300, 0xff)})
                    parts.launcher.exchange().ProcessReceivedMessage(1, image);
                  EXPECT_EQ(parts.registry.GetAgentCount(), 0);
                }).empty());
}

}  // namespace
}  // namespace launchagent::testing
