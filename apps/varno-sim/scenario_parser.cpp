// The scenario language: one statement per line, words separated by blanks, "quoted
// text" where a word holds blanks (backslashes are plain characters, "" is a quote),
// '#' starts a comment outside quotes, and lines beginning with '|' carry the payload
// of the statement above them (file text, property-bag entries).
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <set>

#include "messages/property_bag.h"
#include "platform/sim/transcript_text.h"
#include "scenario.h"

namespace launchagent::scenario {

namespace {

struct Token {
  std::string sText;
  bool bQuoted = false;
};

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// Splits one statement line into words. False (with sError) on an unterminated quote.
bool Tokenize(const std::string& sLine, std::vector<Token>& tokens, std::string& sError) {
  std::size_t i = 0;
  const std::size_t n = sLine.size();
  while (i < n) {
    while (i < n && IsBlank(sLine[i])) ++i;
    if (i >= n || sLine[i] == '#') break;
    Token tok;
    while (i < n && !IsBlank(sLine[i])) {
      if (sLine[i] != '"') {
        tok.sText += sLine[i++];
        continue;
      }
      tok.bQuoted = true;
      ++i;
      bool bClosed = false;
      while (i < n) {
        if (sLine[i] == '"') {
          if (i + 1 < n && sLine[i + 1] == '"') {
            tok.sText += '"';
            i += 2;
            continue;
          }
          ++i;
          bClosed = true;
          break;
        }
        tok.sText += sLine[i++];
      }
      if (!bClosed) {
        sError = "unterminated quoted text";
        return false;
      }
    }
    tokens.push_back(std::move(tok));
  }
  return true;
}

template <class T>
std::optional<T> ParseNumber(const std::string& s) {
  T value{};
  const char* first = s.data();
  const char* last = s.data() + s.size();
  if (!s.empty() && s[0] == '+') ++first;
  const auto [ptr, ec] = std::from_chars(first, last, value);
  if (ec != std::errc() || ptr != last || first == last) return std::nullopt;
  return value;
}

// Digits with an optional fraction: "05", "1.25". Nanoseconds of that many units.
std::optional<Nanos> ParseDecimal(const std::string& s, Nanos nUnit) {
  if (s.empty()) return std::nullopt;
  const std::size_t dot = s.find('.');
  const std::string sWhole = s.substr(0, dot);
  const std::string sFrac = dot == std::string::npos ? "" : s.substr(dot + 1);
  if (sWhole.empty() && sFrac.empty()) return std::nullopt;
  for (char c : sWhole + sFrac)
    if (!std::isdigit(static_cast<unsigned char>(c))) return std::nullopt;
  if (dot != std::string::npos && sFrac.empty()) return std::nullopt;
  if (sWhole.size() > 12 || sFrac.size() > 9) return std::nullopt;
  Nanos whole = sWhole.empty() ? 0 : *ParseNumber<Nanos>(sWhole);
  if (whole > std::numeric_limits<Nanos>::max() / nUnit / 2) return std::nullopt;
  Nanos result = whole * nUnit;
  // The fraction of one unit, digit by digit so that no precision is lost.
  Nanos scale = nUnit;
  for (char c : sFrac) {
    scale /= 10;
    result += (c - '0') * scale;
  }
  return result;
}

struct DateTimeParts {
  int nYear, nMonth, nDay, nHour, nMinute, nSecond;
};

std::optional<DateTimeParts> ParseStart(const std::string& sDate, const std::string& sTime) {
  DateTimeParts p{};
  if (sDate.size() != 10 || sDate[4] != '-' || sDate[7] != '-') return std::nullopt;
  if (sTime.size() != 8 || sTime[2] != ':' || sTime[5] != ':') return std::nullopt;
  const auto y = ParseNumber<int>(sDate.substr(0, 4));
  const auto mo = ParseNumber<int>(sDate.substr(5, 2));
  const auto d = ParseNumber<int>(sDate.substr(8, 2));
  const auto h = ParseNumber<int>(sTime.substr(0, 2));
  const auto mi = ParseNumber<int>(sTime.substr(3, 2));
  const auto s = ParseNumber<int>(sTime.substr(6, 2));
  if (!y || !mo || !d || !h || !mi || !s) return std::nullopt;
  if (*y < 1900 || *y > 9999 || *mo < 1 || *mo > 12 || *d < 1 || *h > 23 || *mi > 59 || *s > 59)
    return std::nullopt;
  static constexpr int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool bLeap = (*y % 4 == 0 && *y % 100 != 0) || *y % 400 == 0;
  if (*d > kDays[*mo - 1] || (*mo == 2 && *d == 29 && !bLeap)) return std::nullopt;
  p = {*y, *mo, *d, *h, *mi, *s};
  return p;
}

bool IsDottedAddress(const std::string& s) {
  int nParts = 0;
  std::size_t start = 0;
  for (;;) {
    const std::size_t dot = s.find('.', start);
    const std::string part = s.substr(start, dot == std::string::npos ? dot : dot - start);
    if (part.empty() || part.size() > 3) return false;
    const auto v = ParseNumber<int>(part);
    if (!v || *v > 255 || part[0] == '+') return false;
    ++nParts;
    if (dot == std::string::npos) break;
    start = dot + 1;
  }
  return nParts == 4;
}

// "10MB", "2G", "4096": a byte count.
std::optional<std::int64_t> ParseSize(const std::string& s) {
  std::string sDigits = s;
  std::int64_t nUnit = 1;
  std::string sUnit;
  while (!sDigits.empty() && std::isalpha(static_cast<unsigned char>(sDigits.back()))) {
    sUnit.insert(sUnit.begin(), sDigits.back());
    sDigits.pop_back();
  }
  sUnit = Lower(sUnit);
  if (sUnit == "" || sUnit == "b")
    nUnit = 1;
  else if (sUnit == "k" || sUnit == "kb")
    nUnit = 1024;
  else if (sUnit == "m" || sUnit == "mb")
    nUnit = 1024 * 1024;
  else if (sUnit == "g" || sUnit == "gb")
    nUnit = 1024LL * 1024 * 1024;
  else
    return std::nullopt;
  const auto v = ParseNumber<std::int64_t>(sDigits);
  if (!v || *v < 0 || *v > std::numeric_limits<std::int64_t>::max() / nUnit) return std::nullopt;
  return *v * nUnit;
}

// "name=value" words after a statement's fixed words; bare words are flags.
struct Options {
  std::map<std::string, std::string> values;
  std::vector<std::pair<std::string, std::string>> ordered;  // as written
  std::vector<std::string> flags;
};

Options SplitOptions(const std::vector<Token>& tokens, std::size_t first) {
  Options o;
  for (std::size_t i = first; i < tokens.size(); ++i) {
    const std::string& s = tokens[i].sText;
    const std::size_t eq = s.find('=');
    if (eq == std::string::npos || eq == 0)
      o.flags.push_back(s);
    else {
      o.values[Lower(s.substr(0, eq))] = s.substr(eq + 1);
      o.ordered.emplace_back(Lower(s.substr(0, eq)), s.substr(eq + 1));
    }
  }
  return o;
}

class Parser {
 public:
  Parser(const std::string& sText, const std::string& sFileName) : sText_(sText) {
    result_.scenario.sFileName = sFileName;
  }

