// This computer's name and address and other hosts' addresses through the sockets
// library; what fails is logged once and leaves what is not known empty.
#include "setup/host_identity.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/sim/world.h"

namespace launchagent {
namespace {

TEST(HostIdentity, NamesThisComputerAndOthersAndLogsWhatFails) {
  using Lines = std::vector<std::string>;
  struct Case {
    const char* sWhat;
    std::function<void(sim::SocketsLibrarySettings&)> fault;
    std::string sName, sAddress, sOther;
    Lines log;
  };
  const Case cases[] = {
      {"a working library", nullptr, "PC1", "10.0.0.1", "10.0.0.12", {}},
      {"no host name",
       [](sim::SocketsLibrarySettings& s) {
         s.bHostNameFails = true;
         s.lngLastError = 10093;
       },
       "",
       "",
       "10.0.0.12",
       {"Windows Sockets error  10093"}},
      {"no look-up",
       [](sim::SocketsLibrarySettings& s) { s.bAllLookupsFail = true; },
       "PC1",
       "",
       "",
       {"Winsock.dll is not responding."}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sWhat);
    sim::World w(1);
    const sim::HostId h = *w.Hosts().AddHost("PC1", "10.0.0.1");
    w.Hosts().AddHost("PC2", "10.0.0.12");
    if (c.fault) c.fault(w.Net().SocketsLibrary(h));
    w.Programs().RegisterProgram(
        "idle", [](platform::Platform& p, const sim::ProgramStart&) { p.loop.Run(); });
    const sim::ProcessId pid = w.Programs().StartProcess(h, "idle", "C:\\Launch\\Launch.exe");
    w.RunFor(0);
    Lines log;
    ASSERT_TRUE(w.Call(pid, [&] {
      platform::Platform& p = *w.Programs().PlatformOf(pid);
      HostIdentity identity(p.sockets, p.loop,
                            [&](const std::string& s, Integer) { log.push_back(s); });
      identity.GetHostInfo();
      EXPECT_EQ(identity.GetHostName(), c.sName);
      EXPECT_EQ(identity.GetIPAddress(), c.sAddress);
      EXPECT_EQ(identity.GetIPInfo("pc2"), c.sOther);
      EXPECT_EQ(identity.GetIPInfo("nowhere"), "");
    }));
    EXPECT_EQ(log, c.log);
  }
}

}  // namespace
}  // namespace launchagent
