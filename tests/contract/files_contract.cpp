// Files: listings and their order, hidden files, reading, the option files' whole-file
// replacement, the system folder and the library copy.
#include <algorithm>
#include <string>
#include <vector>

#include "backend.h"

namespace launchagent::contract {
namespace {

using Names = std::vector<std::string>;

Names NamesOf(const std::optional<std::vector<platform::DirEntry>>& listing) {
  Names out;
  for (const auto& e : listing.value_or(std::vector<platform::DirEntry>{}))
    out.push_back(e.sName + (e.bFolder ? "/" : "") + (e.bHidden ? "*" : ""));
  return out;
}

Names Sorted(Names v) {
  std::sort(v.begin(), v.end());
  return v;
}

// The entries of a listing with folders that every backend has, in name order; the
// "." and ".." entries must be there exactly when the backend keeps them.
Names WithoutDots(Names v, bool bExpectDots) {
  const auto n = std::erase_if(v, [](const std::string& s) { return s == "./" || s == "../"; });
  EXPECT_EQ(n, bExpectDots ? 2u : 0u) << "the \".\" and \"..\" entries";
  return Sorted(v);
}

TEST_P(Contract, ListingsFilterByPatternAndAttributes) {
  B().PutFile("zeta.dll", "z", false);
  B().PutFile("Varno4.exe", "4", false);
  B().PutFile(".secret.dat", "s", true);
  B().PutFolder("Sub");
  B().PutFile("Varno2.exe", "2", false);
  In([&] {
    auto& fs = P().files;
    const std::string d = B().Scratch();
    struct Case {
      std::string sPattern;
      bool bHidden, bFolders;
      Names want;  // in name order: the listing's own order is checked below
    };
    const std::vector<Case> cases = {
        {d + "\\*", false, false, {"Varno2.exe", "Varno4.exe", "zeta.dll"}},
        {d + "\\*.*", true, true, {".secret.dat*", "Sub/", "Varno2.exe", "Varno4.exe", "zeta.dll"}},
        {d + "\\varno?.EXE", false, false, {"Varno2.exe", "Varno4.exe"}},
        {d + "\\var*", false, false, {"Varno2.exe", "Varno4.exe"}},
        {d + "\\*.dat", false, false, {}},
        {d + "\\*.dat", true, false, {".secret.dat*"}},
    };
    for (const auto& c : cases) {
      const Names got = NamesOf(fs.List(c.sPattern, c.bHidden, c.bFolders));
      EXPECT_EQ(c.bFolders ? WithoutDots(got, Differences().bDotFolders) : Sorted(got), c.want)
          << c.sPattern;
    }
    EXPECT_FALSE(fs.List(d + "\\missing\\*", true, true).has_value());

    // The order is the file system's own, the same at every listing.
    const Names first = NamesOf(fs.List(d + "\\*", false, false));
    EXPECT_EQ(NamesOf(fs.List(d + "\\*", false, false)), first);
    if (Differences().bCreationOrder) {
      EXPECT_EQ(first, (Names{"zeta.dll", "Varno4.exe", "Varno2.exe"}));
    } else if (Names raw = B().RawOrder(); !raw.empty()) {
      Names visible;
      for (auto& s : raw)
        if (s[0] != '.' && s != "Sub") visible.push_back(s);
      EXPECT_EQ(first, visible);
    }
  });
}

TEST_P(Contract, FilesReadAndReplaceAsAWhole) {
  B().PutFile("agent.dat", std::string(48, 'a'), false);
  In([&] {
    auto& fs = P().files;
    const std::string d = B().Scratch();
    // Which paths are folders or readable files is the paths' table (paths_contract).
    EXPECT_EQ(fs.ReadFile(d + "\\agent.dat"), ToBytes(std::string(48, 'a')));
    EXPECT_FALSE(fs.ReadFile(d + "\\none.dat").has_value());

    // Three fixed-length records of 16 bytes, then the first record rewritten: the
    // caller always hands the whole new content, and that is what the file holds.
    std::string records;
    for (char c : {'1', '2', '3'}) records += std::string(15, c) + '\0';
    ASSERT_TRUE(fs.ReplaceFile(d + "\\AgentInfo_1", ToBytes(records)));
    records.replace(0, 15, std::string(15, 'x'));
    ASSERT_TRUE(fs.ReplaceFile(d + "\\AgentInfo_1", ToBytes(records)));
    EXPECT_EQ(B().FileContent("AgentInfo_1"), records);
    EXPECT_EQ(fs.ReadFile(d + "\\agentinfo_1"), ToBytes(records));
    ASSERT_TRUE(fs.ReplaceFile(d + "\\agent.dat", ToBytes("short")));
    EXPECT_EQ(B().FileContent("agent.dat"), "short");
    // Nothing is left beside the files the replacements wrote.
    EXPECT_EQ(WithoutDots(NamesOf(fs.List(d + "\\*", true, true)), Differences().bDotFolders),
              (Names{"AgentInfo_1", "agent.dat"}));
    EXPECT_FALSE(fs.ReplaceFile(d + "\\missing\\agent.dat", ToBytes("x")));
  });
}

TEST_P(Contract, TheSystemFolderAndTheLibraryCopy) {
  B().PutFile("lib.dll", "library", false);
  In([&] {
    auto& fs = P().files;
    const std::string d = B().Scratch();
    EXPECT_EQ(fs.AgentFolder(), B().ExpectedAgentFolder());
    EXPECT_TRUE(fs.FolderExists(fs.AgentFolder()));
    const auto sSystem = fs.SystemFolder();
    ASSERT_TRUE(sSystem.has_value());
    EXPECT_TRUE(fs.FolderExists(*sSystem));

    struct Case {
      const char* sWhat;
      std::string sFrom, sTo;
      Long lngResult;  // the system's own code for the outcome
    };
    const std::vector<Case> cases = {
        {"a copy", d + "\\lib.dll", d + "\\copy.dll", 0},
        {"over an existing file", d + "\\lib.dll", d + "\\copy.dll", 0},
        {"onto itself", d + "\\lib.dll", d + "\\LIB.DLL", 0},
        {"missing source", d + "\\none.dll", d + "\\copy2.dll", 2},
        {"missing folder", d + "\\lib.dll", d + "\\nope\\copy.dll", 3},
    };
    for (const auto& c : cases) {
      const Long r = fs.CopyFile(c.sFrom, c.sTo);
      EXPECT_EQ(r, c.lngResult) << c.sWhat;
    }
    EXPECT_EQ(B().FileContent("copy.dll"), "library");
    EXPECT_EQ(B().FileContent("lib.dll"), "library") << "a copy onto itself keeps the file";
    EXPECT_FALSE(B().FileContent("copy2.dll").has_value());
  });
}

}  // namespace
}  // namespace launchagent::contract
