#include "platform/sim/transcript_text.h"

namespace launchagent::sim {

namespace {

constexpr std::int64_t kNanosPerMilli = 1'000'000;

void AppendTwoDigits(std::string& out, std::uint64_t v) {
  out += static_cast<char>('0' + v / 10);
  out += static_cast<char>('0' + v % 10);
}

// Digits of [first, last) as a number; nullopt when empty or not all digits.
std::optional<std::uint64_t> Digits(std::string_view s) {
  if (s.empty() || s.size() > 12) return std::nullopt;
  std::uint64_t v = 0;
  for (char c : s) {
    if (c < '0' || c > '9') return std::nullopt;
    v = v * 10 + static_cast<std::uint64_t>(c - '0');
  }
  return v;
}

// "HH:MM:SS.mmm" as the writer writes it; nanoseconds.
std::optional<std::int64_t> ParseClockTime(std::string_view s) {
  const std::size_t nHours = s.find(':');
  if (nHours == std::string_view::npos || nHours < 2 || s.size() != nHours + 10)
    return std::nullopt;
  if (s[nHours + 3] != ':' || s[nHours + 6] != '.') return std::nullopt;
  const auto h = Digits(s.substr(0, nHours));
  const auto m = Digits(s.substr(nHours + 1, 2));
  const auto sec = Digits(s.substr(nHours + 4, 2));
  const auto ms = Digits(s.substr(nHours + 7, 3));
  if (!h || !m || !sec || !ms || *m > 59 || *sec > 59) return std::nullopt;
  return static_cast<std::int64_t>(((*h * 60 + *m) * 60 + *sec) * 1000 + *ms) * kNanosPerMilli;
}

}  // namespace

void AppendClockTime(std::string& out, std::int64_t nanos) {
  // A negative time shows its size after a minus sign (the parser's diagnostics use it).
  const bool bNegative = nanos < 0;
  const std::uint64_t u =
      bNegative ? static_cast<std::uint64_t>(-(nanos + 1)) + 1 : static_cast<std::uint64_t>(nanos);
  const std::uint64_t ms = u / kNanosPerMilli;
  const std::uint64_t s = ms / 1000;
  if (bNegative) out += '-';
  const std::uint64_t h = s / 3600;
  if (h < 100) {
    AppendTwoDigits(out, h);
  } else {
    out += std::to_string(h);
  }
  out += ':';
  AppendTwoDigits(out, s / 60 % 60);
  out += ':';
  AppendTwoDigits(out, s % 60);
  out += '.';
  out += static_cast<char>('0' + ms % 1000 / 100);
  AppendTwoDigits(out, ms % 100);
}

std::string ClockTime(std::int64_t nanos) {
  std::string s;
  AppendClockTime(s, nanos);
  return s;
}

std::optional<TranscriptLine> ParseTranscriptLine(std::string_view sLine) {
  const std::size_t nTimeEnd = sLine.find(' ');
  if (nTimeEnd == std::string_view::npos) return std::nullopt;
  const auto t = ParseClockTime(sLine.substr(0, nTimeEnd));
  if (!t) return std::nullopt;
  const std::size_t nHostEnd = sLine.find(' ', nTimeEnd + 1);
  if (nHostEnd == std::string_view::npos || nHostEnd == nTimeEnd + 1) return std::nullopt;
  TranscriptLine e;
  e.t = *t;
  e.sHost = sLine.substr(nTimeEnd + 1, nHostEnd - nTimeEnd - 1);
  const std::size_t nKindEnd = sLine.find(' ', nHostEnd + 1);
  if (nKindEnd == nHostEnd + 1) return std::nullopt;
  if (nKindEnd == std::string_view::npos) {
    // A line with empty text may end right after its kind.
    e.sKind = sLine.substr(nHostEnd + 1);
    if (e.sKind.empty()) return std::nullopt;
    return e;
  }
  e.sKind = sLine.substr(nHostEnd + 1, nKindEnd - nHostEnd - 1);
  e.sText = sLine.substr(nKindEnd + 1);
  return e;
}

}  // namespace launchagent::sim
