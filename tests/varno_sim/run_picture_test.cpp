// The picture of a run read from transcript lines: spans of the agent, Varno and a
// crashed host, partitions and their healing, the own check-in's age, messages per
// minute and the marks that carry their line.
#include "report/run_picture.h"

#include <gtest/gtest.h>

#include <sstream>

#include "report/html_report.h"

namespace launchagent::report {
namespace {

constexpr Nanos kSecond = 1'000'000'000;

RunPicture Read(const std::vector<std::string>& lines, Nanos end) {
  RunPicture p;
  for (const auto& s : lines) p.Add(s);
  p.Finish(end);
  return p;
}

const HostPicture& Of(const RunPicture& p, const std::string& sName) {
  for (const auto& h : p.Hosts())
    if (h.sName == sName) return h;
  ADD_FAILURE() << "no host " << sName;
  static const HostPicture none;
  return none;
}

std::vector<std::pair<Nanos, Nanos>> Times(const std::vector<Span>& spans) {
  std::vector<std::pair<Nanos, Nanos>> out;
  for (const auto& s : spans) out.emplace_back(s.start / kSecond, s.end / kSecond);
  return out;
}

TEST(RunPicture, ProcessesCrashesAndRestartsMakeSpans) {
  const RunPicture p = Read(
      {
          "00:00:01.000 pc07 process #1 started launch \"C:\\L\\Launch.exe\" \"\"",
          "00:00:02.000 pc07 process #2 started varno \"C:\\L\\Varno2.exe\" \"-default\"",
          "00:00:03.000 pc07 process #3 started stand-in \"C:\\L\\x.exe\" \"\"",
          "00:00:05.000 pc07 process #2 ended varno",
          "00:00:06.000 pc07 process #4 started varno \"C:\\L\\Varno2.exe\" \"-default\"",
          "00:00:08.000 pc12 process #5 started launch \"C:\\L\\Launch.exe\" \"\"",
          "00:00:10.000 pc07 note host crashed",
          "00:00:10.000 pc07 process #1 killed launch",
          "00:00:20.000 pc07 note host restarted",
          "00:00:20.000 pc07 process #6 started launch \"C:\\L\\Launch.exe\" \"\"",
          "00:00:25.000 pc12 process #5 killed launch",
      },
      30 * kSecond);
  ASSERT_EQ(p.Hosts().size(), 2u);
  using T = std::vector<std::pair<Nanos, Nanos>>;
  const HostPicture& pc07 = Of(p, "pc07");
  EXPECT_EQ(Times(pc07.agent), (T{{1, 10}, {20, 30}}));
  EXPECT_EQ(Times(pc07.varno), (T{{2, 5}, {6, 10}}));  // the crash ends what runs
  EXPECT_EQ(Times(pc07.down), (T{{10, 20}}));
  EXPECT_EQ(Times(Of(p, "pc12").agent), (T{{8, 25}}));
  EXPECT_EQ(pc07.varno[1].sLine.substr(0, 30), "00:00:06.000 pc07 process #4 s");
}

TEST(RunPicture, PartitionsEndWhenHealedOrAtTheirEnd) {
  struct Case {
    std::string sHeal;  // a scenario note at 00:00:40, or none
    std::vector<Nanos> ends;
  };
  const std::vector<Case> cases{
      {"", {30, 60, 60}},
      {"scenario: heal pc07 -> pc12", {30, 40, 60}},
      {"scenario: heal PC12 <-> pc07", {30, 40, 40}},
      {"scenario: heal pc12 -> pc07", {30, 60, 40}},
      {"scenario: heal all", {30, 40, 40}},
  };
  for (const Case& c : cases) {
    std::vector<std::string> lines{
        "00:00:10.000 - note partition pc07 -> pc07 from 00:00:10.000 until 00:00:30.000",
        "00:00:10.000 - note partition pc07 -> pc12 from 00:00:10.000",
        "00:00:10.000 - note partition pc12 -> pc07 from 00:00:10.000",
    };
    if (!c.sHeal.empty()) lines.push_back("00:00:40.000 pc07 note " + c.sHeal);
    const RunPicture p = Read(lines, 60 * kSecond);
    ASSERT_EQ(p.Partitions().size(), 3u) << c.sHeal;
    for (std::size_t i = 0; i < 3; ++i)
      EXPECT_EQ(p.Partitions()[i].span.end, c.ends[i] * kSecond) << c.sHeal << " #" << i;
  }
}

TEST(RunPicture, TheAgeIsTheHostsOwnEntryOnly) {
  const RunPicture p = Read(
      {
          "00:00:32.000 pc07 log Verifying Agent CheckIn (pc07) ...",
          "00:00:32.000 pc07 log Verifying Agent  pc12",
          "00:00:32.000 pc07 log Last Updated=2002-05-03 10:00:20(4)",
          "00:00:32.000 pc07 log Verifying Agent  PC07",
          "00:00:32.000 pc07 log Last Updated=2002-05-03 10:00:20(1)",
          "00:01:02.000 pc07 log Verifying Agent  pc07",
          "00:01:02.000 pc07 log Last Updated=2002-05-03 10:00:20(12)",
          "00:01:02.000 pc07 log Last Updated=garbled(x)",
          "00:01:02.000 pc07 log Last Updated=garbled()",
      },
      0);
  const auto& ages = Of(p, "pc07").ages;
  ASSERT_EQ(ages.size(), 2u);
  EXPECT_EQ(ages[0].nMinutes, 1);
  EXPECT_EQ(ages[0].t, 32 * kSecond);
  EXPECT_EQ(ages[1].nMinutes, 12);
  EXPECT_EQ(ages[1].sLine, "00:01:02.000 pc07 log Last Updated=2002-05-03 10:00:20(12)");
}

TEST(RunPicture, MessagesCountPerMinuteAndMarksKeepTheirLine) {
  const std::vector<std::string> lines{
      "00:00:07.000 pc07 log Connected to host pc12",
      "00:00:59.999 pc07 log Connected to host pc21",
      "00:01:00.000 pc07 log HostInfoFrom=pc12",
      "00:02:30.000 pc07 log HostInfoFrom=pc21",
      "00:02:31.000 pc07 launch \"C:\\L\\Varno2.exe\" params \"-default\" result 42",
      "00:02:32.000 pc07 window #3 closed \"Varno - notes\"",
      "00:02:33.000 pc07 window #4 closed \"Varno\"",
      "00:02:34.000 pc07 window #5 refused to close \"Varno\"",
      "00:02:35.000 pc07 note clock set to 2002-05-03 10:13:00",
      "not a transcript line",
      "",
  };
  const RunPicture p = Read(lines, 0);
  const HostPicture& h = Of(p, "pc07");
  ASSERT_EQ(h.minutes.size(), 3u);
  EXPECT_EQ(h.minutes.at(0).nSent, 2);
  EXPECT_EQ(h.minutes.at(0).nReceived, 0);
  EXPECT_EQ(h.minutes.at(1).nReceived, 1);
  EXPECT_EQ(h.minutes.at(2).nReceived, 1);
  ASSERT_EQ(h.launches.size(), 1u);
  EXPECT_EQ(h.launches[0].sLine, lines[4]);
  ASSERT_EQ(h.closes.size(), 1u);
  EXPECT_EQ(h.closes[0].sLine, lines[6]);
  ASSERT_EQ(h.faults.size(), 2u);
  EXPECT_EQ(h.faults[0].sLine, lines[7]);
  EXPECT_EQ(h.faults[1].sLine, lines[8]);
  EXPECT_EQ(p.End(), 155 * kSecond);  // the last line, when no end is given
}

TEST(HtmlReport, EveryMarkHoldsItsLineEscaped) {
  const RunPicture p = Read(
      {
          "00:00:01.000 pc<7>&\"x\" launch \"C:\\a&b\\<V>.exe\" params \"\" result 42",
          "00:00:02.000 pc<7>&\"x\" window #4 closed \"Varno\"",
      },
      10 * kSecond);
  std::ostringstream out;
  WriteHtmlReport(p, "run <1>", out);
  const std::string s = out.str();
  EXPECT_NE(s.find("<title>run &lt;1&gt;</title>"), std::string::npos);
  EXPECT_NE(s.find("data-host=\"pc&lt;7&gt;&amp;&quot;x&quot;\""), std::string::npos);
  EXPECT_NE(s.find("<title>00:00:01.000 pc&lt;7&gt;&amp;&quot;x&quot; launch "
                   "&quot;C:\\a&amp;b\\&lt;V&gt;.exe&quot; params &quot;&quot; result "
                   "42</title>"),
            std::string::npos);
  EXPECT_EQ(s.find("<V>"), std::string::npos);
  EXPECT_EQ(s.find("<script"), std::string::npos);
}

}  // namespace
}  // namespace launchagent::report
