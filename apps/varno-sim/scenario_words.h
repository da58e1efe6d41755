#pragma once
// The words of the scenario language: splitting a line into words and reading the
// values they hold (numbers, durations, sizes, addresses, paths, NAME=VALUE options).
// The parser's files share these; nothing here knows a statement.
#include <charconv>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/text.h"
#include "scenario.h"

namespace launchagent::scenario {

struct Token {
  std::string sText;
  bool bQuoted = false;
};
using Words = std::vector<Token>;

bool IsBlank(char c);

// Splits one statement line into words. False (with sError) on an unterminated quote.
bool Tokenize(const std::string& sLine, Words& tokens, std::string& sError);

// A whole number, an optional '+' in front; nullopt on anything else.
template <class T>
std::optional<T> ParseNumber(const std::string& s) {
  T value{};
  const char* first = s.data();
  const char* last = s.data() + s.size();
  if (!s.empty() && s[0] == '+') ++first;
  const auto [ptr, ec] = std::from_chars(first, last, value);
  if (ec != std::errc() || ptr != last || first == last) return std::nullopt;
  return value;
}

// Digits with an optional fraction: "05", "1.25". Nanoseconds of that many units.
std::optional<Nanos> ParseDecimal(const std::string& s, Nanos nUnit);

struct DateTimeParts {
  int nYear, nMonth, nDay, nHour, nMinute, nSecond;
};
// "YYYY-MM-DD" "HH:MM:SS", a real calendar date.
std::optional<DateTimeParts> ParseStart(const std::string& sDate, const std::string& sTime);

bool IsDottedAddress(const std::string& s);
// "10MB", "2G", "4096": a byte count.
std::optional<std::int64_t> ParseSize(const std::string& s);
// "C:\..."
bool IsDrivePath(const std::string& s);
std::string StripTrailingBackslash(std::string s);
// The units a duration may carry, for messages.
extern const char* const kDurationUnits;

// "name=value" words after a statement's fixed words; bare words are flags.
struct Options {
  std::map<std::string, std::string> values;
  std::vector<std::pair<std::string, std::string>> ordered;  // as written
  std::vector<std::string> flags;
};
Options SplitOptions(const Words& tokens, std::size_t first);

}  // namespace launchagent::scenario