  ParseResult Run() {
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
      std::vector<Token> tokens;
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

 private:
  enum class PayloadKind { kNone, kFileText, kBag };

  void SplitLines() {
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

  void Error(const std::string& sMessage) { result_.errors.push_back({nLine_, sMessage}); }

  Scenario& S() { return result_.scenario; }

  // ---- Statements ----------------------------------------------------------------
  void Statement(const std::vector<Token>& t) {
    FinishBag();
    const std::string sKey = Lower(t[0].sText);
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
    if (IsHostProperty(sKey)) {
      if (!host_)
        return Error("'" + t[0].sText + "' belongs to a host: put it after a 'host' line");
      return HostProperty(sKey, t);
    }
    Error("unknown statement '" + t[0].sText + "'");
  }

  bool Arity(const std::vector<Token>& t, std::size_t nMin, std::size_t nMax,
             const std::string& sUsage) {
    if (t.size() < nMin || t.size() > nMax) {
      Error("expected: " + sUsage);
      return false;
    }
    return true;
  }

  void Seed(const std::vector<Token>& t) {
    if (!Arity(t, 2, 2, "seed NUMBER")) return;
    const auto v = ParseNumber<std::uint64_t>(t[1].sText);
    if (!v) return Error("seed must be a whole number, not '" + t[1].sText + "'");
    S().lngSeed = *v;
  }

  void Start(const std::vector<Token>& t) {
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

  void NetEventsLine(const std::vector<Token>& t) {
    if (!Arity(t, 2, 2, "net-events on|off")) return;
    const std::string s = Lower(t[1].sText);
    if (s == "on")
      S().bNetEvents = true;
    else if (s == "off")
      S().bNetEvents = false;
    else
      Error("net-events takes on or off, not '" + t[1].sText + "'");
  }

  void Host(const std::vector<Token>& t) {
    host_ = nullptr;
    if (!Arity(t, 2, 2, "host NAME")) return;
    const std::string& sName = t[1].sText;
    if (sName.empty() || sName == "*" || sName.find_first_of(" \t\\:") != std::string::npos)
      return Error("bad host name '" + sName + "'");
    for (const HostSetup& h : S().hosts)
      if (Lower(h.sName) == Lower(sName))
        return Error("host '" + sName + "' is declared twice (first on line " +
                     std::to_string(h.nLine) + ")");
    HostSetup h;
    h.nLine = nLine_;
    h.sName = sName;
    S().hosts.push_back(std::move(h));
    host_ = &S().hosts.back();
  }

  static bool IsHostProperty(const std::string& s) {
    static const std::set<std::string> kKeys = {"computer-name",  "computer-name-fails",
                                                "address",        "clock-offset",
                                                "clock-skew",     "agent-folder",
                                                "folder",         "file",
                                                "hidden-file",    "share",
                                                "visible-shares", "share-search",
                                                "registry",       "sockets",
                                                "system-folder",  "disk",
                                                "window",         "name-entry"};
    return kKeys.count(s) != 0;
  }

  void HostProperty(const std::string& sKey, const std::vector<Token>& t) {
    HostSetup& h = *host_;
    if (sKey == "computer-name") {
      if (!Arity(t, 2, 2, "computer-name NAME")) return;
      h.sComputerName = t[1].sText;
    } else if (sKey == "address") {
      if (!Arity(t, 2, 2, "address A.B.C.D")) return;
      if (!IsDottedAddress(t[1].sText)) return Error("bad IPv4 address '" + t[1].sText + "'");
      h.sAddress = t[1].sText;
    } else if (sKey == "clock-offset") {
      if (!Arity(t, 2, 2, "clock-offset +HH:MM:SS")) return;
      const auto d = ParseSignedDuration(t[1].sText);
      if (!d) return Error("bad clock offset '" + t[1].sText + "'");
      h.clockOffset = *d;
    } else if (sKey == "clock-skew") {
      if (!Arity(t, 2, 2, "clock-skew PPM")) return;
      char* end = nullptr;
      const double d = std::strtod(t[1].sText.c_str(), &end);
      if (t[1].sText.empty() || *end != '\0' || !(d > -100000 && d < 100000))
        return Error("clock-skew takes parts per million such as 50 or -20, not '" + t[1].sText +
                     "'");
      h.dClockSkewPpm = d;
    } else if (sKey == "computer-name-fails") {
      if (!Arity(t, 1, 1, "computer-name-fails")) return;
      h.bComputerNameFails = true;
    } else if (sKey == "window") {
      Window(t);
    } else if (sKey == "name-entry") {
      if (!Arity(t, 3, 3, "name-entry NAME A.B.C.D")) return;
      if (!IsDottedAddress(t[2].sText)) return Error("bad IPv4 address '" + t[2].sText + "'");
      h.names.push_back({nLine_, t[1].sText, t[2].sText});
    } else if (sKey == "agent-folder") {
      if (!Arity(t, 2, 2, "agent-folder PATH")) return;
      if (!IsDrivePath(t[1].sText)) return Error("agent-folder must be a path such as C:\\Apps");
      h.sAgentFolder = StripTrailingBackslash(t[1].sText);
    } else if (sKey == "folder") {
      if (!Arity(t, 2, 2, "folder PATH")) return;
      if (!IsDrivePath(t[1].sText)) return Error("folder must be a path such as C:\\Apps");
      h.folders.push_back(StripTrailingBackslash(t[1].sText));
    } else if (sKey == "file" || sKey == "hidden-file") {
      File(t, sKey == "hidden-file");
    } else if (sKey == "share") {
      Share(t);
    } else if (sKey == "visible-shares") {
      std::vector<std::string> names;
      for (std::size_t i = 1; i < t.size(); ++i) names.push_back(t[i].sText);
      h.visibleShares = std::move(names);
    } else if (sKey == "share-search") {
      const Options o = SplitOptions(t, 1);
      for (const std::string& f : o.flags) {
        if (Lower(f) != "error") return Error("share-search takes time=DURATION and error");
        h.bShareSearchError = true;
      }
      for (const auto& [k, v] : o.values) {
        if (k != "time") return Error("share-search takes time=DURATION and error");
        const auto d = ParseDuration(v);
        if (!d) return Error("bad duration '" + v + "'");
        h.shareSearchTime = *d;
      }
    } else if (sKey == "registry") {
      if (!Arity(t, 2, 2, "registry denied") || Lower(t[1].sText) != "denied")
        return Error("expected: registry denied");
      h.bRegistryDenied = true;
    } else if (sKey == "sockets") {
      Sockets(t);
    } else if (sKey == "system-folder") {
      if (!Arity(t, 2, 2, "system-folder missing|PATH")) return;
      if (Lower(t[1].sText) == "missing" && !t[1].bQuoted)
        h.bSystemFolderMissing = true;
      else if (IsDrivePath(t[1].sText))
        h.sSystemFolder = StripTrailingBackslash(t[1].sText);
      else
        Error("system-folder takes 'missing' or a path such as C:\\Windows\\System");
    } else if (sKey == "disk") {
      if (!Arity(t, 3, 3, "disk C: capacity=SIZE")) return;
      const std::string& sDrive = t[1].sText;
      if (sDrive.size() != 2 || !std::isalpha(static_cast<unsigned char>(sDrive[0])) ||
          sDrive[1] != ':')
        return Error("bad drive '" + sDrive + "'");
      const Options o = SplitOptions(t, 2);
      const auto it = o.values.find("capacity");
      if (it == o.values.end() || !o.flags.empty()) return Error("expected: disk C: capacity=SIZE");
      const auto size = ParseSize(it->second);
      if (!size) return Error("bad size '" + it->second + "'");
      h.disks.push_back({nLine_, sDrive, *size});
    }
  }

  static bool IsDrivePath(const std::string& s) {
    return s.size() >= 3 && std::isalpha(static_cast<unsigned char>(s[0])) && s[1] == ':' &&
           s[2] == '\\';
  }

  static std::string StripTrailingBackslash(std::string s) {
    while (s.size() > 3 && s.back() == '\\') s.pop_back();
    return s;
  }

  // file PATH [text "..."] | [program launch|varno [k=v ...]]; payload lines follow a
  // file with neither.
  void File(const std::vector<Token>& t, bool bHidden) {
    if (t.size() < 2) return Error("expected: file PATH [text \"...\" | program NAME ...]");
    FileSetup f;
    f.nLine = nLine_;
    f.bHidden = bHidden;
    f.sPath = t[1].sText;
    if (!IsDrivePath(f.sPath) || f.sPath.back() == '\\')
      return Error("file needs a full path such as C:\\Apps\\Varno2.exe");
    if (t.size() == 2) {
      host_->files.push_back(std::move(f));
      payload_ = PayloadKind::kFileText;
      return;
    }
    const std::string sMode = Lower(t[2].sText);
    if (sMode == "text") {
      if (!Arity(t, 4, 4, "file PATH text \"CONTENT\"")) return;
      f.sText = t[3].sText;
    } else if (sMode == "program") {
      if (t.size() < 4) return Error("expected: file PATH program launch|varno [OPTION=VALUE ...]");
      f.sProgram = Lower(t[3].sText);
      const Options o = SplitOptions(t, 4);
      if (!o.flags.empty())
        return Error("program options are NAME=VALUE, not '" + o.flags[0] + "'");
      if (f.sProgram == "launch") {
        if (!o.values.empty()) return Error("program launch takes no options");
      } else if (f.sProgram == "varno") {
        // Seconds as plain numbers: the stand-in reads them so.
        for (const auto& [k, v] : o.values) {
          if (k == "window-delay" || k == "exit-after") {
            if (!ParseDecimal(v, kNanosPerSecond))
              return Error(k + " takes seconds, not '" + v + "'");
          } else if (k == "refuse-close") {
            const auto n = ParseNumber<int>(v);
            if (!n || *n < -1)
              return Error("refuse-close takes a count or -1 (all), not '" + v + "'");
          } else {
            return Error("unknown option '" + k + "' of program varno");
          }
        }
      } else {
        return Error("unknown program '" + t[3].sText + "' (launch or varno)");
      }
      f.options = o.ordered;
    } else {
      return Error("after the path: text \"...\" or program NAME");
    }
    host_->files.push_back(std::move(f));
  }

  // window CLASS "TITLE" [refuse-close=N|all]
  void Window(const std::vector<Token>& t) {
    if (t.size() < 3 || t.size() > 4)
      return Error("expected: window CLASS \"TITLE\" [refuse-close=N]");
    WindowSetup w;
    w.nLine = nLine_;
    w.sClass = t[1].sText;
    w.sTitle = t[2].sText;
    if (t.size() == 4) {
      const Options o = SplitOptions(t, 3);
      const auto it = o.values.find("refuse-close");
      if (it == o.values.end()) return Error("after the title only refuse-close=N|all");
      if (Lower(it->second) == "all") {
        w.nRefuseClose = -1;
      } else {
        const auto n = ParseNumber<int>(it->second);
        if (!n || *n < 0)
          return Error("refuse-close takes a count or all, not '" + it->second + "'");
        w.nRefuseClose = *n;
      }
    }
    host_->windows.push_back(std::move(w));
  }

  // share \\host\share -> FOLDER [unreadable]
  void Share(const std::vector<Token>& t) {
    if (!Arity(t, 4, 5, "share \\\\HOST\\SHARE -> FOLDER [unreadable]") || t[2].sText != "->")
      return Error("expected: share \\\\HOST\\SHARE -> FOLDER [unreadable]");
    ShareSetup s;
    s.nLine = nLine_;
    s.sUNC = t[1].sText;
    if (s.sUNC.size() < 5 || s.sUNC.compare(0, 2, "\\\\") != 0 ||
        s.sUNC.find('\\', 2) == std::string::npos || s.sUNC.back() == '\\')
      return Error("bad share name '" + s.sUNC + "' (\\\\host\\share)");
    const std::string sOwner = s.sUNC.substr(2, s.sUNC.find('\\', 2) - 2);
    if (Lower(sOwner) != Lower(host_->sName))
      return Error("share '" + s.sUNC + "' names host '" + sOwner + "' but stands under host '" +
                   host_->sName + "'");
    if (!IsDrivePath(t[3].sText)) return Error("a share reaches a folder such as C:\\Apps");
    s.sFolder = StripTrailingBackslash(t[3].sText);
    if (t.size() == 5) {
      if (Lower(t[4].sText) != "unreadable") return Error("after the folder only 'unreadable'");
      s.bReadable = false;
    }
    host_->shares.push_back(std::move(s));
  }

  void Sockets(const std::vector<Token>& t) {
    SocketsFaults& f = host_->sockets;
    if (t.size() < 2) return Error("expected: sockets FAULT ...");
    const Options o = SplitOptions(t, 1);
    for (const std::string& flag : o.flags) {
      const std::string s = Lower(flag);
      if (s == "cleanup-fails")
        f.bCleanupFails = true;
      else if (s == "hostname-fails")
        f.bHostNameFails = true;
      else
        return Error("unknown sockets fault '" + flag + "'");
    }
    for (const auto& [k, v] : o.values) {
      if (k == "startup") {
        const auto n = ParseNumber<std::int32_t>(v);
        if (!n) return Error("startup takes the library's result number, not '" + v + "'");
        f.lngStartupResult = *n;
      } else if (k == "version") {
        // "major.minor"; the version word holds the major number in its low byte.
        const std::size_t dot = v.find('.');
        const auto major = ParseNumber<int>(v.substr(0, dot));
        const auto minor =
            dot == std::string::npos ? std::optional<int>(0) : ParseNumber<int>(v.substr(dot + 1));
        if (!major || !minor || *major < 0 || *major > 255 || *minor < 0 || *minor > 255)
          return Error("version takes MAJOR.MINOR such as 1.0, not '" + v + "'");
        f.wVersion = static_cast<std::uint16_t>(*major | (*minor << 8));
      } else if (k == "max-sockets") {
        const auto n = ParseNumber<std::int32_t>(v);
        if (!n) return Error("max-sockets takes a number, not '" + v + "'");
        f.lngMaxSockets = *n;
      } else if (k == "last-error") {
        const auto n = ParseNumber<std::int32_t>(v);
        if (!n) return Error("last-error takes a number, not '" + v + "'");
        f.lngLastError = *n;
      } else if (k == "lookup-time") {
        const auto d = ParseDuration(v);
        if (!d) return Error("bad duration '" + v + "'");
        f.lookupTime = *d;
      } else if (k == "lookup-fails") {
        std::size_t start = 0;
        for (;;) {
          const std::size_t comma = v.find(',', start);
          const std::string sName =
              v.substr(start, comma == std::string::npos ? comma : comma - start);
          if (sName == "*")
            f.bAllLookupsFail = true;
          else if (!sName.empty())
            f.lookupFailures.push_back(sName);
          if (comma == std::string::npos) break;
          start = comma + 1;
        }
      } else {
        return Error("unknown sockets fault '" + k + "'");
      }
    }
  }

  // ---- Actions -----------------------------------------------------------------------
  void At(const std::vector<Token>& t) {
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
    const std::string sVerb = Lower(t[2].sText);
    // The words after the verb.
    const std::vector<Token> r(t.begin() + 3, t.end());
    bool bOk = false;
    if (sVerb == "start-agent")
      bOk = StartAgent(a, r);
    else if (sVerb == "start")
      bOk = StartProgram(a, r);
    else if (kOneHostVerbs.count(sVerb)) {
      a.kind = kOneHostVerbs.at(sVerb);
      bOk = OneHost(a, r, sVerb + " HOST");
    } else if (sVerb == "merge-next" || sVerb == "split-next")
      bOk = Pair(a, r, sVerb);
    else if (sVerb == "clock")
      bOk = ClockJump(a, r);
    else if (sVerb == "partition" || sVerb == "heal")
      bOk = Partition(a, r, sVerb == "heal");
    else if (sVerb == "send")
      bOk = Send(a, r);
    else if (sVerb == "click" || sVerb == "select" || sVerb == "type")
      bOk = Control(a, r, sVerb);
    else if (sVerb == "close-window")
      bOk = CloseWindow(a, r);
    else
      return Error("unknown action '" + t[2].sText + "'");
    if (!bOk) return;
    Step step;
    step.action = std::move(a);
    S().steps.push_back(std::move(step));
    if (S().steps.back().action.kind == ActionKind::kSendBytes && bBagPending_) {
      pendingBag_ = &S().steps.back().action;
      payload_ = PayloadKind::kBag;
      bag_ = PropertyBag();
    }
    bBagPending_ = false;
  }

  inline static const std::map<std::string, ActionKind> kOneHostVerbs = {
      {"close-app", ActionKind::kCloseApp},   {"kill-app", ActionKind::kKillApp},
      {"kill-agent", ActionKind::kKillAgent}, {"crash", ActionKind::kCrash},
      {"restart", ActionKind::kRestart},      {"open-setup", ActionKind::kOpenSetup}};

  bool OneHost(Action& a, const std::vector<Token>& r, const std::string& sUsage) {
    if (r.size() != 1) {
      Error("expected: at TIME " + sUsage);
      return false;
    }
    a.sHost = r[0].sText;
    return true;
  }

  bool StartAgent(Action& a, const std::vector<Token>& r) {
    a.kind = ActionKind::kStartAgent;
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
      a.sPath = StripTrailingBackslash(it->second);
    }
    return true;
  }

  bool StartProgram(Action& a, const std::vector<Token>& r) {
    a.kind = ActionKind::kStart;
    if (r.size() < 2) {
      Error("expected: at TIME start HOST PATH [PARAMETERS ...]");
      return false;
    }
    a.sHost = r[0].sText;
    a.sPath = r[1].sText;
    if (!IsDrivePath(a.sPath) && a.sPath.compare(0, 2, "\\\\") != 0) {
      Error("start needs a full path such as C:\\Apps\\Varno2.exe");
      return false;
    }
    for (std::size_t i = 2; i < r.size(); ++i) {
      if (i > 2) a.sParameters += ' ';
      a.sParameters += r[i].sText;
    }
    return true;
  }

  // merge-next A -> B | split-next A -> B
  bool Pair(Action& a, const std::vector<Token>& r, const std::string& sVerb) {
    a.kind = sVerb == "merge-next" ? ActionKind::kMergeNextSends : ActionKind::kSplitNextSend;
    if (r.size() != 3 || r[1].sText != "->") {
      Error("expected: at TIME " + sVerb + " A -> B");
      return false;
    }
    a.sHost = r[0].sText;
    a.sPeer = r[2].sText;
    return true;
  }

  bool ClockJump(Action& a, const std::vector<Token>& r) {
    a.kind = ActionKind::kClockJump;
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
    a.delta = *d;
    return true;
  }

  // partition A -> B [for DURATION] | partition A <-> B [for DURATION]
  // heal A -> B | heal A <-> B | heal all
  bool Partition(Action& a, const std::vector<Token>& r, bool bHeal) {
    a.kind = bHeal ? ActionKind::kHeal : ActionKind::kPartition;
    if (bHeal && r.size() == 1 && Lower(r[0].sText) == "all") {
      a.sHost = "*";
      return true;
    }
    const bool bFor = !bHeal && r.size() == 5 && Lower(r[3].sText) == "for";
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
        Error("bad duration '" + r[4].sText + "'");
        return false;
      }
      a.delta = *d;
    }
    return true;
  }

