#include "platform/win32/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "platform/win32/shell.h"
#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

class FilesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char buf[MAX_PATH] = {};
    ASSERT_GT(GetTempPathA(MAX_PATH, buf), 0u);
    sDir = std::string(buf) + "la-win32-" + std::to_string(GetCurrentProcessId());
    ASSERT_TRUE(CreateDirectoryA(sDir.c_str(), nullptr));
  }
  void TearDown() override {
    WIN32_FIND_DATAA fd;
    HANDLE h = FindFirstFileA((sDir + "\\*").c_str(), &fd);
    if (h != INVALID_HANDLE_VALUE) {
      do {
        const std::string sPath = sDir + "\\" + fd.cFileName;
        SetFileAttributesA(sPath.c_str(), FILE_ATTRIBUTE_NORMAL);
        DeleteFileA(sPath.c_str());
      } while (FindNextFileA(h, &fd));
      FindClose(h);
    }
    RemoveDirectoryA(sDir.c_str());
  }
  void Write(const std::string& sName, const std::string& sText, DWORD dwAttributes = 0) {
    ASSERT_TRUE(files.ReplaceFile(sDir + "\\" + sName, Bytes(sText.begin(), sText.end())));
    if (dwAttributes) SetFileAttributesA((sDir + "\\" + sName).c_str(), dwAttributes);
  }
  std::string Read(const std::string& sName) {
    const auto b = files.ReadFile(sDir + "\\" + sName);
    return b ? std::string(b->begin(), b->end()) : std::string("<none>");
  }
  std::vector<std::string> Names(const std::string& sPattern, bool bHidden, bool bFolders) {
    std::vector<std::string> out;
    if (auto entries = files.List(sPattern, bHidden, bFolders))
      for (const auto& e : *entries) out.push_back(e.sName);
    std::sort(out.begin(), out.end());
    return out;
  }

  Win32FileSystem files;
  std::string sDir;
};

