// The launcher's text helpers: recognising the main application, file name parts and the
// host part of a network path.
#include <gtest/gtest.h>

#include <string>

#include "launcher/launcher.h"

namespace launchagent {
namespace {

struct NameCase {
  std::string sName;
  bool bExpected;
};

TEST(IsMainAppFileName, RecognisesReleasesAfterTheFirst) {
  const NameCase cases[] = {
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
  for (const NameCase& c : cases)
    EXPECT_EQ(Launcher::IsMainAppFileName(c.sName), c.bExpected) << c.sName;
}

struct ExtensionCase {
  std::string sName;
  std::string sExtension;
  bool bExpected;
};

TEST(HasExtension, ComparesTheEndingWithoutCase) {
  const ExtensionCase cases[] = {
      {"Varno2.exe", ".exe", true}, {"VARNO2.EXE", ".exe", true}, {"lib.dll", ".DLL", true},
      {"a.exe", ".exe", true},      {".exe", ".exe", false},      {"exe", ".exe", false},
      {"", ".exe", false},          {"a.exe.bak", ".exe", false}, {"a.ex", ".exe", false},
      {"notes.txt", ".dll", false},
  };
  for (const ExtensionCase& c : cases)
    EXPECT_EQ(Launcher::HasExtension(c.sName, c.sExtension), c.bExpected)
        << c.sName << " " << c.sExtension;
}

struct PathCase {
  std::string sPath;
  std::string sFileName;
  std::string sFolderName;
};

TEST(FileAndFolderName, SplitAtTheLastBackslash) {
  const PathCase cases[] = {
      {"C:\\Launch\\Varno2.exe", "Varno2.exe", "C:\\Launch"},
      {"\\\\pc07\\c\\Launch\\Varno2.exe", "Varno2.exe", "\\\\pc07\\c\\Launch"},
      {"Varno2.exe", "Varno2.exe", "Varno2.exe"},
      {"C:\\Launch\\", "", "C:\\Launch"},
      {"C:\\", "", "C:"},
      {"\\x", "x", ""},
      {"", "", ""},
  };
  for (const PathCase& c : cases) {
    EXPECT_EQ(Launcher::GetFileName(c.sPath), c.sFileName) << c.sPath;
    EXPECT_EQ(Launcher::GetFolderName(c.sPath), c.sFolderName) << c.sPath;
  }
}

struct UncCase {
  std::string sPath;
  std::string sHost;
};

TEST(GetHostFromUNC, TakesTheTextBetweenTheLeadingPairAndTheNextBackslash) {
  const UncCase cases[] = {
      {"\\\\HOST\\A", "HOST"},
      {"\\\\host\\share\\folder", "host"},
      {"\\\\HOST", "HOST"},
      {"xxpc07\\c", "pc07"},  // the first two characters are skipped whatever they are
      {"\\\\\\share", ""},
      {"\\\\", ""},
      {"\\", ""},
      {"", ""},
  };
  for (const UncCase& c : cases) EXPECT_EQ(Launcher::GetHostFromUNC(c.sPath), c.sHost) << c.sPath;
}

}  // namespace
}  // namespace launchagent
