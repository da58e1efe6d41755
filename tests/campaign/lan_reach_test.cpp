// Which hosts of a drawn LAN must hear from the others and run Varno once healed.
#include "lan_reach.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace launchagent::campaign {
namespace {

HostPlan Host(const std::string& sName, const std::string& sFolder, std::vector<SharePlan> shares,
              bool bHolds) {
  HostPlan h;
  h.sName = sName;
  h.sAgentFolder = sFolder;
  h.shares = std::move(shares);
  h.bHoldsVarno = bHolds;
  return h;
}

const char* kPf = "C:\\Program Files\\Launch";

TEST(CampaignLanReach, LaunchSitesGoOnlyThroughAListedShareOfTheDriveRoot) {
  struct Case {
    const char* sName;
    HostPlan h;
    bool bFound;
    std::string sSite;
  };
  const std::vector<Case> cases = {
      {"C: shared", Host("pc10", kPf, {{"c", "C:\\", false}}, true), true,
       "\\\\pc10\\c\\Program Files\\Launch\\Varno2.exe"},
      {"nothing shared", Host("pc10", kPf, {}, true), false, ""},
      {"only the agent's folder", Host("pc10", kPf, {{"varno", kPf, false}}, true), true, ""},
      {"a hidden drive share is not listed", Host("pc10", kPf, {{"c$", "C:\\", true}}, true), false,
       ""},
      {"folder share listed, the drive hidden",
       Host("pc10", kPf, {{"launch", kPf, false}, {"c$", "C:\\", true}}, true), true, ""},
      {"the first share reaching it names it",
       Host("pc10", "C:\\Apps\\Varno",
            {{"apps", "C:\\Apps\\Varno", false}, {"c", "C:\\", false}, {"cc", "C:\\", false}},
            true),
       true, "\\\\pc10\\c\\Apps\\Varno\\Varno2.exe"},
      {"C: does not reach an agent on D:", Host("pc10", "D:\\Launch", {{"c", "C:\\", false}}, true),
       true, ""},
      {"D: does", Host("pc10", "D:\\Launch", {{"c", "C:\\", false}, {"d", "D:\\", false}}, true),
       true, "\\\\pc10\\d\\Launch\\Varno2.exe"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Found(c.h), c.bFound) << c.sName;
    EXPECT_EQ(LaunchSite(c.h), c.sSite) << c.sName;
  }
}

TEST(CampaignLanReach, VarnoMustRunWhereACopyOrAnAnnouncedSiteReaches) {
  const SharePlan c{"c", "C:\\", false};
  const SharePlan folder{"varno", kPf, false};
  const SharePlan hidden{"c$", "C:\\", true};
  struct Case {
    const char* sName;
    std::vector<HostPlan> hosts;
    std::vector<bool> holds;
    std::vector<bool> must;
  };
  const std::vector<Case> cases = {
      {"a site reaches every host found",
       {Host("pc10", kPf, {c}, true), Host("pc11", kPf, {folder}, false),
        Host("pc12", kPf, {c}, false)},
       {true, false, false},
       {true, true, true}},
      {"hosts nobody finds hear of no site",
       {Host("pc10", kPf, {c}, true), Host("pc11", kPf, {}, false),
        Host("pc12", kPf, {hidden}, false)},
       {true, false, false},
       {true, false, false}},
      {"a holder behind its folder share announces nothing",
       {Host("pc10", kPf, {folder}, true), Host("pc11", kPf, {c}, false)},
       {true, false},
       {true, false}},
      {"a holder nobody finds runs its own copy",
       {Host("pc10", kPf, {}, true), Host("pc11", kPf, {c}, true), Host("pc12", kPf, {c}, false)},
       {true, true, false},
       {true, true, true}},
      {"a copy taken from a site announces too",
       {Host("pc10", kPf, {folder}, true), Host("pc11", kPf, {c}, false),
        Host("pc12", kPf, {c}, false)},
       {true, true, false},
       {true, true, true}},
  };
  for (const Case& c : cases) EXPECT_EQ(MustRunVarno(c.hosts, c.holds), c.must) << c.sName;
}

TEST(CampaignLanReach, TheSearchListsUnhiddenSharesOfHostsThatAreUp) {
  const std::vector<HostPlan> hosts = {
      Host("pc10", kPf, {{"c", "C:\\", false}, {"c$", "C:\\", true}, {"varno", kPf, false}}, true),
      Host("pc11", kPf, {{"c", "C:\\", false}}, false),
      Host("pc12", kPf, {{"d$", "D:\\", true}}, false),
  };
  EXPECT_EQ(ListedShares(hosts, {true, true, true}),
            (std::vector<std::string>{"\\\\pc10\\c", "\\\\pc10\\varno", "\\\\pc11\\c"}));
  EXPECT_EQ(ListedShares(hosts, {false, true, true}), (std::vector<std::string>{"\\\\pc11\\c"}));
}

}  // namespace
}  // namespace launchagent::campaign
