#include "messages/text_forms.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace launchagent::text_forms {
namespace {

TEST(TextFormsTest, WholeNumbers) {
  EXPECT_EQ(BareForm(4), "4");
  EXPECT_EQ(BareForm(-3), "-3");
  EXPECT_EQ(BareForm(0), "0");
  EXPECT_EQ(SignedForm(Integer{1230}), " 1230");
  EXPECT_EQ(SignedForm(Integer{0}), " 0");
  EXPECT_EQ(SignedForm(Integer{-3}), "-3");
  EXPECT_EQ(SignedForm(Long{-2147483647 - 1}), "-2147483648");
  EXPECT_EQ(SignedForm(std::int64_t{40000}), " 40000");
  EXPECT_EQ(FlagForm(true), "True");
  EXPECT_EQ(FlagForm(false), "False");
}

TEST(TextFormsTest, SinglesInSignedForm) {
  struct Case {
    Single sgl;
    const char* szSigned;
    const char* szDecimal;
  };
  const std::vector<Case> cases = {
      {0.7055475f, " .7055475", "0.7055475"},
      {0x1p-24f, " 5.960464E-08", "5.960464E-08"},
      {0.0f, " 0", "0"},
      {-0.0f, " 0", "0"},
      {1230.0f, " 1230", "1230"},
      {-3.0f, "-3", "-3"},
      {0.5f, " .5", "0.5"},
      {-0.5f, "-.5", "-0.5"},
      {0.1f, " .1", "0.1"},
      {1.5f, " 1.5", "1.5"},
      {0.0001f, " .0001", "0.0001"},
      {0.00012345678f, " .0001234568", "0.0001234568"},
      {0.00001f, " 1E-05", "1E-05"},
      {0.099999994f, " .09999999", "0.09999999"},
      {1234567.0f, " 1234567", "1234567"},
      {9999999.0f, " 9999999", "9999999"},
      {10000000.0f, " 1E+07", "1E+07"},
      {12345678.0f, " 1.234568E+07", "1.234568E+07"},
      {1e20f, " 1E+20", "1E+20"},
      {-2.5e-10f, "-2.5E-10", "-2.5E-10"},
      {std::numeric_limits<Single>::max(), " 3.402823E+38", "3.402823E+38"},
      {std::numeric_limits<Single>::denorm_min(), " 1.401298E-45", "1.401298E-45"},
      {123.456f, " 123.456", "123.456"},
      {0.99999994f, " .9999999", "0.9999999"},
      {9.9999997e-5f, " .0001", "0.0001"},  // rounding to seven digits moves the exponent
  };
  for (const Case& c : cases) {
    EXPECT_EQ(SignedForm(c.sgl), c.szSigned) << c.szDecimal;
    EXPECT_EQ(DecimalText(c.sgl), c.szDecimal) << c.szSigned;
  }
}

TEST(TextFormsTest, LenientNumbers) {
  struct Case {
    const char* szText;
    std::optional<double> d;
  };
  const std::vector<Case> cases = {
      {"", 0.0},
      {"abc", 0.0},
      {"True", 0.0},
      {" 4", 4.0},
      {"   -3.5xyz", -3.5},
      {"\t12", 12.0},
      {"+7", 7.0},
      {".5", 0.5},
      {"5.", 5.0},
      {"-", 0.0},
      {".", 0.0},
      {"-.", 0.0},
      {"1E3", 1000.0},
      {"1e+3", 1000.0},
      {"2.5E-1", 0.25},
      {"1E", 1.0},
      {"1E+", 1.0},
      {"1Ex", 1.0},
      {"1 2", 1.0},
      {"12abc34", 12.0},
      {"0x10", 0.0},
      {"1e999", std::nullopt},
      {"-1e999", std::nullopt},
      {"1e-999", 0.0},
      {"0e999999", 0.0},
      {"000000000000000000000000000001", 1.0},
      {"1e99999999999999999999", std::nullopt},
      {"1e-99999999999999999999", 0.0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ReadNumber(c.szText), c.d) << c.szText;
  }
  EXPECT_EQ(ReadNumber("1" + std::string(400, '0')), std::nullopt);
  EXPECT_EQ(ReadNumber("0." + std::string(400, '0') + "1"), 0.0);
  // Long digit strings are read whole: about 1E+10.
  const auto d = ReadNumber(std::string(5000, '9') + "e-4990");
  ASSERT_TRUE(d.has_value());
  EXPECT_NEAR(*d, 1e10, 1e-3);
}

TEST(TextFormsTest, WholeNumberFieldsRoundHalfToEven) {
  struct Case {
    const char* szText;
    std::optional<Integer> n;
  };
  const std::vector<Case> cases = {
      {" 1230", 1230},
      {"2.5", 2},
      {"3.5", 4},
      {"-2.5", -2},
      {"-3.5", -4},
      {"0.5", 0},
      {"1.5", 2},
      {"2.4999", 2},
      {"2.5001", 3},
      {"", 0},
      {"junk", 0},
      {"1e4", 10000},
      {"32767", 32767},
      {"32767.49", 32767},
      {"32767.5", std::nullopt},
      {"-32768", -32768},
      {"-32768.5", -32768},
      {"-32768.51", std::nullopt},
      {"-32769", std::nullopt},
      {"40000", std::nullopt},
      {"1e5", std::nullopt},
      {"1e999", std::nullopt},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ReadInteger(c.szText), c.n) << c.szText;
  }
  EXPECT_EQ(ReadLong("2147483647"), 2147483647);
  EXPECT_EQ(ReadLong("2147483648"), std::nullopt);
  EXPECT_EQ(ReadLong("-2147483648"), -2147483647 - 1);
  EXPECT_EQ(ReadLong("-2147483649"), std::nullopt);
  EXPECT_EQ(ReadLong(" 4"), 4);
  EXPECT_EQ(ReadLong("4.5"), 4);
  EXPECT_EQ(ReadLong("70000"), 70000);
}

