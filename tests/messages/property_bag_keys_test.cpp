// Writing a whole image at once from fixed keys must give exactly what entry-by-entry
// writing gives. Reading with fixed keys against lookup is fuzz_messages' check, over
// seeds (fuzz/corpus/messages/keys_*.bin) with keys out of order, twice, long and not ASCII.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "messages/property_bag.h"

namespace launchagent {
namespace {

using Key = PropertyBag::Key;
constexpr Key kType{"MsgType"}, kHost{"sHostName"}, kUser{"sUserName"}, kPort{"nLocalPort"},
    kLong{"a_name_longer_than_thirty_two_units_x"}, kAccented{"cl\xC3\xA9"};

TEST(PropertyBagKeys, WritingAWholeImageEqualsWritingEntryByEntry) {
  // After empty "MsgType" (32 bytes) and "sHostName" (36) entries, a "sUserName" value of
  // nFill units fills the image to its 64 KiB exactly.
  const std::size_t nFill = (65536 - 8 - 32 - 36 - 12 - 18 - 4) / 2;
  const std::vector<std::vector<std::string>> values = {
      {"4", "PC1", "anna", " 1230"},
      {"", "", "", ""},
      {"4",
       "Gr\xC3\xBC\xC3\x9F"
       "e \xF0\x9D\x84\x9E",
       "a\377b", "x"},                             // not ASCII, not UTF-8
      {"4", std::string(nFill, 'x'), "y", "z"},    // too long where it comes: the rest fit
      {"", "", std::string(nFill, 'x'), "1"},      // fills the image: the last is skipped
      {"", "", std::string(nFill + 1, 'x'), "1"},  // one unit too long: skipped
  };
  const Key* const keys[] = {&kType, &kHost, &kUser, &kPort};
  for (const auto& row : values) {
    std::vector<PropertyBag::TextEntry> entries;
    PropertyBag bag;
    for (std::size_t k = 0; k < row.size(); ++k) {
      entries.push_back({keys[k], row[k]});
      bag.AppendText(keys[k]->Name(), row[k]);
    }
    EXPECT_EQ(PropertyBag::WriteImage(entries), bag.Contents()) << row[0] << row.size();
  }
  // Keys the bag cannot prepare go the long way, with the same result.
  const PropertyBag::TextEntry odd[] = {{&kLong, "long"}, {&kAccented, "\xC3\xA9"}};
  PropertyBag bag;
  for (const auto& e : odd) bag.AppendText(e.pKey->Name(), e.sValue);
  EXPECT_EQ(PropertyBag::WriteImage(odd), bag.Contents());
}

}  // namespace
}  // namespace launchagent
