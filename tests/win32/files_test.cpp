#include "platform/win32/files.h"

#include <gtest/gtest.h>

#include <filesystem>
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
    std::error_code e;
    std::filesystem::remove_all(sDir, e);
  }
  std::string Path(const char* szName) const { return sDir + "\\" + szName; }

  Win32FileSystem files;
  std::string sDir;
};

// Whole replacement itself is the seam's contract; here the leftovers of saves that died
// half-way, of a process long gone and of this one, go with the next save.
TEST_F(FilesTest, LeftoversOfCrashedSavesGoWithTheNextSave) {
  const std::string sDead = TemporaryNameFor(Path("agent.dat"), 0xfffffff0);
  const std::string sLive = TemporaryNameFor(Path("agent.dat"), GetCurrentProcessId() + 0);
  for (const auto& s : {sDead, sLive}) {
    HANDLE h = CreateFileA(s.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(h, INVALID_HANDLE_VALUE);
    CloseHandle(h);
  }
  ASSERT_TRUE(files.ReplaceFile(Path("agent.dat"), Bytes{'c'}));
  EXPECT_EQ(files.ReadFile(Path("agent.dat")), Bytes{'c'});
  std::vector<std::string> left;
  for (const auto& e :
       files.List(sDir + "\\*", true, false).value_or(std::vector<platform::DirEntry>{}))
    left.push_back(e.sName);
  EXPECT_EQ(left, std::vector<std::string>{"agent.dat"});
}

// The code of a copy onto a running program, which the agent logs. Copies that work and
// a missing source are the seam's contract.
TEST_F(FilesTest, ACopyOntoARunningProgramReportsTheSystemsCode) {
  ASSERT_TRUE(files.ReplaceFile(Path("src.dll"), Bytes{'l', 'i', 'b'}));
  char szSelf[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, szSelf, MAX_PATH);
  EXPECT_EQ(files.CopyFile(Path("src.dll"), szSelf), 5);
}

}  // namespace
}  // namespace launchagent::win32
