// Expectations: what the transcript must show, and when.
#include <set>

#include "scenario_parser.h"

namespace launchagent::scenario {

// expect [never] HOST KIND [contains] "TEXT" [between T1 T2 | before T | after T] [times N]
void Parser::Expect(const Words& t) {
  const char* kUsage =
      "expected: expect [never] HOST KIND [contains] \"TEXT\" [between T1 T2 | before T | "
      "after T] [times N]";
  Expectation e;
  e.nLine = nLine_;
  e.sSource = sSource_;
  std::size_t i = 1;
  if (i < t.size() && !t[i].bQuoted && AsciiLower(t[i].sText) == "never") {
    e.bNever = true;
    ++i;
  }
  if (i + 2 > t.size()) return Error(kUsage);
  e.sHost = t[i++].sText;
  e.sKind = AsciiLower(t[i++].sText);
  static const std::set<std::string> kKinds = {"log",    "window",  "launch", "registry", "file",
                                               "msgbox", "process", "net",    "note",     "any"};
  if (!kKinds.count(e.sKind))
    return Error("unknown transcript kind '" + e.sKind +
                 "' (log, window, launch, registry, file, msgbox, process, net, note, any)");
  if (i < t.size() && !t[i].bQuoted && AsciiLower(t[i].sText) == "contains") {
    e.bContains = true;
    ++i;
  }
  if (i >= t.size()) return Error(kUsage);
  e.sText = t[i++].sText;
  bool bWindow = false;
  while (i < t.size()) {
    const std::string sWord = AsciiLower(t[i].sText);
    if ((sWord == "between" || sWord == "before" || sWord == "after") && !bWindow) {
      bWindow = true;
      const std::size_t nNeed = sWord == "between" ? 2 : 1;
      if (i + nNeed >= t.size()) return Error(kUsage);
      const auto a = ParseDuration(t[i + 1].sText);
      if (!a) return Error("bad time '" + t[i + 1].sText + "'");
      if (sWord == "between") {
        const auto b = ParseDuration(t[i + 2].sText);
        if (!b) return Error("bad time '" + t[i + 2].sText + "'");
        if (*b < *a) return Error("the window ends before it starts");
        e.from = *a;
        e.to = *b;
      } else if (sWord == "before") {
        e.to = *a;
      } else {
        e.from = *a;
      }
      i += nNeed + 1;
    } else if (sWord == "times" && !e.nTimes && i + 1 < t.size()) {
      const auto n = ParseNumber<int>(t[i + 1].sText);
      if (!n || *n < 0) return Error("times takes a count, not '" + t[i + 1].sText + "'");
      e.nTimes = *n;
      i += 2;
    } else {
      return Error(kUsage);
    }
  }
  if (e.bNever && e.nTimes) return Error("'never' and 'times' do not go together");
  S().expectations.push_back(std::move(e));
}

}  // namespace launchagent::scenario
