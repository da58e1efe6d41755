// The scenario language: one statement per line, words separated by blanks, "quoted
// text" where a word holds blanks (backslashes are plain characters, "" is a quote),
// '#' starts a comment outside quotes, and lines beginning with '|' carry the payload
// of the statement above them (file text, property-bag entries). This file reads the
// lines and the statements about the world; the others are in files of their own.
#include "scenario_parser.h"

#include <algorithm>

namespace launchagent::scenario {

Parser::Parser(const std::string& sText, const std::string& sFileName) : sText_(sText) {
  result_.scenario.sFileName = sFileName;
}

ParseResult Parser::Run() {
  SplitLines();
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    nLine_ = static_cast<int>(i) + 1;
    const std::string& sLine = lines_[i];
    std::size_t k = 0;
    while (k < sLine.size() && IsBlank(sLine[k])) ++k;
    if (k == sLine.size() || sLine[k] == '#') continue;
    if (sLine[k] == '|') {
      Payload(sLine.substr(k + 1));
      continue;
    }
    payload_ = PayloadKind::kNone;
    Words tokens;
    std::string sError;
    if (!Tokenize(sLine, tokens, sError)) {
      Error(sError);
      continue;
    }
    sSource_ = sLine.substr(k);
    Statement(tokens);
  }
  FinishBag();
  Validate();
  return std::move(result_);
}

void Parser::SplitLines() {
  std::size_t start = 0;
  while (start <= sText_.size()) {
    std::size_t nl = sText_.find('\n', start);
    if (nl == std::string::npos) nl = sText_.size();
    std::string s = sText_.substr(start, nl - start);
    if (!s.empty() && s.back() == '\r') s.pop_back();
    lines_.push_back(std::move(s));
    start = nl + 1;
  }
  if (!lines_.empty() && lines_.back().empty()) lines_.pop_back();
}

bool Parser::Arity(const Words& t, std::size_t nMin, std::size_t nMax, const std::string& sUsage) {
  if (t.size() < nMin || t.size() > nMax) {
    Error("expected: " + sUsage);
    return false;
  }
  return true;
}

void Parser::BadDuration(const std::string& sText) {
  Error("bad duration '" + sText + "' (a number with " + kDurationUnits + ", or HH:MM:SS)");
}

// ---- Statements ----------------------------------------------------------------------

void Parser::Statement(const Words& t) {
  FinishBag();
  const std::string sKey = AsciiLower(t[0].sText);
  if (sKey == "then" || sKey == "next") return Chain(t);
  bChainOpen_ = false;
  if (sKey == "seed") return Seed(t);
  if (sKey == "start") return Start(t);
  if (sKey == "net-events") return NetEventsLine(t);
  if (sKey == "host") return Host(t);
  if (sKey == "at") {
    host_ = nullptr;
    return At(t);
  }
  if (sKey == "run") {
    host_ = nullptr;
    return RunUntil(t);
  }
  if (sKey == "expect") {
    host_ = nullptr;
    return Expect(t);
  }
  if (HostProperty(sKey, t)) return;
  Error("unknown statement '" + t[0].sText + "'");
}

void Parser::Seed(const Words& t) {
  if (!Arity(t, 2, 2, "seed NUMBER")) return;
  const auto v = ParseNumber<std::uint64_t>(t[1].sText);
  if (!v) return Error("seed must be a whole number, not '" + t[1].sText + "'");
  S().lngSeed = *v;
}

void Parser::Start(const Words& t) {
  if (!Arity(t, 3, 3, "start YYYY-MM-DD HH:MM:SS")) return;
  const auto p = ParseStart(t[1].sText, t[2].sText);
  if (!p) return Error("bad start date-time '" + t[1].sText + " " + t[2].sText + "'");
  S().nYear = p->nYear;
  S().nMonth = p->nMonth;
  S().nDay = p->nDay;
  S().nHour = p->nHour;
  S().nMinute = p->nMinute;
  S().nSecond = p->nSecond;
}

void Parser::NetEventsLine(const Words& t) {
  if (!Arity(t, 2, 2, "net-events on|off")) return;
  const std::string s = AsciiLower(t[1].sText);
  if (s == "on")
    S().bNetEvents = true;
  else if (s == "off")
    S().bNetEvents = false;
  else
    Error("net-events takes on or off, not '" + t[1].sText + "'");
}

void Parser::Host(const Words& t) {
  host_ = nullptr;
  if (!Arity(t, 2, 2, "host NAME")) return;
  const std::string& sName = t[1].sText;
  if (sName.empty() || sName == "*" || sName.find_first_of(" \t\\:") != std::string::npos)
    return Error("bad host name '" + sName + "'");
  for (const HostSetup& h : S().hosts)
    if (AsciiLower(h.sName) == AsciiLower(sName))
      return Error("host '" + sName + "' is declared twice (first on line " +
                   std::to_string(h.nLine) + ")");
  HostSetup h;
  h.nLine = nLine_;
  h.sName = sName;
  S().hosts.push_back(std::move(h));
  host_ = &S().hosts.back();
}

void Parser::RunUntil(const Words& t) {
  if (t.size() != 3 || AsciiLower(t[1].sText) != "until")
    return Error("expected: run until HH:MM:SS");
  const auto until = ParseDuration(t[2].sText);
  if (!until) return Error("bad time '" + t[2].sText + "'");
  Step step;
  step.bRunUntil = true;
  step.until = *until;
  step.action.nLine = nLine_;
  S().steps.push_back(std::move(step));
}

// ---- Payload lines -------------------------------------------------------------------

void Parser::Payload(std::string sText) {
  // One blank after the bar is the separator, the rest is content.
  if (!sText.empty() && sText[0] == ' ') sText.erase(0, 1);
  if (payload_ == PayloadKind::kFileText) {
    pendingFile_->sText += sText;
    pendingFile_->sText += "\r\n";
    return;
  }
  if (payload_ == PayloadKind::kBag) {
    const std::size_t eq = sText.find('=');
    if (eq == std::string::npos || eq == 0) return Error("a bag entry is NAME=VALUE");
    if (!bag_.AppendText(sText.substr(0, eq), sText.substr(eq + 1)))
      return Error("the bag cannot take this entry (too large)");
    return;
  }
  Error("a '|' line continues a 'file PATH' line or a 'send ... bag' line");
}

void Parser::FinishBag() {
  if (!pendingBag_) return;
  pendingBag_->bytes = bag_.Contents();
  pendingBag_ = nullptr;
}

// ---- The scenario --------------------------------------------------------------------

const HostSetup* Scenario::FindHost(const std::string& sName) const {
  const std::string sLower = AsciiLower(sName);
  for (const HostSetup& h : hosts)
    if (AsciiLower(h.sName) == sLower) return &h;
  return nullptr;
}

Nanos Scenario::EndTime() const {
  Nanos end = 0;
  for (const Step& s : steps)
    if (s.bRunUntil) end = std::max(end, s.until);
  return end;
}

ParseResult ParseScenario(const std::string& sText, const std::string& sFileName) {
  return Parser(sText, sFileName).Run();
}

}  // namespace launchagent::scenario
