#include "platform/text.h"

#include <gtest/gtest.h>

#include <tuple>

namespace launchagent {
namespace {

TEST(Text, FoldsOnlyAToZ) {
  // UTF-8 "É" (C3 89) and the bytes next to A-Z stay as they are.
  EXPECT_EQ(AsciiLower("PC-07 \xC3\x89@[Za`{"), "pc-07 \xC3\x89@[za`{");
  EXPECT_EQ(AsciiUpper("pc-07 \xC3\xA9@[Za`{"), "PC-07 \xC3\xA9@[ZA`{");
  EXPECT_TRUE(EqualsIgnoringCase("Varno2.EXE", "varno2.exe"));
  EXPECT_FALSE(EqualsIgnoringCase("\xC3\x89", "\xC3\xA9"));
  EXPECT_FALSE(EqualsIgnoringCase("pc1", "pc10"));
}

// One table for every backend that lists folders.
TEST(Text, WildcardsMatchLikeTheDesktop) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"anything", "*", true},
      {"noext", "*.*", true},
      {"", "*", true},
      {"Varno2.EXE", "*.exe", true},
      {"Varno2.exe.bak", "*.exe", false},
      {"Varno2.exe", "varno?.exe", true},
      {"Varno10.exe", "varno?.exe", false},
      {"agent.dat", "agent.d?", false},
      {"aXXbYYc", "a*b*c", true},
      {"aXXbYY", "a*b*c", false},
      {"x", "", false},
      {"", "?", false},
      {"a*c", "a*c", true},
      {"aaaaaaaaaaaaaaaaaaaaaaaaaaab", "a*a*a*a*a*a*a*a*c", false}};
  for (const auto& [szName, szPattern, bMatch] : cases)
    EXPECT_EQ(MatchesWildcard(szName, szPattern), bMatch) << szName << " " << szPattern;
}

}  // namespace
}  // namespace launchagent
