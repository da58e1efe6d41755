// Byte layouts of "agent.dat" and the agent-info file, and the 64-character text fields.
#include "setup/option_records.h"

#include <gtest/gtest.h>

#include <string>

namespace launchagent {
namespace {

std::string Bytes64(const FixedText64& t) { return std::string(t.bytes.begin(), t.bytes.end()); }

struct AssignCase {
  const char* sName;
  std::string sIn;
  std::string sStored;  // the first bytes; the rest must be blanks
};

class AssignTest : public ::testing::TestWithParam<AssignCase> {};

TEST_P(AssignTest, StoresWindows1252PaddedWithBlanks) {
  const AssignCase& c = GetParam();
  FixedText64 t;
  t.Assign(c.sIn);
  std::string sWant = c.sStored;
  sWant.resize(64, ' ');
  EXPECT_EQ(Bytes64(t), sWant);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, AssignTest,
    ::testing::Values(AssignCase{"Empty", "", ""}, AssignCase{"Plain", "PC7", "PC7"},
                      AssignCase{"Latin1", "Jos\xC3\xA9", "Jos\xE9"},
                      AssignCase{"Euro",
                                 "\xE2\x82\xAC"
                                 "5",
                                 "\x80"
                                 "5"},
                      AssignCase{"OutsideCodePage",
                                 "a\xE4\xB8\xAD"
                                 "b",
                                 "a?b"},
                      AssignCase{"Emoji", "\xF0\x9F\x98\x80", "?"},
                      AssignCase{"StrayContinuation",
                                 "a\x80"
                                 "b",
                                 "a?b"},
                      AssignCase{"TruncatedSequence", "a\xC3", "a?"},
                      AssignCase{"Overlong", "\xC0\xAF", "??"},
                      AssignCase{"Surrogate", "\xED\xA0\x80", "???"},
                      AssignCase{"UnassignedByteKeepsItsControl", "\xC2\x81", "\x81"},
                      AssignCase{"CutTo64", std::string(70, 'x'), std::string(64, 'x')},
                      AssignCase{"CutCountsCharacters", std::string(63, 'x') + "\xC3\xA9\xC3\xA9",
                                 std::string(63, 'x') + "\xE9"}),
    [](const auto& info) { return std::string(info.param.sName); });

TEST(FixedText64Test, NeverAssignedIsZeroBytes) {
  FixedText64 t;
  EXPECT_EQ(Bytes64(t), std::string(64, '\0'));
  EXPECT_EQ(t.Trimmed(), "");
  EXPECT_EQ(t.Text(), std::string(64, '\0'));
}

TEST(FixedText64Test, EveryByteSurvivesTextAndBack) {
  for (int b = 0; b < 256; ++b) {
    FixedText64 t;
    t.bytes.fill(static_cast<std::uint8_t>(b));
    FixedText64 u;
    u.Assign(t.Text());
    EXPECT_EQ(Bytes64(u), Bytes64(t)) << "byte " << b;
  }
}

TEST(FixedText64Test, TrimmedDropsBlanksAndZerosAtBothEnds) {
  FixedText64 t;
  t.Assign("  alpha beta ");
  EXPECT_EQ(t.Trimmed(), "alpha beta");
  t.bytes.fill(0);
  t.bytes[3] = 'x';
  EXPECT_EQ(t.Trimmed(), "x");
  t.Assign("\xC3\xA9t\xC3\xA9");
  EXPECT_EQ(t.Trimmed(), "\xC3\xA9t\xC3\xA9");
}

TEST(AgentOptionsTest, LayoutOfTheRecord) {
  AgentOptions rec;
  rec.sActiveHost[0].Assign("PC1");
  rec.sActiveHost[1].Assign("PC2");
  rec.sActiveHost[2].Assign("");
  rec.bActiveAgentServices = true;
  rec.bSeekJobs = true;
  const Bytes b = EncodeAgentOptions(rec);
  ASSERT_EQ(b.size(), 12812u);
  EXPECT_EQ(std::string(b.begin(), b.begin() + 3), "PC1");
  EXPECT_EQ(b[3], ' ');
  EXPECT_EQ(std::string(b.begin() + 64, b.begin() + 67), "PC2");
  EXPECT_EQ(std::string(b.begin() + 128, b.begin() + 192), std::string(64, ' '));
  EXPECT_EQ(std::string(b.begin() + 192, b.begin() + 12800), std::string(12608, '\0'));
  const std::vector<int> want = {0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0};
  for (std::size_t i = 0; i < want.size(); ++i) EXPECT_EQ(b[12800 + i], want[i]) << i;
}

TEST(AgentOptionsTest, DecodeReadsFlagsAsNonZero) {
  Bytes b(12812, 0);
  b[12800] = 0x01;  // any non-zero value is True
  b[12809] = 0x80;
  AgentOptions rec;
  ASSERT_TRUE(DecodeAgentOptions(b, rec));
  EXPECT_TRUE(rec.bActiveAgentServices);
  EXPECT_FALSE(rec.bSeekIntranet);
  EXPECT_FALSE(rec.bSeekWeb);
  EXPECT_FALSE(rec.bSeekNews);
  EXPECT_TRUE(rec.bSeekJobs);
  EXPECT_FALSE(rec.bSeekStocks);
}

TEST(AgentOptionsTest, ShortFileIsNoRecordAndLongerFileReadsRecordOne) {
  AgentOptions rec;
  EXPECT_FALSE(DecodeAgentOptions(Bytes(12811, 0xFF), rec));
  EXPECT_FALSE(DecodeAgentOptions(Bytes(), rec));
  AgentOptions in;
  in.sActiveHost[0].Assign("alpha");
  Bytes b = EncodeAgentOptions(in);
  b.resize(20000, 0x41);
  ASSERT_TRUE(DecodeAgentOptions(b, rec));
  EXPECT_EQ(rec.sActiveHost[0].Trimmed(), "alpha");
}

TEST(AgentInfoRecordTest, LayoutOfTheRecord) {
  AgentInfoRecord rec;
  rec.sHostName.Assign("PC7");
  rec.Users[0].sUserName.Assign("ann");
  rec.Users[0].sContext.Assign("ctx1");
  rec.Users[63].sUserName.Assign("zed");
  const Bytes b = EncodeAgentInfoRecord(rec);
  ASSERT_EQ(b.size(), 8256u);
  EXPECT_EQ(std::string(b.begin(), b.begin() + 3), "PC7");
  EXPECT_EQ(std::string(b.begin() + 64, b.begin() + 67), "ann");
  EXPECT_EQ(std::string(b.begin() + 128, b.begin() + 132), "ctx1");
  EXPECT_EQ(std::string(b.begin() + 64 + 128 * 63, b.begin() + 67 + 128 * 63), "zed");
  // A context never assigned stays zero bytes.
  EXPECT_EQ(std::string(b.begin() + 128 + 128 * 63, b.end()), std::string(64, '\0'));
}

TEST(AgentInfoRecordTest, DecodeReadsWholeRecordsOnly) {
  AgentInfoRecord a;
  a.sHostName.Assign("alpha");
  AgentInfoRecord b;
  b.sHostName.Assign("beta");
  b.Users[5].sContext.Assign("sales");
  Bytes file = EncodeAgentInfoRecord(a);
  const Bytes second = EncodeAgentInfoRecord(b);
  file.insert(file.end(), second.begin(), second.end());
  file.resize(file.size() + 100, 'x');  // a partial third record

  AgentInfoRecord rec;
  EXPECT_FALSE(DecodeAgentInfoRecord(file, 0, rec));
  ASSERT_TRUE(DecodeAgentInfoRecord(file, 1, rec));
  EXPECT_EQ(rec.sHostName.Trimmed(), "alpha");
  ASSERT_TRUE(DecodeAgentInfoRecord(file, 2, rec));
  EXPECT_EQ(rec.sHostName.Trimmed(), "beta");
  EXPECT_EQ(rec.Users[5].sContext.Trimmed(), "sales");
  EXPECT_EQ(EncodeAgentInfoRecord(rec), second);
  EXPECT_FALSE(DecodeAgentInfoRecord(file, 3, rec));
}

}  // namespace
}  // namespace launchagent
