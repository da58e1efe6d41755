#pragma once
// The text form of a transcript line, "HH:MM:SS.mmm <host> <kind> <text>": written by
// the world, read back by expectations and tests. One writer and one reader, so the two
// can never disagree.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace launchagent::sim {

// Appends "HH:MM:SS.mmm" (hours at least two digits, "-" before a negative time) for a
// time in nanoseconds. Hand-written: the world stamps every line with it.
void AppendClockTime(std::string& out, std::int64_t nanos);
std::string ClockTime(std::int64_t nanos);

struct TranscriptLine {
  std::int64_t t = 0;  // nanoseconds, whole milliseconds
  std::string sHost;   // "-" for the world itself
  std::string sKind;
  std::string sText;
};

// nullopt when the line is not in the transcript's form.
std::optional<TranscriptLine> ParseTranscriptLine(std::string_view sLine);

}  // namespace launchagent::sim
