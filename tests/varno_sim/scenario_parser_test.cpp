// The scenario language: statements and payload lines. Each mistake and the line it is
// named with: tests/scenarios/bad.
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "messages/property_bag.h"
#include "scenario.h"

namespace launchagent::scenario {
namespace {

constexpr Nanos kS = kNanosPerSecond;

ParseResult Parse(const std::string& s) { return ParseScenario(s, "t.scn"); }

// Every error as "line: message", for readable failures.
std::string Errors(const ParseResult& r) {
  std::string s;
  for (const Diagnostic& d : r.errors) s += std::to_string(d.nLine) + ": " + d.sMessage + "\n";
  return s;
}

// The words of statements that no scenario file's run would show wrong: each change
// the parser could get wrong in the others fails a scenario of tests/scenarios (the
// seed, start, addresses, clocks, sockets faults, texts, options, shares, searches,
// clicks, typing, bags, merged sends; agent folders, starts, two-way partitions, ports
// and '#' in bag values in sim-scenario-words.scn).
TEST(ScenarioParser, ReadsAWholeScenario) {
  const ParseResult r = Parse(R"(host pc07
  agent-folder "C:\Program Files\Launch\"
  folder C:\Data
  file "C:\Program Files\Launch\Varno2.exe" program varno window-delay=5 refuse-close=2
  hidden-file C:\Data\secret.txt text "a ""quoted"" word"
  share \\pc07\c -> C:\
  share-search time=3s
  sockets lookup-fails=pc12,* lookup-time=250ms
  disk C: capacity=10MB
  window ExploreWClass "Varno" refuse-close=all
  name-entry printer 192.168.0.99

host pc12

at 00:00:01 start-agent pc07          # the first agent
at 00:02:00 heal all
at 00:03:00 select pc07 frmAgentSetup.lstActive 0 2
run until 00:05:00
)");
  ASSERT_TRUE(r.Ok()) << Errors(r);
  const Scenario& s = r.scenario;
  ASSERT_EQ(s.hosts.size(), 2u);
  const HostSetup& h = s.hosts[0];
  EXPECT_EQ(h.sAgentFolder, "C:\\Program Files\\Launch");
  ASSERT_EQ(h.files.size(), 2u);
  EXPECT_TRUE(h.files[1].bHidden);
  EXPECT_EQ(h.files[1].sText, "a \"quoted\" word");
  EXPECT_EQ(h.shareSearchTime, 3 * kS);
  const auto& k = h.sockets;
  EXPECT_EQ(std::tie(k.bAllLookupsFail, k.lookupTime), std::make_tuple(true, kS / 4));
  EXPECT_EQ(k.lookupFailures, std::vector<std::string>{"pc12"});
  ASSERT_EQ(h.disks.size(), 1u);
  EXPECT_EQ(h.disks[0].lngCapacity, 10 * 1024 * 1024);
  ASSERT_EQ(h.windows.size(), 1u);
  EXPECT_EQ(std::tie(h.windows[0].sTitle, h.windows[0].nRefuseClose), std::make_tuple("Varno", -1));
  ASSERT_EQ(h.names.size(), 1u);
  EXPECT_EQ(h.names[0].sAddress, "192.168.0.99");

  ASSERT_EQ(s.steps.size(), 4u);
  EXPECT_EQ(s.steps[1].action.sHost, "*");
  EXPECT_TRUE(std::holds_alternative<act::Heal>(s.steps[1].action.what));
  EXPECT_EQ(std::get<act::Select>(s.steps[2].action.what).indexes, (std::vector<int>{0, 2}));
  EXPECT_TRUE(s.steps[3].bRunUntil);
  EXPECT_EQ(s.EndTime(), 300 * kS);
}

// Changes during the run take the words of the host statements they change; the forms
// that tests/scenarios/change-*.scn and send-kept-connection.scn do not run.
TEST(ScenarioParser, ReadsChangesDuringTheRun) {
  const ParseResult r = Parse(R"(host pc07
at 00:00:05 file pc07 "C:\Apps\notes.txt"
| one
|  two
at 00:00:06 hidden-file pc07 C:\Apps\Varno3.exe program varno window-delay=1
at 00:00:07 delete pc07 C:\Apps\
at 00:00:11 visible-shares pc07
at 00:00:13 visible-shares pc07 "default"
at 00:00:15 share-search pc07
at 00:00:17 send pc07 -> pc07:1231 hex 00 01 keep
run until 00:01:00
)");
  ASSERT_TRUE(r.Ok()) << Errors(r);
  const auto& steps = r.scenario.steps;
  ASSERT_EQ(steps.size(), 8u);
  const auto at = [&](std::size_t i) -> const Action& { return steps[i].action; };
  const auto& text = std::get<act::WriteFile>(at(0).what).file;
  EXPECT_EQ(text.sPath, "C:\\Apps\\notes.txt");
  EXPECT_EQ(text.sText, "one\r\n two\r\n");
  const auto& program = std::get<act::WriteFile>(at(1).what).file;
  EXPECT_TRUE(program.bHidden);
  EXPECT_EQ(program.sProgram, "varno");
  EXPECT_EQ(program.options.size(), 1u);
  EXPECT_EQ(std::get<act::Delete>(at(2).what).sPath, "C:\\Apps");
  using Names = std::optional<std::vector<std::string>>;
  EXPECT_EQ(std::get<act::VisibleShares>(at(3).what).names, Names(std::vector<std::string>{}));
  EXPECT_EQ(std::get<act::VisibleShares>(at(4).what).names, Names({"default"}));
  const auto& plain = std::get<act::ShareSearch>(at(5).what);
  EXPECT_EQ(plain.time, std::nullopt);
  EXPECT_FALSE(plain.bError);
  const auto& hex = std::get<act::SendBytes>(at(6).what);
  EXPECT_TRUE(hex.bKeep);
  EXPECT_EQ(hex.nPort, 1231);
  EXPECT_EQ(hex.bytes, (std::vector<std::uint8_t>{0, 1}));
}

TEST(ScenarioParser, CommentsLineEndingsHostCaseAndEmptyTexts) {
  const ParseResult r = Parse(
      "# heading\r\n\r\n   # indented comment\r\nhost PC07 # trailing\r\n"
      "  file C:\\x.txt text \"#1\"\r\n  file C:\\empty.txt\r\n  file C:\\blank.txt\r\n  |\r\n"
      "at 00:00:01 send pc07 -> pc07 bag\r\nrun until 00:00:10\r\nexpect Pc07 log \"x\"\r\n");
  ASSERT_TRUE(r.Ok()) << Errors(r);
  ASSERT_EQ(r.scenario.hosts.size(), 1u);
  EXPECT_EQ(r.scenario.FindHost("pc07"), &r.scenario.hosts[0]);
  EXPECT_EQ(r.scenario.FindHost("pc08"), nullptr);
  const auto& files = r.scenario.hosts[0].files;
  ASSERT_EQ(files.size(), 3u);
  EXPECT_EQ(files[0].sText, "#1");
  EXPECT_EQ(files[1].sText, "");
  EXPECT_EQ(files[2].sText, "\r\n");
  PropertyBag bag;
  ASSERT_TRUE(bag.SetContents(std::get<act::SendBytes>(r.scenario.steps[0].action.what).bytes));
  EXPECT_EQ(bag.Count(), 0u);
}

// What no transcript shows: a negative time's sign, and the values of hex bytes (a send
// shows their count). Every form of time, duration and step: sim-time-forms.scn and
// bad/time-forms.scn.
TEST(ScenarioParser, NegativeTimesAndHexValues) {
  EXPECT_EQ(FormatTime(-kS), "-00:00:01.000");
  EXPECT_EQ(ParseHex("00 ff 7A"), (std::vector<std::uint8_t>{0x00, 0xff, 0x7a}));
}

}  // namespace
}  // namespace launchagent::scenario
