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
  // A seeded fault campaign instead of a scenario file.
  bool bCampaign = false;
  std::uint64_t lngFirstSeed = 1;
  std::uint64_t lngLastSeed = 200;
  int nHosts = 3;
  double dHours = 1.0;
};

// args without the program name. nullopt with sError on a bad command line.
std::optional<CommandLine> ParseCommandLine(const std::vector<std::string>& args,
                                            std::string& sError);
std::string UsageText();

}  // namespace launchagent::scenario
