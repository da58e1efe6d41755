#include "run_picture.h"

#include <algorithm>

#include "platform/sim/transcript_text.h"

namespace launchagent::report {

namespace {

constexpr Nanos kMinute = 60'000'000'000;

std::string Lower(std::string s) {
  for (char& c : s)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return s;
}

bool StartsWith(const std::string& s, const std::string& sPrefix) {
  return s.compare(0, sPrefix.size(), sPrefix) == 0;
}

std::string Word(const std::string& s, std::size_t n) {  // the n-th space-separated word
  std::size_t pos = 0;
  for (std::size_t i = 0;; ++i) {
    while (pos < s.size() && s[pos] == ' ') ++pos;
    const std::size_t end = std::min(s.find(' ', pos), s.size());
    if (i == n) return s.substr(pos, end - pos);
    if (end >= s.size()) return {};
    pos = end;
  }
}

// "HH:MM:SS.mmm" read with the transcript's own reader.
std::optional<Nanos> ClockValue(const std::string& s) {
  const auto line = sim::ParseTranscriptLine(s + " - note x");
  if (!line) return std::nullopt;
  return line->t;
}

void Close(std::vector<Span>& list, std::size_t i, Nanos t) {
  if (i < list.size() && list[i].end == kOpen) list[i].end = t;
}

}  // namespace

HostPicture& RunPicture::Host(const std::string& sName, HostState** state) {
  const std::string sKey = Lower(sName);
  auto it = byName_.find(sKey);
  if (it == byName_.end()) {
    it = byName_.emplace(sKey, hosts_.size()).first;
    hosts_.push_back(HostPicture{});
    hosts_.back().sName = sName;
    states_.emplace_back();
  }
  *state = &states_[it->second];
  return hosts_[it->second];
}

void RunPicture::Add(const std::string& sLine) {
  const auto line = sim::ParseTranscriptLine(sLine);
  if (!line) return;
  end_ = std::max(end_, line->t);
  if (line->sHost == "-") {
    if (line->sKind == "note") OnNote(nullptr, nullptr, line->t, line->sText, sLine);
    return;
  }
  HostState* s = nullptr;
  HostPicture& h = Host(line->sHost, &s);
  const std::string& sKind = line->sKind;
  if (sKind == "process") {
    OnProcess(h, *s, line->t, line->sText, sLine);
  } else if (sKind == "log") {
    OnLog(h, *s, line->t, line->sText, sLine);
  } else if (sKind == "launch") {
    h.launches.push_back({line->t, sLine});
  } else if (sKind == "window") {
    if (Word(line->sText, 1) == "closed" && line->sText.ends_with(" closed \"Varno\""))
      h.closes.push_back({line->t, sLine});
    else if (line->sText.find(" refused to close ") != std::string::npos)
      h.faults.push_back({line->t, sLine});
  } else if (sKind == "note") {
    OnNote(&h, s, line->t, line->sText, sLine);
  }
}

// "#3 started varno ...", "#3 ended varno", "#3 killed varno"
void RunPicture::OnProcess(HostPicture& h, HostState& s, Nanos t, const std::string& sText,
                           const std::string& sLine) {
  const std::string sPid = Word(sText, 0);
  const std::string sWhat = Word(sText, 1);
  const std::string sProgram = Word(sText, 2);
  if (sWhat == "started") {
    if (sProgram != "launch" && sProgram != "varno") return;
    const bool bVarno = sProgram == "varno";
    std::vector<Span>& list = bVarno ? h.varno : h.agent;
    list.push_back({t, kOpen, sLine});
    s.processes[sPid] = Open{bVarno, list.size() - 1};
  } else if (sWhat == "ended" || sWhat == "killed") {
    const auto it = s.processes.find(sPid);
    if (it == s.processes.end()) return;
    Close(it->second.bVarno ? h.varno : h.agent, it->second.index, t);
    s.processes.erase(it);
  }
}

void RunPicture::OnLog(HostPicture& h, HostState& s, Nanos t, const std::string& sText,
                       const std::string& sLine) {
  if (StartsWith(sText, "HostInfoFrom=")) {
    ++h.minutes[t / kMinute].nReceived;
  } else if (StartsWith(sText, "Connected to host ")) {
    ++h.minutes[t / kMinute].nSent;
  } else if (StartsWith(sText, "Verifying Agent ") &&
             !StartsWith(sText, "Verifying Agent CheckIn")) {
    s.sLastVerified = Word(sText, 2);
  } else if (StartsWith(sText, "Last Updated=")) {
    // "Last Updated=<date> <time>(N)": the age in minutes of the entry just named.
    const std::size_t open = sText.rfind('(');
    const std::size_t close = sText.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close <= open + 1) return;
    if (Lower(s.sLastVerified) != Lower(h.sName)) return;
    int n = 0;
    for (std::size_t i = open + 1; i < close; ++i) {
      if (sText[i] < '0' || sText[i] > '9' || n > 1'000'000) return;
      n = n * 10 + (sText[i] - '0');
    }
    h.ages.push_back({t, n, sLine});
  }
}

void RunPicture::OnNote(HostPicture* h, HostState* s, Nanos t, const std::string& sText,
                        const std::string& sLine) {
  if (h == nullptr) {
    // "partition A -> B from T[ until U]"
    if (!StartsWith(sText, "partition ") || Word(sText, 2) != "->" || Word(sText, 4) != "from")
      return;
    const auto from = ClockValue(Word(sText, 5));
    if (!from) return;
    Span span{*from, kOpen, sLine};
    if (Word(sText, 6) == "until") {
      const auto until = ClockValue(Word(sText, 7));
      if (until) span.end = *until;
    }
    partitions_.push_back({Word(sText, 1), Word(sText, 3), span});
    return;
  }
  if (sText == "host crashed") {
    h->down.push_back({t, kOpen, sLine});
    s->down = h->down.size() - 1;
    for (const auto& [sPid, open] : s->processes)
      Close(open.bVarno ? h->varno : h->agent, open.index, t);
    s->processes.clear();
  } else if (sText == "host restarted") {
    if (s->down) Close(h->down, *s->down, t);
    s->down.reset();
  } else if (StartsWith(sText, "clock set to ")) {
    h->faults.push_back({t, sLine});
  } else if (StartsWith(sText, "scenario: heal ")) {
    // "heal all", "heal A -> B", "heal A <-> B"
    const std::string sA = Word(sText, 2);
    const std::string sArrow = Word(sText, 3);
    if (sA == "all") {
      Heal("*", "*", t);
    } else {
      Heal(sA, Word(sText, 4), t);
      if (sArrow == "<->") Heal(Word(sText, 4), sA, t);
    }
  }
}

void RunPicture::Heal(const std::string& sFrom, const std::string& sTo, Nanos t) {
  const bool bAll = sFrom == "*" && sTo == "*";
  for (PartitionSpan& p : partitions_) {
    if (p.span.end != kOpen && p.span.end <= t) continue;
    if (p.span.start > t) continue;
    if (bAll || (Lower(p.sFrom) == Lower(sFrom) && Lower(p.sTo) == Lower(sTo))) p.span.end = t;
  }
}

void RunPicture::Finish(Nanos end) {
  end_ = std::max(end_, end);
  for (HostPicture& h : hosts_)
    for (std::vector<Span>* list : {&h.agent, &h.varno, &h.down})
      for (Span& span : *list)
        if (span.end == kOpen) span.end = end_;
  for (PartitionSpan& p : partitions_)
    if (p.span.end == kOpen || p.span.end > end_) p.span.end = end_;
}

}  // namespace launchagent::report
