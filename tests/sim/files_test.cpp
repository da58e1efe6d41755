// Virtual disks, paths, wildcards, the file system a process sees, network paths
// through shares, the share search.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/sim/disk.h"
#include "platform/sim/world.h"

namespace launchagent::sim {
namespace {

using platform::Platform;

Bytes B(const std::string& s) { return Bytes(s.begin(), s.end()); }

TEST(SimDisk, WildcardsMatchLikeTheDesktop) {
  struct Case {
    const char* pattern;
    const char* name;
    bool want;
  };
  const Case cases[] = {
      {"*", "anything", true},
      {"*.*", "noext", true},
      {"*.exe", "Varno2.EXE", true},
      {"*.exe", "Varno2.exe.bak", false},
      {"varno?.exe", "Varno2.exe", true},
      {"varno?.exe", "Varno10.exe", false},
      {"varno*.exe", "Varno10.exe", true},
      {"*.dll", "a.dll", true},
      {"a*b*c", "aXXbYYc", true},
      {"a*b*c", "aXXbYY", false},
      {"", "x", false},
      {"agent.dat", "AGENT.DAT", true},
      {"?", "", false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(WildcardMatch(c.pattern, c.name), c.want) << c.pattern << " vs " << c.name;
}

TEST(SimDisk, ParsesPaths) {
  struct Case {
    const char* path;
    const char* base;
    ParsedPath::Kind kind;
    char drive;
    const char* host;
    const char* share;
    std::vector<std::string> parts;
  };
  using K = ParsedPath::Kind;
  const Case cases[] = {
      {"C:\\App\\a.exe", "", K::Local, 'C', "", "", {"App", "a.exe"}},
      {"d:/x//y\\", "", K::Local, 'D', "", "", {"x", "y"}},
      {"C:\\", "", K::Local, 'C', "", "", {}},
      {"C:", "", K::Local, 'C', "", "", {}},
      {"C:\\a\\..\\b\\.\\c", "", K::Local, 'C', "", "", {"b", "c"}},
      {"C:\\..", "", K::Invalid, 0, "", "", {}},
      {"\\\\pc1\\c\\Varno\\v.exe", "", K::Unc, 0, "pc1", "c", {"Varno", "v.exe"}},
      {"\\\\pc1\\c", "", K::Unc, 0, "pc1", "c", {}},
      {"\\\\pc1", "", K::Invalid, 0, "", "", {}},
      {"agent.dat", "C:\\App", K::Local, 'C', "", "", {"App", "agent.dat"}},
      {"\\top", "E:\\App", K::Local, 'E', "", "", {"top"}},
      {"agent.dat", "", K::Invalid, 0, "", "", {}},
      {"", "C:\\App", K::Invalid, 0, "", "", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    ParsedPath p = ParsePath(c.path, c.base);
    EXPECT_EQ(p.kind, c.kind);
    if (p.kind == K::Invalid) continue;
    EXPECT_EQ(p.cDrive, c.drive);
    EXPECT_EQ(p.sHost, c.host);
    EXPECT_EQ(p.sShare, c.share);
    EXPECT_EQ(p.parts, c.parts);
  }
}

TEST(SimDisk, DescribesWrites) {
  Bytes old(12812, 0xFF);
  Bytes now = old;
  now[12808] = 0;
  now[12809] = 0;
  EXPECT_EQ(DescribeWrite(old, now), "written 12812 bytes, changed 12808-12809");
  EXPECT_EQ(DescribeWrite(std::nullopt, B("abc")), "written 3 bytes, new");
  EXPECT_EQ(DescribeWrite(B("abc"), B("abc")), "written 3 bytes, unchanged");
  EXPECT_EQ(DescribeWrite(B("abc"), B("xbcd")), "written 4 bytes, changed 0,3");
  EXPECT_EQ(DescribeWrite(B("abcd"), B("ab")), "written 2 bytes, changed 2-3, was 4 bytes");
}

TEST(SimDisk, ListsInCreationOrderWithAttributes) {
  Disk d;
  ASSERT_EQ(d.Write('C', {"App", "zeta.dll"}, B("z"), true), Disk::WriteResult::Ok);
  ASSERT_EQ(d.Write('C', {"App", "Varno4.exe"}, B("4"), true), Disk::WriteResult::Ok);
  ASSERT_EQ(d.Write('C', {"App", "alpha.dll"}, B("a"), true, true), Disk::WriteResult::Ok);
  ASSERT_NE(d.MakeFolders('C', {"App", "Sub"}), nullptr);
  ASSERT_EQ(d.Write('C', {"App", "Varno2.exe"}, B("2"), true), Disk::WriteResult::Ok);
  // Replacing keeps the place in the listing.
  ASSERT_EQ(d.Write('C', {"App", "zeta.dll"}, B("zz"), false), Disk::WriteResult::Ok);
  auto names = [](const std::optional<std::vector<platform::DirEntry>>& l) {
    std::vector<std::string> out;
    for (auto& e : *l) out.push_back(e.sName + (e.bFolder ? "/" : "") + (e.bHidden ? "*" : ""));
    return out;
  };
  EXPECT_EQ(names(d.List('C', {"App"}, "*", false, false)),
            (std::vector<std::string>{"zeta.dll", "Varno4.exe", "Varno2.exe"}));
  EXPECT_EQ(
      names(d.List('C', {"App"}, "*", true, true)),
      (std::vector<std::string>{"zeta.dll", "Varno4.exe", "alpha.dll*", "Sub/", "Varno2.exe"}));
  EXPECT_EQ(names(d.List('C', {"App"}, "*.DLL", true, false)),
            (std::vector<std::string>{"zeta.dll", "alpha.dll*"}));
  EXPECT_EQ(names(d.List('C', {"app"}, "varno?.exe", false, false)),
            (std::vector<std::string>{"Varno4.exe", "Varno2.exe"}));
  EXPECT_FALSE(d.List('C', {"Nope"}, "*", true, true).has_value());
  EXPECT_FALSE(d.List('Q', {}, "*", true, true).has_value());
  EXPECT_EQ(d.Write('C', {"App", "Sub"}, B("x"), false), Disk::WriteResult::IsFolder);
  EXPECT_EQ(d.Write('C', {"Nope", "x"}, B("x"), false), Disk::WriteResult::NoFolder);
  EXPECT_EQ(d.Write('Q', {"x"}, B("x"), false), Disk::WriteResult::NoDrive);
  EXPECT_EQ(d.MakeFolders('C', {"App", "zeta.dll", "x"}), nullptr);  // a file in the way
}

TEST(SimDisk, FullDiskLeavesTheOldFileWhole) {
  Disk d;
  d.SetCapacity('C', 100);
  ASSERT_EQ(d.Write('C', {"agent.dat"}, Bytes(40, 1), true), Disk::WriteResult::Ok);
  // Old and new must fit side by side: 40 + 50 <= 100.
  EXPECT_EQ(d.Write('C', {"agent.dat"}, Bytes(50, 2), false), Disk::WriteResult::Ok);
  EXPECT_EQ(d.Used('C'), 50u);
  EXPECT_EQ(d.Write('C', {"agent.dat"}, Bytes(51, 3), false), Disk::WriteResult::Full);
  EXPECT_EQ(d.Find('C', {"agent.dat"})->content, Bytes(50, 2));
  EXPECT_EQ(d.Used('C'), 50u);
  EXPECT_TRUE(d.Remove('C', {"agent.dat"}));
  EXPECT_EQ(d.Used('C'), 0u);
  EXPECT_FALSE(d.Remove('C', {"agent.dat"}));
}

// A world with two hosts and an idle process on PC1 whose executable lies in C:\App.
struct Files {
  Files() : w(21) {
    h1 = *w.AddHost("PC1");
    h2 = *w.AddHost("PC2");
    w.RegisterProgram("idle", [](Platform& p, const ProgramStart&) { p.loop.Run(); });
    pid = w.StartProcess(h1, "idle", "C:\\App\\Launch.exe");
    w.RunFor(0);
    fs = &w.PlatformOf(pid)->files;
  }
  template <class F>
  void In(F fn) {
    ASSERT_TRUE(w.Call(pid, fn));
  }
  World w;
  HostId h1 = 0, h2 = 0;
  ProcessId pid = 0;
  platform::FileSystem* fs = nullptr;
};

TEST(SimFiles, AgentFolderListingsAndReads) {
  Files f;
  f.w.WriteFile(f.h1, "C:\\App\\Varno1.exe", "1");
  f.w.WriteFile(f.h1, "C:\\App\\Varno3.exe", "3", true);
  f.w.MakeFolder(f.h1, "C:\\App\\Logs");
  f.In([&] {
    EXPECT_EQ(f.fs->AgentFolder(), "C:\\App");
    auto l = f.fs->List("C:\\App\\*.exe", true, false);
    ASSERT_TRUE(l.has_value());
    ASSERT_EQ(l->size(), 2u);
    EXPECT_EQ((*l)[1].sName, "Varno3.exe");
    EXPECT_TRUE((*l)[1].bHidden);
    EXPECT_EQ(f.fs->List("C:\\App\\*", false, false)->size(), 1u);
    EXPECT_EQ(f.fs->List("C:\\App\\", false, true)->size(), 2u);  // Varno1.exe, Logs
    EXPECT_EQ(f.fs->List("*.exe", true, false)->size(), 2u);      // relative: agent folder
    EXPECT_FALSE(f.fs->List("Q:\\*", true, true).has_value());
    EXPECT_TRUE(f.fs->FolderExists("C:\\App\\Logs"));
    EXPECT_TRUE(f.fs->FolderExists("C:\\"));
    EXPECT_FALSE(f.fs->FolderExists("C:\\App\\Varno1.exe"));
    EXPECT_TRUE(f.fs->CanOpenForReading("C:\\App\\Varno1.exe"));
    EXPECT_FALSE(f.fs->CanOpenForReading("C:\\App\\Logs"));  // a folder is not a file
    EXPECT_FALSE(f.fs->CanOpenForReading("C:\\App\\none"));
    EXPECT_EQ(f.fs->ReadFile("c:\\app\\VARNO3.EXE"), B("3"));
    EXPECT_FALSE(f.fs->ReadFile("C:\\App\\Logs").has_value());
  });
}

TEST(SimFiles, ReplaceFileRecordsChangesAndFailsWholeOnAFullDisk) {
  Files f;
  Bytes rec(12812, 0xFF);
  f.In([&] { EXPECT_TRUE(f.fs->ReplaceFile("C:\\App\\agent.dat", rec)); });
  rec[12808] = rec[12809] = 0;
  f.In([&] { EXPECT_TRUE(f.fs->ReplaceFile("C:\\App\\agent.dat", rec)); });
  f.w.SetDiskCapacity(f.h1, 'c', 20000);
  Bytes bigger(12812, 7);
  f.In([&] {
    EXPECT_FALSE(f.fs->ReplaceFile("C:\\App\\agent.dat", bigger));
    EXPECT_FALSE(f.fs->ReplaceFile("C:\\Missing\\agent.dat", rec));
  });
  EXPECT_EQ(f.w.ReadFile(f.h1, "C:\\App\\agent.dat"), rec);
  std::vector<std::string> files;
  for (auto& line : f.w.Transcript())
    if (line.find(" file ") != std::string::npos) files.push_back(line.substr(13));
  const std::vector<std::string> want = {
      "PC1 file C:\\App\\agent.dat written 12812 bytes, new",
      "PC1 file C:\\App\\agent.dat written 12812 bytes, changed 12808-12809",
      "PC1 file C:\\App\\agent.dat write failed", "PC1 file C:\\Missing\\agent.dat write failed"};
  EXPECT_EQ(files, want);
}

TEST(SimFiles, CopyFile) {
  Files f;
  f.w.WriteFile(f.h1, "C:\\App\\a.dll", "new");
  f.w.WriteFile(f.h1, "C:\\Windows\\System32\\a.dll", "old");
  f.In([&] {
    EXPECT_EQ(f.fs->CopyFile("C:\\App\\a.dll", "C:\\Windows\\System32\\a.dll"), 0);
    EXPECT_EQ(f.fs->ReadFile("C:\\Windows\\System32\\a.dll"), B("new"));
    // One file as source and destination, even spelt differently.
    EXPECT_EQ(f.fs->CopyFile("C:\\App\\a.dll", "c:\\APP\\.\\a.dll"), 0);
    EXPECT_EQ(f.fs->ReadFile("C:\\App\\a.dll"), B("new"));
    EXPECT_NE(f.fs->CopyFile("C:\\App\\missing.dll", "C:\\App\\b.dll"), 0);
    EXPECT_NE(f.fs->CopyFile("C:\\App\\a.dll", "C:\\NoFolder\\a.dll"), 0);
    EXPECT_NE(f.fs->CopyFile("C:\\App", "C:\\b"), 0);
  });
}

TEST(SimFiles, SystemFolder) {
  Files f;
  f.In([&] { EXPECT_EQ(f.fs->SystemFolder(), "C:\\Windows\\System32"); });
  f.w.SetSystemFolder(f.h1, std::nullopt);
  f.In([&] { EXPECT_FALSE(f.fs->SystemFolder().has_value()); });
  f.w.SetSystemFolder(f.h1, "D:\\Sys");
  f.In([&] { EXPECT_EQ(f.fs->SystemFolder(), "D:\\Sys"); });
}

TEST(SimFiles, NetworkPathsGoThroughShares) {
  Files f;
  f.w.WriteFile(f.h2, "C:\\Varno\\Varno2.exe", "exe");
  f.w.WriteFile(f.h2, "C:\\Varno\\vb.dll", "dll");
  f.w.WriteFile(f.h2, "D:\\Secret\\x.txt", "x");
  ASSERT_TRUE(f.w.AddShare(f.h2, "c", "C:\\"));
  ASSERT_TRUE(f.w.AddShare(f.h2, "secret", "D:\\Secret", false));
  EXPECT_FALSE(f.w.AddShare(f.h2, "C", "C:\\Varno"));  // names are unique per host
  f.In([&] {
    EXPECT_EQ(f.fs->ReadFile("\\\\PC2\\c\\Varno\\Varno2.exe"), B("exe"));
    EXPECT_EQ(f.fs->ReadFile("\\\\pc2\\C\\varno\\varno2.exe"), B("exe"));
    EXPECT_EQ(f.fs->ReadFile("\\\\" + f.w.HostAddress(f.h2) + "\\c\\Varno\\Varno2.exe"), B("exe"));
    EXPECT_TRUE(f.fs->CanOpenForReading("\\\\PC2\\c\\Varno\\vb.dll"));
    EXPECT_TRUE(f.fs->FolderExists("\\\\PC2\\c\\Varno"));
    EXPECT_TRUE(f.fs->FolderExists("\\\\PC2\\c"));
    EXPECT_EQ(f.fs->List("\\\\PC2\\c\\Varno\\*.dll", true, false)->size(), 1u);
    EXPECT_FALSE(f.fs->CanOpenForReading("\\\\PC2\\secret\\x.txt"));
    EXPECT_FALSE(f.fs->List("\\\\PC2\\secret\\*", true, true).has_value());
    EXPECT_FALSE(f.fs->CanOpenForReading("\\\\PC2\\d\\Secret\\x.txt"));
    EXPECT_FALSE(f.fs->CanOpenForReading("\\\\PC9\\c\\Varno\\vb.dll"));
    EXPECT_EQ(f.fs->CopyFile("\\\\PC2\\c\\Varno\\Varno2.exe", "C:\\App\\Varno2.exe"), 0);
  });
  EXPECT_EQ(f.w.ReadFile(f.h1, "C:\\App\\Varno2.exe"), B("exe"));
  f.w.CrashHost(f.h2);
  f.In([&] { EXPECT_FALSE(f.fs->CanOpenForReading("\\\\PC2\\c\\Varno\\vb.dll")); });
  f.w.RestartHost(f.h2);
  f.w.Partition(f.h1, f.h2, f.w.Now(), f.w.Now() + Seconds(10));
  f.In([&] { EXPECT_FALSE(f.fs->CanOpenForReading("\\\\PC2\\c\\Varno\\vb.dll")); });
  f.w.RunFor(Seconds(11));
  f.In([&] { EXPECT_TRUE(f.fs->CanOpenForReading("\\\\PC2\\c\\Varno\\vb.dll")); });
  f.w.SetShareReadable(f.h2, "c", false);
  f.In([&] { EXPECT_FALSE(f.fs->CanOpenForReading("\\\\PC2\\c\\Varno\\vb.dll")); });
}

TEST(SimShareSearch, RunsForItsSearchTimeAndReturnsASnapshot) {
  Files f;
  f.w.AddShare(f.h1, "c", "C:\\");
  f.w.AddShare(f.h2, "data", "C:\\Data");
  f.w.AddShare(f.h2, "apps", "C:\\Apps");
  f.w.SetShareSearchTime(f.h1, Seconds(5));
  platform::ShareSearch& rs = f.w.PlatformOf(f.pid)->shares;
  std::vector<std::string> got;
  std::vector<Long> still;
  f.In([&] {
    rs.FindResources();
    for (int i = 0; i < 7; ++i) {
      still.push_back(rs.StillProcessing());
      f.w.PlatformOf(f.pid)->loop.WaitForEvents(1);
    }
    EXPECT_EQ(rs.ErrorOccurred(), 0);
    Long n = 0;
    rs.GetNResources(n);
    std::array<char, 257> buf;
    for (Long i = 0; i < n; ++i) {
      buf.fill(' ');
      rs.GetResource(buf);
      got.emplace_back(buf.data());
    }
    rs.FreeResources();
  });
  EXPECT_EQ(still, (std::vector<Long>{1, 1, 1, 1, 1, 0, 0}));
  EXPECT_EQ(got, (std::vector<std::string>{"\\\\PC1\\c", "\\\\PC2\\data", "\\\\PC2\\apps"}));
}

TEST(SimShareSearch, ExplicitListsErrorsAndLongNames) {
  struct Case {
    const char* sName;
    std::function<void(World&, HostId)> arrange;
    Long wantError;
    std::vector<std::string> want;
  };
  const std::string longName = "\\\\" + std::string(300, 'x');
  const std::vector<Case> cases = {
      {"explicit list with a name without backslashes",
       [](World& w, HostId h) {
         w.SetVisibleShares(h, {"\\\\pc07\\c", "LPT1", "\\\\pc12\\data"});
       },
       0,
       {"\\\\pc07\\c", "LPT1", "\\\\pc12\\data"}},
      {"error", [](World& w, HostId h) { w.SetShareSearchError(h, true); }, 1, {}},
      {"a down host's shares are not listed",
       [](World& w, HostId) { w.CrashHost(1); },
       0,
       {"\\\\PC1\\c"}},
      {"long names are cut to 255",
       [longName](World& w, HostId h) { w.SetVisibleShares(h, {longName}); },
       0,
       {longName.substr(0, 255)}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sName);
    Files f;
    f.w.AddShare(f.h1, "c", "C:\\");
    f.w.AddShare(f.h2, "data", "C:\\Data");
    c.arrange(f.w, f.h1);
    platform::ShareSearch& rs = f.w.PlatformOf(f.pid)->shares;
    std::vector<std::string> got;
    Long nError = -1;
    f.In([&] {
      rs.FindResources();
      while (rs.StillProcessing()) f.w.PlatformOf(f.pid)->loop.WaitForEvents(1);
      nError = rs.ErrorOccurred();
      Long n = 0;
      rs.GetNResources(n);
      std::array<char, 257> buf;
      for (Long i = 0; i < n; ++i) {
        buf.fill(' ');
        rs.GetResource(buf);
        got.emplace_back(buf.data());
      }
      rs.FreeResources();
    });
    EXPECT_EQ(nError, c.wantError);
    EXPECT_EQ(got, c.want);
    // Default search time is 1 to 3 virtual seconds.
    EXPECT_GE(f.w.Now(), Seconds(1));
    EXPECT_LE(f.w.Now(), Seconds(3));
  }
}

}  // namespace
}  // namespace launchagent::sim
