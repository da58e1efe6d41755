#include "cli.h"

#include <charconv>

namespace launchagent::scenario {

namespace {

template <class T>
bool ParseNumber(const std::string& s, T& n) {
  const auto [ptr, ec] = std::from_chars(s.data(), s.data() + s.size(), n);
  return !s.empty() && ec == std::errc() && ptr == s.data() + s.size();
}

// "A..B" or a single seed "A".
bool ParseSeedRange(const std::string& s, std::uint64_t& lngFirst, std::uint64_t& lngLast) {
  const auto nDots = s.find("..");
  if (nDots == std::string::npos) return ParseNumber(s, lngFirst) && ParseNumber(s, lngLast);
  return ParseNumber(s.substr(0, nDots), lngFirst) && ParseNumber(s.substr(nDots + 2), lngLast) &&
         lngFirst <= lngLast;
}

}  // namespace

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
    } else if (a == "--campaign") {
      cl.bCampaign = true;
    } else if (a == "--seeds" || a == "--hosts" || a == "--hours") {
      if (i + 1 >= args.size()) {
        sError = a + " needs a value";
        return std::nullopt;
      }
      const std::string& v = args[++i];
      bool bOk = false;
      if (a == "--seeds") {
        bOk = ParseSeedRange(v, cl.lngFirstSeed, cl.lngLastSeed);
      } else if (a == "--hosts") {
        bOk = ParseNumber(v, cl.nHosts) && cl.nHosts >= 2 && cl.nHosts <= 200;
      } else {
        bOk = ParseNumber(v, cl.dHours) && cl.dHours > 0 && cl.dHours <= 1000;
      }
      if (!bOk) {
        sError =
            "bad value '" + v + "' for " + a + " (--seeds A..B, --hosts 2 to 200, --hours above 0)";
        return std::nullopt;
      }
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
  if (cl.bCampaign && bFile) {
    sError = "--campaign takes no scenario file";
    return std::nullopt;
  }
  if (!bFile && !cl.bHelp && !cl.bCampaign) {
    sError = "no scenario file";
    return std::nullopt;
  }
  return cl;
}

std::string UsageText() {
  return "usage: varno-sim [--seed N] [--check] [--determinism] [--quiet] [--net]\n"
         "                 [--report OUT.html] FILE\n"
         "       varno-sim --campaign [--seeds A..B] [--hosts N] [--hours H]\n"
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
         "                  and each send with its message image, decoded\n"
         "  --report OUT.html  write a picture of the run: a timeline per host with\n"
         "                  the agent, Varno, its own check-in age, faults and\n"
         "                  messages; hovering a mark shows its transcript line\n"
         "  --help          this text\n"
         "\n"
         "A campaign runs seeds A..B (default 1..200): each builds a LAN of 2 to N hosts\n"
         "(default 3), injects faults drawn from the seed for H hours (default 1), heals\n"
         "everything and checks the agents' invariants; it stops at the first broken one\n"
         "(exit 1) and prints the command that replays it. With --determinism each seed\n"
         "runs twice and must write the same transcript.\n"
         "\n"
         "Exit status: 0 done, 1 an expectation failed or the runs differed, 2 bad\n"
         "command line or scenario text (reported as FILE:LINE: message).\n"
         "The language is described in docs/scenario-language.md.\n";
}

}  // namespace launchagent::scenario
