// The launcher's text helpers: recognising the main application, file name agent and the
// host part of a network path.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

#include "launcher/launcher.h"

namespace launchagent {
namespace {

TEST(LauncherHelpers, IsMainAppFileNameRecognisesReleasesAfterTheFirst) {
  const std::pair<std::string, bool> cases[] = {
      {"Varno2.exe", true},      {"varno10.EXE", true},
      {"VARNO3.exe", true},      {"Varno99", true},
      {"Varno 5.exe", true},     {"Varno+7.exe", true},
      {"Varno1.exe", false},     {"Varno.exe", false},
      {"VarnoSetup.exe", false}, {"Varno0x.exe", false},
      {"Varno-3.exe", false},    {"Varno.5.exe", false},
      {"Varn2.exe", false},      {"XVarno2.exe", false},
      {"Varno", false},          {"", false},
      {"Varno1", false},         {"Varno2", true},
  };
  for (const auto& [sName, bExpected] : cases)
    EXPECT_EQ(MainApp::IsMainAppFileName(sName), bExpected) << sName;
}

TEST(LauncherHelpers, HasExtensionComparesTheEndingWithoutCase) {
  const std::tuple<std::string, std::string, bool> cases[] = {
      {"Varno2.exe", ".exe", true}, {"VARNO2.EXE", ".exe", true}, {"lib.dll", ".DLL", true},
      {"a.exe", ".exe", true},      {".exe", ".exe", false},      {"exe", ".exe", false},
      {"", ".exe", false},          {"a.exe.bak", ".exe", false}, {"a.ex", ".exe", false},
      {"notes.txt", ".dll", false},
  };
  for (const auto& [sName, sExtension, bExpected] : cases)
    EXPECT_EQ(MainApp::HasExtension(sName, sExtension), bExpected) << sName;
}

TEST(LauncherHelpers, FileAndFolderNameSplitAtTheLastBackslash) {
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"C:\\Launch\\Varno2.exe", "Varno2.exe", "C:\\Launch"},
      {"\\\\pc07\\c\\Launch\\Varno2.exe", "Varno2.exe", "\\\\pc07\\c\\Launch"},
      {"Varno2.exe", "Varno2.exe", "Varno2.exe"},
      {"C:\\Launch\\", "", "C:\\Launch"},
      {"C:\\", "", "C:"},
      {"\\x", "x", ""},
      {"", "", ""},
  };
  for (const auto& [sPath, sFileName, sFolderName] : cases) {
    EXPECT_EQ(MainApp::GetFileName(sPath), sFileName) << sPath;
    EXPECT_EQ(MainApp::GetFolderName(sPath), sFolderName) << sPath;
  }
}

TEST(LauncherHelpers, GetHostFromUNCTakesTheTextAfterTheLeadingPairUpToABackslash) {
  const std::pair<std::string, std::string> cases[] = {
      {"\\\\HOST\\A", "HOST"},
      {"\\\\host\\share\\folder", "host"},
      {"\\\\HOST", "HOST"},
      {"xxpc07\\c", "pc07"},  // the first two characters are skipped whatever they are
      {"\\\\\\share", ""},
      {"\\\\", ""},
      {"\\", ""},
      {"", ""},
  };
  for (const auto& [sPath, sHost] : cases)
    EXPECT_EQ(LanHostTable::GetHostFromUNC(sPath), sHost) << sPath;
}

}  // namespace
}  // namespace launchagent
