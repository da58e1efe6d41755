#include "platform/text.h"

#include <gtest/gtest.h>

namespace launchagent {
namespace {

// Wildcards are the backend contract's, in the folder listings of every backend.
TEST(Text, FoldsOnlyAToZ) {
  // UTF-8 "É" (C3 89) and the bytes next to A-Z stay as they are.
  EXPECT_EQ(AsciiLower("PC-07 \xC3\x89@[Za`{"), "pc-07 \xC3\x89@[za`{");
  EXPECT_EQ(AsciiUpper("pc-07 \xC3\xA9@[Za`{"), "PC-07 \xC3\xA9@[ZA`{");
  EXPECT_TRUE(EqualsIgnoringCase("Varno2.EXE", "varno2.exe"));
  EXPECT_FALSE(EqualsIgnoringCase("\xC3\x89", "\xC3\xA9"));
  EXPECT_FALSE(EqualsIgnoringCase("pc1", "pc10"));
}

}  // namespace
}  // namespace launchagent
