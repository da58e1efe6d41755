#pragma once
// The varno-sim command line.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace launchagent::scenario {

struct CommandLine {
  std::optional<std::uint64_t> lngSeed;  // overrides the scenario's seed
  bool bCheck = false;                   // check the expectations; exit 1 when one fails
  bool bDeterminism = false;             // run twice and compare the transcripts
  bool bQuiet = false;                   // no transcript on standard output
  bool bNet = false;                     // network events in the transcript
  bool bHelp = false;
  std::string sReport;  // write the picture of the run into this HTML file
  std::string sFile;
};

// args without the program name. nullopt with sError on a bad command line.
std::optional<CommandLine> ParseCommandLine(const std::vector<std::string>& args,
                                            std::string& sError);
std::string UsageText();

}  // namespace launchagent::scenario
