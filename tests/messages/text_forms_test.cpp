#include "messages/text_forms.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace launchagent::text_forms {
namespace {

TEST(TextFormsTest, WholeNumbersAndFlags) {
  EXPECT_EQ(BareForm(4) + BareForm(-3) + BareForm(0), "4-30");
  EXPECT_EQ(SignedForm(Integer{1230}) + SignedForm(Integer{0}) + SignedForm(Integer{-3}),
            " 1230 0-3");
  EXPECT_EQ(SignedForm(Long{-2147483647 - 1}) + SignedForm(std::int64_t{40000}),
            "-2147483648 40000");
  EXPECT_EQ(FlagForm(true) + FlagForm(false), "TrueFalse");
}

TEST(TextFormsTest, SinglesInSignedForm) {
  // At most seven significant digits; exponent form outside 1E-04 to 9999999. Rounding to
  // seven digits may move the exponent (9.9999997E-05 shows as .0001).
  constexpr Single kMax = std::numeric_limits<Single>::max();
  constexpr Single kMin = std::numeric_limits<Single>::denorm_min();
  const std::vector<std::pair<Single, const char*>> simple = {
      {0.0f, " 0"}, {-0.0f, " 0"}, {1230.0f, " 1230"}, {-3.0f, "-3"}, {0.5f, " .5"}, {-0.5f, "-.5"},
  };
  const std::vector<std::pair<Single, const char*>> fractions = {
      {0.7055475f, " .7055475"}, {0.0001f, " .0001"},        {0.099999994f, " .09999999"},
      {123.456f, " 123.456"},    {0.99999994f, " .9999999"}, {9.9999997e-5f, " .0001"},
      {9999999.0f, " 9999999"},
  };
  const std::vector<std::pair<Single, const char*>> longer = {
      {0x1p-24f, " 5.960464E-08"}, {0.00001f, " 1E-05"},
      {10000000.0f, " 1E+07"},     {12345678.0f, " 1.234568E+07"},
      {-2.5e-10f, "-2.5E-10"},     {kMax, " 3.402823E+38"},
      {kMin, " 1.401298E-45"},     {0.00012345678f, " .0001234568"},
  };
  for (const auto& table : {simple, fractions, longer}) {
    for (const auto& [sgl, szSigned] : table) EXPECT_EQ(SignedForm(sgl), szSigned) << sgl;
  }
  // Decimal text: the same digits, no blank, a zero before the point.
  const std::vector<std::pair<Single, const char*>> decimals = {
      {0.7055475f, "0.7055475"}, {0x1p-24f, "5.960464E-08"}, {12345678.0f, "1.234568E+07"},
      {-2.5e-10f, "-2.5E-10"},   {9.9999997e-5f, "0.0001"},  {0.00012345678f, "0.0001234568"},
      {-0.5f, "-0.5"},           {1230.0f, "1230"},
  };
  EXPECT_EQ(DecimalText(-0.0f), "0");
  for (const auto& [sgl, szDecimal] : decimals) EXPECT_EQ(DecimalText(sgl), szDecimal) << sgl;
}

TEST(TextFormsTest, LenientNumbers) {
  // The longest leading number after blanks.
  const std::vector<std::pair<std::string, double>> cases = {
      {" 4", 4.0},     {"   -3.5xyz", -3.5}, {"\t12", 12.0},
      {"+7", 7.0},     {".5", 0.5},          {"5.", 5.0},
      {"1E3", 1000.0}, {"1e+3", 1000.0},     {"2.5E-1", 0.25},
      {"1E", 1.0},     {"1E+", 1.0},         {"1Ex", 1.0},
      {"1 2", 1.0},    {"12abc34", 12.0},    {"000000000000000000000000001", 1.0},
  };
  for (const auto& [sText, d] : cases) EXPECT_EQ(ReadNumber(sText), d) << sText;
  // No number, or one too small for a double, reads as 0; only one too large fails.
  const std::string sZeros(400, '0');
  for (const std::string& s :
       std::vector<std::string>{"", "abc", "True", "-", ".", "-.", "0x10", "1e-999", "0e999999",
                                "1e-99999999999999999999", "0." + sZeros + "1"}) {
    EXPECT_EQ(ReadNumber(s), 0.0) << s;
  }
  for (const std::string& s :
       std::vector<std::string>{"1e999", "-1e999", "1e99999999999999999999", "1" + sZeros}) {
    EXPECT_EQ(ReadNumber(s), std::nullopt) << s;
  }
  // Long digit strings are read whole: about 1E+10.
  const auto d = ReadNumber(std::string(5000, '9') + "e-4990");
  ASSERT_TRUE(d.has_value());
  EXPECT_NEAR(*d, 1e10, 1e-3);
}

TEST(TextFormsTest, WholeNumberFieldsRoundHalfToEven) {
  const auto kFails = std::nullopt;
  const std::vector<std::pair<const char*, std::optional<Integer>>> cases = {
      {" 1230", 1230},     {"2.5", 2},         {"3.5", 4},           {"-2.5", -2},
      {"-3.5", -4},        {"0.5", 0},         {"-0.5", 0},          {"1.5", 2},
      {"2.4999", 2},       {"2.5001", 3},      {"-7.7", -8},         {"", 0},
      {"junk", 0},         {"1e4", 10000},     {"32767", 32767},     {"32767.49", 32767},
      {"32767.5", kFails}, {"-32768", -32768}, {"-32768.5", -32768}, {"-32768.51", kFails},
      {"-32769", kFails},  {"40000", kFails},  {"1e5", kFails},      {"1e999", kFails},
  };
  for (const auto& [szText, n] : cases) EXPECT_EQ(ReadInteger(szText), n) << szText;
  const std::vector<std::pair<const char*, std::optional<Long>>> longs = {
      {"2147483647", 2147483647},
      {"2147483648", kFails},
      {"-2147483648", -2147483647 - 1},
      {"-2147483649", kFails},
      {" 4", 4},
      {"4.5", 4},
      {"70000", 70000},
  };
  for (const auto& [szText, n] : longs) EXPECT_EQ(ReadLong(szText), n) << szText;
}

TEST(TextFormsTest, SingleFields) {
  constexpr Single kMax = std::numeric_limits<Single>::max();
  const std::vector<std::pair<const char*, std::optional<Single>>> cases = {
      {" .7055475", 0.7055475f}, {" 0", 0.0f},
      {"3.4028235E+38", kMax},   {"-3.4028235E+38", -kMax},
      {"3.5E+38", std::nullopt}, {"1E+300", std::nullopt},
      {"1E-50", 0.0f},
  };
  for (const auto& [szText, sgl] : cases) EXPECT_EQ(ReadSingle(szText), sgl) << szText;
  // Seven digits bring back the text, if not always every bit.
  const auto sgl = ReadSingle(" 5.960464E-08");
  ASSERT_TRUE(sgl.has_value());
  EXPECT_EQ(SignedForm(*sgl), " 5.960464E-08");
  EXPECT_NEAR(*sgl, 0x1p-24f, 1e-14);
}

TEST(TextFormsTest, StringToBoolean) {
  // Only "TRUE" in any letter case, with blanks around it.
  const std::pair<const char*, bool> cases[] = {
      {"TRUE", true},   {"True", true},   {"true", true},   {"  true  ", true}, {"tRuE", true},
      {"\ttrue", true}, {"", false},      {"1", false},     {"-1", false},      {"False", false},
      {"yes", false},   {"TRUE.", false}, {"T RUE", false}, {"truer", false},   {"   ", false}};
  for (const auto& [sz, b] : cases) EXPECT_EQ(StringToBoolean(sz), b) << "'" << sz << "'";
}

}  // namespace
}  // namespace launchagent::text_forms
