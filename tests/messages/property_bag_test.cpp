#include "messages/property_bag.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace launchagent {
namespace {

// Names a key cannot prepare: longer than it holds, not ASCII.
using Key = PropertyBag::Key;
constexpr Key kLong{"a_name_longer_than_thirty_two_units_x"}, kAccented{"cl\xC3\xA9"};

void Put(Bytes& b, std::size_t at, std::uint32_t n, int nBytes = 4) {
  for (int k = 0; k < nBytes; ++k) b[at + k] = static_cast<std::uint8_t>(n >> (8 * k));
}
Bytes Patched(Bytes b, std::size_t at, std::uint32_t n, int nBytes = 4) {
  Put(b, at, n, nBytes);
  return b;
}
// a then b; bRecount: with the length field counting both.
Bytes Cat(Bytes a, const Bytes& b, bool bRecount = false) {
  a.insert(a.end(), b.begin(), b.end());
  return bRecount ? Patched(a, 4, static_cast<std::uint32_t>(a.size())) : a;
}

// Images built entry by entry from raw UTF-16 units, apart from the bag's writer, so the
// reader is not checked against itself. value: the bytes after the name.
struct RawEntry {
  std::u16string sName;
  Bytes value;
  std::uint16_t nType = 8;
};

RawEntry Text(const std::u16string& sName, const std::u16string& sValue) {
  RawEntry e{sName, Bytes(4 + 2 * sValue.size())};
  Put(e.value, 0, static_cast<std::uint32_t>(sValue.size()));
  for (std::size_t k = 0; k < sValue.size(); ++k) Put(e.value, 4 + 2 * k, sValue[k], 2);
  return e;
}

Bytes RawImage(const std::vector<RawEntry>& entries) {
  Bytes b(8, 0);
  Put(b, 0, 0xB293);
  std::size_t nLast = 8;
  for (const RawEntry& e : entries) {
    nLast = b.size();
    const std::size_t nPadded = (12 + 2 * e.sName.size() + e.value.size() + 3) & ~std::size_t{3};
    b.resize(nLast + nPadded, 0);
    std::uint32_t h = 0;
    for (std::size_t k = 0; k < e.sName.size(); ++k) {
      const char16_t c = e.sName[k];
      h = ((h << 13) | (h >> 19)) ^ ((c >= u'A' && c <= u'Z') ? c + 32 : c);
      Put(b, nLast + 12 + 2 * k, c, 2);
    }
    Put(b, nLast, e.nType | static_cast<std::uint32_t>(e.sName.size()) << 16);  // type, name size
    Put(b, nLast + 4, h);
    Put(b, nLast + 8, static_cast<std::uint32_t>(nPadded));
    std::copy(e.value.begin(), e.value.end(), b.begin() + nLast + 12 + 2 * e.sName.size());
  }
  if (!entries.empty()) Put(b, nLast + 8, static_cast<std::uint32_t>(8 - static_cast<int>(nLast)));
  Put(b, 4, static_cast<std::uint32_t>(b.size()));
  return b;
}

TEST(PropertyBagTest, TestVectorAndHashes) {
  PropertyBag bag;
  EXPECT_EQ(bag.Contents(), (Bytes{0x93, 0xB2, 0, 0, 8, 0, 0, 0}));  // empty: the header alone
  bag.WriteProperty("Key1", "N1");
  bag.WriteProperty("Key2", "x");
  const Bytes image = bag.Contents();
  const Bytes expected = {0x08, 0x00, 0x04, 0x00, 0xB0, 0x15, 0x0F, 0x94, 0x1C, 0x00,
                          0x00, 0x00, 0x6B, 0x00, 0x65, 0x00, 0x79, 0x00, 0x31, 0x00,
                          0x02, 0x00, 0x00, 0x00, 0x4E, 0x00, 0x31, 0x00};
  ASSERT_GE(image.size(), 8 + expected.size());
  EXPECT_EQ(Bytes(image.begin() + 8, image.begin() + 8 + 28), expected);
  EXPECT_EQ(Patched(image, 4, image.size()), image);  // the length field holds the size
  for (const char* sz : {"key1", "KEY1"}) EXPECT_EQ(PropertyBag::NameHash(sz), 0x940F15B0u);
  for (const char* sz : {"_extentx", "_ExtentX"}) EXPECT_EQ(PropertyBag::NameHash(sz), 0x4757F20Bu);
}

TEST(PropertyBagTest, ReadsBackWhatWasWrittenIgnoringCase) {
  PropertyBag writer;
  writer.WriteProperty("sglMsgID", " .7055475");
  writer.WriteProperty("sHostName", "PC7");
  writer.WriteProperty("SHOSTNAME", "second");
  writer.WriteProperty("sUserName", "");
  writer.WriteProperty("A_NAME_LONGER_THAN_THIRTY_TWO_UNITS_X", "long");
  writer.WriteProperty("cl\xC3\xA9", "accented");
  PropertyBag reader;
  ASSERT_TRUE(reader.SetContents(writer.Contents()));
  // By fixed key: a failed lookup leaves the text alone.
  const auto Find = [](const PropertyBag& bag, const PropertyBag::Key& key) {
    std::string sValue = "untouched";
    return bag.FindText(key, sValue) ? sValue : "not found, " + sValue;
  };
  static constexpr Key kMsgId{"sglMsgId"}, kMissing{"sglMsgIdX"};
  for (const PropertyBag* pBag : {&writer, &reader}) {
    EXPECT_EQ(pBag->ReadProperty("SGLMSGID"), " .7055475");
    EXPECT_EQ(pBag->ReadProperty("shostname"), "PC7");  // the first of that name wins
    EXPECT_EQ(pBag->ReadProperty("sUserName"), "");
    EXPECT_EQ(pBag->ReadProperty("sUser"), std::nullopt);
    EXPECT_EQ(pBag->ReadProperty(""), std::nullopt);
    EXPECT_EQ(
        Find(*pBag, kMissing) + Find(*pBag, kMsgId) + Find(*pBag, kLong) + Find(*pBag, kAccented),
        "not found, untouched .7055475longaccented");
  }
  ASSERT_EQ(reader.Count(), 6u);
  EXPECT_EQ(reader.Entries()[0].sName, "sglmsgid");  // stored lower-cased
  EXPECT_EQ(reader.Entries()[2].sValue, "second");

  // Names stored with capitals are found too, by text and by fixed key.
  ASSERT_TRUE(reader.SetContents(RawImage({Text(u"sglMsgID", u" .25")})));
  EXPECT_EQ(Find(reader, kMsgId) + reader.ReadProperty("sglmsgid").value_or("none"), " .25 .25");
  // Loading from its own image, then writing on, keeps a valid image.
  ASSERT_TRUE(reader.SetContents(reader.ContentsRef()));
  reader.WriteProperty("extra", "1");
  ASSERT_TRUE(writer.SetContents(reader.Contents()));
  EXPECT_EQ(writer.Count(), 2u);
  EXPECT_EQ(
      writer.ReadProperty("EXTRA").value_or("none") + writer.ReadProperty("sglMsgId").value_or(""),
      "1 .25");
}

TEST(PropertyBagTest, TextIsUtf16OnTheWireAndUtf8InTheProgram) {
  const std::string sValue = "Grüße € 𝄞";
  PropertyBag bag;
  bag.WriteProperty("v", sValue);
  bag.WriteProperty("w", "a\377b\303");  // not UTF-8
  const Bytes b = bag.Contents();
  // 10 units, ü among them, then the surrogate pair of U+1D11E; 12 + 2 + 4 + 2 * 10 = 38 -> 40.
  EXPECT_EQ(Bytes(b.begin() + 22, b.begin() + 32), (Bytes{10, 0, 0, 0, 'G', 0, 'r', 0, 0xFC, 0}));
  EXPECT_EQ(Bytes(b.begin() + 42, b.begin() + 46), (Bytes{0x34, 0xD8, 0x1E, 0xDD}));
  PropertyBag reader;
  ASSERT_TRUE(reader.SetContents(b));
  EXPECT_EQ(reader.ReadProperty("V"), sValue);
  const std::string kFFFD = "\xEF\xBF\xBD";
  EXPECT_EQ(reader.ReadProperty("w"), "a" + kFFFD + "b" + kFFFD);

  // Unpaired surrogates read as U+FFFD, in values and in names.
  const std::vector<std::pair<std::u16string, std::string>> cases = {
      {u"a\xD800", "a" + kFFFD},                            // high at the end
      {u"\xDC00z", kFFFD + "z"},                            // low alone
      {u"\xD800\xD800\xDC00", kFFFD + "\xF0\x90\x80\x80"},  // high, then a pair
      {u"\xDBFF\xDFFF", "\xF4\x8F\xBF\xBF"},                // the last pair
  };
  for (const auto& [sUnits, sExpected] : cases) {
    ASSERT_TRUE(reader.SetContents(RawImage({Text(u"v", sUnits)})));
    EXPECT_EQ(reader.ReadProperty("v"), sExpected);
  }
  ASSERT_TRUE(reader.SetContents(RawImage({Text(u"k\xD800", u"x")})));
  EXPECT_EQ(reader.Entries()[0].sName, "k" + kFFFD);
}

TEST(PropertyBagTest, OtherValueTypesReadAsText) {
  const std::vector<std::pair<RawEntry, std::string>> cases = {
      {{u"n", {0xFB, 0xFF}, 2}, "-5x"},
      {{u"n", {0xCE, 0x04}, 2}, "1230x"},
      {{u"n", {0x70, 0x11, 0x01, 0x00}, 3}, "70000x"},
      {{u"n", {0x00, 0x00, 0x00, 0x80}, 3}, "-2147483648x"},
      {{u"n", {0xFF, 0xFF}, 11}, "Truex"},
      {{u"n", {0x00, 0x00}, 11}, "Falsex"},
      {{u"n", {0x01, 0x00}, 11}, "not an image"},  // a flag is all bits or none
  };
  for (const auto& [entry, sExpected] : cases) {
    PropertyBag bag;
    // Shown with the text entry after it, "x": that is read as well.
    EXPECT_EQ(bag.SetContents(RawImage({entry, Text(u"t", u"x")}))
                  ? bag.ReadProperty("N").value_or("none") + bag.ReadProperty("t").value_or("none")
                  : "not an image",
              sExpected);
  }
}

// The units of text in one entry that fills an image to its cap of 64 KiB.
constexpr std::size_t kFill = (65536 - 8 - 12 - 2 - 4) / 2;

TEST(PropertyBagTest, EveryBrokenRuleIsNotAnImage) {
  // Entry 1 at 8 (28 bytes), entry 2 at 36: 12 + 2 + 4 + 4 = 22, padded to 24; total 60.
  const Bytes good = RawImage({Text(u"key1", u"N1"), Text(u"k", u"ab")});
  ASSERT_EQ(good.size(), 60u);
  ASSERT_TRUE(PropertyBag().SetContents(good));
  const std::vector<std::pair<const char*, Bytes>> cases = {
      {"trailing byte", Cat(good, {0})},
      {"trailing byte, length counting it", Cat(good, {0}, true)},
      {"two images", Cat(good, good)},
      {"two images, length of both", Cat(good, good, true)},
      {"bad magic", Patched(good, 0, 0x94, 1)},
      {"magic high bytes", Patched(good, 3, 1, 1)},
      {"length too small", Patched(good, 4, 59)},
      {"length too large", Patched(good, 4, 61)},
      {"unknown type", Patched(good, 8, 9, 2)},
      {"type zero", Patched(good, 8, 0, 2)},
      {"bad hash", Patched(good, 12, good[12] ^ 1u, 1)},
      {"forward link off by 4", Patched(good, 16, 32)},
      {"last link not back to the first", Patched(good, 44, 0)},
      {"last link positive", Patched(good, 44, 28)},
      {"name longer than the image", Patched(good, 10, 0xFFFF, 2)},
      {"text longer than the image", Patched(good, 28, 0xFFFFFFFF)},
      {"text longer by one unit", Patched(good, 28, 3)},
      {"text shorter by one unit", Patched(good, 50, 1)},
      {"padding not zero", Patched(good, 59, 1, 1)},
      {"entry header cut", Cat(Bytes(good.begin(), good.begin() + 8 + 28 + 8), {}, true)},
      {"1025 entries", RawImage(std::vector<RawEntry>(1025, Text(u"k", u"")))},
      {"past 64 KiB", RawImage({Text(u"v", std::u16string(kFill + 2, u'x'))})},
  };
  static constexpr PropertyBag::Key kKey1{"key1"}, kK{"k"};
  static constexpr const PropertyBag::Key* kKeys[] = {&kKey1, &kK};
  ASSERT_TRUE(PropertyBag().ReadImage(good, kKeys));
  for (const auto& [szWhat, b] : cases) {
    // Reading in place with keys is as strict as taking the image.
    PropertyBag inPlace;
    EXPECT_FALSE(inPlace.ReadImage(b, kKeys)) << szWhat;
    EXPECT_EQ(inPlace.Count(), 0u) << szWhat;
    PropertyBag bag;
    bag.WriteProperty("before", "x");
    EXPECT_FALSE(bag.SetContents(b)) << szWhat;
    // A rejected image leaves the bag empty.
    EXPECT_EQ(bag.Count(), 0u) << szWhat;
    EXPECT_EQ(bag.Contents(), PropertyBag().Contents()) << szWhat;
  }
  for (std::size_t n = 0; n < good.size(); ++n)
    EXPECT_FALSE(PropertyBag().SetContents(Bytes(good.begin(), good.begin() + n))) << n;
  EXPECT_FALSE(PropertyBag().SetContents(nullptr, 8));
}

TEST(PropertyBagTest, CapsOnSizeAndEntries) {
  // 1024 entries and 64 KiB fit; the writer skips what would pass them (the reader's
  // refusals are rows of EveryBrokenRuleIsNotAnImage).
  PropertyBag many;
  for (int k = 0; k < 1025; ++k) many.WriteProperty("k", "");
  EXPECT_EQ(many.Count(), 1024u);
  PropertyBag reader;
  EXPECT_TRUE(reader.SetContents(RawImage(std::vector<RawEntry>(1024, Text(u"k", u"")))));
  PropertyBag big;
  big.WriteProperty("v", std::string(kFill + 1, 'x'));
  EXPECT_EQ(big.Count(), 0u);
  big.WriteProperty("v", std::string(kFill, 'x'));
  ASSERT_EQ(big.Count(), 1u);
  EXPECT_EQ(big.Contents().size(), 65536u);
  EXPECT_TRUE(reader.SetContents(big.Contents()));
}

// Writing a whole image at once from fixed keys must give exactly what entry-by-entry
// writing gives. Reading with fixed keys against lookup is fuzz_messages' check, over
// seeds (fuzz/corpus/messages/keys_*.bin) with keys out of order, twice, long and not ASCII.
TEST(PropertyBagTest, WritingAWholeImageEqualsWritingEntryByEntry) {
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
  static constexpr Key kType{"MsgType"}, kHost{"sHostName"}, kUser{"sUserName"},
      kPort{"nLocalPort"};
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
