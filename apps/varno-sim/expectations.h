#pragma once
// Transcript lines as the simulated world writes them ("HH:MM:SS.mmm <host> <kind>
// <text>") and the checking of a scenario's expectations against them.
#include <optional>
#include <string>
#include <vector>

#include "platform/sim/transcript_text.h"
#include "scenario.h"

namespace launchagent::scenario {

// The world writes the lines; reading them back is its job too.
using TranscriptEntry = sim::TranscriptLine;
using sim::ParseTranscriptLine;
// The same for every line; lines not in the form are skipped.
std::vector<TranscriptEntry> ParseTranscript(const std::vector<std::string>& lines);

bool Matches(const Expectation& e, const TranscriptEntry& entry);

struct Failure {
  int nLine = 0;
  std::string sMessage;  // what was expected and what the transcript held instead
};

// Every expectation that the transcript does not meet, in scenario order.
std::vector<Failure> CheckExpectations(const Scenario& scenario,
                                       const std::vector<TranscriptEntry>& transcript);

// The first line where two transcripts differ (0-based); nullopt when they are equal.
std::optional<std::size_t> FirstDifference(const std::vector<std::string>& a,
                                           const std::vector<std::string>& b);

}  // namespace launchagent::scenario
