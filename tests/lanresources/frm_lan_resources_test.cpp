// LAN resource discovery on its own: the share search, this computer's own shares, and
// local paths turned into network paths, in a process of the simulated LAN.
#include "lanresources/frm_lan_resources.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/sim/world.h"

namespace launchagent::testing {
namespace {

// The desktop pc07 with one idle process, in which the form lives and the calls run.
struct Pc07 {
  Pc07() {
    world_.Programs().RegisterProgram(
        "idle", [](platform::Platform& p, const sim::ProgramStart&) { p.loop.Run(); });
    host = *world_.Hosts().AddHost("pc07");
    pid_ = world_.Programs().StartProcess(host, "idle", "C:\\Launch\\Launch.exe");
    world_.RunFor(0);
  }
  sim::World& World() { return world_; }
  sim::Nanos Now() const { return world_.Now(); }
  void Call(const std::function<void(FrmLANResources&)>& fn) {
    ASSERT_TRUE(world_.Call(pid_, [&] {
      if (!form_)
        form_ = std::make_unique<FrmLANResources>(*world_.Programs().PlatformOf(pid_),
                                                  [] { return std::string("pc07"); });
      fn(*form_);
    }));
  }

  sim::World world_{7};
  sim::HostId host = 0;
  sim::ProcessId pid_ = 0;
  std::unique_ptr<FrmLANResources> form_;
};

using Keyed = std::vector<std::pair<std::string, std::string>>;
using Lines = std::vector<std::string>;

Keyed KeyedOf(const std::vector<FrmLANResources::KeyedText>& col) {
  Keyed out;
  for (const auto& e : col) out.emplace_back(e.sKey, e.sText);
  return out;
}

Lines Search(FrmLANResources& form, Lines sResources = {}) {
  form.UpdateResources(sResources);
  return sResources;
}

TEST(TrimAtNull, KeepsTheTextBeforeTheFirstZero) {
  const std::pair<std::string, std::string> cases[] = {
      {std::string("abc\0def", 7), "abc"},
      {std::string("\0", 1), ""},
      {std::string("\\\\pc07\\c\0\0  ", 12), "\\\\pc07\\c"},
      {"abc", ""},  // no zero at all
      {"", ""},
  };
  for (const auto& [sIn, sOut] : cases) EXPECT_EQ(FrmLANResources::TrimAtNull(sIn), sOut);
}

TEST(UpdateResources, KeepsNetworkPathsUnderTheirSearchPositions) {
  Pc07 pc;
  // 255 characters and the terminator fill the buffer: still whole.
  const std::string sLong = "\\\\pc12\\" + std::string(255 - 7, 's');
  pc.World().Files().SetVisibleShares(pc.host, {"\\\\pc07\\c", "pc12data", "\\\\pc12\\data",
                                                "\\\\pc070\\x", "\\\\PC07\\Docs", sLong});
  // A containment test on \\pc07: \\pc070 counts too.
  const Keyed local = {{"1", "\\\\pc07\\c"}, {"4", "\\\\pc070\\x"}, {"5", "\\\\PC07\\Docs"}};
  const Keyed all = {local[0], {"3", "\\\\pc12\\data"}, local[1], local[2], {"6", sLong}};
  pc.Call([&](FrmLANResources& form) {
    EXPECT_EQ(Search(form), (Lines{"", "\\\\pc07\\c", "\\\\pc12\\data", "\\\\pc070\\x",
                                   "\\\\PC07\\Docs", sLong}));
    EXPECT_EQ(KeyedOf(form.colLANResources), all);
    EXPECT_EQ(KeyedOf(form.colLocalShares), local);
  });

  // A search that fails or finds no network path leaves the caller's list and the local
  // shares as they were.
  const std::pair<bool, Lines> nothingFound[] = {
      {true, {"\\\\pc07\\c"}}, {false, {}}, {false, {"pc07c", "data"}}};
  for (const auto& [bError, visible] : nothingFound) {
    pc.World().Files().SetVisibleShares(pc.host, visible);
    pc.World().Files().SetShareSearchError(pc.host, bError);
    pc.Call([&](FrmLANResources& form) {
      EXPECT_EQ(Search(form, {"", "kept"}), (Lines{"", "kept"}));
      EXPECT_TRUE(form.colLANResources.empty());
      EXPECT_EQ(KeyedOf(form.colLocalShares), local);
    });
  }
}

TEST(UpdateResources, WaitsInOneSecondStepsAtMostSixtyTimes) {
  Pc07 pc;
  pc.World().Files().SetVisibleShares(pc.host, {"\\\\pc12\\data"});
  // The search time, and the seconds waited: the search rounded up to whole seconds, at most 60.
  const std::pair<sim::Nanos, int> cases[] = {
      {sim::Milliseconds(300), 1}, {sim::Milliseconds(2500), 3}, {sim::Seconds(100), 60}};
  for (const auto& [searchTime, nSeconds] : cases) {
    pc.World().Files().SetShareSearchTime(pc.host, searchTime);
    pc.Call([&](FrmLANResources& form) {
      const sim::Nanos start = pc.Now();
      Lines sResources;
      form.UpdateResources(sResources);
      EXPECT_GE(pc.Now() - start, sim::Seconds(nSeconds)) << sim::FormatElapsed(searchTime);
      EXPECT_LE(pc.Now() - start, sim::Seconds(nSeconds + 1)) << sim::FormatElapsed(searchTime);
    });
  }
}

TEST(GetUNC, ReachesALocalPathThroughTheFirstOwnShareThatOpensIt) {
  Pc07 pc;
  sim::World& world = pc.World();
  world.Files().WriteFile(pc.host, "C:\\Apps\\main.exe", "x");
  world.Files().WriteFile(pc.host, "C:\\Docs\\Apps\\only.txt", "x");
  world.Files().WriteFile(pc.host, "D:\\Data\\d.txt", "x");
  world.Files().AddShare(pc.host, "docs", "C:\\Docs");
  world.Files().AddShare(pc.host, "c", "C:\\");
  world.Files().AddShare(pc.host, "locked", "D:\\", false);
  world.Files().SetVisibleShares(pc.host, {"\\\\pc07\\docs", "\\\\pc07\\c", "\\\\pc07\\locked"});
  const std::pair<std::string, std::string> cases[] = {
      {"C:\\Apps\\main.exe", "\\\\pc07\\c\\Apps\\main.exe"},
      // Through the first share whose root holds the tail, whatever the drive was.
      {"C:\\Apps\\only.txt", "\\\\pc07\\docs\\Apps\\only.txt"},
      {"C:\\Apps", "\\\\pc07\\docs\\Apps"},
      {"C:\\Apps\\missing.exe", ""},
      {"D:\\Data\\d.txt", ""},  // only an unreadable share reaches it
      {"\\\\pc07\\c\\Apps\\main.exe", ""},
      {"main.exe", ""},
      {"", ""},
  };
  pc.Call([&](FrmLANResources& form) {
    // Before any search no share of its own is known.
    EXPECT_EQ(form.GetUNC("C:\\Apps\\main.exe"), "");
    Search(form);
    for (const auto& [sPath, sExpected] : cases) EXPECT_EQ(form.GetUNC(sPath), sExpected) << sPath;
  });
}

}  // namespace
}  // namespace launchagent::testing
