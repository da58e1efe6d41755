// Host properties: the lines after "host NAME" that describe one desktop.
#include <cctype>
#include <cstdlib>
#include <map>

#include "scenario_parser.h"

namespace launchagent::scenario {

namespace {

// Words [first, stop) joined as one quoted path: what the writer most likely meant
// when a path with blanks was left unquoted. stop is the first word in stopWords.
std::string QuotedGuess(const Words& t, std::size_t first,
                        std::initializer_list<const char*> stopWords) {
  std::string s = "\"";
  for (std::size_t i = first; i < t.size(); ++i) {
    bool bStop = false;
    for (const char* w : stopWords) bStop = bStop || AsciiLower(t[i].sText) == w;
    if (bStop && i > first) break;
    if (i > first) s += ' ';
    s += t[i].sText;
  }
  return s + "\"";
}

// A path word followed by more words than the statement takes: likely blanks in it.
bool LooksSplit(const Words& t, std::size_t nPath, std::size_t nMax) {
  return t.size() > nMax && !t[nPath].bQuoted && IsDrivePath(t[nPath].sText);
}

}  // namespace

bool Parser::HostProperty(const std::string& sKey, const Words& t) {
  using Handler = void (*)(Parser&, const Words&);
  static const std::map<std::string, Handler> kProperties = {
      {"computer-name",
       [](Parser& p, const Words& t) {
         if (!p.Arity(t, 2, 2, "computer-name NAME")) return;
         p.host_->sComputerName = t[1].sText;
       }},
      {"computer-name-fails",
       [](Parser& p, const Words& t) {
         if (!p.Arity(t, 1, 1, "computer-name-fails")) return;
         p.host_->bComputerNameFails = true;
       }},
      {"address",
       [](Parser& p, const Words& t) {
         if (!p.Arity(t, 2, 2, "address A.B.C.D")) return;
         if (!IsDottedAddress(t[1].sText)) return p.Error("bad IPv4 address '" + t[1].sText + "'");
         p.host_->sAddress = t[1].sText;
       }},
      {"clock-offset",
       [](Parser& p, const Words& t) {
         if (!p.Arity(t, 2, 2, "clock-offset +HH:MM:SS")) return;
         const auto d = ParseSignedDuration(t[1].sText);
         if (!d) return p.Error("bad clock offset '" + t[1].sText + "'");
         p.host_->clockOffset = *d;
       }},
      {"clock-skew",
       [](Parser& p, const Words& t) {
         if (!p.Arity(t, 2, 2, "clock-skew PPM")) return;
         char* end = nullptr;
         const double d = std::strtod(t[1].sText.c_str(), &end);
         if (t[1].sText.empty() || *end != '\0' || !(d > -100000 && d < 100000))
           return p.Error("clock-skew takes parts per million such as 50 or -20, not '" +
                          t[1].sText + "'");
         p.host_->dClockSkewPpm = d;
       }},
      {"agent-folder",
       [](Parser& p, const Words& t) {
         if (LooksSplit(t, 1, 2))
           return p.Error("a path with blanks goes in double quotes: agent-folder " +
                          QuotedGuess(t, 1, {}));
         if (!p.Arity(t, 2, 2, "agent-folder PATH")) return;
         if (!IsDrivePath(t[1].sText))
           return p.Error("agent-folder must be a path such as C:\\Apps");
         p.host_->sAgentFolder = StripTrailingBackslash(t[1].sText);
       }},
      {"folder",
       [](Parser& p, const Words& t) {
         if (LooksSplit(t, 1, 2))
           return p.Error("a path with blanks goes in double quotes: folder " +
                          QuotedGuess(t, 1, {}));
         if (!p.Arity(t, 2, 2, "folder PATH")) return;
         if (!IsDrivePath(t[1].sText)) return p.Error("folder must be a path such as C:\\Apps");
         p.host_->folders.push_back(StripTrailingBackslash(t[1].sText));
       }},
      {"file", [](Parser& p, const Words& t) { p.File(t, false); }},
      {"hidden-file", [](Parser& p, const Words& t) { p.File(t, true); }},
      {"share", [](Parser& p, const Words& t) { p.Share(t); }},
      {"visible-shares",
       [](Parser& p, const Words& t) {
         std::vector<std::string> names;
         for (std::size_t i = 1; i < t.size(); ++i) names.push_back(t[i].sText);
         p.host_->visibleShares = std::move(names);
       }},
      {"share-search", [](Parser& p, const Words& t) { p.ShareSearch(t); }},
      {"registry",
       [](Parser& p, const Words& t) {
         if (!p.Arity(t, 2, 2, "registry denied") || AsciiLower(t[1].sText) != "denied")
           return p.Error("expected: registry denied");
         p.host_->bRegistryDenied = true;
       }},
      {"sockets", [](Parser& p, const Words& t) { p.Sockets(t); }},
      {"system-folder", [](Parser& p, const Words& t) { p.SystemFolder(t); }},
      {"disk", [](Parser& p, const Words& t) { p.Disk(t); }},
      {"window", [](Parser& p, const Words& t) { p.Window(t); }},
      {"name-entry",
       [](Parser& p, const Words& t) {
         if (!p.Arity(t, 3, 3, "name-entry NAME A.B.C.D")) return;
         if (!IsDottedAddress(t[2].sText)) return p.Error("bad IPv4 address '" + t[2].sText + "'");
         p.host_->names.push_back({p.nLine_, t[1].sText, t[2].sText});
       }},
  };
  const auto it = kProperties.find(sKey);
  if (it == kProperties.end()) return false;
  if (!host_) {
    Error("'" + t[0].sText + "' belongs to a host: put it after a 'host' line");
    return true;
  }
  it->second(*this, t);
  return true;
}

// file PATH [text "..."] | [program launch|varno [k=v ...]]; payload lines follow a
// file with neither.
void Parser::File(const Words& t, bool bHidden) {
  FileSetup f;
  f.bHidden = bHidden;
  bool bPayload = false;
  if (!FileWords(t, f, bPayload)) return;
  host_->files.push_back(std::move(f));
  if (bPayload) ExpectFileText(host_->files.back());
}

void Parser::ExpectFileText(FileSetup& f) {
  payload_ = PayloadKind::kFileText;
  pendingFile_ = &f;
}

// Fills f from the words of a file statement (t[1] is the path); false after an error.
// bPayload: the file's lines follow on '|' lines.
bool Parser::FileWords(const Words& t, FileSetup& f, bool& bPayload) {
  if (t.size() < 2) {
    Error("expected: file PATH [text \"...\" | program NAME ...]");
    return false;
  }
  f.nLine = nLine_;
  f.sPath = t[1].sText;
  if (!IsDrivePath(f.sPath) || f.sPath.back() == '\\') {
    Error("file needs a full path such as C:\\Apps\\Varno2.exe");
    return false;
  }
  if (t.size() == 2) {
    bPayload = true;
    return true;
  }
  const std::string sMode = AsciiLower(t[2].sText);
  if (sMode == "text") {
    if (!Arity(t, 4, 4, "file PATH text \"CONTENT\"")) return false;
    f.sText = t[3].sText;
    return true;
  }
  if (sMode == "program") {
    if (t.size() < 4) {
      Error("expected: file PATH program launch|varno [OPTION=VALUE ...]");
      return false;
    }
    ProgramOptions(f, t);
    return !f.sProgram.empty();
  }
  if (!t[1].bQuoted)
    Error(
        "after the path: text \"...\" or program NAME (a path with blanks goes in "
        "double quotes: " +
        QuotedGuess(t, 1, {"text", "program"}) + ")");
  else
    Error("after the path: text \"...\" or program NAME");
  return false;
}

// Fills f.sProgram and f.options from "program NAME [k=v ...]"; sProgram stays empty
// after an error.
void Parser::ProgramOptions(FileSetup& f, const Words& t) {
  const std::string sProgram = AsciiLower(t[3].sText);
  const Options o = SplitOptions(t, 4);
  if (!o.flags.empty()) return Error("program options are NAME=VALUE, not '" + o.flags[0] + "'");
  if (sProgram == "launch") {
    if (!o.values.empty()) return Error("program launch takes no options");
  } else if (sProgram == "varno") {
    // Seconds as plain numbers: the stand-in reads them so.
    for (const auto& [k, v] : o.values) {
      if (k == "window-delay" || k == "exit-after") {
        if (!ParseDecimal(v, kNanosPerSecond)) return Error(k + " takes seconds, not '" + v + "'");
      } else if (k == "refuse-close") {
        const auto n = ParseNumber<int>(v);
        if (!n || *n < -1) return Error("refuse-close takes a count or -1 (all), not '" + v + "'");
      } else {
        return Error("unknown option '" + k + "' of program varno");
      }
    }
  } else {
    return Error("unknown program '" + t[3].sText + "' (launch or varno)");
  }
  f.sProgram = sProgram;
  f.options = o.ordered;
}

// window CLASS "TITLE" [refuse-close=N|all]
void Parser::Window(const Words& t) {
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
    if (AsciiLower(it->second) == "all") {
      w.nRefuseClose = -1;
    } else {
      const auto n = ParseNumber<int>(it->second);
      if (!n || *n < 0) return Error("refuse-close takes a count or all, not '" + it->second + "'");
      w.nRefuseClose = *n;
    }
  }
  host_->windows.push_back(std::move(w));
}

