// The scenario language: statements, payload lines, diagnostics with their lines.
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
// clicks, typing, bags, merged sends) or the expectation tests.
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
at 00:00:02 start-agent pc12 folder=C:\Agent
at 00:00:03 start pc07 "C:\Program Files\Launch\Varno2.exe" -ReindexVarno anna
at 0:01:00 partition pc07 <-> pc12 for 30s
at 00:02:00 heal all
at 00:02:00 send pc12 -> pc07:1231 hex 0a 0B ff
at 00:02:01 send pc12 -> pc07 bag
| HostName=pc12 # not a comment
at 00:03:00 select pc07 frmAgentSetup.lstActive 0 2
run until 00:05:00
)");
  ASSERT_TRUE(r.Ok()) << Errors(r);
  const Scenario& s = r.scenario;
  ASSERT_EQ(s.hosts.size(), 2u);
  EXPECT_EQ(s.hosts[1].sAgentFolder, kDefaultAgentFolder);
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

  ASSERT_EQ(s.steps.size(), 9u);
  EXPECT_EQ(std::get<act::StartAgent>(s.steps[1].action.what).sFolder, "C:\\Agent");
  const auto& start = std::get<act::Start>(s.steps[2].action.what);
  EXPECT_EQ(std::tie(start.sPath, start.sParameters),
            std::make_tuple("C:\\Program Files\\Launch\\Varno2.exe", "-ReindexVarno anna"));
  const Action& part = s.steps[3].action;
  EXPECT_EQ(std::tie(part.bBothWays, part.at), std::make_tuple(true, 60 * kS));
  EXPECT_EQ(s.steps[4].action.sHost, "*");
  EXPECT_TRUE(std::holds_alternative<act::Heal>(s.steps[4].action.what));
  EXPECT_EQ(std::get<act::SendBytes>(s.steps[5].action.what).nPort, 1231);
  const auto& sent = std::get<act::SendBytes>(s.steps[6].action.what);
  PropertyBag bag;
  ASSERT_TRUE(bag.SetContents(sent.bytes));
  EXPECT_EQ(sent.nPort, 1230);
  EXPECT_EQ(bag.ReadProperty("HostName"), "pc12 # not a comment");
  EXPECT_EQ(std::get<act::Select>(s.steps[7].action.what).indexes, (std::vector<int>{0, 2}));
  EXPECT_TRUE(s.steps[8].bRunUntil);
  EXPECT_EQ(s.EndTime(), 300 * kS);
}

