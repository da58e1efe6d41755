// Host names as both real backends answer them before the system's resolver, one table
// for both: dotted addresses, the hosts file (read again when it changes) and our own
// overridden name. What the system's resolver answers is each backend's own test.
#include "platform/backend/host_names.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>

namespace launchagent::platform {
namespace {

TEST(HostNames, DottedQuadsAreFourNumbersUpTo255AndNothingElse) {
  const std::pair<const char*, bool> cases[] = {
      {"10.0.0.1", true},   {"255.255.255.255", true}, {"010.000.000.007", true},
      {"256.0.0.1", false}, {"1.2.3", false},          {"1.2.3.4.5", false},
      {"a.b.c.d", false},   {"1..2.3", false},         {"", false},
      {" 1.2.3.4", false},  {"1.2.3.4 ", false},       {"1234.1.1.1", false}};
  for (const auto& [sz, bOk] : cases) EXPECT_EQ(ParseIpv4(sz).has_value(), bOk) << sz;
  EXPECT_EQ(Ipv4Text(*ParseIpv4("010.000.000.007")), "10.0.0.7");
}

TEST(HostNames, TheHostsFileSkipsBadLinesAndTheFirstAddressOfANameWins) {
  const std::map<std::string, Ipv4> want = {{"pc1", {127, 0, 0, 11}},
                                            {"pc-one", {127, 0, 0, 11}},
                                            {"pc3", {127, 0, 0, 3}},
                                            {"pc2", {10, 0, 0, 2}}};
  EXPECT_EQ(
      HostsFileNames::Parse("# comment\n127.0.0.11 pc1 PC-One  # the first\n127.0.0.12 pc1\n\n"
                            "127.0.0.3\tpc3 # x\n300.1.1.1 bad\npc4 127.0.0.14\n  \t\n10.0.0.1\n"
                            "\xff\xfe garbage \x01\n10.0.0.2 pc2"),
      want);
}

// A name as typed, what is known of it without the system's resolver.
TEST(HostNames, KnownHostsComeFromAddressesTheFileAndOurOwnName) {
  std::string sFile = "127.0.0.3 pc3\n";
  unsigned long long lngStamp = 1;
  HostsFileNames hosts("hosts", {[&](const std::string&) { return std::optional(lngStamp); },
                                 [&](const std::string&, std::size_t) { return sFile; }});
  const std::pair<const char*, const char*> cases[] = {{"pc3", "127.0.0.3"},
                                                       {"PC3", "127.0.0.3"},
                                                       {"10.0.0.1", "10.0.0.1"},
                                                       {" 10.1.2.3 ", "10.1.2.3"},
                                                       {"pc1", "127.0.0.7"},
                                                       {"PC1", "127.0.0.7"},
                                                       {"", "none"},
                                                       {"no-such-host.invalid", "none"}};
  for (const auto& [szName, szAddress] : cases) {
    const auto e = KnownHost(ResolvableName(szName), hosts, "pc1", "127.0.0.7");
    EXPECT_EQ(!e                       ? "none"
              : e->nAddressLength != 4 ? "bad length"
                                       : Ipv4Text(e->addresses.at(0)),
              szAddress)
        << szName;
  }
  // A changed file is read again.
  sFile = "127.0.0.42 pc3 other\n";
  ++lngStamp;
  EXPECT_EQ(Ipv4Text(hosts.Lookup("pc3").value_or(Ipv4{})), "127.0.0.42");
  EXPECT_TRUE(hosts.Lookup("OTHER").has_value());
}

}  // namespace
}  // namespace launchagent::platform
