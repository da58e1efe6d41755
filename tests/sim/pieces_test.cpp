// The world's pieces on their own: the transcript's text form and writer, the links
// between hosts. The event queue's order shows in every transcript (and in
// scheduler_test.cpp). The world's own transcript keeping is in
// scheduler_test.cpp, its host table's look-ups in network_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "platform/sim/links.h"
#include "platform/sim/transcript_text.h"
#include "platform/sim/transcript_writer.h"
#include "platform/sim/world.h"

namespace launchagent::sim {
namespace {

using Strings = std::vector<std::string>;

// Every time the world can stamp reads back as the same whole millisecond, and every
// text (empty, or with blanks anywhere) as it was written; the rest is no line.
TEST(SimTranscriptText, StampsAndTextsReadBack) {
  const std::vector<Nanos> times = {0,
                                    Milliseconds(1),
                                    Milliseconds(1) - 1,
                                    Seconds(59) + Milliseconds(999),
                                    Minutes(99 * 60 + 59) + Seconds(59),
                                    Minutes(100 * 60),
                                    Minutes(12345 * 60) + Milliseconds(7)};
  const Strings texts = {"text with  blanks", " leading blank", ""};
  for (const Nanos t : times)
    for (const std::string& sText : texts) {
      const std::string sLine = ClockTime(t) + " pc1 log " + sText;
      const auto line = ParseTranscriptLine(sLine);
      ASSERT_TRUE(line.has_value()) << sLine;
      EXPECT_EQ(line->t, t / kMillisecond * kMillisecond) << sLine;
      EXPECT_EQ(std::tie(line->sHost, line->sKind, line->sText),
                std::make_tuple("pc1", "log", sText));
    }
  EXPECT_EQ(ParseTranscriptLine("00:00:02.000 - note")->sText, "");
  for (const char* sz : {"1:00:00.000 pc1 log x", "00:60:00.000 pc1 log x", "00:00:00.00 pc1 log x",
                         "0a:00:00.000 pc1 log x", "00:00:00.0000 pc1 log x",
                         "00:00:00.000 pc1  log x", "00:00:00.000  pc1 log x", "", "garbage",
                         "00:00:01.000", "00:00:01.000 pc07", "12 pc07 log x"})
    EXPECT_FALSE(ParseTranscriptLine(sz).has_value()) << sz;
}

// Lines reach the sink and the kept list only where someone reads them.
TEST(SimTranscriptWriter, KeepsAndStreamsOnlyForItsReaders) {
  struct Case {
    bool bKeep, bSink;
  };
  for (const Case c :
       {Case{true, true}, Case{true, false}, Case{false, true}, Case{false, false}}) {
    TranscriptWriter w;
    Strings streamed;
    w.SetKeep(c.bKeep);
    if (c.bSink) w.SetSink([&](const std::string& s) { streamed.push_back(s); });
    EXPECT_EQ(w.Wanted(), c.bKeep || c.bSink);
    w.Write(Seconds(1), "pc1", TranscriptKind::Log, "one");
    w.Write(Seconds(2), "-", TranscriptKind::Note, "two");
    const Strings want = {"00:00:01.000 pc1 log one", "00:00:02.000 - note two"};
    EXPECT_EQ(streamed, c.bSink ? want : Strings{});
    EXPECT_EQ(w.Lines(), c.bKeep ? want : Strings{});
    w.Close();
    EXPECT_FALSE(w.Wanted());
    w.Write(Seconds(3), "pc1", TranscriptKind::Log, "after the end");
    EXPECT_EQ(w.TakeLines().size() + streamed.size(), (c.bKeep ? 2u : 0u) + (c.bSink ? 2u : 0u));
  }
}

TEST(SimLinks, PartitionsWildcardsHealingAndShapedSends) {
  Links links;
  links.Partition(0, 1, Seconds(10), Seconds(20));
  links.Partition(kAnyHost, 3, Seconds(5), kForever);
  links.Partition(4, 4, Seconds(10), Seconds(20));  // host 4 cut from itself
  struct Case {
    HostId from, to;
    Nanos now;
    bool bLost;
  };
  // In time order: a lookup forgets the partitions that have ended.
  const std::vector<Case> cases = {
      {0, 1, Seconds(9), false},  {0, 1, Seconds(10), true},  {1, 0, Seconds(15), false},
      {4, 4, Seconds(15), true},  {4, 0, Seconds(15), false}, {0, 4, Seconds(15), false},
      {3, 3, Seconds(15), false}, {0, 1, Seconds(20), false}, {4, 4, Seconds(20), false},
      {2, 3, Seconds(30), true},  {3, 2, Seconds(30), false},
  };
  for (const Case& c : cases)
    EXPECT_EQ(links.Partitioned(c.from, c.to, c.now), c.bLost)
        << c.from << "->" << c.to << " at " << FormatElapsed(c.now);
  links.Heal(kAnyHost, 3, Seconds(40));
  EXPECT_FALSE(links.Partitioned(2, 3, Seconds(40)));

  links.SetLatency(2, 1, Milliseconds(5), Milliseconds(1));  // max below min: min holds
  EXPECT_EQ(links.LatencyRange(1, 2), std::make_pair(Milliseconds(5), Milliseconds(5)));
  EXPECT_EQ(links.LatencyRange(4, 4).first, links.Settings().loopback);

  links.MergeNextSends(0, 1);
  links.SplitNextSend(0, 1);
  links.SplitNextSend(1, 0);
  using Shape = Links::Shape;
  EXPECT_EQ(links.TakeShape(0, 1), Shape::Held);
  EXPECT_EQ(links.TakeShape(0, 1), Shape::Split);
  EXPECT_EQ(links.TakeShape(0, 1), Shape::Whole);
  EXPECT_EQ(links.TakeShape(1, 0), Shape::Split);
}

}  // namespace
}  // namespace launchagent::sim
