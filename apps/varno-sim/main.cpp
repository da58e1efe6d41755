// varno-sim: runs a scenario of the simulated LAN and prints its transcript.
#include <fstream>
#include <iostream>
#include <sstream>

#include "campaign/campaign.h"
#include "cli.h"
#include "expectations.h"
#include "report/html_report.h"
#include "report/run_picture.h"
#include "runner.h"
#include "scenario.h"

namespace {

using namespace launchagent::scenario;

constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;
constexpr int kExitBadInput = 2;

void Report(const std::string& sFile, const std::vector<Diagnostic>& list,
            const std::string& sPrefix) {
  for (const Diagnostic& d : list)
    std::cerr << sFile << ":" << d.nLine << ": " << sPrefix << d.sMessage << "\n";
}

bool WritePicture(launchagent::report::RunPicture& picture, const Scenario& scenario,
                  const CommandLine& cl) {
  const Nanos end = scenario.EndTime();
  picture.Finish(end == kEndOfRun ? 0 : end);
  std::ofstream out(cl.sReport, std::ios::binary);
  std::string sTitle = cl.sFile;
  const std::size_t slash = sTitle.find_last_of("/\\");
  if (slash != std::string::npos) sTitle.erase(0, slash + 1);
  launchagent::report::WriteHtmlReport(picture, "varno-sim: " + sTitle, out);
  out.close();
  if (!out) {
    std::cerr << "varno-sim: cannot write " << cl.sReport << "\n";
    return false;
  }
  return true;
}

int Main(const std::vector<std::string>& args) {
  std::string sError;
  const auto cl = ParseCommandLine(args, sError);
  if (!cl) {
    std::cerr << "varno-sim: " << sError << "\n" << UsageText();
    return kExitBadInput;
  }
  if (cl->bHelp) {
    std::cout << UsageText();
    return kExitDone;
  }
  if (cl->bCampaign) {
    launchagent::campaign::CampaignOptions o;
    o.lngFirstSeed = cl->lngFirstSeed;
    o.lngLastSeed = cl->lngLastSeed;
    o.nHosts = cl->nHosts;
    o.dHours = cl->dHours;
    o.bDeterminism = cl->bDeterminism;
    // One seed shows its whole transcript, so that a reported seed can be read through.
    if (o.lngFirstSeed == o.lngLastSeed && !cl->bQuiet)
      o.sink = [](const std::string& s) { std::cout << s << "\n"; };
    return launchagent::campaign::RunCampaign(o, std::cout).bFailed ? kExitFailed : kExitDone;
  }
  std::ifstream in(cl->sFile, std::ios::binary);
  if (!in) {
    std::cerr << "varno-sim: cannot read " << cl->sFile << "\n";
    return kExitBadInput;
  }
  std::ostringstream text;
  text << in.rdbuf();
  const ParseResult parsed = ParseScenario(text.str(), cl->sFile);
  if (!parsed.Ok()) {
    Report(cl->sFile, parsed.errors, "");
    return kExitBadInput;
  }

  RunOptions options;
  options.lngSeed = cl->lngSeed;
  options.bNetEvents = cl->bNet;
  // Only the checks read the whole transcript; printing streams it line by line.
  options.bKeepTranscript = cl->bCheck || cl->bDeterminism;
  // The picture reads the lines as they stream by, like the printer.
  launchagent::report::RunPicture picture;
  const bool bPicture = !cl->sReport.empty();
  if (!cl->bQuiet || bPicture) {
    options.sink = [&picture, bPicture, bPrint = !cl->bQuiet](const std::string& s) {
      if (bPrint) std::cout << s << "\n";
      if (bPicture) picture.Add(s);
    };
  }
  const RunResult first = RunScenario(parsed.scenario, options);
  std::cout.flush();
  if (!first.setupErrors.empty()) {
    Report(cl->sFile, first.setupErrors, "");
    return kExitBadInput;
  }
  if (bPicture && !WritePicture(picture, parsed.scenario, *cl)) return kExitBadInput;

  int nExit = kExitDone;
  if (cl->bCheck) {
    Report(cl->sFile, first.actionErrors, "action failed: ");
    const auto failures = CheckExpectations(parsed.scenario, ParseTranscript(first.transcript));
    for (const Failure& f : failures)
      std::cerr << cl->sFile << ":" << f.nLine << ": " << f.sMessage << "\n";
    const std::size_t nAll = parsed.scenario.expectations.size();
    if (failures.empty() && first.actionErrors.empty()) {
      std::cerr << cl->sFile << ": all " << nAll << " expectations met\n";
    } else {
      std::cerr << cl->sFile << ": " << failures.size() << " of " << nAll
                << " expectations failed, " << first.actionErrors.size() << " actions failed\n";
      nExit = kExitFailed;
    }
  }
  if (cl->bDeterminism) {
    options.sink = nullptr;
    const RunResult second = RunScenario(parsed.scenario, options);
    const auto diff = FirstDifference(first.transcript, second.transcript);
    if (!diff) {
      std::cerr << cl->sFile << ": determinism: both runs wrote the same "
                << first.transcript.size() << " lines\n";
    } else {
      auto line = [](const std::vector<std::string>& t, std::size_t i) {
        return i < t.size() ? t[i] : std::string("(end of transcript)");
      };
      std::cerr << cl->sFile << ": determinism: the runs differ at line " << *diff + 1 << "\n"
                << "  first:  " << line(first.transcript, *diff) << "\n"
                << "  second: " << line(second.transcript, *diff) << "\n";
      nExit = kExitFailed;
    }
  }
  return nExit;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  return Main(args);
}