TEST(ScenarioParser, ReportsEachMistakeWithItsLine) {
  // Text, the line of the first error, part of its message. Changes during the run share
  // their words' checks with the host statements, and every action its host's check.
  const std::string kRun = "run until 00:01:00\n";
  const std::vector<std::tuple<std::string, int, std::string>> cases = {
      {"bogus 1\n" + kRun, 1, "unknown statement 'bogus'"},
      {"seed x\n" + kRun, 1, "seed must be a whole number"},
      {"start 2002-02-30 10:00:00\n" + kRun, 1, "bad start date-time"},
      {"address 1.2.3.4\n" + kRun, 1, "belongs to a host"},
      {"host a\nhost A\n" + kRun, 2, "declared twice"},
      {"host a\n  address 1.2.3.256\n" + kRun, 2, "bad IPv4 address"},
      {"host a\n  clock-offset soon\n" + kRun, 2, "bad clock offset"},
      {"host a\n  file relative.txt\n" + kRun, 2, "full path"},
      {"host a\n  file C:\\x.exe program word\n" + kRun, 2, "unknown program"},
      {"host a\n  file C:\\x.exe program varno speed=2\n" + kRun, 2, "unknown option 'speed'"},
      {"host a\n  share \\\\b\\c -> C:\\\n" + kRun, 2, "names host 'b'"},
      {"host a\n  sockets version=one\n" + kRun, 2, "MAJOR.MINOR"},
      {"host a\n  sockets explode\n" + kRun, 2, "unknown sockets fault"},
      {"host a\n  registry open\n" + kRun, 2, "registry denied"},
      {"host a\n  disk C: capacity=lots\n" + kRun, 2, "bad size"},
      {"host a\n  file C:\\My Apps\\x.exe program varno\n" + kRun, 2,
       "double quotes: \"C:\\My Apps\\x.exe\")"},
      {"host a\n  folder C:\\My Apps\n" + kRun, 2, "double quotes: folder \"C:\\My Apps\""},
      {"host a\n  share-search time=2min\n" + kRun, 2, "bad duration '2min' (a number with ms, s"},
      {"host a\nat 00:00:01 partition a -> a for 5x\n" + kRun, 2, "or HH:MM:SS"},
      {"host a\n  file C:\\x.txt text \"open\n" + kRun, 2, "unterminated quoted text"},
      {"host a\nat 00:00:01 start-agent b\n" + kRun, 2, "unknown host 'b'"},
      {"host a\nat 1:99:00 crash a\n" + kRun, 2, "bad time"},
      {"host a\nat 00:00:01 dance a\n" + kRun, 2, "unknown action 'dance'"},
      {"host a\nat 00:00:01 show a\n" + kRun, 2, "show HOST FORM"},
      {"host a\nat 00:00:01 send a -> a hex 0\n" + kRun, 2, "pairs of hex digits"},
      {"host a\nat 00:00:01 send a -> a:99999 hex 00\n" + kRun, 2, "bad port"},
      {"host a\nat 00:00:01 click a cmdOk\n" + kRun, 2, "FORM.CONTROL"},
      {"host a\nat 00:00:01 select a f.l -1\n" + kRun, 2, "count from 0"},
      {"host a\nat 00:00:01 partition a - a\n" + kRun, 2, "partition A -> B"},
      {"host a\n" + kRun + "at 00:00:30 crash a\nrun until 00:02:00\n", 3, "lies before"},
      {"host a\n" + kRun + "run until 00:00:30\n", 3, "not later"},
      {"host a\n" + kRun + "at 00:02:00 crash a\n", 3, "never run"},
      {"host a\n", 1, "no 'run until'"},
      {"host a\n" + kRun + "expect a smoke \"x\"\n", 3, "unknown transcript kind"},
      {"host a\n" + kRun + "expect b log \"x\"\n", 3, "unknown host 'b'"},
      {"host a\n" + kRun + "expect a log \"x\" between 00:00:10 00:00:05\n", 3, "ends before"},
      {"host a\n" + kRun + "expect never a log \"x\" times 2\n", 3, "do not go together"},
      {"host a\n" + kRun + "then a log \"x\"\n", 3, "after an expect line"},
      {"host a\n" + kRun + "expect never a log \"x\"\nthen a log \"y\"\n", 4, "takes no 'then'"},
      {"host a\n" + kRun + "expect a log \"x\"\nnext b log \"y\"\n", 4, "unknown host 'b'"},
      {"host a\n" + kRun + "expect a log \"x\"\nnext a bogus \"y\"\n", 4,
       "unknown transcript kind"},
      {"host a\n" + kRun + "expect a log \"x\" soon\n", 3, "expected: expect"},
      {"| stray\n" + kRun, 1, "continues a 'file PATH' line"},
      {"host a\nat 00:00:01 send a -> a bag\n| no-equals\n" + kRun, 3, "NAME=VALUE"},
      {"host a\n  address 10.0.0.1\nhost b\n  address 10.0.0.1\n" + kRun, 3, "has the address"},
      {"host a\nat 00:00:01 delete a x.txt\n" + kRun, 2, "delete HOST PATH"},
      {"host a\nat 00:00:01 share \\\\a -> C:\\\n" + kRun, 2, "bad share name"},
      {"host a\nat 00:00:01 drop-share a\n" + kRun, 2, "bad share name"},
      {"host a\nat 00:00:01 share-search a fast\n" + kRun, 2, "time=DURATION and error"},
      {"host a\nat 00:00:01 visible-shares\n" + kRun, 2, "visible-shares HOST"},
      {"host a\nat 00:00:01 send a -> a keep\n" + kRun, 2, "send A -> B"},
  };
  for (const auto& [sText, nLine, sMessagePart] : cases) {
    const ParseResult r = Parse(sText);
    ASSERT_FALSE(r.Ok()) << sText;
    EXPECT_EQ(r.errors[0].nLine, nLine) << sText << Errors(r);
    EXPECT_NE(r.errors[0].sMessage.find(sMessagePart), std::string::npos) << sText << Errors(r);
  }
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

TEST(ScenarioParser, ReportsEveryErrorNotJustTheFirst) {
  const ParseResult r = Parse("bogus\nhost a\n  address x\nrun until 00:00:01\nwhatever\n");
  ASSERT_EQ(r.errors.size(), 3u) << Errors(r);
  EXPECT_EQ(r.errors[0].nLine, 1);
  EXPECT_EQ(r.errors[1].nLine, 3);
  EXPECT_EQ(r.errors[2].nLine, 5);
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

TEST(ScenarioParser, DurationsTimesAndHexBytes) {
  // Each form with the milliseconds it stands for.
  const std::vector<std::pair<std::string, Nanos>> cases = {
      {"00:01:30", 90000},
      {"1:02:03.5", 3723500},
      {"100:00:00", 360000000},
      {"02:30", 150000},
      {"00:00:00.001", 1},
      {"500ms", 500},
      {"5s", 5000},
      {"2m", 120000},
      {"1h", 3600000},
      {"1.25", 1250},
      {"7", 7000},
  };
  for (const auto& [sText, ms] : cases) EXPECT_EQ(ParseDuration(sText), ms * (kS / 1000)) << sText;
  for (const char* sz : {"", "-1", "1:60:00", "1::2", "1.5:00:00", "abc", "1.", "5x", "ms",
                         "1:2:3:4", "99999999999999999999"}) {
    EXPECT_EQ(ParseDuration(sz), std::nullopt) << sz;
  }
  EXPECT_EQ(ParseSignedDuration("-01:00:00"), -3600 * kS);
  EXPECT_EQ(ParseSignedDuration("+5s"), 5 * kS);
  EXPECT_EQ(ParseSignedDuration("5s"), 5 * kS);
  EXPECT_EQ(ParseSignedDuration("--5s"), std::nullopt);
  // Times print as the transcript stamps them.
  EXPECT_EQ(FormatTime(0), "00:00:00.000");
  EXPECT_EQ(FormatTime(90 * kS + kS / 1000 * 5), "00:01:30.005");
  EXPECT_EQ(FormatTime(100 * 3600 * kS), "100:00:00.000");
  EXPECT_EQ(FormatTime(-kS), "-00:00:01.000");
  EXPECT_EQ(ParseHex("00 ff 7A"), (std::vector<std::uint8_t>{0x00, 0xff, 0x7a}));
  EXPECT_EQ(ParseHex(""), std::vector<std::uint8_t>{});
  EXPECT_EQ(ParseHex("abc"), std::nullopt);
  EXPECT_EQ(ParseHex("zz"), std::nullopt);
}

}  // namespace
}  // namespace launchagent::scenario