  // send A -> B[:PORT] hex HEX... | send A -> B[:PORT] bag (entries on '|' lines)
  bool Send(Action& a, const std::vector<Token>& r) {
    a.kind = ActionKind::kSendBytes;
    const char* kUsage = "expected: at TIME send A -> B[:PORT] hex HEX... | bag";
    if (r.size() < 4 || r[1].sText != "->") {
      Error(kUsage);
      return false;
    }
    a.sHost = r[0].sText;
    std::string sTarget = r[2].sText;
    a.nPort = 1230;
    const std::size_t colon = sTarget.find(':');
    if (colon != std::string::npos) {
      const auto n = ParseNumber<int>(sTarget.substr(colon + 1));
      if (!n || *n < 1 || *n > 65535) {
        Error("bad port in '" + sTarget + "'");
        return false;
      }
      a.nPort = *n;
      sTarget.resize(colon);
    }
    a.sPeer = sTarget;
    const std::string sMode = Lower(r[3].sText);
    if (sMode == "hex") {
      std::string sHex;
      for (std::size_t i = 4; i < r.size(); ++i) sHex += r[i].sText;
      const auto bytes = ParseHex(sHex);
      if (!bytes || bytes->empty()) {
        Error("hex takes pairs of hex digits such as 0a ff 10");
        return false;
      }
      a.bytes = *bytes;
      return true;
    }
    if (sMode == "bag" && r.size() == 4) {
      bBagPending_ = true;
      return true;
    }
    Error(kUsage);
    return false;
  }

