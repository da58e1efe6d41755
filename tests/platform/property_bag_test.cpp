#include "platform/property_bag.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace launchagent::platform {
namespace {

void Put16(Bytes& b, std::size_t at, std::uint16_t n) {
  b[at] = static_cast<std::uint8_t>(n & 0xFF);
  b[at + 1] = static_cast<std::uint8_t>(n >> 8);
}

void Put32(Bytes& b, std::size_t at, std::uint32_t n) {
  for (int k = 0; k < 4; ++k) b[at + k] = static_cast<std::uint8_t>(n >> (8 * k));
}

std::uint32_t Get32(const Bytes& b, std::size_t at) {
  return static_cast<std::uint32_t>(b[at]) | (static_cast<std::uint32_t>(b[at + 1]) << 8) |
         (static_cast<std::uint32_t>(b[at + 2]) << 16) |
         (static_cast<std::uint32_t>(b[at + 3]) << 24);
}

// Builds images entry by entry from raw UTF-16 units, independently of the bag's writer,
// so a reader test does not lean on the writer.
struct RawEntry {
  std::uint16_t nType = 8;
  std::u16string sName;
  Bytes value;  // the value bytes after the name (for text: length word included)
};

RawEntry TextEntry(const std::u16string& sName, const std::u16string& sValue) {
  RawEntry e;
  e.sName = sName;
  e.value.resize(4 + 2 * sValue.size());
  Put32(e.value, 0, static_cast<std::uint32_t>(sValue.size()));
  for (std::size_t k = 0; k < sValue.size(); ++k) Put16(e.value, 4 + 2 * k, sValue[k]);
  return e;
}

std::uint32_t RawHash(const std::u16string& s) {
  std::uint32_t h = 0;
  for (char16_t c : s) {
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + 32);
    h = ((h << 13) | (h >> 19)) ^ c;
  }
  return h;
}

Bytes RawImage(const std::vector<RawEntry>& entries) {
  Bytes b(8, 0);
  Put32(b, 0, 0xB293);
  std::vector<std::size_t> offsets;
  for (const RawEntry& e : entries) {
    const std::size_t nOffset = b.size();
    offsets.push_back(nOffset);
    const std::size_t nSize = 12 + 2 * e.sName.size() + e.value.size();
    const std::size_t nPadded = (nSize + 3) & ~std::size_t{3};
    b.resize(nOffset + nPadded, 0);
    Put16(b, nOffset, e.nType);
    Put16(b, nOffset + 2, static_cast<std::uint16_t>(e.sName.size()));
    Put32(b, nOffset + 4, RawHash(e.sName));
    Put32(b, nOffset + 8, static_cast<std::uint32_t>(nPadded));
    for (std::size_t k = 0; k < e.sName.size(); ++k) Put16(b, nOffset + 12 + 2 * k, e.sName[k]);
    std::copy(e.value.begin(), e.value.end(), b.begin() + nOffset + 12 + 2 * e.sName.size());
  }
  if (!offsets.empty()) {
    Put32(b, offsets.back() + 8, static_cast<std::uint32_t>(8 - static_cast<int>(offsets.back())));
  }
  Put32(b, 4, static_cast<std::uint32_t>(b.size()));
  return b;
}

Bytes SampleImage() {
  PropertyBag bag;
  bag.WriteProperty("MsgType", "4");
  bag.WriteProperty("sReturnAddress", "PC7");
  bag.WriteProperty("sglMsgID", " .7055475");
  bag.WriteProperty("nLocalPort", " 1230");
  bag.WriteProperty("sUserName", "");
  return bag.Contents();
}

TEST(PropertyBagTest, TestVectorByteForByte) {
  PropertyBag bag;
  bag.WriteProperty("Key1", "N1");
  bag.WriteProperty("Key2", "x");
  const Bytes image = bag.Contents();
  const Bytes expected = {0x08, 0x00, 0x04, 0x00, 0xB0, 0x15, 0x0F, 0x94, 0x1C, 0x00,
                          0x00, 0x00, 0x6B, 0x00, 0x65, 0x00, 0x79, 0x00, 0x31, 0x00,
                          0x02, 0x00, 0x00, 0x00, 0x4E, 0x00, 0x31, 0x00};
  ASSERT_GE(image.size(), 8 + expected.size());
  EXPECT_EQ(Bytes(image.begin() + 8, image.begin() + 8 + 28), expected);
  // Header: magic, then the whole length.
  EXPECT_EQ(Bytes(image.begin(), image.begin() + 4), (Bytes{0x93, 0xB2, 0x00, 0x00}));
  EXPECT_EQ(Get32(image, 4), image.size());
}

