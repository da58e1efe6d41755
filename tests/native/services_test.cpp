// Files, programs, the registry with its autostart entries, the share search.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <filesystem>

#include "platform/native/files.h"
#include "platform/native/registry.h"
#include "platform/native/share_search.h"
#include "platform/native/shell.h"
#include "test_support.h"

namespace launchagent::native {
namespace {

using Names = std::vector<std::string>;

Names NamesOf(const std::optional<std::vector<platform::DirEntry>>& list) {
  Names names;
  for (const auto& e : list.value_or(std::vector<platform::DirEntry>{}))
    names.push_back(e.sName + (e.bFolder ? "/" : ""));
  std::sort(names.begin(), names.end());
  return names;
}

class FilesTest : public ::testing::Test {
 protected:
  FilesTest()
      : paths_({{'C', dir_ / "c"}}, dir_ / "net"),
        files_(paths_, dir_ / "c/Launch", dir_ / "c/sys") {
    for (const char* sz : {"c/Launch/sub", "c/sys", "net/pc1/c"}) test::MakeDirs(dir_ / sz);
    test::WriteText(dir_ / "c/Launch/Varno2.exe", "exe");
    test::WriteText(dir_ / "c/Launch/a.dll", "dll");
    test::WriteText(dir_ / "c/Launch/.hidden.dll", "h");
    test::WriteText(dir_ / "c/Launch/agent.dat", std::string(12812, '\0'));
  }
  test::TempDir dir_;
  PathMapper paths_;
  NativeFileSystem files_;
};

// Patterns, hidden files, missing folders, the agent's folder and whole-file reads and
// replacements are the seam's contract; here the paths as this backend maps them: a bare
// folder, a trailing separator, drives it does not know, shares, and leftovers of saves
// that died.
TEST_F(FilesTest, PathsListingsAndLeftoversOfDeadSaves) {
  struct Case {
    std::string sPattern;
    bool bFolders;
    std::optional<Names> names;
  };
  const Case cases[] = {
      {"C:\\Launch\\", false, Names{".hidden.dll", "Varno2.exe", "a.dll", "agent.dat"}},
      {"C:\\Launch", false, Names{}},
      {"C:\\Launch", true, Names{"Launch/"}},
      {"Q:\\*.*", false, std::nullopt},
  };
  for (const auto& c : cases) {
    auto list = files_.List(c.sPattern, true, c.bFolders);
    EXPECT_EQ(list.has_value(), c.names.has_value()) << c.sPattern;
    EXPECT_EQ(NamesOf(list), c.names.value_or(Names{})) << c.sPattern;
  }
  EXPECT_EQ(files_.SystemFolder(), "C:\\sys");
  const std::tuple<const char*, bool, bool> paths[] = {{"\\\\pc1\\c", true, false},
                                                       {"Q:\\", false, false}};
  for (const auto& [szPath, bFolder, bReadable] : paths) {
    EXPECT_EQ(files_.FolderExists(szPath), bFolder) << szPath;
    EXPECT_EQ(files_.CanOpenForReading(szPath), bReadable) << szPath;
  }
  EXPECT_FALSE(files_.CanOpenForReading(""));
  EXPECT_FALSE(files_.ReadFile("C:\\Launch\\sub").has_value()) << "a folder is not a file";

  Bytes record(8256, 7);
  ASSERT_TRUE(files_.ReplaceFile("C:\\Launch\\AgentInfo_1", record));
  // Nothing is left beside the file, not even what a killed save of another process left;
  // a save still running in a live process keeps its file.
  pid_t dead = ::fork();
  if (dead == 0) ::_exit(0);
  ::waitpid(dead, nullptr, 0);
  const std::string sLive = "AgentInfo_1.new-" + std::to_string(::getppid());
  for (const std::string& s : {"AgentInfo_1.new-" + std::to_string(dead), sLive,
                               "AgentInfo_1.new-" + std::to_string(::getpid())})
    test::WriteText(dir_ / ("c/Launch/" + s), "half");
  test::WriteText(dir_ / "c/Launch/agent.dat.new-1x", "not ours");
  ASSERT_TRUE(files_.ReplaceFile("C:\\Launch\\AgentInfo_1", record));
  EXPECT_EQ(NamesOf(files_.List("C:\\Launch\\AgentInfo*", true, false)),
            (Names{"AgentInfo_1", sLive}));
  EXPECT_EQ(NamesOf(files_.List("C:\\Launch\\agent.dat.*", true, false)),
            (Names{"agent.dat.new-1x"}));
}

TEST_F(FilesTest, CopiesNeverReplaceARunningProgram) {
  // A program of this folder that runs while the copy is tried, and this test itself.
  std::filesystem::copy_file("/bin/sleep", dir_ / "c/Launch/Launch.exe");
  const pid_t pid = ::fork();
  if (pid == 0) {
    ::execl((dir_ / "c/Launch/Launch.exe").c_str(), "Launch.exe", "30", nullptr);
    ::_exit(127);
  }
  ASSERT_GT(pid, 0);
  char szSelf[4096] = {};
  ASSERT_GT(::readlink("/proc/self/exe", szSelf, sizeof szSelf - 1), 0);
  const std::string sSelf = szSelf;
  PathMapper paths({{'C', dir_ / "c"}, {'T', sSelf.substr(0, sSelf.rfind('/'))}}, dir_ / "net");
  NativeFileSystem files(paths, dir_ / "c/Launch", dir_ / "c/sys");
  ASSERT_TRUE(test::PollUntil([&] {
    return std::filesystem::equivalent("/proc/" + std::to_string(pid) + "/exe",
                                       dir_ / "c/Launch/Launch.exe");
  }));
  const std::string sOwn = "T:\\" + sSelf.substr(sSelf.rfind('/') + 1);
  // Copies' content is the seam's contract; a copy from another computer's share that
  // stays runnable is what agents_test's agents do with the main application.
  const std::pair<std::string, bool> cases[] = {{"C:\\Launch\\Launch.exe", false},
                                                {"c:\\launch\\LAUNCH.EXE", false},
                                                {sOwn, false},
                                                {"C:\\Launch\\Other.exe", true}};
  for (const auto& [sDest, bCopied] : cases)
    EXPECT_EQ(files.CopyFile("C:\\Launch\\a.dll", sDest) == 0, bCopied) << sDest;
  EXPECT_NE(files.CopyFile("C:\\Launch\\sub", "C:\\Launch\\Folder.exe"), 0) << "a folder";
  EXPECT_TRUE(test::ReadText(dir_ / "c/Launch/Launch.exe") == test::ReadText("/bin/sleep"));
  // Once the program has ended its file is an ordinary file again.
  ::kill(pid, SIGKILL);
  ::waitpid(pid, nullptr, 0);
  EXPECT_EQ(files.CopyFile("C:\\Launch\\a.dll", "C:\\Launch\\Launch.exe"), 0);
  EXPECT_EQ(test::ReadText(dir_ / "c/Launch/Launch.exe"), "dll");
}

TEST_F(FilesTest, ShellStartsDetachedProgramsWithWindowsParameters) {
  const std::string sScript = dir_ / "c/Launch/Varno4.exe";
  test::WriteText(sScript,
                  "#!/bin/sh\n"
                  "{ for a in \"$@\"; do echo \"[$a]\"; done; echo \"lib=$LD_LIBRARY_PATH\"; "
                  "echo \"cwd=$(pwd)\"; } > \"$(dirname \"$0\")/args.txt\"\n");
  ::chmod(sScript.c_str(), 0755);
  NativeShell shell(paths_, dir_ / "c/sys");
  // Not found (2) and no such folder (3) are the seam's contract; not a program 5.
  const std::pair<const char*, Long> failures[] = {
      {"C:\\Launch\\a.dll", 5}, {"C:\\Launch\\sub", 5}, {"Q:\\x.exe", 3}};
  for (const auto& [szFile, lngResult] : failures)
    EXPECT_EQ(shell.Execute("open", szFile, "-default", "", 1), lngResult) << szFile;
  EXPECT_EQ(shell.Execute("open", "C:\\Launch\\Varno4.exe", "", "C:\\Missing", 1), 3);

  EXPECT_GT(shell.Execute("open", "c:\\LAUNCH\\varno4.exe", "-ReindexVarno anna \"b c\"", "", 1),
            32);
  ASSERT_TRUE(test::PollUntil([&] {
    return test::ReadText(dir_ / "c/Launch/args.txt").find("cwd=") != std::string::npos;
  }));
  const std::string s = test::ReadText(dir_ / "c/Launch/args.txt");
  EXPECT_NE(s.find("[-ReindexVarno]\n[anna]\n[b c]\n"), std::string::npos) << s;
  EXPECT_NE(s.find("lib=" + (dir_ / "c/sys")), std::string::npos) << s;
}

TEST_F(FilesTest, RegistryRunValueGoesToTheStoreAndAutostart) {
  auto places = [&](const std::string& sStore, const std::string& sAutostart) {
    return RegistryPlaces{dir_ / sStore, dir_ / sAutostart};
  };
  NativeRegistry registry(paths_, places("etc/registry", "etc/autostart"),
                          places("home/registry", "home/autostart"));
  const std::string sRun = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";
  auto key = registry.CreateKey(platform::RegistryRoot::LocalMachine, sRun);
  ASSERT_TRUE(key);
  // The autostart entry follows a replaced value.
  EXPECT_TRUE(registry.SetStringValue(*key, "1", "C:\\Program Files\\Launch\\Launch.exe"));
  EXPECT_TRUE(registry.SetStringValue(*key, "1", "C:\\Launch\\Launch.exe"));
  EXPECT_TRUE(registry.CloseKey(*key));
  const auto store = NativeRegistry::ParseStore(test::ReadText(dir_ / "etc/registry"));
  EXPECT_EQ(store.at(sRun).at("1"), "C:\\Launch\\Launch.exe");
  const std::string sEntry = test::ReadText(dir_ / "etc/autostart/launch-agent-run-1.desktop");
  EXPECT_EQ(sEntry.find("[Desktop Entry]\n"), 0u) << sEntry;
  EXPECT_NE(sEntry.find("\nExec=\"" + (dir_ / "c/Launch/Launch.exe") + "\"\n"), std::string::npos)
      << sEntry;

  // Other keys only go to the store; the user root has its own.
  auto user = registry.CreateKey(platform::RegistryRoot::CurrentUser, "Software\\Varno");
  ASSERT_TRUE(user);
  EXPECT_TRUE(registry.SetStringValue(*user, "a=b", "line\nbreak\\"));
  const auto ustore = NativeRegistry::ParseStore(test::ReadText(dir_ / "home/registry"));
  EXPECT_EQ(ustore.at("Software\\Varno").at("a_b"), "line\nbreak\\");

  // No write access to the machine-wide store or autostart folder: denied.
  test::WriteText(dir_ / "file", "");
  NativeRegistry denied(paths_, places("file/registry", "etc/autostart"), places("u/r", "u/a"));
  EXPECT_FALSE(denied.CreateKey(platform::RegistryRoot::LocalMachine, sRun).has_value());
  NativeRegistry noAutostart(paths_, places("ok/registry", "file/autostart"), places("u/r", "u/a"));
  EXPECT_FALSE(noAutostart.CreateKey(platform::RegistryRoot::LocalMachine, sRun).has_value());
  EXPECT_TRUE(noAutostart.CreateKey(platform::RegistryRoot::LocalMachine, "Software\\Other"));
}

TEST(ShareSearch, ListsTheMountRootInTheBackground) {
  test::TempDir dir;
  for (const char* sz : {"pc2/c", "pc1/c", "pc1/data", "pc1/.hidden", "pc3"})
    test::MakeDirs(dir / sz);
  test::WriteText(dir / "pc1/file", "not a share");
  TimeBase time(1.0);
  NativeShareSearch search(time, dir.Path(), 0), missing(time, dir / "none", 0);
  search.FindResources();
  missing.FindResources();
  ASSERT_TRUE(
      test::PollUntil([&] { return !search.StillProcessing() && !missing.StillProcessing(); }));
  EXPECT_EQ(search.ErrorOccurred(), 0);
  EXPECT_NE(missing.ErrorOccurred(), 0);
  Long lngCount = 0;
  search.GetNResources(lngCount);
  Names names;
  for (Long i = 0; i < lngCount; ++i) {
    std::array<char, 257> buffer;
    buffer.fill(' ');
    search.GetResource(buffer);
    names.emplace_back(buffer.data());
  }
  // Sorted, hidden folders and files left out (names cut to the buffer: tests/win32).
  EXPECT_EQ(names, (Names{"\\\\pc1\\c", "\\\\pc1\\data", "\\\\pc2\\c"}));

  NativeShareSearch slow(time, dir.Path(), 3600);
  slow.FindResources();
  ::usleep(50000);
  EXPECT_NE(slow.StillProcessing(), 0);  // an hour of agent time still to go
}

}  // namespace
}  // namespace launchagent::native
