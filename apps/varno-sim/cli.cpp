#include "cli.h"

#include <charconv>

namespace launchagent::scenario {

std::optional<CommandLine> ParseCommandLine(const std::vector<std::string>& args,
                                            std::string& sError) {
  CommandLine cl;
  bool bFile = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--help" || a == "-h") {
      cl.bHelp = true;
    } else if (a == "--check") {
      cl.bCheck = true;
    } else if (a == "--determinism") {
      cl.bDeterminism = true;
    } else if (a == "--quiet") {
      cl.bQuiet = true;
    } else if (a == "--net") {
      cl.bNet = true;
    } else if (a == "--report" || a.rfind("--report=", 0) == 0) {
      if (a == "--report" && i + 1 >= args.size()) {
        sError = "--report needs a file name";
        return std::nullopt;
      }
      cl.sReport = a == "--report" ? args[++i] : a.substr(9);
      if (cl.sReport.empty()) {
        sError = "--report needs a file name";
        return std::nullopt;
      }
    } else if (a == "--seed" || a.rfind("--seed=", 0) == 0) {
      std::string sValue;
      if (a == "--seed") {
        if (i + 1 >= args.size()) {
          sError = "--seed needs a number";
          return std::nullopt;
        }
        sValue = args[++i];
      } else {
        sValue = a.substr(7);
      }
      std::uint64_t n = 0;
      const auto [ptr, ec] = std::from_chars(sValue.data(), sValue.data() + sValue.size(), n);
      if (ec != std::errc() || ptr != sValue.data() + sValue.size() || sValue.empty()) {
        sError = "--seed needs a whole number, not '" + sValue + "'";
        return std::nullopt;
      }
      cl.lngSeed = n;
    } else if (a.size() > 1 && a[0] == '-') {
      sError = "unknown option '" + a + "'";
      return std::nullopt;
    } else if (bFile) {
      sError = "one scenario file only ('" + cl.sFile + "' and '" + a + "')";
      return std::nullopt;
    } else {
      cl.sFile = a;
      bFile = true;
    }
  }
  if (!bFile && !cl.bHelp) {
    sError = "no scenario file";
    return std::nullopt;
  }
  return cl;
}

std::string UsageText() {
  return "usage: varno-sim [--seed N] [--check] [--determinism] [--quiet] [--net]\n"
         "                 [--report OUT.html] FILE\n"
         "\n"
         "Runs a scenario of the simulated LAN and prints its transcript:\n"
         "  HH:MM:SS.mmm HOST KIND TEXT   (virtual time since the start of the run)\n"
         "\n"
         "  --seed N        use seed N instead of the scenario's own\n"
         "  --check         check the scenario's expectations; exit 1 naming each one\n"
         "                  that failed\n"
         "  --determinism   run the scenario twice and report the first line where the\n"
         "                  two transcripts differ (exit 1)\n"
         "  --quiet         do not print the transcript\n"
         "  --net           show network events (connects, accepts, closes, errors)\n"
         "  --report OUT.html  write a picture of the run: a timeline per host with\n"
         "                  the agent, Varno, its own check-in age, faults and\n"
         "                  messages; hovering a mark shows its transcript line\n"
         "  --help          this text\n"
         "\n"
         "Exit status: 0 done, 1 an expectation failed or the runs differed, 2 bad\n"
         "command line or scenario text (reported as FILE:LINE: message).\n"
         "The language is described in docs/scenario-language.md.\n";
}

}  // namespace launchagent::scenario