TEST(PropertyBagTest, NameHashes) {
  EXPECT_EQ(PropertyBag::NameHash("key1"), 0x940F15B0u);
  EXPECT_EQ(PropertyBag::NameHash("_extentx"), 0x4757F20Bu);
  EXPECT_EQ(PropertyBag::NameHash("KEY1"), 0x940F15B0u);
  EXPECT_EQ(PropertyBag::NameHash("_ExtentX"), 0x4757F20Bu);
}

TEST(PropertyBagTest, EmptyBagIsTheHeaderAlone) {
  PropertyBag bag;
  const Bytes expected = {0x93, 0xB2, 0x00, 0x00, 0x08, 0x00, 0x00, 0x00};
  EXPECT_EQ(bag.Contents(), expected);
  PropertyBag other;
  other.WriteProperty("a", "b");
  EXPECT_TRUE(other.SetContents(expected));
  EXPECT_EQ(other.Count(), 0u);
  EXPECT_EQ(other.ReadProperty("a"), std::nullopt);
}

TEST(PropertyBagTest, LinksPointForwardAndTheLastBackToTheFirst) {
  PropertyBag one;
  one.WriteProperty("Key1", "N1");
  EXPECT_EQ(Get32(one.Contents(), 16), 0u);  // one entry: 8 - 8

  PropertyBag three;
  three.WriteProperty("Key1", "N1");   // 28 bytes at 8
  three.WriteProperty("Key2", "abc");  // 12 + 8 + 4 + 6 = 30 -> 32 bytes at 36
  three.WriteProperty("k", "");        // 12 + 2 + 4 = 18 -> 20 bytes at 68
  const Bytes b = three.Contents();
  ASSERT_EQ(b.size(), 88u);
  EXPECT_EQ(Get32(b, 8 + 8), 28u);
  EXPECT_EQ(Get32(b, 36 + 8), 32u);
  EXPECT_EQ(static_cast<std::int32_t>(Get32(b, 68 + 8)), 8 - 68);
  // Padding is zero.
  EXPECT_EQ(b[66], 0);
  EXPECT_EQ(b[67], 0);
}

TEST(PropertyBagTest, ReadsBackWhatWasWrittenIgnoringCase) {
  PropertyBag writer;
  writer.WriteProperty("sglMsgID", " .7055475");
  writer.WriteProperty("sHostName", "PC7");
  writer.WriteProperty("SHOSTNAME", "second");
  writer.WriteProperty("sUserName", "");
  PropertyBag reader;
  ASSERT_TRUE(reader.SetContents(writer.Contents()));
  EXPECT_EQ(reader.ReadProperty("sglMsgId"), " .7055475");
  EXPECT_EQ(reader.ReadProperty("shostname"), "PC7");  // the first of that name wins
  EXPECT_EQ(reader.ReadProperty("sUserName"), "");
  EXPECT_EQ(reader.ReadProperty("sUser"), std::nullopt);
  EXPECT_EQ(reader.ReadProperty(""), std::nullopt);
  ASSERT_EQ(reader.Count(), 4u);
  const auto entries = reader.Entries();
  EXPECT_EQ(entries[0].sName, "sglmsgid");  // stored lower-cased
  EXPECT_EQ(entries[2].sValue, "second");
  // The writing bag answers too.
  EXPECT_EQ(writer.ReadProperty("SGLMSGID"), " .7055475");
}

