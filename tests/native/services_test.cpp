// Files, programs, the registry with its autostart entries, the share search.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "platform/native/files.h"
#include "platform/native/registry.h"
#include "platform/native/share_search.h"
#include "platform/native/shell.h"
#include "test_support.h"

namespace launchagent::native {
namespace {

std::vector<std::string> Names(const std::optional<std::vector<platform::DirEntry>>& list) {
  std::vector<std::string> names;
  if (list)
    for (const auto& e : *list) names.push_back(e.sName + (e.bFolder ? "/" : ""));
  std::sort(names.begin(), names.end());
  return names;
}

class FilesTest : public ::testing::Test {
 protected:
  FilesTest()
      : paths_({{'C', dir_ / "c"}}, dir_ / "net"),
        files_(paths_, dir_ / "c/Launch", dir_ / "c/sys") {
    test::MakeDirs(dir_ / "c/Launch/sub");
    test::MakeDirs(dir_ / "c/sys");
    test::MakeDirs(dir_ / "net/pc1/c");
    test::WriteText(dir_ / "c/Launch/Varno2.exe", "exe");
    test::WriteText(dir_ / "c/Launch/a.dll", "dll");
    test::WriteText(dir_ / "c/Launch/.hidden.dll", "h");
    test::WriteText(dir_ / "c/Launch/agent.dat", std::string(12812, '\0'));
  }
  test::TempDir dir_;
  PathMapper paths_;
  NativeFileSystem files_;
};

TEST_F(FilesTest, ListsWithPatternsAttributesAndFolders) {
  struct Case {
    std::string sPattern;
    bool bHidden, bFolders;
    std::optional<std::vector<std::string>> names;
  };
  const std::vector<std::string> all = {".hidden.dll", "Varno2.exe", "a.dll", "agent.dat"};
  const Case cases[] = {
      {"C:\\Launch\\*.dll", false, false, std::vector<std::string>{"a.dll"}},
      {"C:\\Launch\\*.dll", true, false, std::vector<std::string>{".hidden.dll", "a.dll"}},
      {"C:\\Launch\\*.*", true, false, all},
      {"C:\\Launch\\", true, false, all},
      {"C:\\Launch\\*", false, true,
       std::vector<std::string>{"../", "./", "Varno2.exe", "a.dll", "agent.dat", "sub/"}},
      {"C:\\LAUNCH\\VARNO2.EXE", false, false, std::vector<std::string>{"Varno2.exe"}},
      {"C:\\Launch", false, false, std::vector<std::string>{}},
      {"C:\\Launch", false, true, std::vector<std::string>{"Launch/"}},
      {"C:\\Launch\\nothing*", false, true, std::vector<std::string>{}},
      {"C:\\Missing\\*.*", false, false, std::nullopt},
      {"Q:\\*.*", false, false, std::nullopt},
  };
  for (const auto& c : cases) {
    auto list = files_.List(c.sPattern, c.bHidden, c.bFolders);
    ASSERT_EQ(list.has_value(), c.names.has_value()) << c.sPattern;
    if (list) {
      EXPECT_EQ(Names(list), *c.names) << c.sPattern;
    }
  }
}

TEST_F(FilesTest, FoldersFilesAndRecords) {
  EXPECT_EQ(files_.AgentFolder(), "C:\\Launch");
  EXPECT_EQ(files_.SystemFolder(), "C:\\sys");
  EXPECT_TRUE(files_.FolderExists("C:\\Launch"));
  EXPECT_TRUE(files_.FolderExists("\\\\pc1\\c"));
  EXPECT_FALSE(files_.FolderExists("C:\\Launch\\Varno2.exe"));
  EXPECT_FALSE(files_.FolderExists("Q:\\"));
  EXPECT_TRUE(files_.CanOpenForReading("C:\\Launch\\Varno2.exe"));
  EXPECT_FALSE(files_.CanOpenForReading("C:\\Launch"));
  EXPECT_FALSE(files_.CanOpenForReading("C:\\Launch\\none.exe"));
  EXPECT_FALSE(files_.CanOpenForReading(""));
  EXPECT_EQ(files_.ReadFile("C:\\Launch\\agent.dat")->size(), 12812u);
  EXPECT_FALSE(files_.ReadFile("C:\\Launch\\none").has_value());
  EXPECT_FALSE(files_.ReadFile("C:\\Launch\\sub").has_value());

  Bytes record(8256, 7);
  ASSERT_TRUE(files_.ReplaceFile("C:\\Launch\\AgentInfo_1", record));
  EXPECT_EQ(files_.ReadFile("C:\\Launch\\AgentInfo_1"), record);
  record[0] = 9;
  ASSERT_TRUE(files_.ReplaceFile("C:\\Launch\\AgentInfo_1", record));
  EXPECT_EQ(files_.ReadFile("C:\\Launch\\AgentInfo_1"), record);
  EXPECT_FALSE(files_.ReplaceFile("C:\\NoFolder\\x", record));
  // Nothing is left beside the file.
  EXPECT_EQ(Names(files_.List("C:\\Launch\\AgentInfo*", true, false)),
            std::vector<std::string>{"AgentInfo_1"});
}

TEST_F(FilesTest, CopiesKeepProgramsRunnableAndCopeWithTheSameFile) {
  ::chmod((dir_ / "c/Launch/Varno2.exe").c_str(), 0755);
  EXPECT_EQ(files_.CopyFile("C:\\Launch\\Varno2.exe", "C:\\sys\\Varno2.exe"), 0);
  EXPECT_EQ(test::ReadText(dir_ / "c/sys/Varno2.exe"), "exe");
  EXPECT_EQ(::access((dir_ / "c/sys/Varno2.exe").c_str(), X_OK), 0);
  EXPECT_EQ(files_.CopyFile("C:\\Launch\\a.dll", "C:\\Launch\\a.dll"), 0);
  EXPECT_EQ(test::ReadText(dir_ / "c/Launch/a.dll"), "dll");
  EXPECT_EQ(files_.CopyFile("c:\\launch\\A.DLL", "C:\\Launch\\a.dll"), 0);
  EXPECT_NE(files_.CopyFile("C:\\Launch\\none.dll", "C:\\sys\\none.dll"), 0);
  EXPECT_NE(files_.CopyFile("C:\\Launch\\a.dll", "C:\\NoFolder\\a.dll"), 0);
  EXPECT_NE(files_.CopyFile("C:\\Launch\\sub", "C:\\sys\\sub"), 0);
  // From a share of another computer.
  test::WriteText(dir_ / "net/pc1/c/Varno3.exe", "remote");
  EXPECT_EQ(files_.CopyFile("\\\\pc1\\c\\Varno3.exe", "C:\\Launch\\Varno3.exe"), 0);
  EXPECT_EQ(test::ReadText(dir_ / "c/Launch/Varno3.exe"), "remote");
}

TEST_F(FilesTest, ShellStartsDetachedProgramsWithWindowsParameters) {
  const std::string sScript = dir_ / "c/Launch/Varno4.exe";
  test::WriteText(sScript,
                  "#!/bin/sh\n"
                  "{ for a in \"$@\"; do echo \"[$a]\"; done; echo \"lib=$LD_LIBRARY_PATH\"; "
                  "echo \"cwd=$(pwd)\"; } > \"$(dirname \"$0\")/args.txt\"\n");
  ::chmod(sScript.c_str(), 0755);
  NativeShell shell(paths_, dir_ / "c/sys");
  struct Case {
    std::string sFile;
    Long lngResult;
  };
  const Case failures[] = {
      {"C:\\Launch\\none.exe", 2}, {"C:\\NoFolder\\none.exe", 3},
      {"C:\\Launch\\a.dll", 5},  // not a program
      {"C:\\Launch\\sub", 5},      {"Q:\\x.exe", 3},
  };
  for (const auto& c : failures)
    EXPECT_EQ(shell.Execute("open", c.sFile, "-default", "", 1), c.lngResult) << c.sFile;

  EXPECT_GT(shell.Execute("open", "c:\\LAUNCH\\varno4.exe", "-ReindexVarno anna \"b c\"", "", 1),
            32);
  ASSERT_TRUE(test::PollUntil([&] {
    return test::ReadText(dir_ / "c/Launch/args.txt").find("cwd=") != std::string::npos;
  }));
  const std::string s = test::ReadText(dir_ / "c/Launch/args.txt");
  EXPECT_NE(s.find("[-ReindexVarno]\n[anna]\n[b c]\n"), std::string::npos) << s;
  EXPECT_NE(s.find("lib=" + (dir_ / "c/sys")), std::string::npos) << s;
  EXPECT_EQ(shell.Execute("open", "C:\\Launch\\Varno4.exe", "", "C:\\Missing", 1), 3);
}

TEST(Kernel, ComputerName) {
  EXPECT_EQ(NativeKernel("PC7").ComputerName(), "PC7");
  auto s = NativeKernel("").ComputerName();
  ASSERT_TRUE(s);
  EXPECT_FALSE(s->empty());
  EXPECT_EQ(s->find('.'), std::string::npos);
}

TEST(Registry, RunValueGoesToTheStoreAndAutostart) {
  test::TempDir dir;
  PathMapper paths({{'C', dir / "c"}}, dir / "net");
  NativeRegistry registry(paths, RegistryPlaces{dir / "etc/registry", dir / "etc/autostart"},
                          RegistryPlaces{dir / "home/registry", dir / "home/autostart"});
  const std::string sRun = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";
  auto key = registry.CreateKey(platform::RegistryRoot::LocalMachine, sRun);
  ASSERT_TRUE(key);
  EXPECT_TRUE(registry.SetStringValue(*key, "1", "C:\\Program Files\\Launch\\Launch.exe"));
  EXPECT_TRUE(registry.SetStringValue(*key, "1", "C:\\Launch\\Launch.exe"));  // replaces
  EXPECT_TRUE(registry.CloseKey(*key));
  EXPECT_FALSE(registry.CloseKey(*key));
  EXPECT_FALSE(registry.SetStringValue(*key, "1", "x"));

  const auto store = NativeRegistry::ParseStore(test::ReadText(dir / "etc/registry"));
  ASSERT_EQ(store.count(sRun), 1u);
  EXPECT_EQ(store.at(sRun).at("1"), "C:\\Launch\\Launch.exe");
  const std::string sEntry = test::ReadText(dir / "etc/autostart/launch-agent-run-1.desktop");
  EXPECT_NE(sEntry.find("[Desktop Entry]"), std::string::npos);
  EXPECT_NE(sEntry.find("Exec=\"" + (dir / "c/Launch/Launch.exe") + "\""), std::string::npos)
      << sEntry;

  // Other keys only go to the store; the user root has its own.
  auto user = registry.CreateKey(platform::RegistryRoot::CurrentUser, "Software\\Varno");
  ASSERT_TRUE(user);
  EXPECT_TRUE(registry.SetStringValue(*user, "a=b", "line\nbreak\\"));
  const auto ustore = NativeRegistry::ParseStore(test::ReadText(dir / "home/registry"));
  EXPECT_EQ(ustore.at("Software\\Varno").at("a_b"), "line\nbreak\\");

  // No write access to the machine-wide places: denied.
  test::WriteText(dir / "file", "");
  NativeRegistry denied(paths, RegistryPlaces{dir / "file/registry", dir / "file/autostart"},
                        RegistryPlaces{dir / "u/registry", dir / "u/autostart"});
  EXPECT_FALSE(denied.CreateKey(platform::RegistryRoot::LocalMachine, sRun).has_value());
  NativeRegistry noAutostart(paths, RegistryPlaces{dir / "ok/registry", dir / "file/autostart"},
                             RegistryPlaces{dir / "u/registry", dir / "u/autostart"});
  EXPECT_FALSE(noAutostart.CreateKey(platform::RegistryRoot::LocalMachine, sRun).has_value());
  EXPECT_TRUE(noAutostart.CreateKey(platform::RegistryRoot::LocalMachine, "Software\\Other"));
}

TEST(Registry, StoreTextSurvivesBadInput) {
  const auto keys = NativeRegistry::ParseStore("x=1\n[k]\nnovalue\na=1\r\n[]\nb=2\n[k2\n=3\n");
  EXPECT_EQ(keys.at("k").at("a"), "1");
  EXPECT_EQ(keys.at("").at("b"), "2");
  EXPECT_EQ(keys.at("").at(""), "3");
  EXPECT_EQ(NativeRegistry::ParseStore(NativeRegistry::FormatStore(keys)), keys);
}

TEST(ShareSearch, ListsTheMountRootInTheBackground) {
  test::TempDir dir;
  for (const char* sz : {"pc2/c", "pc1/c", "pc1/data", "pc1/.hidden", "pc3"})
    test::MakeDirs(dir / sz);
  test::WriteText(dir / "pc1/file", "not a share");
  test::MakeDirs(dir / (std::string(130, 'x') + "/" + std::string(130, 'y')));
  TimeBase time(1.0);
  NativeShareSearch search(time, dir.Path(), 0);
  search.FindResources();
  ASSERT_TRUE(test::PollUntil([&] { return search.StillProcessing() == 0; }));
  EXPECT_EQ(search.ErrorOccurred(), 0);
  Long lngCount = 0;
  search.GetNResources(lngCount);
  ASSERT_EQ(lngCount, 4);
  std::vector<std::string> names;
  for (Long i = 0; i < lngCount; ++i) {
    std::array<char, 257> buffer;
    buffer.fill(' ');
    search.GetResource(buffer);
    names.emplace_back(buffer.data());
  }
  EXPECT_EQ(names[0], "\\\\pc1\\c");
  EXPECT_EQ(names[1], "\\\\pc1\\data");
  EXPECT_EQ(names[2], "\\\\pc2\\c");
  EXPECT_EQ(names[3].size(), 255u);  // cut to what the buffer holds
  search.FreeResources();
  search.GetNResources(lngCount);
  EXPECT_EQ(lngCount, 0);

  NativeShareSearch missing(time, dir / "none", 0);
  missing.FindResources();
  ASSERT_TRUE(test::PollUntil([&] { return missing.StillProcessing() == 0; }));
  EXPECT_NE(missing.ErrorOccurred(), 0);

  NativeShareSearch slow(time, dir.Path(), 3600);
  slow.FindResources();
  ::usleep(50000);
  EXPECT_NE(slow.StillProcessing(), 0);  // an hour of agent time still to go
}

}  // namespace
}  // namespace launchagent::native
