// Transcript lines, expectations against them, and the varno-sim command line.
#include "expectations.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "cli.h"
#include "scenario.h"

namespace launchagent::scenario {
namespace {

constexpr Nanos kS = kNanosPerSecond;

TEST(Transcript, ParsesTheWorldsLines) {
  struct Case {
    std::string sLine;
    Nanos t;
    std::string sHost, sKind, sText;
  };
  const std::vector<Case> cases = {
      {"00:00:01.000 pc07 log Launch Service", kS, "pc07", "log", "Launch Service"},
      {"00:00:01.250 pc07 log Verifying Agent  pc12", kS + kS / 4, "pc07", "log",
       "Verifying Agent  pc12"},
      {"00:00:02.000 pc07 log ", 2 * kS, "pc07", "log", ""},
      {"00:00:02.000 pc07 log", 2 * kS, "pc07", "log", ""},
      {"00:00:02.000 pc07 log  leading blank", 2 * kS, "pc07", "log", " leading blank"},
      {"123:00:00.000 - note world", 123 * 3600 * kS, "-", "note", "world"},
  };
  for (const Case& c : cases) {
    const auto e = ParseTranscriptLine(c.sLine);
    ASSERT_TRUE(e.has_value()) << c.sLine;
    EXPECT_EQ(std::tie(e->t, e->sHost, e->sKind, e->sText),
              std::tie(c.t, c.sHost, c.sKind, c.sText));
  }
  for (const char* sz : {"", "garbage", "00:00:01.000", "00:00:01.000 pc07", "12 pc07 log x",
                         "00:00:01.000  pc07 log x"}) {
    EXPECT_FALSE(ParseTranscriptLine(sz).has_value()) << sz;
  }
  EXPECT_EQ(ParseTranscript({"x", "00:00:01.000 a log y", "z"}).size(), 1u);
}

// Each expectation (line 4, chain lines after it) against the transcript, with part of
// the failure message ("": met). A failure names the expectation's line and text.
void ExpectOutcomes(const std::vector<std::string>& transcript,
                    const std::vector<std::pair<std::string, std::string>>& cases) {
  for (const auto& [sExpect, sWhyPart] : cases) {
    const ParseResult r =
        ParseScenario("host pc07\nhost pc12\nrun until 00:05:00\n" + sExpect + "\n", "t.scn");
    ASSERT_TRUE(r.Ok()) << sExpect << ": " << r.errors[0].sMessage;
    const auto failures = CheckExpectations(r.scenario, ParseTranscript(transcript));
    ASSERT_EQ(failures.size(), sWhyPart.empty() ? 0u : 1u) << sExpect;
    if (failures.empty()) continue;
    EXPECT_EQ(failures[0].nLine, 4);
    EXPECT_NE(failures[0].sMessage.find(sExpect.substr(0, sExpect.find('\n'))), std::string::npos)
        << failures[0].sMessage;
    EXPECT_NE(failures[0].sMessage.find(sWhyPart), std::string::npos) << failures[0].sMessage;
  }
}

TEST(Expectations, AreMetOrNamedWithTheReason) {
  const std::vector<std::string> transcript = {
      "00:00:00.500 pc07 window shown frmLaunch \"Launch Service for Varno\"",
      "00:00:01.000 pc07 log Verifying Agent CheckIn (pc07) ...",
      "00:00:01.000 pc07 log Verification completed.",
      "00:00:31.000 pc07 log Verifying Agent CheckIn (pc07) ...",
      "00:00:31.000 pc07 log Verification completed.",
      "00:01:01.000 pc07 log Verifying Agent CheckIn (pc07) ...",
      "00:01:01.000 pc12 log Winsock.dll is not responding.",
      "00:01:02.000 pc12 registry HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Run 1=x",
  };
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"expect pc07 log \"Verification completed.\"", ""},
      {"expect PC07 log \"Verification completed.\"", ""},
      {"expect pc07 log \"Verification completed\"", "no matching line during the run"},
      {"expect pc07 log contains \"CheckIn (pc07)\" before 00:00:02", ""},
      {"expect pc07 log contains \"CheckIn (pc07)\" between 00:00:02 00:00:30",
       "no matching line between 00:00:02.000 and 00:00:30.000; one came at 00:00:01.000"},
      {"expect pc07 log contains \"CheckIn (\" times 3", ""},
      {"expect pc07 log contains \"CheckIn (\" after 00:00:02 times 2", ""},
      {"expect pc07 log contains \"CheckIn (\" times 2",
       "found 3 matching lines during the run, first 00:00:01.000 pc07 log Verifying"},
      {"expect pc07 log contains \"nothing\" times 0", ""},
      {"expect never pc07 log contains \"Winsock\"", ""},
      {"expect never * log contains \"Winsock\"",
       "found 00:01:01.000 pc12 log Winsock.dll is not responding."},
      {"expect never * log contains \"Winsock\" before 00:01:00", ""},
      {"expect pc07 window contains \"Launch Service for Varno\"", ""},
      {"expect pc07 log contains \"Launch Service for Varno\"", "no matching line"},
      {"expect * any contains \"CurrentVersion\\Run 1=x\"", ""},
      {"expect pc12 registry contains \"Run\" after 00:01:02", ""},
      {"expect pc12 registry contains \"Run\" after 00:01:02.001", "from 00:01:02.001"},
  };
  ExpectOutcomes(transcript, cases);
}