TEST(PropertyBagTest, FixedKeysFindWhatNamesFind) {
  static constexpr PropertyBag::Key kMsgId{"sglMsgId"};
  static constexpr PropertyBag::Key kMissing{"sglMsgIdX"};
  static constexpr PropertyBag::Key kLong{"a_name_longer_than_thirty_two_units_x"};
  static constexpr PropertyBag::Key kAccented{"cl\xC3\xA9"};
  PropertyBag writer;
  writer.WriteProperty("sglMsgID", " .5");
  writer.WriteProperty("A_NAME_LONGER_THAN_THIRTY_TWO_UNITS_X", "long");
  writer.WriteProperty("cl\xC3\xA9", "accented");
  PropertyBag reader;
  ASSERT_TRUE(reader.SetContents(writer.Contents()));
  // And from an image whose names were stored with capitals.
  PropertyBag capitals;
  ASSERT_TRUE(capitals.SetContents(RawImage({TextEntry(u"sglMsgID", u" .25")})));
  for (const PropertyBag* pBag : {&writer, &reader}) {
    std::string sValue = "untouched";
    EXPECT_TRUE(pBag->FindText(kMsgId, sValue));
    EXPECT_EQ(sValue, " .5");
    sValue = "untouched";
    EXPECT_FALSE(pBag->FindText(kMissing, sValue));
    EXPECT_EQ(sValue, "untouched");
    EXPECT_TRUE(pBag->FindText(kLong, sValue));
    EXPECT_EQ(sValue, "long");
    EXPECT_TRUE(pBag->FindText(kAccented, sValue));
    EXPECT_EQ(sValue, "accented");
  }
  std::string sValue;
  EXPECT_TRUE(capitals.FindText(kMsgId, sValue));
  EXPECT_EQ(sValue, " .25");
}

TEST(PropertyBagTest, TextIsUtf16OnTheWireAndUtf8InTheProgram) {
  const std::string sValue =
      "Gr\xC3\xBC\xC3\x9F"
      "e \xE2\x82\xAC \xF0\x9D\x84\x9E";  // Grüße € 𝄞
  PropertyBag bag;
  bag.WriteProperty("v", sValue);
  const Bytes b = bag.Contents();
  // 12 + 2 (name) + 4 + 2 * 10 units
  ASSERT_EQ(b.size(), 8u + 40u);
  EXPECT_EQ(Get32(b, 8 + 14), 10u);
  // ü, then the surrogate pair of U+1D11E.
  EXPECT_EQ(b[8 + 18 + 4], 0xFC);
  EXPECT_EQ(b[8 + 18 + 16], 0x34);
  EXPECT_EQ(b[8 + 18 + 17], 0xD8);
  EXPECT_EQ(b[8 + 18 + 18], 0x1E);
  EXPECT_EQ(b[8 + 18 + 19], 0xDD);
  PropertyBag reader;
  ASSERT_TRUE(reader.SetContents(b));
  EXPECT_EQ(reader.ReadProperty("V"), sValue);
}

TEST(PropertyBagTest, UnpairedSurrogatesBecomeReplacementCharacters) {
  const std::string kFFFD = "\xEF\xBF\xBD";
  struct Case {
    std::u16string sValue;
    std::string sExpected;
  };
  const std::vector<Case> cases = {
      {u"a\xD800", "a" + kFFFD},                            // high at the end
      {u"\xDC00z", kFFFD + "z"},                            // low alone
      {u"\xD800\xD800\xDC00", kFFFD + "\xF0\x90\x80\x80"},  // high, then a pair
      {u"\xDBFF\xDFFF", "\xF4\x8F\xBF\xBF"},                // the last pair
  };
  for (const Case& c : cases) {
    PropertyBag bag;
    ASSERT_TRUE(bag.SetContents(RawImage({TextEntry(u"v", c.sValue)})));
    EXPECT_EQ(bag.ReadProperty("v"), c.sExpected);
  }
  // A name with an unpaired surrogate is found under U+FFFD.
  PropertyBag bag;
  ASSERT_TRUE(bag.SetContents(RawImage({TextEntry(u"k\xD800", u"x")})));
  EXPECT_EQ(bag.Entries()[0].sName, "k" + kFFFD);
}

