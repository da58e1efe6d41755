// The plan a seed draws: a LAN the campaign can heal, faults inside the fault phase.
#include "fault_plan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace launchagent::campaign {
namespace {

TEST(CampaignFaultPlan, StaysInsideItsLanAndPhaseAndRepeatsPerSeed) {
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
      const SeedPlan again = DrawPlan(seed, nMax, phase);
      ASSERT_EQ(again.faults.size(), p.faults.size()) << sWhere;
      for (std::size_t i = 0; i < p.faults.size(); ++i) {
        EXPECT_EQ(again.faults[i].at, p.faults[i].at) << sWhere;
        EXPECT_EQ(again.faults[i].kind, p.faults[i].kind) << sWhere;
      }
      faultCounts.insert(p.faults.size());
    }
    // The rates themselves come from the seed, so seeds differ in how much goes wrong.
    EXPECT_GT(faultCounts.size(), 5u) << "max " << nMax;
  }
}

}  // namespace
}  // namespace launchagent::campaign
