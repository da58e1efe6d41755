#pragma once
// Text forms of values. Every value in a message image is text: numbers and flags are
// turned into text when an image is written and read back leniently when it is read.
// The rules are those of the runtime the agents were first written for, so images from
// either side read the same; docs/wire-format.md lists them with examples.
#include <cstdint>
#include <optional>
#include <string>

#include "platform/types.h"

namespace launchagent::text_forms {

// Bare form: digits, a minus sign when negative, no blanks ("4", "-3").
std::string BareForm(std::int64_t n);
// Signed form: one blank when not negative, else a minus sign (" 1230", "-3", " 0").
std::string SignedForm(std::int64_t n);
inline std::string SignedForm(Integer n) { return SignedForm(static_cast<std::int64_t>(n)); }
inline std::string SignedForm(Long n) { return SignedForm(static_cast<std::int64_t>(n)); }
// Signed form of a single-precision number: at most 7 significant digits, trailing
// zeros dropped, no zero before the point (" .7055475", "-.5"), exponent form when the
// decimal exponent lies outside -4 to 6 (" 5.960464E-08", " 1E+07").
std::string SignedForm(Single sgl);
// The number as plain decimal text: the same digits without the blank and with the
// zero before the point ("0.7055475", "5.960464E-08", "-0.5").
std::string DecimalText(Single sgl);
// Flag form: "True" or "False".
std::string FlagForm(bool b);

// Lenient number reading: leading blanks skipped, then the longest leading decimal
// number (sign, digits, ".", digits, exponent); text without one reads as 0. nullopt
// only when the number lies beyond the range of a double.
std::optional<double> ReadNumber(const std::string& sText);
// Whole-number fields: the number rounded to the nearest whole number, a half to the
// even neighbour; nullopt when it does not fit the field.
std::optional<Integer> ReadInteger(const std::string& sText);
std::optional<Long> ReadLong(const std::string& sText);
// Single-precision fields: nullopt when the number does not fit a 32-bit float.
std::optional<Single> ReadSingle(const std::string& sText);
// Rounds half to even (2.5 -> 2, 3.5 -> 4, -2.5 -> -2).
double RoundHalfEven(double d);

// True exactly when the text, stripped of leading and trailing blanks and upper-cased,
// is "TRUE".
bool StringToBoolean(const std::string& sVal);

}  // namespace launchagent::text_forms
