// The messages' fast paths of the bag: reading with fixed keys in one pass and writing a
// whole image at once must give exactly what lookup and entry-by-entry writing give.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "messages/property_bag.h"

namespace launchagent {
namespace {

using Key = PropertyBag::Key;
constexpr Key kType{"MsgType"}, kHost{"sHostName"}, kUser{"sUserName"}, kPort{"nLocalPort"},
    kLong{"a_name_longer_than_thirty_two_units_x"}, kAccented{"cl\xC3\xA9"};
constexpr const Key* kOrder[] = {&kType, &kHost, &kUser, &kPort, &kLong, &kAccented};

struct Written {
  std::string sName, sValue;
};

Bytes ImageOf(const std::vector<Written>& entries) {
  PropertyBag bag;
  for (const Written& e : entries) bag.WriteProperty(e.sName, e.sValue);
  return bag.Contents();
}

TEST(PropertyBagKeys, ReadingWithKeysFindsWhatLookupFinds) {
  const std::vector<std::vector<Written>> images = {
      {{"MsgType", "4"}, {"sHostName", "PC1"}, {"sUserName", "anna"}, {"nLocalPort", " 1230"}},
      // Out of order, an unknown name between, one key missing.
      {{"nLocalPort", " 7"}, {"extra", "x"}, {"sHostName", "PC2"}, {"MsgType", "5"}},
      // Capitals, and a name twice: the first wins.
      {{"SHOSTNAME", "first"}, {"shostname", "second"}, {"msgtype", "4"}},
      // Keys the bag looks up by text: long and not ASCII.
      {{"A_NAME_LONGER_THAN_THIRTY_TWO_UNITS_X", "long"}, {"CL\xC3\xA9", "accented"}},
      // Empty values.
      {{"MsgType", ""}, {"sHostName", ""}},
      {},
  };
  for (const auto& entries : images) {
    const Bytes image = ImageOf(entries);
    PropertyBag looked, keyed;
    ASSERT_TRUE(looked.SetContents(image));
    ASSERT_TRUE(keyed.ReadImage(image, kOrder));
    EXPECT_EQ(keyed.Contents(), image);
    EXPECT_EQ(keyed.Count(), entries.size());
    // In the image's order, backwards, and twice: the same answers every time.
    std::vector<const Key*> reads(std::begin(kOrder), std::end(kOrder));
    reads.insert(reads.end(), std::rbegin(kOrder), std::rend(kOrder));
    for (const Key* pKey : reads) {
      std::string sLooked = "none", sKeyed = "none";
      const bool bLooked = looked.FindText(pKey->Name(), sLooked);
      EXPECT_EQ(keyed.FindText(*pKey, sKeyed), bLooked) << pKey->Name();
      EXPECT_EQ(sKeyed, sLooked) << pKey->Name();
    }
    // A key outside the read's keys is looked up as usual.
    EXPECT_EQ(keyed.ReadProperty("extra"), looked.ReadProperty("extra"));
    // Writing on makes the bytes the bag's own; the image stays valid.
    keyed.WriteProperty("after", "1");
    PropertyBag again;
    ASSERT_TRUE(again.SetContents(keyed.Contents()));
    EXPECT_EQ(again.ReadProperty("after"), "1");
    EXPECT_EQ(again.Count(), entries.size() + 1);
  }
}

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
