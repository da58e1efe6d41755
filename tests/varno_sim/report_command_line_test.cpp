// --report takes the page's file name in either form and never the scenario's.
#include <gtest/gtest.h>

#include "cli.h"

namespace launchagent::scenario {
namespace {

TEST(CommandLine, ReportNamesItsPage) {
  // The arguments, the page named, and part of the error (none when taken).
  struct Case {
    std::vector<std::string> args;
    std::string sReport;
    std::string sError;
  };
  const std::vector<Case> cases = {
      {{"--report", "r.html", "a.scn"}, "r.html", ""},
      {{"a.scn", "--report=out/r.html", "--quiet"}, "out/r.html", ""},
      {{"--check", "a.scn"}, "", ""},
      {{"a.scn", "--report"}, "", "--report needs a file name"},
      {{"--report=", "a.scn"}, "", "--report needs a file name"},
      {{"--report", "a.scn"}, "", "no scenario file"},
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
  EXPECT_NE(UsageText().find("--report OUT.html"), std::string::npos);
}

}  // namespace
}  // namespace launchagent::scenario
