// Byte layouts of "agent.dat" and the agent-info file, and the 64-character text fields.
#include "setup/option_records.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace launchagent {
namespace {

std::string Str(const Bytes& b, std::size_t nFrom, std::size_t nLen) {
  return std::string(b.begin() + static_cast<std::ptrdiff_t>(nFrom),
                     b.begin() + static_cast<std::ptrdiff_t>(nFrom + nLen));
}
std::string Bytes64(const FixedText64& t) { return std::string(t.bytes.begin(), t.bytes.end()); }

TEST(FixedText64Test, AssignStoresWindows1252PaddedWithBlanks) {
  // The euro sign; outside the code page; malformed UTF-8 (stray continuation, truncated,
  // overlong, surrogate: one '?' per offending lead byte); an unassigned byte keeps its
  // control character; cut at 64 characters. The stored bytes are padded with blanks.
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"PC7", "PC7"},
      {"Jos\xC3\xA9", "Jos\xE9"},
      {"\xE2\x82\xACz", "\x80z"},
      {"a\xE4\xB8\xADz", "a?z"},
      {"\xF0\x9F\x98\x80", "?"},
      {"a\x80z", "a?z"},
      {"a\xC3", "a?"},
      {"\xC0\xAF", "??"},
      {"\xED\xA0\x80", "???"},
      {"\xC2\x81", "\x81"},
      {std::string(70, 'x'), std::string(64, 'x')},
      {std::string(63, 'x') + "\xC3\xA9\xC3\xA9", std::string(63, 'x') + "\xE9"}};
  for (const auto& [sIn, sStored] : cases) {
    FixedText64 t;
    t.Assign(sIn);
    EXPECT_EQ(Bytes64(t), sStored + std::string(64 - sStored.size(), ' ')) << sIn;
  }
}

TEST(FixedText64Test, TextTrimmedAndEveryByteBack) {
  FixedText64 t;
  EXPECT_EQ(Bytes64(t), std::string(64, '\0'));  // never assigned
  EXPECT_EQ(t.Trimmed(), "");
  t.Assign("  alpha \xC3\xA9 ");
  EXPECT_EQ(t.Trimmed(), "alpha \xC3\xA9");
  t.bytes.fill(0);
  t.bytes[3] = 'x';
  EXPECT_EQ(t.Trimmed(), "x");
  for (int b = 0; b < 256; ++b) {
    t.bytes.fill(static_cast<std::uint8_t>(b));
    FixedText64 u;
    u.Assign(t.Text());
    EXPECT_EQ(Bytes64(u), Bytes64(t)) << "byte " << b;
  }
}

TEST(OptionRecordsTest, AgentOptionsLayoutAndDecode) {
  AgentOptions rec;
  rec.sActiveHost[0].Assign("PC1");
  rec.sActiveHost[1].Assign("");
  rec.bActiveAgentServices = rec.bSeekJobs = true;
  Bytes b = EncodeAgentOptions(rec);
  ASSERT_EQ(b.size(), 12812u);
  EXPECT_EQ(Str(b, 0, 128), "PC1" + std::string(125, ' '));
  EXPECT_EQ(Str(b, 128, 12672), std::string(12672, '\0'));
  // Services, intranet, web, news, jobs, stocks: 16-bit, True = -1.
  EXPECT_EQ(Str(b, 12800, 12), std::string("\xFF\xFF\0\0\0\0\0\0\xFF\xFF\0\0", 12));

  AgentOptions out;
  EXPECT_FALSE(DecodeAgentOptions(Bytes(12811, 0xFF), out));
  b[12801] = b[12808] = 0;  // either byte alone non-zero is True
  b.resize(20000, 0x41);    // a longer file: record one counts
  ASSERT_TRUE(DecodeAgentOptions(b, out));
  EXPECT_EQ(out.sActiveHost[0].Trimmed(), "PC1");
  EXPECT_EQ(std::string({out.bActiveAgentServices ? '1' : '0', out.bSeekIntranet ? '1' : '0',
                         out.bSeekWeb ? '1' : '0', out.bSeekNews ? '1' : '0',
                         out.bSeekJobs ? '1' : '0', out.bSeekStocks ? '1' : '0'}),
            "100010");
}

TEST(OptionRecordsTest, ActiveHostsEndAtAnEntryBeginningWithABlankOrNeverWritten) {
  AgentOptions rec;
  const char* entries[] = {"a", "trail   ", " lead", "after"};
  for (std::size_t k = 0; k < 4; ++k) rec.sActiveHost[k].Assign(entries[k]);
  EXPECT_EQ(ActiveHosts(rec), (std::vector<std::string>{"a", "trail"}));
  rec.sActiveHost[2] = FixedText64{};
  EXPECT_EQ(ActiveHosts(rec), (std::vector<std::string>{"a", "trail"}));
}

TEST(OptionRecordsTest, AgentInfoRecordLayoutAndDecode) {
  AgentInfoRecord rec;
  rec.sHostName.Assign("PC7");
  rec.Users[0].sUserName.Assign("ann");
  rec.Users[0].sContext.Assign("ctx1");
  rec.Users[63].sUserName.Assign("zed");
  const Bytes b = EncodeAgentInfoRecord(rec);
  ASSERT_EQ(b.size(), 8256u);
  EXPECT_EQ(Str(b, 0, 192), "PC7" + std::string(61, ' ') + "ann" + std::string(61, ' ') + "ctx1" +
                                std::string(60, ' '));
  EXPECT_EQ(Str(b, 64 + 128 * 63, 64), "zed" + std::string(61, ' '));
  EXPECT_EQ(Str(b, 128 + 128 * 63, 64), std::string(64, '\0'));  // never assigned

  AgentInfoRecord out;
  EXPECT_FALSE(DecodeAgentInfoRecord(b, 0, out));  // records count from 1
  ASSERT_TRUE(DecodeAgentInfoRecord(b, 1, out));
  EXPECT_EQ(EncodeAgentInfoRecord(out), b);
}

}  // namespace
}  // namespace launchagent