TEST_F(FilesTest, RecordFilesAreReplacedWholeAndLeftoversOfCrashedSavesGo) {
  Write("agent.dat", std::string(100, 'a'));
  Write("agent.dat", std::string(64, 'b'));
  EXPECT_EQ(Read("agent.dat"), std::string(64, 'b'));
  // A save that died half-way, of a process long gone, and one of a running process.
  const std::string sDead = TemporaryNameFor(sDir + "\\agent.dat", 0xfffffff0);
  const std::string sLive = TemporaryNameFor(sDir + "\\agent.dat", GetCurrentProcessId() + 0);
  for (const auto& s : {sDead, sLive}) {
    HANDLE h = CreateFileA(s.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(h, INVALID_HANDLE_VALUE);
    CloseHandle(h);
  }
  Write("agent.dat", "c");
  EXPECT_EQ(Read("agent.dat"), "c");
  EXPECT_EQ(GetFileAttributesA(sDead.c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(Names(sDir + "\\*", true, false), std::vector<std::string>{"agent.dat"});
  EXPECT_FALSE(files.ReplaceFile(sDir + "\\missing\\agent.dat", Bytes{1}));
}

TEST_F(FilesTest, ListingsShowNormalHiddenAndFoldersAsAsked) {
  Write("a.exe", "x");
  Write("h.exe", "x", FILE_ATTRIBUTE_HIDDEN);
  Write("b.txt", "x");
  ASSERT_TRUE(CreateDirectoryA((sDir + "\\sub").c_str(), nullptr));
  struct Case {
    std::string sPattern;
    bool bHidden, bFolders;
    std::vector<std::string> expected;
  };
  const Case cases[] = {
      {sDir + "\\*.exe", false, false, {"a.exe"}},
      {sDir + "\\*.exe", true, false, {"a.exe", "h.exe"}},
      {sDir + "\\*", false, true, {".", "..", "a.exe", "b.txt", "sub"}},
      {sDir + "\\", false, false, {"a.exe", "b.txt"}},
      {sDir + "\\*.none", true, true, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.sPattern + (c.bHidden ? " hidden" : "") + (c.bFolders ? " folders" : ""));
    EXPECT_EQ(Names(c.sPattern, c.bHidden, c.bFolders), c.expected);
  }
  EXPECT_FALSE(files.List(sDir + "\\nowhere\\*", true, true).has_value());
  RemoveDirectoryA((sDir + "\\sub").c_str());
}

TEST_F(FilesTest, CopiesReportTheirResult) {
  Write("src.dll", "library");
  Write("old.dll", "old");
  const std::string sSelf = [] {
    char buf[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, buf, MAX_PATH);
    return std::string(buf);
  }();
  struct Case {
    const char* szName;
    std::string sSource, sDestination;
    Integer nResult;
  };
  const Case cases[] = {
      {"new file", sDir + "\\src.dll", sDir + "\\new.dll", 0},
      {"over an old file", sDir + "\\src.dll", sDir + "\\old.dll", 0},
      {"onto itself", sDir + "\\src.dll", sDir + "\\.\\src.dll", 0},
      {"missing source", sDir + "\\none.dll", sDir + "\\x.dll", 2},
      {"onto a running program", sDir + "\\src.dll", sSelf, 5},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.szName);
    EXPECT_EQ(files.CopyFile(c.sSource, c.sDestination), c.nResult);
  }
  EXPECT_EQ(Read("new.dll"), "library");
  EXPECT_EQ(Read("old.dll"), "library");
  EXPECT_EQ(Read("src.dll"), "library");
}

TEST_F(FilesTest, TheAgentAndSystemFoldersExist) {
  const std::string sAgent = files.AgentFolder();
  EXPECT_TRUE(files.FolderExists(sAgent)) << sAgent;
  EXPECT_NE(sAgent.back(), '\\');
  EXPECT_TRUE(files.CanOpenForReading(sAgent + "\\test_win32.exe"));
  const auto sSystem = files.SystemFolder();
  ASSERT_TRUE(sSystem.has_value());
  EXPECT_TRUE(files.FolderExists(*sSystem)) << *sSystem;
  EXPECT_FALSE(files.CanOpenForReading(sAgent)) << "a folder is not a file";
}

TEST(Win32Registry, TheRunValueLandsInTheMachineRootWithoutATerminatingZero) {
  const char* szRun = "Software\\Microsoft\\Windows\\CurrentVersion\\Run";
  const std::string sData = "C:\\Program Files\\Launch\\Launch.exe";
  Win32Registry registry;
  const auto key = registry.CreateKey(platform::RegistryRoot::LocalMachine, szRun);
  ASSERT_TRUE(key.has_value());
  ASSERT_TRUE(registry.SetStringValue(*key, "LaunchAgentSmoke", sData));
  ASSERT_TRUE(registry.CloseKey(*key));
  EXPECT_FALSE(registry.CloseKey(*key)) << "closed twice";
  EXPECT_FALSE(registry.SetStringValue(*key, "x", "y")) << "written after close";

  HKEY h = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, szRun, 0, KEY_READ | KEY_SET_VALUE, &h),
            ERROR_SUCCESS);
  char buf[256] = {};
  DWORD dwType = 0, dwSize = sizeof buf;
  ASSERT_EQ(RegQueryValueExA(h, "LaunchAgentSmoke", nullptr, &dwType, reinterpret_cast<BYTE*>(buf),
                             &dwSize),
            ERROR_SUCCESS);
  EXPECT_EQ(dwType, static_cast<DWORD>(REG_SZ));
  // The system counts a terminating zero itself when the caller leaves it out.
  EXPECT_TRUE(dwSize == sData.size() || dwSize == sData.size() + 1) << dwSize;
  EXPECT_EQ(std::string(buf), sData);
  RegDeleteValueA(h, "LaunchAgentSmoke");
  RegCloseKey(h);
}

TEST(Win32Shell, StartsProgramsAndReportsMissingOnes) {
  char buf[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, buf, MAX_PATH);
  Win32Shell shell;
  EXPECT_GT(shell.Execute("open", buf, "--gtest_filter=None", "", SW_HIDE), 32);
  EXPECT_EQ(shell.Execute("open", "C:\\windows\\no-such-program.exe", "", "", SW_SHOWNORMAL), 2);
}

}  // namespace
}  // namespace launchagent::win32