// share \\host\share -> FOLDER [unreadable]
void Parser::Share(const Words& t) {
  ShareSetup s;
  if (!ShareWords(t, s)) return;
  const std::string sOwner = ShareOwner(s.sUNC);
  if (AsciiLower(sOwner) != AsciiLower(host_->sName))
    return Error("share '" + s.sUNC + "' names host '" + sOwner + "' but stands under host '" +
                 host_->sName + "'");
  host_->shares.push_back(std::move(s));
}

bool Parser::ShareWords(const Words& t, ShareSetup& s) {
  if (!Arity(t, 4, 5, "share \\\\HOST\\SHARE -> FOLDER [unreadable]") || t[2].sText != "->") {
    Error("expected: share \\\\HOST\\SHARE -> FOLDER [unreadable]");
    return false;
  }
  s.nLine = nLine_;
  s.sUNC = t[1].sText;
  if (!ShareName(s.sUNC)) return false;
  if (!IsDrivePath(t[3].sText)) {
    Error("a share reaches a folder such as C:\\Apps");
    return false;
  }
  s.sFolder = StripTrailingBackslash(t[3].sText);
  if (t.size() == 5) {
    if (AsciiLower(t[4].sText) != "unreadable") {
      Error("after the folder only 'unreadable'");
      return false;
    }
    s.bReadable = false;
  }
  return true;
}

