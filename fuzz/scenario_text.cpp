// Arbitrary bytes as scenario text: the parser never crashes, and every mistake it
// reports names a line and says what is wrong; a scenario it takes can be checked
// against a transcript. Run:
//   build-fuzz/fuzz/fuzz_scenario_text fuzz/corpus-work fuzz/corpus/scenario_text
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "expectations.h"
#include "scenario.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
  using namespace launchagent::scenario;
  const std::string sText(reinterpret_cast<const char*>(pData), nSize);
  const ParseResult r = ParseScenario(sText, "fuzz.scn");
  for (const Diagnostic& d : r.errors) {
    if (d.nLine < 0 || d.sMessage.empty()) std::abort();
  }
  if (r.Ok()) CheckExpectations(r.scenario, ParseTranscript({"00:00:01.000 a log x"}));
  (void)ParseDuration(sText);
  (void)ParseSignedDuration(sText);
  (void)ParseHex(sText);
  return 0;
}
