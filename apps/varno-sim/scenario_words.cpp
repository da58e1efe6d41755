// The words of the scenario language and the values they hold.
#include "scenario_words.h"

#include <cctype>
#include <limits>

#include "platform/sim/transcript_text.h"

namespace launchagent::scenario {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

bool Tokenize(const std::string& sLine, Words& tokens, std::string& sError) {
  std::size_t i = 0;
  const std::size_t n = sLine.size();
  while (i < n) {
    while (i < n && IsBlank(sLine[i])) ++i;
    if (i >= n || sLine[i] == '#') break;
    Token tok;
    while (i < n && !IsBlank(sLine[i])) {
      if (sLine[i] != '"') {
        tok.sText += sLine[i++];
        continue;
      }
      tok.bQuoted = true;
      ++i;
      bool bClosed = false;
      while (i < n) {
        if (sLine[i] == '"') {
          if (i + 1 < n && sLine[i + 1] == '"') {
            tok.sText += '"';
            i += 2;
            continue;
          }
          ++i;
          bClosed = true;
          break;
        }
        tok.sText += sLine[i++];
      }
      if (!bClosed) {
        sError = "unterminated quoted text";
        return false;
      }
    }
    tokens.push_back(std::move(tok));
  }
  return true;
}

std::optional<Nanos> ParseDecimal(const std::string& s, Nanos nUnit) {
  if (s.empty()) return std::nullopt;
  const std::size_t dot = s.find('.');
  const std::string sWhole = s.substr(0, dot);
  const std::string sFrac = dot == std::string::npos ? "" : s.substr(dot + 1);
  if (sWhole.empty() && sFrac.empty()) return std::nullopt;
  for (char c : sWhole + sFrac)
    if (!std::isdigit(static_cast<unsigned char>(c))) return std::nullopt;
  if (dot != std::string::npos && sFrac.empty()) return std::nullopt;
  if (sWhole.size() > 12 || sFrac.size() > 9) return std::nullopt;
  Nanos whole = sWhole.empty() ? 0 : *ParseNumber<Nanos>(sWhole);
  if (whole > std::numeric_limits<Nanos>::max() / nUnit / 2) return std::nullopt;
  Nanos result = whole * nUnit;
  // The fraction of one unit, digit by digit so that no precision is lost.
  Nanos scale = nUnit;
  for (char c : sFrac) {
    scale /= 10;
    result += (c - '0') * scale;
  }
  return result;
}

std::optional<DateTimeParts> ParseStart(const std::string& sDate, const std::string& sTime) {
  DateTimeParts p{};
  if (sDate.size() != 10 || sDate[4] != '-' || sDate[7] != '-') return std::nullopt;
  if (sTime.size() != 8 || sTime[2] != ':' || sTime[5] != ':') return std::nullopt;
  const auto y = ParseNumber<int>(sDate.substr(0, 4));
  const auto mo = ParseNumber<int>(sDate.substr(5, 2));
  const auto d = ParseNumber<int>(sDate.substr(8, 2));
  const auto h = ParseNumber<int>(sTime.substr(0, 2));
  const auto mi = ParseNumber<int>(sTime.substr(3, 2));
  const auto s = ParseNumber<int>(sTime.substr(6, 2));
  if (!y || !mo || !d || !h || !mi || !s) return std::nullopt;
  if (*y < 1900 || *y > 9999 || *mo < 1 || *mo > 12 || *d < 1 || *h > 23 || *mi > 59 || *s > 59)
    return std::nullopt;
  static constexpr int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool bLeap = (*y % 4 == 0 && *y % 100 != 0) || *y % 400 == 0;
  if (*d > kDays[*mo - 1] || (*mo == 2 && *d == 29 && !bLeap)) return std::nullopt;
  p = {*y, *mo, *d, *h, *mi, *s};
  return p;
}

bool IsDottedAddress(const std::string& s) {
  int nParts = 0;
  std::size_t start = 0;
  for (;;) {
    const std::size_t dot = s.find('.', start);
    const std::string part = s.substr(start, dot == std::string::npos ? dot : dot - start);
    if (part.empty() || part.size() > 3) return false;
    const auto v = ParseNumber<int>(part);
    if (!v || *v > 255 || part[0] == '+') return false;
    ++nParts;
    if (dot == std::string::npos) break;
    start = dot + 1;
  }
  return nParts == 4;
}

std::optional<std::int64_t> ParseSize(const std::string& s) {
  std::string sDigits = s;
  std::int64_t nUnit = 1;
  std::string sUnit;
  while (!sDigits.empty() && std::isalpha(static_cast<unsigned char>(sDigits.back()))) {
    sUnit.insert(sUnit.begin(), sDigits.back());
    sDigits.pop_back();
  }
  sUnit = AsciiLower(sUnit);
  if (sUnit == "" || sUnit == "b")
    nUnit = 1;
  else if (sUnit == "k" || sUnit == "kb")
    nUnit = 1024;
  else if (sUnit == "m" || sUnit == "mb")
    nUnit = 1024 * 1024;
  else if (sUnit == "g" || sUnit == "gb")
    nUnit = 1024LL * 1024 * 1024;
  else
    return std::nullopt;
  const auto v = ParseNumber<std::int64_t>(sDigits);
  if (!v || *v < 0 || *v > std::numeric_limits<std::int64_t>::max() / nUnit) return std::nullopt;
  return *v * nUnit;
}

Options SplitOptions(const Words& tokens, std::size_t first) {
  Options o;
  for (std::size_t i = first; i < tokens.size(); ++i) {
    const std::string& s = tokens[i].sText;
    const std::size_t eq = s.find('=');
    if (eq == std::string::npos || eq == 0)
      o.flags.push_back(s);
    else {
      o.values[AsciiLower(s.substr(0, eq))] = s.substr(eq + 1);
      o.ordered.emplace_back(AsciiLower(s.substr(0, eq)), s.substr(eq + 1));
    }
  }
  return o;
}

bool IsDrivePath(const std::string& s) {
  return s.size() >= 3 && std::isalpha(static_cast<unsigned char>(s[0])) && s[1] == ':' &&
         s[2] == '\\';
}

std::string StripTrailingBackslash(std::string s) {
  while (s.size() > 3 && s.back() == '\\') s.pop_back();
  return s;
}

const char* const kDurationUnits = "ms, s, m or h, e.g. 500ms, 2m";

std::optional<Nanos> ParseDuration(const std::string& s) {
  if (s.empty() || s[0] == '-' || s[0] == '+') return std::nullopt;
  if (s.find(':') != std::string::npos) {
    // H:MM:SS[.fff] or MM:SS[.fff]
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
      const std::size_t colon = s.find(':', start);
      parts.push_back(s.substr(start, colon == std::string::npos ? colon : colon - start));
      if (colon == std::string::npos) break;
      start = colon + 1;
    }
    if (parts.size() < 2 || parts.size() > 3) return std::nullopt;
    Nanos total = 0;
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const bool bLast = i + 1 == parts.size();
      const std::string& p = parts[i];
      if (p.empty() || (!bLast && p.find('.') != std::string::npos)) return std::nullopt;
      const auto v = ParseDecimal(p, kNanosPerSecond);
      if (!v) return std::nullopt;
      // Minutes and seconds stay below 60; the first part may be any size.
      if (i > 0 && *v >= 60 * kNanosPerSecond) return std::nullopt;
      if (total > std::numeric_limits<Nanos>::max() / 120) return std::nullopt;
      total = total * 60 + *v;
    }
    return total;
  }
  static const std::pair<const char*, Nanos> kUnits[] = {{"ms", kNanosPerSecond / 1000},
                                                         {"s", kNanosPerSecond},
                                                         {"m", 60 * kNanosPerSecond},
                                                         {"h", 3600 * kNanosPerSecond}};
  for (const auto& [sUnit, nUnit] : kUnits) {
    const std::string u = sUnit;
    if (s.size() > u.size() && s.compare(s.size() - u.size(), u.size(), u) == 0) {
      const std::string sNum = s.substr(0, s.size() - u.size());
      if (!sNum.empty() && std::isdigit(static_cast<unsigned char>(sNum.back())))
        return ParseDecimal(sNum, nUnit);
    }
  }
  return ParseDecimal(s, kNanosPerSecond);
}

std::optional<Nanos> ParseSignedDuration(const std::string& s) {
  if (s.empty()) return std::nullopt;
  if (s[0] == '-' || s[0] == '+') {
    const auto d = ParseDuration(s.substr(1));
    if (!d) return std::nullopt;
    return s[0] == '-' ? -*d : *d;
  }
  return ParseDuration(s);
}

std::string FormatTime(Nanos t) { return sim::ClockTime(t); }

std::optional<std::vector<std::uint8_t>> ParseHex(const std::string& s) {
  std::vector<std::uint8_t> out;
  int nHigh = -1;
  for (char c : s) {
    if (IsBlank(c)) continue;
    int v;
    if (c >= '0' && c <= '9')
      v = c - '0';
    else if (c >= 'a' && c <= 'f')
      v = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F')
      v = c - 'A' + 10;
    else
      return std::nullopt;
    if (nHigh < 0) {
      nHigh = v;
    } else {
      out.push_back(static_cast<std::uint8_t>(nHigh * 16 + v));
      nHigh = -1;
    }
  }
  if (nHigh >= 0) return std::nullopt;
  return out;
}

}  // namespace launchagent::scenario
