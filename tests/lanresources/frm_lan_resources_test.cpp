// The share search's buffer reading. What the search lists, the waits, this computer's
// own shares and the launch site they give are in tests/scenarios/lanres-share-search.scn;
// the simulated search always ends a name with a zero, so a buffer without one is here.
#include "lanresources/frm_lan_resources.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace launchagent {
namespace {

TEST(TrimAtNull, KeepsTheTextBeforeTheFirstZero) {
  const std::pair<std::string, std::string> cases[] = {
      {std::string("abc\0def", 7), "abc"},
      {std::string("\0", 1), ""},
      {std::string("\\\\pc07\\c\0\0  ", 12), "\\\\pc07\\c"},
      {"abc", ""},  // no zero at all: a name that filled the whole buffer
      {"", ""},
  };
  for (const auto& [sIn, sOut] : cases) EXPECT_EQ(FrmLANResources::TrimAtNull(sIn), sOut);
}

}  // namespace
}  // namespace launchagent
