// Expectations: what the transcript must show, and when.
#include <set>

#include "scenario_parser.h"

namespace launchagent::scenario {

namespace {

bool KnownKind(const std::string& sKind) {
  static const std::set<std::string> kKinds = {"log",    "window",  "launch", "registry", "file",
                                               "msgbox", "process", "net",    "note",     "any"};
  return kKinds.count(sKind) != 0;
}

std::string KindError(const std::string& sKind) {
  return "unknown transcript kind '" + sKind +
         "' (log, window, launch, registry, file, msgbox, process, net, note, any)";
}

}  // namespace

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
  if (!KnownKind(e.sKind)) return Error(KindError(e.sKind));
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
  bChainOpen_ = true;
}

// then|next HOST KIND [contains] "TEXT", right after an expectation
void Parser::Chain(const Words& t) {
  const char* kUsage = "expected: then|next HOST KIND [contains] \"TEXT\" after an expect line";
  if (!bChainOpen_ || S().expectations.empty()) return Error(kUsage);
  Expectation& head = S().expectations.back();
  if (head.bNever || head.nTimes)
    return Error("an expectation with 'never' or 'times' takes no 'then' or 'next'");
  ChainStep c;
  c.nLine = nLine_;
  c.bNext = AsciiLower(t[0].sText) == "next";
  std::size_t i = 1;
  if (i + 3 > t.size()) return Error(kUsage);
  c.sHost = t[i++].sText;
  c.sKind = AsciiLower(t[i++].sText);
  if (!KnownKind(c.sKind)) return Error(KindError(c.sKind));
  if (!t[i].bQuoted && AsciiLower(t[i].sText) == "contains") {
    c.bContains = true;
    ++i;
  }
  if (i + 1 != t.size()) return Error(kUsage);
  c.sText = t[i].sText;
  head.chain.push_back(std::move(c));
  head.sSource += " / " + sSource_;
}

}  // namespace launchagent::scenario
