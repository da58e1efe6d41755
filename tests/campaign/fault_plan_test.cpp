// The plan a seed draws: a LAN the campaign can heal, faults inside the fault phase.
#include "fault_plan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "lan_reach.h"

namespace launchagent::campaign {
namespace {

// That a seed draws the same plan again is campaign.determinism's: the same transcript twice.
TEST(CampaignFaultPlan, StaysInsideItsLanAndPhase) {
  const sim::Nanos phase = sim::kHour;
  for (int nMax : {2, 3, 8}) {
    std::set<std::size_t> faultCounts;
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
      const SeedPlan p = DrawPlan(seed, nMax, phase);
      const std::string sWhere = "seed " + std::to_string(seed) + " max " + std::to_string(nMax);
      ASSERT_GE(p.hosts.size(), 2u) << sWhere;
      ASSERT_LE(p.hosts.size(), static_cast<std::size_t>(nMax)) << sWhere;
      EXPECT_TRUE(std::any_of(p.hosts.begin(), p.hosts.end(), [](const HostPlan& h) {
        return h.bHoldsVarno;
      })) << sWhere;
      EXPECT_TRUE(std::is_sorted(p.faults.begin(), p.faults.end(),
                                 [](const Fault& a, const Fault& b) { return a.at < b.at; }))
          << sWhere;
      for (const Fault& f : p.faults) {
        EXPECT_GE(f.at, 0) << sWhere;
        EXPECT_LT(f.at, phase) << sWhere;
        EXPECT_LT(f.host, p.hosts.size()) << sWhere;
        EXPECT_LT(f.peer, p.hosts.size()) << sWhere;
        // Only the loopback cut names a host twice; the others need two hosts.
        EXPECT_EQ(f.kind == FaultKind::LoopbackCut, f.host == f.peer) << sWhere;
      }
      faultCounts.insert(p.faults.size());
    }
    // The rates themselves come from the seed, so seeds differ in how much goes wrong.
    EXPECT_GT(faultCounts.size(), 5u) << "max " << nMax;
  }
}

TEST(CampaignFaultPlan, DrawsWhatHostsShareAndWhereTheirAgentLives) {
  std::set<std::string> shapes;
  for (std::uint64_t seed = 1; seed <= 200; ++seed) {
    const SeedPlan p = DrawPlan(seed, 4, sim::kHour);
    for (const HostPlan& h : p.hosts) {
      const std::string sWhere = "seed " + std::to_string(seed) + " " + h.sName;
      std::set<std::string> names;
      for (const SharePlan& s : h.shares) {
        // A share reaches the root of a drive or the agent's folder, under a name of
        // its own on this host; a hidden one ends in "$".
        EXPECT_TRUE(s.sFolder.size() == 3 || s.sFolder == h.sAgentFolder) << sWhere;
        EXPECT_EQ(s.bHidden, s.sName.back() == '$') << sWhere;
        EXPECT_TRUE(names.insert(s.sName).second) << sWhere;
      }
      shapes.insert(h.shares.empty() ? "nothing" : !Found(h) ? "hidden only" : "found");
      if (Found(h) && LaunchSite(h).empty()) shapes.insert("found, no site");
      shapes.insert(h.sAgentFolder.substr(0, 2));
    }
    for (const Fault& f : p.faults) {
      if (f.kind == FaultKind::UnreadableShare) {
        EXPECT_LT(f.lngAmount, static_cast<std::int64_t>(p.hosts[f.host].shares.size()));
      }
    }
  }
  EXPECT_EQ(shapes, (std::set<std::string>{"C:", "D:", "found", "found, no site", "hidden only",
                                           "nothing"}));
}

}  // namespace
}  // namespace launchagent::campaign
