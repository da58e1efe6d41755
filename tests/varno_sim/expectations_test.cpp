// Transcript lines, expectations against them, and the varno-sim command line.
#include "expectations.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli.h"
#include "scenario.h"

namespace launchagent::scenario {
namespace {

constexpr Nanos kS = kNanosPerSecond;

TEST(Transcript, ParsesTheWorldsLines) {
  struct Case {
    std::string sLine;
    bool bOk;
    Nanos t;
    std::string sHost, sKind, sText;
  };
  const std::vector<Case> cases = {
      {"00:00:01.000 pc07 log Launch Service", true, kS, "pc07", "log", "Launch Service"},
      {"00:00:01.250 pc07 log Verifying Agent  pc12", true, kS + kS / 4, "pc07", "log",
       "Verifying Agent  pc12"},
      {"00:00:02.000 pc07 log ", true, 2 * kS, "pc07", "log", ""},
      {"00:00:02.000 pc07 log", true, 2 * kS, "pc07", "log", ""},
      {"00:00:02.000 pc07 log  leading blank", true, 2 * kS, "pc07", "log", " leading blank"},
      {"123:00:00.000 - note world", true, 123 * 3600 * kS, "-", "note", "world"},
      {"", false, 0, "", "", ""},
      {"garbage", false, 0, "", "", ""},
      {"00:00:01.000", false, 0, "", "", ""},
      {"00:00:01.000 pc07", false, 0, "", "", ""},
      {"12 pc07 log x", false, 0, "", "", ""},
      {"00:00:01.000  pc07 log x", false, 0, "", "", ""},
  };
  for (const Case& c : cases) {
    const auto e = ParseTranscriptLine(c.sLine);
    ASSERT_EQ(e.has_value(), c.bOk) << c.sLine;
    if (!e) continue;
    EXPECT_EQ(e->t, c.t) << c.sLine;
    EXPECT_EQ(e->sHost, c.sHost) << c.sLine;
    EXPECT_EQ(e->sKind, c.sKind) << c.sLine;
    EXPECT_EQ(e->sText, c.sText) << c.sLine;
  }
  EXPECT_EQ(ParseTranscript({"x", "00:00:01.000 a log y", "z"}).size(), 1u);
}

// One expectation line against a fixed transcript.
struct ExpectCase {
  std::string sExpect;
  bool bMet;
  std::string sWhyPart;  // part of the failure message
};

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
  const std::vector<ExpectCase> cases = {
      {"expect pc07 log \"Verification completed.\"", true, ""},
      {"expect PC07 log \"Verification completed.\"", true, ""},
      {"expect pc07 log \"Verification completed\"", false, "no matching line during the run"},
      {"expect pc07 log contains \"CheckIn (pc07)\" before 00:00:02", true, ""},
      {"expect pc07 log contains \"CheckIn (pc07)\" between 00:00:02 00:00:30", false,
       "no matching line between 00:00:02.000 and 00:00:30.000; one came at 00:00:01.000"},
      {"expect pc07 log contains \"CheckIn (\" times 3", true, ""},
      {"expect pc07 log contains \"CheckIn (\" after 00:00:02 times 2", true, ""},
      {"expect pc07 log contains \"CheckIn (\" times 2", false,
       "found 3 matching lines during the run, first 00:00:01.000 pc07 log Verifying"},
      {"expect pc07 log contains \"nothing\" times 0", true, ""},
      {"expect never pc07 log contains \"Winsock\"", true, ""},
      {"expect never * log contains \"Winsock\"", false,
       "found 00:01:01.000 pc12 log Winsock.dll is not responding."},
      {"expect never * log contains \"Winsock\" before 00:01:00", true, ""},
      {"expect pc07 window contains \"Launch Service for Varno\"", true, ""},
      {"expect pc07 log contains \"Launch Service for Varno\"", false, "no matching line"},
      {"expect * any contains \"CurrentVersion\\Run 1=x\"", true, ""},
      {"expect pc12 registry contains \"Run\" after 00:01:02", true, ""},
      {"expect pc12 registry contains \"Run\" after 00:01:02.001", false, "from 00:01:02.001"},
  };
  for (const ExpectCase& c : cases) {
    const ParseResult r =
        ParseScenario("host pc07\nhost pc12\nrun until 00:05:00\n" + c.sExpect + "\n", "t.scn");
    ASSERT_TRUE(r.Ok()) << c.sExpect << ": " << r.errors[0].sMessage;
    const auto failures = CheckExpectations(r.scenario, ParseTranscript(transcript));
    if (c.bMet) {
      EXPECT_TRUE(failures.empty()) << c.sExpect << ": " << failures[0].sMessage;
      continue;
    }
    ASSERT_EQ(failures.size(), 1u) << c.sExpect;
    EXPECT_EQ(failures[0].nLine, 4);
    EXPECT_NE(failures[0].sMessage.find(c.sExpect), std::string::npos) << failures[0].sMessage;
    EXPECT_NE(failures[0].sMessage.find(c.sWhyPart), std::string::npos) << failures[0].sMessage;
  }
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
  struct Case {
    std::vector<std::string> args;
    bool bOk;
    std::string sErrorPart;
  };
  const std::vector<Case> cases = {
      {{"a.scn"}, true, ""},
      {{"--check", "--quiet", "--net", "--determinism", "--seed", "7", "a.scn"}, true, ""},
      {{"--seed=9", "a.scn"}, true, ""},
      {{"--help"}, true, ""},
      {{}, false, "no scenario file"},
      {{"--seed"}, false, "--seed needs a number"},
      {{"--seed", "x", "a.scn"}, false, "whole number"},
      {{"--seed=-1", "a.scn"}, false, "whole number"},
      {{"--fast", "a.scn"}, false, "unknown option '--fast'"},
      {{"a.scn", "b.scn"}, false, "one scenario file only"},
  };
  for (const Case& c : cases) {
    std::string sError;
    const auto cl = ParseCommandLine(c.args, sError);
    ASSERT_EQ(cl.has_value(), c.bOk) << sError;
    if (!c.bOk) {
      EXPECT_NE(sError.find(c.sErrorPart), std::string::npos) << sError;
    }
  }
  std::string sError;
  const auto cl = ParseCommandLine({"--check", "--seed", "7", "x.scn"}, sError);
  ASSERT_TRUE(cl);
  EXPECT_TRUE(cl->bCheck);
  EXPECT_FALSE(cl->bQuiet);
  EXPECT_EQ(cl->lngSeed, 7u);
  EXPECT_EQ(cl->sFile, "x.scn");
  EXPECT_NE(UsageText().find("--determinism"), std::string::npos);
}

}  // namespace
}  // namespace launchagent::scenario