  static bool SplitControl(const std::string& s, std::string& sForm, std::string& sControl) {
    const std::size_t dot = s.find('.');
    if (dot == std::string::npos || dot == 0 || dot + 1 == s.size()) return false;
    sForm = s.substr(0, dot);
    sControl = s.substr(dot + 1);
    return true;
  }

  // click HOST FORM.CONTROL | select HOST FORM.CONTROL N... | type HOST FORM.CONTROL "TEXT"
  bool Control(Action& a, const std::vector<Token>& r, const std::string& sVerb) {
    const std::string sUsage = sVerb == "click"    ? "click HOST FORM.CONTROL"
                               : sVerb == "select" ? "select HOST FORM.CONTROL INDEX..."
                                                   : "type HOST FORM.CONTROL \"TEXT\"";
    a.kind = sVerb == "click"    ? ActionKind::kClick
             : sVerb == "select" ? ActionKind::kSelect
                                 : ActionKind::kType;
    const bool bArity = sVerb == "click"  ? r.size() == 2
                        : sVerb == "type" ? r.size() == 3
                                          : r.size() >= 3;
    if (!bArity || !SplitControl(r[1].sText, a.sForm, a.sControl)) {
      Error("expected: at TIME " + sUsage);
      return false;
    }
    a.sHost = r[0].sText;
    if (sVerb == "type") a.sText = r[2].sText;
    if (sVerb == "select") {
      for (std::size_t i = 2; i < r.size(); ++i) {
        const auto n = ParseNumber<int>(r[i].sText);
        if (!n || *n < 0 || *n > 32767) {
          Error("list positions count from 0, not '" + r[i].sText + "'");
          return false;
        }
        a.indexes.push_back(*n);
      }
    }
    return true;
  }

