// The host information exchange: what the receiving side does with images that are no
// host information. Who hears whom and when, the order of the listed launch sites, and
// what is stored and logged of a launch site, are in tests/scenarios/host-info-*.scn,
// launcher-*.scn and launch-site.scn.
#include <gtest/gtest.h>

#include <memory>

#include "desktop.h"
#include "launcher/launcher.h"
#include "messages/cls_msg_hello.h"
#include "messages/cls_msg_user_list.h"
#include "registry/agent_host_info.h"

namespace launchagent::testing {
namespace {

TEST(HostInfoExchange, OtherMessagesAndForeignBytesChangeNothing) {
  Pc07 pc;
  EXPECT_TRUE(pc.Call([](Agent& agent) {
                  for (const Bytes& image :
                       {std::make_shared<clsMsgUserList>(agent)->GetObjectData(),
                        std::make_shared<clsMsgHello>(agent)->GetObjectData(), Bytes{},
                        Bytes{1, 2, 3, 4, 5}, Bytes(300, 0xff)})
                    agent.launcher().exchange().ProcessReceivedMessage(1, image);
                  EXPECT_EQ(agent.agentHostInfo().GetAgentCount(), 0);
                }).empty());
}

}  // namespace
}  // namespace launchagent::testing