TEST(TextFormsTest, SingleFields) {
  EXPECT_EQ(ReadSingle(" .7055475"), 0.7055475f);
  EXPECT_EQ(ReadSingle(" 0"), 0.0f);
  EXPECT_EQ(ReadSingle("3.4028235E+38"), std::numeric_limits<Single>::max());
  EXPECT_EQ(ReadSingle("-3.4028235E+38"), -std::numeric_limits<Single>::max());
  EXPECT_EQ(ReadSingle("3.5E+38"), std::nullopt);
  EXPECT_EQ(ReadSingle("1E+300"), std::nullopt);
  EXPECT_EQ(ReadSingle("1E-50"), 0.0f);
  // Seven digits bring back the text, if not always every bit.
  const auto sgl = ReadSingle(" 5.960464E-08");
  ASSERT_TRUE(sgl.has_value());
  EXPECT_EQ(SignedForm(*sgl), " 5.960464E-08");
  EXPECT_NEAR(*sgl, 0x1p-24f, 1e-14);
}

TEST(TextFormsTest, RoundHalfEven) {
  EXPECT_EQ(RoundHalfEven(0.5), 0.0);
  EXPECT_EQ(RoundHalfEven(1.5), 2.0);
  EXPECT_EQ(RoundHalfEven(-1.5), -2.0);
  EXPECT_EQ(RoundHalfEven(-0.5), 0.0);
  EXPECT_EQ(RoundHalfEven(7.2), 7.0);
  EXPECT_EQ(RoundHalfEven(-7.7), -8.0);
}

TEST(TextFormsTest, StringToBoolean) {
  struct Case {
    const char* szText;
    bool b;
  };
  const std::vector<Case> cases = {
      {"TRUE", true},   {"True", true},   {"true", true},   {"  true  ", true}, {"tRuE", true},
      {"\ttrue", true}, {"", false},      {"1", false},     {"-1", false},      {"False", false},
      {"yes", false},   {"TRUE.", false}, {"T RUE", false}, {"truer", false},   {"   ", false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(StringToBoolean(c.szText), c.b) << "'" << c.szText << "'";
  }
}

}  // namespace
}  // namespace launchagent::text_forms