  bool CloseWindow(Action& a, const std::vector<Token>& r) {
    a.kind = ActionKind::kCloseWindow;
    if (r.size() != 2) {
      Error("expected: at TIME close-window HOST FORM");
      return false;
    }
    a.sHost = r[0].sText;
    a.sForm = r[1].sText;
    return true;
  }

  void RunUntil(const std::vector<Token>& t) {
    if (t.size() != 3 || Lower(t[1].sText) != "until") return Error("expected: run until HH:MM:SS");
    const auto until = ParseDuration(t[2].sText);
    if (!until) return Error("bad time '" + t[2].sText + "'");
    Step step;
    step.bRunUntil = true;
    step.until = *until;
    step.action.nLine = nLine_;
    S().steps.push_back(std::move(step));
  }

  // ---- Expectations ------------------------------------------------------------------
  // expect [never] HOST KIND [contains] "TEXT" [between T1 T2 | before T | after T] [times N]
  void Expect(const std::vector<Token>& t) {
    const char* kUsage =
        "expected: expect [never] HOST KIND [contains] \"TEXT\" [between T1 T2 | before T | "
        "after T] [times N]";
    Expectation e;
    e.nLine = nLine_;
    e.sSource = sSource_;
    std::size_t i = 1;
    if (i < t.size() && !t[i].bQuoted && Lower(t[i].sText) == "never") {
      e.bNever = true;
      ++i;
    }
    if (i + 2 > t.size()) return Error(kUsage);
    e.sHost = t[i++].sText;
    e.sKind = Lower(t[i++].sText);
    static const std::set<std::string> kKinds = {"log",    "window",  "launch", "registry", "file",
                                                 "msgbox", "process", "net",    "note",     "any"};
    if (!kKinds.count(e.sKind))
      return Error("unknown transcript kind '" + e.sKind +
                   "' (log, window, launch, registry, file, msgbox, process, net, note, any)");
    if (i < t.size() && !t[i].bQuoted && Lower(t[i].sText) == "contains") {
      e.bContains = true;
      ++i;
    }
    if (i >= t.size()) return Error(kUsage);
    e.sText = t[i++].sText;
    bool bWindow = false;
    while (i < t.size()) {
      const std::string sWord = Lower(t[i].sText);
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

  // ---- Payload lines -----------------------------------------------------------------
  void Payload(std::string sText) {
    // One blank after the bar is the separator, the rest is content.
    if (!sText.empty() && sText[0] == ' ') sText.erase(0, 1);
    if (payload_ == PayloadKind::kFileText) {
      FileSetup& f = host_->files.back();
      f.sText += sText;
      f.sText += "\r\n";
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

  void FinishBag() {
    if (!pendingBag_) return;
    pendingBag_->bytes = bag_.Contents();
    pendingBag_ = nullptr;
  }

  // ---- Whole-scenario checks ----------------------------------------------------------
  void Validate() {
    auto known = [&](const std::string& sName) {
      return sName == "*" || S().FindHost(sName) != nullptr;
    };
    Nanos lastRun = -1;
    bool bAnyRun = false;
    for (const Step& step : S().steps) {
      nLine_ = step.action.nLine;
      if (step.bRunUntil) {
        if (step.until <= lastRun)
          Error("run until " + FormatTime(step.until) + " is not later than the run before it");
        lastRun = step.until;
        bAnyRun = true;
        continue;
      }
      const Action& a = step.action;
      if (a.at < lastRun)
        Error("at " + FormatTime(a.at) + " lies before the run until " + FormatTime(lastRun) +
              " above it");
      if (a.sHost != "*" && !known(a.sHost)) Error("unknown host '" + a.sHost + "'");
      if (a.sHost == "*" && a.kind != ActionKind::kHeal) Error("this action needs one host");
      if (!a.sPeer.empty() && !known(a.sPeer)) Error("unknown host '" + a.sPeer + "'");
      if (!a.sPeer.empty() && a.sPeer == "*") Error("this action needs one host on each side");
    }
    const std::size_t nRuns = std::count_if(S().steps.begin(), S().steps.end(),
                                            [](const Step& s) { return s.bRunUntil; });
    if (!bAnyRun) {
      nLine_ = static_cast<int>(lines_.size());
      Error("the scenario has no 'run until' line");
    } else if (nRuns > 0 && !S().steps.back().bRunUntil) {
      nLine_ = S().steps.back().action.nLine;
      Error("this action comes after the last 'run until' and would never run");
    }
    for (const Expectation& e : S().expectations) {
      nLine_ = e.nLine;
      if (!known(e.sHost)) Error("unknown host '" + e.sHost + "'");
    }
    for (const HostSetup& h : S().hosts) {
      nLine_ = h.nLine;
      for (const HostSetup& other : S().hosts)
        if (&other != &h && !h.sAddress.empty() && other.sAddress == h.sAddress &&
            other.nLine < h.nLine)
          Error("host '" + h.sName + "' has the address of host '" + other.sName + "'");
    }
  }

  const std::string& sText_;
  std::vector<std::string> lines_;
  ParseResult result_;
  int nLine_ = 0;
  std::string sSource_;
  HostSetup* host_ = nullptr;
  PayloadKind payload_ = PayloadKind::kNone;
  bool bBagPending_ = false;
  Action* pendingBag_ = nullptr;
  PropertyBag bag_;
};

}  // namespace

const HostSetup* Scenario::FindHost(const std::string& sName) const {
  const std::string sLower = Lower(sName);
  for (const HostSetup& h : hosts)
    if (Lower(h.sName) == sLower) return &h;
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

std::optional<Nanos> ParseDuration(const std::string& s) {
  if (s.empty() || s[0] == '-' || s[0] == '+') return std::nullopt;
  if (s.find(':') != std::string::npos) {
    // H:MM:SS[.fff] or MM:SS[.fff]
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
      const std::size_t colon = s.find(':', start);
      parts.push_back(s.substr(start, colon == std::string::npos ? colon : colon - start));
      if (colon == std::string::npos) break;
      start = colon + 1;
    }
    if (parts.size() < 2 || parts.size() > 3) return std::nullopt;
    Nanos total = 0;
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const bool bLast = i + 1 == parts.size();
      const std::string& p = parts[i];
      if (p.empty() || (!bLast && p.find('.') != std::string::npos)) return std::nullopt;
      const auto v = ParseDecimal(p, kNanosPerSecond);
      if (!v) return std::nullopt;
      // Minutes and seconds stay below 60; the first part may be any size.
      if (i > 0 && *v >= 60 * kNanosPerSecond) return std::nullopt;
      if (total > std::numeric_limits<Nanos>::max() / 120) return std::nullopt;
      total = total * 60 + *v;
    }
    return total;
  }
  static const std::pair<const char*, Nanos> kUnits[] = {{"ms", kNanosPerSecond / 1000},
                                                         {"s", kNanosPerSecond},
                                                         {"m", 60 * kNanosPerSecond},
                                                         {"h", 3600 * kNanosPerSecond}};
  for (const auto& [sUnit, nUnit] : kUnits) {
    const std::string u = sUnit;
    if (s.size() > u.size() && s.compare(s.size() - u.size(), u.size(), u) == 0) {
      const std::string sNum = s.substr(0, s.size() - u.size());
      if (!sNum.empty() && std::isdigit(static_cast<unsigned char>(sNum.back())))
        return ParseDecimal(sNum, nUnit);
    }
  }
  return ParseDecimal(s, kNanosPerSecond);
}

std::optional<Nanos> ParseSignedDuration(const std::string& s) {
  if (s.empty()) return std::nullopt;
  if (s[0] == '-' || s[0] == '+') {
    const auto d = ParseDuration(s.substr(1));
    if (!d) return std::nullopt;
    return s[0] == '-' ? -*d : *d;
  }
  return ParseDuration(s);
}

std::string FormatTime(Nanos t) { return sim::ClockTime(t); }

std::optional<std::vector<std::uint8_t>> ParseHex(const std::string& s) {
  std::vector<std::uint8_t> out;
  int nHigh = -1;
  for (char c : s) {
    if (IsBlank(c)) continue;
    int v;
    if (c >= '0' && c <= '9')
      v = c - '0';
    else if (c >= 'a' && c <= 'f')
      v = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F')
      v = c - 'A' + 10;
    else
      return std::nullopt;
    if (nHigh < 0) {
      nHigh = v;
    } else {
      out.push_back(static_cast<std::uint8_t>(nHigh * 16 + v));
      nHigh = -1;
    }
  }
  if (nHigh >= 0) return std::nullopt;
  return out;
}

}  // namespace launchagent::scenario