TEST(Expectations, FollowInOrder) {
  const std::vector<std::string> transcript = {
      "00:00:01.000 pc07 log A", "00:00:01.000 pc12 log X", "00:00:01.000 pc07 log B",
      "00:00:02.000 pc07 log A", "00:00:02.000 pc07 log C", "00:00:03.000 pc12 log Y",
      "00:00:03.000 pc07 log B",
  };
  // An expectation with its chain lines.
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"expect pc07 log \"A\"\nnext pc07 log \"B\"", ""},  // pc12's line in between
      {"expect pc07 log \"A\"\nnext * log \"X\"", "no 'next' line of line 5"},
      {"expect pc07 log \"A\"\nnext pc07 log \"C\"\nthen pc12 log \"Y\"", ""},
      // The first A is not followed by C; the second is.
      {"expect pc07 log \"A\"\nnext pc07 log \"C\"\nnext pc07 log \"B\"", ""},
      {"expect pc07 log \"B\"\nthen pc07 log \"C\"", ""},
      {"expect pc07 log \"C\"\nthen pc07 log \"A\"", "no 'then' line of line 5"},
      {"expect pc07 log \"A\"\nthen pc07 log \"C\"\nthen pc12 log \"X\"",
       "no 'then' line of line 6"},
      {"expect pc07 log \"A\" after 00:00:02\nnext pc07 log \"B\"", "no 'next' line of line 5"},
      {"expect pc07 log \"Z\"\nthen pc07 log \"A\"", "no matching line during the run"},
  };
  ExpectOutcomes(transcript, cases);
}

TEST(Expectations, FirstDifferenceOfTwoRuns) {
  using V = std::vector<std::string>;
  EXPECT_EQ(FirstDifference(V{"a", "b"}, V{"a", "b"}), std::nullopt);
  EXPECT_EQ(FirstDifference(V{"a", "b"}, V{"a", "c"}), 1u);
  EXPECT_EQ(FirstDifference(V{"a"}, V{"a", "b"}), 1u);
  EXPECT_EQ(FirstDifference(V{"a ", "b"}, V{"a", "b"}), 0u);
  EXPECT_EQ(FirstDifference(V{}, V{}), std::nullopt);
}

TEST(CommandLine, OptionsAndMistakes) {
  // The arguments, the report page named, and part of the error (none when taken).
  struct Case {
    std::vector<std::string> args;
    std::string sReport, sError;
  };
  const std::vector<Case> cases = {
      {{"a.scn"}, "", ""},
      {{"--check", "--quiet", "--net", "--determinism", "--seed", "7", "a.scn"}, "", ""},
      {{"--seed=9", "a.scn"}, "", ""},
      {{"--report", "r.html", "a.scn"}, "r.html", ""},
      {{"a.scn", "--report=out/r.html", "--quiet"}, "out/r.html", ""},
      {{}, "", "no scenario file"},
      {{"--seed"}, "", "--seed needs a number"},
      {{"--seed", "x", "a.scn"}, "", "whole number"},
      {{"--seed=-1", "a.scn"}, "", "whole number"},
      {{"--fast", "a.scn"}, "", "unknown option '--fast'"},
      {{"a.scn", "b.scn"}, "", "one scenario file only"},
      {{"a.scn", "--report"}, "", "--report needs a file name"},
      {{"--report=", "a.scn"}, "", "--report needs a file name"},
      {{"--report", "a.scn"}, "", "no scenario file"},  // the page is never the scenario
  };
  for (const Case& c : cases) {
    std::string sError;
    const auto cl = ParseCommandLine(c.args, sError);
    ASSERT_EQ(cl.has_value(), c.sError.empty()) << sError;
    EXPECT_NE(sError.find(c.sError), std::string::npos) << sError;
    if (!cl) continue;
    EXPECT_EQ(cl->sReport, c.sReport);
    EXPECT_EQ(cl->sFile, "a.scn");
  }
  std::string sError;
  const auto cl = ParseCommandLine({"--check", "--seed", "7", "x.scn"}, sError);
  ASSERT_TRUE(cl);
  EXPECT_TRUE(cl->bCheck);
  EXPECT_FALSE(cl->bQuiet);
  EXPECT_EQ(cl->lngSeed, 7u);
  EXPECT_TRUE(ParseCommandLine({"--help"}, sError).value().bHelp);
  EXPECT_NE(UsageText().find("--determinism"), std::string::npos);
  EXPECT_NE(UsageText().find("--report OUT.html"), std::string::npos);
}

}  // namespace
}  // namespace launchagent::scenario
