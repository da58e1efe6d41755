// Actions: "at TIME VERB ...". A table maps each verb to the parser of its words; each
// parser fills the host, the peer and the verb's own data.
#include <functional>
#include <map>

#include "scenario_parser.h"

namespace launchagent::scenario {

void Parser::At(const Words& t) {
  using VerbParser = std::function<bool(Parser&, Action&, const Words&)>;
  auto oneHost = [](const char* sVerb, ActionBody body) -> VerbParser {
    return [sVerb, body](Parser& p, Action& a, const Words& r) {
      a.what = body;
      return p.OneHost(a, r, std::string(sVerb) + " HOST");
    };
  };
  static const std::map<std::string, VerbParser> kVerbs = {
      {"start-agent", [](Parser& p, Action& a, const Words& r) { return p.StartAgent(a, r); }},
      {"start", [](Parser& p, Action& a, const Words& r) { return p.StartProgram(a, r); }},
      {"close-app", oneHost("close-app", act::CloseApp{})},
      {"kill-app", oneHost("kill-app", act::KillApp{})},
      {"kill-agent", oneHost("kill-agent", act::KillAgent{})},
      {"crash", oneHost("crash", act::Crash{})},
      {"restart", oneHost("restart", act::Restart{})},
      {"open-setup", oneHost("open-setup", act::OpenSetup{})},
      {"merge-next",
       [](Parser& p, Action& a, const Words& r) { return p.Pair(a, r, "merge-next"); }},
      {"split-next",
       [](Parser& p, Action& a, const Words& r) { return p.Pair(a, r, "split-next"); }},
      {"clock", [](Parser& p, Action& a, const Words& r) { return p.ClockJump(a, r); }},
      {"partition", [](Parser& p, Action& a, const Words& r) { return p.Partition(a, r, false); }},
      {"heal", [](Parser& p, Action& a, const Words& r) { return p.Partition(a, r, true); }},
      {"send", [](Parser& p, Action& a, const Words& r) { return p.Send(a, r); }},
      {"click", [](Parser& p, Action& a, const Words& r) { return p.Control(a, r, "click"); }},
      {"select", [](Parser& p, Action& a, const Words& r) { return p.Control(a, r, "select"); }},
      {"type", [](Parser& p, Action& a, const Words& r) { return p.Control(a, r, "type"); }},
      {"close-window", [](Parser& p, Action& a, const Words& r) { return p.CloseWindow(a, r); }},
      {"show", [](Parser& p, Action& a, const Words& r) { return p.ShowForm(a, r); }},
      {"file", [](Parser& p, Action& a, const Words& r) { return p.ChangeFile(a, r, false); }},
      {"hidden-file",
       [](Parser& p, Action& a, const Words& r) { return p.ChangeFile(a, r, true); }},
      {"delete", [](Parser& p, Action& a, const Words& r) { return p.Delete(a, r); }},
      {"share", [](Parser& p, Action& a, const Words& r) { return p.AddShare(a, r); }},
      {"drop-share", [](Parser& p, Action& a, const Words& r) { return p.DropShare(a, r); }},
      {"visible-shares",
       [](Parser& p, Action& a, const Words& r) { return p.VisibleShares(a, r); }},
      {"share-search",
       [](Parser& p, Action& a, const Words& r) { return p.ChangeShareSearch(a, r); }},
  };

  if (t.size() < 3) return Error("expected: at HH:MM:SS ACTION ...");
  const auto at = ParseDuration(t[1].sText);
  if (!at) return Error("bad time '" + t[1].sText + "'");
  Action a;
  a.nLine = nLine_;
  a.at = *at;
  for (std::size_t i = 2; i < t.size(); ++i) {
    if (i > 2) a.sSource += ' ';
    a.sSource += t[i].bQuoted ? "\"" + t[i].sText + "\"" : t[i].sText;
  }
  const auto verb = kVerbs.find(AsciiLower(t[2].sText));
  if (verb == kVerbs.end()) return Error("unknown action '" + t[2].sText + "'");
  // The words after the verb.
  const Words r(t.begin() + 3, t.end());
  bFilePending_ = false;
  if (!verb->second(*this, a, r)) return;
  Step step;
  step.action = std::move(a);
  S().steps.push_back(std::move(step));
  if (auto* send = std::get_if<act::SendBytes>(&S().steps.back().action.what);
      send && bBagPending_) {
    pendingBag_ = send;
    payload_ = PayloadKind::kBag;
    bag_ = PropertyBag();
  }
  bBagPending_ = false;
  if (auto* file = std::get_if<act::WriteFile>(&S().steps.back().action.what);
      file && bFilePending_)
    ExpectFileText(file->file);
  bFilePending_ = false;
}

bool Parser::OneHost(Action& a, const Words& r, const std::string& sUsage) {
  if (r.size() != 1) {
    Error("expected: at TIME " + sUsage);
    return false;
  }
  a.sHost = r[0].sText;
  return true;
}

bool Parser::StartAgent(Action& a, const Words& r) {
  act::StartAgent& x = a.what.emplace<act::StartAgent>();
  if (r.empty() || r.size() > 2) {
    Error("expected: at TIME start-agent HOST [folder=PATH]");
    return false;
  }
  a.sHost = r[0].sText;
  if (r.size() == 2) {
    const Options o = SplitOptions(r, 1);
    const auto it = o.values.find("folder");
    if (it == o.values.end() || !IsDrivePath(it->second)) {
      Error("start-agent takes folder=PATH after the host");
      return false;
    }
    x.sFolder = StripTrailingBackslash(it->second);
  }
  return true;
}

bool Parser::StartProgram(Action& a, const Words& r) {
  act::Start& x = a.what.emplace<act::Start>();
  if (r.size() < 2) {
    Error("expected: at TIME start HOST PATH [PARAMETERS ...]");
    return false;
  }
  a.sHost = r[0].sText;
  x.sPath = r[1].sText;
  if (!IsDrivePath(x.sPath) && x.sPath.compare(0, 2, "\\\\") != 0) {
    Error("start needs a full path such as C:\\Apps\\Varno2.exe");
    return false;
  }
  for (std::size_t i = 2; i < r.size(); ++i) {
    if (i > 2) x.sParameters += ' ';
    x.sParameters += r[i].sText;
  }
  return true;
}

// merge-next A -> B | split-next A -> B
bool Parser::Pair(Action& a, const Words& r, const std::string& sVerb) {
  if (sVerb == "merge-next")
    a.what = act::MergeNextSends{};
  else
    a.what = act::SplitNextSend{};
  if (r.size() != 3 || r[1].sText != "->") {
    Error("expected: at TIME " + sVerb + " A -> B");
    return false;
  }
  a.sHost = r[0].sText;
  a.sPeer = r[2].sText;
  return true;
}

bool Parser::ClockJump(Action& a, const Words& r) {
  act::ClockJump& x = a.what.emplace<act::ClockJump>();
  if (r.size() != 2) {
    Error("expected: at TIME clock HOST +HH:MM:SS|-HH:MM:SS");
    return false;
  }
  a.sHost = r[0].sText;
  const auto d = ParseSignedDuration(r[1].sText);
  if (!d) {
    Error("bad clock step '" + r[1].sText + "'");
    return false;
  }
  x.delta = *d;
  return true;
}

// partition A -> B [for DURATION] | partition A <-> B [for DURATION]
// heal A -> B | heal A <-> B | heal all
bool Parser::Partition(Action& a, const Words& r, bool bHeal) {
  if (bHeal)
    a.what = act::Heal{};
  else
    a.what = act::Partition{};
  if (bHeal && r.size() == 1 && AsciiLower(r[0].sText) == "all") {
    a.sHost.assign(1, '*');  // not = "*": g++ 12 at -O2 flags that as an overlapping copy
    return true;
  }
  const bool bFor = !bHeal && r.size() == 5 && AsciiLower(r[3].sText) == "for";
  if ((r.size() != 3 && !bFor) || (r[1].sText != "->" && r[1].sText != "<->")) {
    Error(bHeal ? "expected: at TIME heal A -> B | heal A <-> B | heal all"
                : "expected: at TIME partition A -> B [for DURATION] | partition A <-> B");
    return false;
  }
  a.sHost = r[0].sText;
  a.sPeer = r[2].sText;
  a.bBothWays = r[1].sText == "<->";
  if (bFor) {
    const auto d = ParseDuration(r[4].sText);
    if (!d || *d <= 0) {
      BadDuration(r[4].sText);
      return false;
    }
    std::get<act::Partition>(a.what).duration = *d;
  }
  return true;
}

// send A -> B[:PORT] hex HEX... [keep] | send A -> B[:PORT] bag [keep] (entries on '|'
// lines)
bool Parser::Send(Action& a, const Words& r) {
  act::SendBytes& x = a.what.emplace<act::SendBytes>();
  const char* kUsage = "expected: at TIME send A -> B[:PORT] hex HEX... [keep] | bag [keep]";
  Words w = r;
  if (w.size() > 4 && !w.back().bQuoted && AsciiLower(w.back().sText) == "keep") {
    x.bKeep = true;
    w.pop_back();
  }
  if (w.size() < 4 || w[1].sText != "->") {
    Error(kUsage);
    return false;
  }
  a.sHost = w[0].sText;
  std::string sTarget = w[2].sText;
  const std::size_t colon = sTarget.find(':');
  if (colon != std::string::npos) {
    const auto n = ParseNumber<int>(sTarget.substr(colon + 1));
    if (!n || *n < 1 || *n > 65535) {
      Error("bad port in '" + sTarget + "'");
      return false;
    }
    x.nPort = *n;
    sTarget.resize(colon);
  }
  a.sPeer = sTarget;
  const std::string sMode = AsciiLower(w[3].sText);
  if (sMode == "hex") {
    std::string sHex;
    for (std::size_t i = 4; i < w.size(); ++i) sHex += w[i].sText;
    const auto bytes = ParseHex(sHex);
    if (!bytes || bytes->empty()) {
      Error("hex takes pairs of hex digits such as 0a ff 10");
      return false;
    }
    x.bytes = *bytes;
    return true;
  }
  if (sMode == "bag" && w.size() == 4) {
    bBagPending_ = true;
    return true;
  }
  Error(kUsage);
  return false;
}

namespace {

bool SplitControl(const std::string& s, std::string& sForm, std::string& sControl) {
  const std::size_t dot = s.find('.');
  if (dot == std::string::npos || dot == 0 || dot + 1 == s.size()) return false;
  sForm = s.substr(0, dot);
  sControl = s.substr(dot + 1);
  return true;
}

}  // namespace

// click HOST FORM.CONTROL | select HOST FORM.CONTROL N... | type HOST FORM.CONTROL "TEXT"
bool Parser::Control(Action& a, const Words& r, const std::string& sVerb) {
  const std::string sUsage = sVerb == "click"    ? "click HOST FORM.CONTROL"
                             : sVerb == "select" ? "select HOST FORM.CONTROL INDEX..."
                                                 : "type HOST FORM.CONTROL \"TEXT\"";
  const bool bArity = sVerb == "click"  ? r.size() == 2
                      : sVerb == "type" ? r.size() == 3
                                        : r.size() >= 3;
  std::string sForm, sControl;
  if (!bArity || !SplitControl(r[1].sText, sForm, sControl)) {
    Error("expected: at TIME " + sUsage);
    return false;
  }
  a.sHost = r[0].sText;
  if (sVerb == "click") {
    a.what = act::Click{sForm, sControl};
  } else if (sVerb == "type") {
    a.what = act::Type{sForm, sControl, r[2].sText};
  } else {
    act::Select x{sForm, sControl, {}};
    for (std::size_t i = 2; i < r.size(); ++i) {
      const auto n = ParseNumber<int>(r[i].sText);
      if (!n || *n < 0 || *n > 32767) {
        Error("list positions count from 0, not '" + r[i].sText + "'");
        return false;
      }
      x.indexes.push_back(*n);
    }
    a.what = std::move(x);
  }
  return true;
}

bool Parser::CloseWindow(Action& a, const Words& r) {
  if (r.size() != 2) {
    Error("expected: at TIME close-window HOST FORM");
    return false;
  }
  a.sHost = r[0].sText;
  a.what = act::CloseWindow{r[1].sText};
  return true;
}

// show HOST FORM
bool Parser::ShowForm(Action& a, const Words& r) {
  if (r.size() != 2) {
    Error("expected: at TIME show HOST FORM");
    return false;
  }
  a.sHost = r[0].sText;
  a.what = act::ShowForm{r[1].sText};
  return true;
}

}  // namespace launchagent::scenario
