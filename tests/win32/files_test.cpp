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

// The result codes of a failed copy: the agent logs them. Copies that work are the
// seam's contract.
TEST_F(FilesTest, FailedCopiesReportTheSystemsCode) {
  Write("src.dll", "library");
  char szSelf[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, szSelf, MAX_PATH);
  EXPECT_EQ(files.CopyFile(sDir + "\\none.dll", sDir + "\\x.dll"), 2) << "missing source";
  EXPECT_EQ(files.CopyFile(sDir + "\\src.dll", szSelf), 5) << "onto a running program";
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

}  // namespace
}  // namespace launchagent::win32