TEST(PropertyBagTest, BadUtf8BecomesReplacementCharacters) {
  PropertyBag bag;
  bag.WriteProperty("v", std::string("a\xFF"
                                     "b\xC3",
                                     4));
  PropertyBag reader;
  ASSERT_TRUE(reader.SetContents(bag.Contents()));
  EXPECT_EQ(reader.ReadProperty("v"),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD");
}

TEST(PropertyBagTest, OtherValueTypesReadAsText) {
  auto Entry = [](std::uint16_t nType, Bytes value) {
    RawEntry e;
    e.nType = nType;
    e.sName = u"n";
    e.value = std::move(value);
    return e;
  };
  struct Case {
    RawEntry entry;
    std::string sExpected;
  };
  const std::vector<Case> cases = {
      {Entry(2, {0xFB, 0xFF}), "-5"},
      {Entry(2, {0xCE, 0x04}), "1230"},
      {Entry(3, {0x70, 0x11, 0x01, 0x00}), "70000"},
      {Entry(3, {0x00, 0x00, 0x00, 0x80}), "-2147483648"},
      {Entry(11, {0xFF, 0xFF}), "True"},
      {Entry(11, {0x00, 0x00}), "False"},
  };
  for (const Case& c : cases) {
    PropertyBag bag;
    ASSERT_TRUE(bag.SetContents(RawImage({c.entry, TextEntry(u"t", u"x")}))) << c.sExpected;
    EXPECT_EQ(bag.ReadProperty("N"), c.sExpected);
    EXPECT_EQ(bag.ReadProperty("t"), "x");
  }
}

TEST(PropertyBagTest, NamesStoredWithCapitalsAreAcceptedAndFound) {
  PropertyBag bag;
  ASSERT_TRUE(bag.SetContents(RawImage({TextEntry(u"MsgType", u"4")})));
  EXPECT_EQ(bag.ReadProperty("msgtype"), "4");
}

TEST(PropertyBagTest, EveryTruncationIsNotAnImage) {
  const Bytes image = SampleImage();
  PropertyBag probe;
  ASSERT_TRUE(probe.SetContents(image));
  for (std::size_t n = 0; n < image.size(); ++n) {
    PropertyBag bag;
    EXPECT_FALSE(bag.SetContents(Bytes(image.begin(), image.begin() + n))) << n;
  }
}

TEST(PropertyBagTest, EveryBrokenRuleIsNotAnImage) {
  const Bytes good = RawImage({TextEntry(u"key1", u"N1"), TextEntry(u"k", u"ab")});
  // good: entry 1 at 8 (28 bytes), entry 2 at 36: 12 + 2 + 4 + 4 = 22, padded to 24
  // bytes; total 60.
  ASSERT_EQ(good.size(), 60u);
  {
    PropertyBag bag;
    ASSERT_TRUE(bag.SetContents(good));
  }
  struct Case {
    const char* szWhat;
    std::function<void(Bytes&)> edit;
  };
  const std::vector<Case> cases = {
      {"trailing byte", [](Bytes& b) { b.push_back(0); }},
      {"trailing byte, length counting it",
       [](Bytes& b) {
         b.push_back(0);
         Put32(b, 4, static_cast<std::uint32_t>(b.size()));
       }},
      {"two images", [&](Bytes& b) { b.insert(b.end(), good.begin(), good.end()); }},
      {"two images, length of both",
       [&](Bytes& b) {
         b.insert(b.end(), good.begin(), good.end());
         Put32(b, 4, static_cast<std::uint32_t>(b.size()));
       }},
      {"bad magic", [](Bytes& b) { b[0] = 0x94; }},
      {"magic high bytes", [](Bytes& b) { b[3] = 1; }},
      {"length too small", [](Bytes& b) { Put32(b, 4, 59); }},
      {"length too large", [](Bytes& b) { Put32(b, 4, 61); }},
      {"unknown type", [](Bytes& b) { Put16(b, 8, 9); }},
      {"type zero", [](Bytes& b) { Put16(b, 8, 0); }},
      {"bad hash", [](Bytes& b) { b[12] ^= 1; }},
      {"forward link off by 4", [](Bytes& b) { Put32(b, 16, 32); }},
      {"last link not back to the first", [](Bytes& b) { Put32(b, 44, 0); }},
      {"last link positive", [](Bytes& b) { Put32(b, 44, 28); }},
      {"name longer than the image", [](Bytes& b) { Put16(b, 10, 0xFFFF); }},
      {"text longer than the image", [](Bytes& b) { Put32(b, 28, 0xFFFFFFFF); }},
      {"text longer by one unit", [](Bytes& b) { Put32(b, 28, 3); }},
      {"text shorter by one unit", [](Bytes& b) { Put32(b, 50, 1); }},
      {"padding not zero", [](Bytes& b) { b[59] = 1; }},
      {"entry header cut",
       [](Bytes& b) {
         b.resize(8 + 28 + 8);
         Put32(b, 4, static_cast<std::uint32_t>(b.size()));
       }},
  };
  for (const Case& c : cases) {
    Bytes b = good;
    c.edit(b);
    PropertyBag bag;
    bag.WriteProperty("before", "x");
    EXPECT_FALSE(bag.SetContents(b)) << c.szWhat;
    // A rejected image leaves the bag empty.
    EXPECT_EQ(bag.Count(), 0u) << c.szWhat;
    EXPECT_EQ(bag.ReadProperty("before"), std::nullopt) << c.szWhat;
    EXPECT_EQ(bag.Contents(), PropertyBag().Contents()) << c.szWhat;
  }
}

TEST(PropertyBagTest, BooleanOtherThanAllOrNothingIsNotAnImage) {
  RawEntry e;
  e.nType = 11;
  e.sName = u"b";
  e.value = {0x01, 0x00};
  PropertyBag bag;
  EXPECT_FALSE(bag.SetContents(RawImage({e})));
}

TEST(PropertyBagTest, CapsOnSizeAndEntries) {
  // Entries: 1024 fit, the 1025th is skipped by the writer and refused by the reader.
  PropertyBag many;
  for (int k = 0; k < 1025; ++k) many.WriteProperty("k", "");
  EXPECT_EQ(many.Count(), 1024u);
  std::vector<RawEntry> raw(1025, TextEntry(u"k", u""));
  PropertyBag reader;
  EXPECT_FALSE(reader.SetContents(RawImage(raw)));
  raw.pop_back();
  EXPECT_TRUE(reader.SetContents(RawImage(raw)));

  // Size: 64 KiB is the largest image.
  const std::size_t nFill = (65536 - 8 - 12 - 2 - 4) / 2;  // one entry filling the cap
  PropertyBag big;
  big.WriteProperty("v", std::string(nFill + 1, 'x'));
  EXPECT_EQ(big.Count(), 0u);
  big.WriteProperty("v", std::string(nFill, 'x'));
  ASSERT_EQ(big.Count(), 1u);
  EXPECT_EQ(big.Contents().size(), 65536u);
  EXPECT_TRUE(reader.SetContents(big.Contents()));
  Bytes tooBig = RawImage({TextEntry(u"v", std::u16string(nFill + 2, u'x'))});
  EXPECT_GT(tooBig.size(), 65536u);
  EXPECT_FALSE(reader.SetContents(tooBig));
}

TEST(PropertyBagTest, LoadingFromItsOwnImageWorks) {
  PropertyBag bag;
  ASSERT_TRUE(bag.SetContents(SampleImage()));
  EXPECT_TRUE(bag.SetContents(bag.ContentsRef()));
  EXPECT_EQ(bag.ReadProperty("nLocalPort"), " 1230");
}

TEST(PropertyBagTest, WritingAfterLoadingKeepsAValidImage) {
  PropertyBag bag;
  ASSERT_TRUE(bag.SetContents(SampleImage()));
  bag.WriteProperty("extra", "1");
  PropertyBag reader;
  ASSERT_TRUE(reader.SetContents(bag.Contents()));
  EXPECT_EQ(reader.Count(), 6u);
  EXPECT_EQ(reader.ReadProperty("EXTRA"), "1");
  EXPECT_EQ(reader.ReadProperty("MsgType"), "4");
}

TEST(PropertyBagTest, NullPointerIsNotAnImage) {
  PropertyBag bag;
  EXPECT_FALSE(bag.SetContents(nullptr, 8));
}

}  // namespace
}  // namespace launchagent::platform
