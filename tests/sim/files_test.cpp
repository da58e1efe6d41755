// Virtual disks, paths, wildcards, the file system a process sees, network paths
// through shares, the share search.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <tuple>
#include <vector>

#include "desk.h"
#include "platform/sim/disk.h"
#include "platform/sim/world.h"

namespace launchagent::sim {
namespace {

using platform::Platform;
using Strings = std::vector<std::string>;

Bytes B(const std::string& s) { return Bytes(s.begin(), s.end()); }

// A parsed path as "C/App/a.exe", "pc1|c/Varno" (host|share) or "invalid".
std::string Show(const ParsedPath& p) {
  if (p.kind == ParsedPath::Kind::Invalid) return "invalid";
  std::string s =
      p.kind == ParsedPath::Kind::Unc ? p.sHost + "|" + p.sShare : std::string{p.cDrive};
  for (const auto& part : p.parts) s += "/" + part;
  return s;
}

TEST(SimDisk, ParsesPaths) {
  const std::vector<std::array<const char*, 3>> cases = {
      // path, base, parsed
      {"C:\\App\\a.exe", "", "C/App/a.exe"},
      {"d:/x//y\\", "", "D/x/y"},
      {"C:", "", "C"},
      {"C:\\a\\..\\b\\.\\c", "", "C/b/c"},
      {"C:\\..", "", "invalid"},
      {"\\\\pc1\\c\\Varno\\v.exe", "", "pc1|c/Varno/v.exe"},
      {"\\\\pc1\\c", "", "pc1|c"},
      {"\\\\pc1", "", "invalid"},
      {"//pc1\\\\c\\a\\.\\b", "", "pc1|c/a/b"},
      {"\\\\pc1\\c\\a\\..\\b", "", "pc1|c/b"},
      {"\\\\pc1\\c\\..", "", "invalid"},
      {"\\\\..\\.\\x", "", "..|./x"},
      {"agent.dat", "C:\\App", "C/App/agent.dat"},
      {"\\top", "E:\\App", "E/top"},
      {"agent.dat", "", "invalid"},
      {"", "C:\\App", "invalid"},
  };
  for (const auto& [path, base, want] : cases) EXPECT_EQ(Show(ParsePath(path, base)), want) << path;
  // How a write shows in the transcript ("new" and a changed range: ReplaceFile below).
  EXPECT_EQ(DescribeWrite(B("abc"), B("abc")), "written 3 bytes, unchanged");
  EXPECT_EQ(DescribeWrite(B("abc"), B("xbcd")), "written 4 bytes, changed 0,3");
  EXPECT_EQ(DescribeWrite(B("abcd"), B("ab")), "written 2 bytes, changed 2-3, was 4 bytes");
}

// The desk and PC2.
struct Files : Desk {
  Files() : Desk(21), h1(h), h2(*w.Hosts().AddHost("PC2")), fs(&p->files) {}
  HostId h1, h2;
  platform::FileSystem* fs;
};

// Patterns, attributes, reads and copies are the seam's contract (tests/contract). Here
// what the simulated disk adds: a replaced file keeps its place, relative patterns start
// in the agent folder. The system folder, there or missing: launcher-launch-modes.scn.
TEST(SimFiles, ListingsAndReads) {
  Files f;
  f.w.Files().WriteFile(f.h1, "C:\\App\\zeta.dll", "z");
  f.w.Files().WriteFile(f.h1, "C:\\App\\alpha.dll", "a", true);
  f.w.Files().WriteFile(f.h1, "C:\\App\\Varno2.exe", "2");
  f.In([&] {
    EXPECT_TRUE(f.fs->ReplaceFile("C:\\App\\zeta.dll", B("zz")));
    Strings names;
    const auto listing = f.fs->List("*.*", true, false);
    ASSERT_TRUE(listing.has_value());
    for (const auto& e : *listing) names.push_back(e.sName);
    EXPECT_EQ(names, (Strings{"zeta.dll", "alpha.dll", "Varno2.exe"}));
    EXPECT_FALSE(f.fs->List("Q:\\*", true, true).has_value());
    EXPECT_NE(f.fs->CopyFile("C:\\App", "C:\\b"), 0) << "a folder";
  });
}

// A file is replaced whole or not at all: the old and the new one must fit side by side.
TEST(SimFiles, ReplaceFileRecordsChangesAndFailsWholeOnAFullDisk) {
  Files f;
  Bytes rec(12812, 0xFF);
  f.In([&] { EXPECT_TRUE(f.fs->ReplaceFile("C:\\App\\agent.dat", rec)); });
  rec[12808] = rec[12809] = 0;
  f.w.Files().SetDiskCapacity(f.h1, 'c', 2 * 12812);
  f.In([&] { EXPECT_TRUE(f.fs->ReplaceFile("C:\\App\\agent.dat", rec)); });
  f.w.Files().SetDiskCapacity(f.h1, 'c', 2 * 12812 - 1);
  f.In([&] {
    EXPECT_FALSE(f.fs->ReplaceFile("C:\\App\\agent.dat", Bytes(12812, 7)));
    EXPECT_FALSE(f.fs->ReplaceFile("C:\\Missing\\agent.dat", rec));
  });
  EXPECT_EQ(f.w.Files().ReadFile(f.h1, "C:\\App\\agent.dat"), rec);
  Strings files;
  for (auto& line : f.w.Transcript())
    if (line.find(" file ") != std::string::npos) files.push_back(line.substr(13));
  const Strings want = {"PC1 file C:\\App\\agent.dat written 12812 bytes, new",
                        "PC1 file C:\\App\\agent.dat written 12812 bytes, changed 12808-12809",
                        "PC1 file C:\\App\\agent.dat write failed",
                        "PC1 file C:\\Missing\\agent.dat write failed"};
  EXPECT_EQ(files, want);
}

// Folders and listings through a share of another host. Reads, copies and starts
// through shares, by name or address, unreadable, of a host down or cut off, and a
// share name taken twice: tests/scenarios/failing/start-results.scn,
// sim-start-programs.scn, bad/share-twice.scn and the launch-site scenarios.
TEST(SimFiles, FoldersAndListingsThroughShares) {
  Files f;
  f.w.Files().WriteFile(f.h2, "C:\\Varno\\vb.dll", "dll");
  ASSERT_TRUE(f.w.Files().AddShare(f.h2, "c", "C:\\"));
  f.In([&] {
    EXPECT_TRUE(f.fs->FolderExists("\\\\PC2\\c"));
    EXPECT_TRUE(f.fs->FolderExists("\\\\pc2\\C\\varno"));
    EXPECT_FALSE(f.fs->FolderExists("\\\\PC2\\c\\Varno\\vb.dll"));
    EXPECT_EQ(f.fs->List("\\\\PC2\\c\\Varno\\*.dll", true, false)->size(), 1u);
  });
}

// A listed name longer than the buffer is cut to 255 characters. What a search lists by
// default (every share of every host that is up, in host order) and how long it takes
// show in the agents' runs: connect-trials.scn, setup-refresh.scn, start-up-timers.scn.
TEST(SimShareSearch, CutsLongNamesTo255) {
  Files f;
  const std::string sLong = "\\\\" + std::string(300, 'x');
  f.w.Files().SetVisibleShares(f.h1, {sLong});
  platform::ShareSearch& rs = f.p->shares;
  f.In([&] {
    rs.FindResources();
    while (rs.StillProcessing()) f.p->loop.WaitForEvents(1);
    Long n = 0;
    rs.GetNResources(n);
    ASSERT_EQ(n, 1);
    std::array<char, 257> buf;
    buf.fill(' ');
    rs.GetResource(buf);
    EXPECT_EQ(std::string(buf.data()), sLong.substr(0, 255));
    rs.FreeResources();
  });
}

}  // namespace
}  // namespace launchagent::sim