bool Parser::ShareName(const std::string& sUNC) {
  if (sUNC.size() < 5 || sUNC.compare(0, 2, "\\\\") != 0 ||
      sUNC.find('\\', 2) == std::string::npos || sUNC.back() == '\\') {
    Error("bad share name '" + sUNC + "' (\\\\host\\share)");
    return false;
  }
  return true;
}

std::string Parser::ShareOwner(const std::string& sUNC) {
  return sUNC.substr(2, sUNC.find('\\', 2) - 2);
}

void Parser::ShareSearch(const Words& t) {
  ShareSearchWords(t, host_->shareSearchTime, host_->bShareSearchError);
}

// share-search [time=DURATION] [error], from t[1] on.
bool Parser::ShareSearchWords(const Words& t, std::optional<Nanos>& time, bool& bError) {
  const Options o = SplitOptions(t, 1);
  for (const std::string& f : o.flags) {
    if (AsciiLower(f) != "error") {
      Error("share-search takes time=DURATION and error");
      return false;
    }
    bError = true;
  }
  for (const auto& [k, v] : o.values) {
    if (k != "time") {
      Error("share-search takes time=DURATION and error");
      return false;
    }
    const auto d = ParseDuration(v);
    if (!d) {
      BadDuration(v);
      return false;
    }
    time = *d;
  }
  return true;
}

void Parser::SystemFolder(const Words& t) {
  if (!Arity(t, 2, 2, "system-folder missing|PATH")) return;
  if (AsciiLower(t[1].sText) == "missing" && !t[1].bQuoted)
    host_->bSystemFolderMissing = true;
  else if (IsDrivePath(t[1].sText))
    host_->sSystemFolder = StripTrailingBackslash(t[1].sText);
  else
    Error("system-folder takes 'missing' or a path such as C:\\Windows\\System");
}

void Parser::Disk(const Words& t) {
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
  host_->disks.push_back({nLine_, sDrive, *size});
}

void Parser::Sockets(const Words& t) {
  SocketsFaults& f = host_->sockets;
  if (t.size() < 2) return Error("expected: sockets FAULT ...");
  const Options o = SplitOptions(t, 1);
  for (const std::string& flag : o.flags) {
    const std::string s = AsciiLower(flag);
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
      if (!d) return BadDuration(v);
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

}  // namespace launchagent::scenario
