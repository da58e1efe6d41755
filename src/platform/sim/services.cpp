// The platform services one process sees: clock, windows, shell, registry, kernel,
// sockets library, files, share search, trace.
#include <algorithm>

#include "platform/main_app_window.h"
#include "platform/sim/impl.h"

namespace launchagent::sim {

namespace {

std::string Escape(const std::string& s) {
  std::string out;
  for (char c : s) {
    if (c == '\r')
      out += "\\r";
    else if (c == '\n')
      out += "\\n";
    else if (c == '\t')
      out += "\\t";
    else
      out += c;
  }
  return out;
}

// Built by appending: g++ 12 at -O2 warns wrongly on "literal" + string.
std::string Quote(const std::string& s) {
  std::string q = "\"";
  q += Escape(s);
  q += '"';
  return q;
}

std::string WindowRef(platform::WindowHandle hWnd) {
  std::string s = "#";
  s += std::to_string(hWnd);
  return s;
}

constexpr Nanos kSendCloseCost = 10 * kMillisecond;

}  // namespace

// ---- Clock ------------------------------------------------------------------------------

DateTime SimClock::Now() const {
  const Nanos local = w_.LocalNanos(*w_.hosts[host_]);
  Nanos secs = local / kSecond;
  if (local % kSecond < 0) --secs;
  return DateTime{w_.startDate.lngSeconds + secs};
}

double SimClock::SecondsSinceMidnight() const {
  constexpr Nanos kDay = 86400 * kSecond;
  const Nanos local = w_.LocalNanos(*w_.hosts[host_]);
  const Nanos startOfDay = static_cast<Nanos>(w_.startDate.SecondsSinceMidnight()) * kSecond;
  Nanos t = (startOfDay + local % kDay) % kDay;
  if (t < 0) t += kDay;
  return static_cast<double>(t) / 1e9;
}

// ---- Trace ------------------------------------------------------------------------------

void SimTrace::ActivityLine(const std::string& sText) {
  // Millions of lines an hour on a large LAN: one test when nobody reads them.
  if (!w_.transcript.Wanted()) return;
  w_.Record(host_, TranscriptKind::Log, sText);
}

// ---- Windows ----------------------------------------------------------------------------

void Desktop::Record(HostId host, TranscriptKind kind, const std::string& sText) {
  w_.Record(host, kind, sText);
}

std::shared_ptr<WindowRec> Desktop::FindWindow(HostId host, platform::WindowHandle hWnd) const {
  if (host >= hosts.size() || hWnd == 0) return nullptr;
  for (auto& r : hosts[host]->windows)
    if (r->hWnd == hWnd) return r;
  return nullptr;
}

void Desktop::OpenWindow(HostState& h, std::shared_ptr<WindowRec> rec) {
  rec->hWnd = ++nextWindow;
  rec->host = h.id;
  std::string sText = WindowRef(rec->hWnd) + " opened " + rec->sClass + " " + Quote(rec->sTitle);
  if (!rec->sFormName.empty()) sText += " form " + rec->sFormName;
  if (rec->owner) sText += " process #" + std::to_string(rec->owner);
  if (!rec->bVisible) sText += " hidden";
  h.windows.insert(h.windows.begin(), std::move(rec));
  Record(h.id, TranscriptKind::Window, sText);
}

void Desktop::RemoveWindow(HostState& h, platform::WindowHandle hWnd) {
  for (auto it = h.windows.begin(); it != h.windows.end(); ++it) {
    if ((*it)->hWnd != hWnd) continue;
    auto rec = *it;
    h.windows.erase(it);
    rec->form = nullptr;
    if (!h.bCrashing)
      Record(h.id, TranscriptKind::Window, WindowRef(hWnd) + " closed " + Quote(rec->sTitle));
    return;
  }
}

void Desktop::FormChanged(WindowRec& rec) {
  if (!rec.form) return;
  const std::string sCaption = rec.form->Caption();
  const bool bVisible = rec.form->Visible();
  if (sCaption != rec.sTitle) {
    rec.sTitle = sCaption;
    Record(rec.host, TranscriptKind::Window, WindowRef(rec.hWnd) + " retitled " + Quote(sCaption));
  }
  if (bVisible != rec.bVisible) {
    rec.bVisible = bVisible;
    Record(rec.host, TranscriptKind::Window,
           WindowRef(rec.hWnd) + (bVisible ? " shown" : " hidden"));
  }
}

void Desktop::DeliverClose(HostId host, platform::WindowHandle hWnd) {
  auto rec = FindWindow(host, hWnd);
  if (!rec) return;
  if (rec->form) {
    rec->form->UserClose();
    return;
  }
  if (rec->owner != 0) return;
  if (rec->nRefuseClose != 0) {
    if (rec->nRefuseClose > 0) --rec->nRefuseClose;
    Record(host, TranscriptKind::Window,
           WindowRef(hWnd) + " refused to close " + Quote(rec->sTitle));
    return;
  }
  RemoveWindow(*hosts[host], hWnd);
}

platform::WindowHandle SimWindows::FindWindowByTitle(const std::string& sTitle) {
  for (auto& r : w_.HostOf(p_).windows)
    if (r->sTitle == sTitle) return r->hWnd;
  return 0;
}

platform::WindowHandle SimWindows::NextWindow(platform::WindowHandle hWnd) {
  auto& ws = w_.HostOf(p_).windows;
  for (std::size_t i = 0; i < ws.size(); ++i)
    if (ws[i]->hWnd == hWnd) return i + 1 < ws.size() ? ws[i + 1]->hWnd : 0;
  return 0;
}

namespace {
std::optional<std::string> Cut(const std::string& s, int nBufferLen) {
  if (nBufferLen <= 0) return std::nullopt;
  return s.substr(0, static_cast<std::size_t>(nBufferLen - 1));
}
}  // namespace

std::optional<std::string> SimWindows::ClassName(platform::WindowHandle hWnd, int nBufferLen) {
  auto rec = w_.desktop.FindWindow(p_.host, hWnd);
  if (!rec) return std::nullopt;
  return Cut(rec->sClass, nBufferLen);
}

std::optional<std::string> SimWindows::WindowText(platform::WindowHandle hWnd, int nBufferLen) {
  auto rec = w_.desktop.FindWindow(p_.host, hWnd);
  if (!rec) return std::nullopt;
  return Cut(rec->sTitle, nBufferLen);
}

bool SimWindows::SendClose(platform::WindowHandle hWnd) {
  if (p_.bEnding) return false;
  w_.sched.RequireFiber(p_, "SendClose");
  auto rec = w_.desktop.FindWindow(p_.host, hWnd);
  if (!rec) return false;
  const Nanos sent = w_.now;
  ProcessState* owner = rec->owner ? w_.Proc(rec->owner) : nullptr;
  if (!owner || owner == &p_ || !owner->Alive()) {
    // Our own window, or one without a running owner: handled right here.
    if (!rec->owner || owner == &p_) w_.desktop.DeliverClose(p_.host, hWnd);
    w_.sched.Sleep(p_, kSendCloseCost);
    return true;
  }
  const std::uint64_t gen = ++p_.waitGen;
  owner->waiters.push_back(ProcessState::Waiter{p_.pid, gen, sent});
  WorldImpl& w = w_;
  const HostId host = p_.host;
  const ProcessId sender = p_.pid;
  const ProcessId ownerPid = owner->pid;
  w_.sched.PostProcess(*owner, w_.now, [&w, host, hWnd, sender, gen, sent, ownerPid] {
    w.desktop.DeliverClose(host, hWnd);
    ProcessState* o = w.Proc(ownerPid);
    if (!o) return;
    auto& ws = o->waiters;
    for (auto it = ws.begin(); it != ws.end(); ++it) {
      if (it->pid == sender && it->gen == gen) {
        ws.erase(it);
        w.sched.Wake(sender, gen, std::max(w.now, sent + kSendCloseCost));
        break;
      }
    }
  });
  w_.sched.WaitBlocked(p_, gen, kForever);
  return true;
}

void SimWindows::AttachForm(ui::Form& form) {
  if (!p_.Alive() || p_.bEnding) return;
  HostState& h = w_.HostOf(p_);
  for (auto& r : h.windows)
    if (r->form == &form) return;
  auto rec = std::make_shared<WindowRec>();
  rec->sClass = kFormWindowClass;
  rec->sTitle = form.Caption();
  rec->bVisible = form.Visible();
  rec->owner = p_.pid;
  rec->form = &form;
  rec->sFormName = form.Name();
  std::weak_ptr<WindowRec> weak = rec;
  w_.desktop.OpenWindow(h, rec);
  // The guard lives in the form's observer list, so it dies with the form: a form
  // destroyed without DetachForm takes its window with it.
  struct Guard {
    Guard(WorldImpl* pw, std::weak_ptr<WindowRec> r) : w(pw), rec(std::move(r)) {}
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    WorldImpl* w;
    std::weak_ptr<WindowRec> rec;
    ~Guard() {
      if (auto r = rec.lock(); r && r->form) w->desktop.RemoveWindow(*w->hosts[r->host], r->hWnd);
    }
  };
  auto guard = std::make_shared<Guard>(&w_, weak);
  WorldImpl* w = &w_;
  form.AddObserver([w, weak, guard] {
    if (auto r = weak.lock()) w->desktop.FormChanged(*r);
  });
}

void SimWindows::DetachForm(ui::Form& form) {
  HostState& h = w_.HostOf(p_);
  for (auto& r : h.windows) {
    if (r->form == &form) {
      w_.desktop.RemoveWindow(h, r->hWnd);
      return;
    }
  }
}

void SimWindows::MessageBox(const std::string& sTitle, const std::string& sText) {
  // The simulated user reads it and presses OK at once.
  w_.Record(p_.host, TranscriptKind::MsgBox, Quote(sTitle) + " " + Quote(sText));
}

// ---- Shell ------------------------------------------------------------------------------

bool WorldImpl::ParseProgramFile(const Bytes& content, std::string& sKind,
                                 std::vector<std::pair<std::string, std::string>>& options) {
  std::string s(content.begin(), content.end());
  const auto eol = s.find_first_of("\r\n");
  if (eol != std::string::npos) s.resize(eol);
  const std::string kMark = "SIMPROGRAM ";
  if (s.compare(0, kMark.size(), kMark) != 0) return false;
  std::vector<std::string> words;
  std::string cur;
  for (char c : s.substr(kMark.size())) {
    if (c == ' ' || c == '\t') {
      if (!cur.empty()) words.push_back(cur);
      cur.clear();
    } else {
      cur += c;
    }
  }
  if (!cur.empty()) words.push_back(cur);
  if (words.empty()) return false;
  sKind = words[0];
  options.clear();
  for (std::size_t i = 1; i < words.size(); ++i) {
    const auto eq = words[i].find('=');
    if (eq == std::string::npos)
      options.emplace_back(words[i], "");
    else
      options.emplace_back(words[i].substr(0, eq), words[i].substr(eq + 1));
  }
  return true;
}

StartResult WorldImpl::Execute(HostId host, const std::string& sFile,
                               const std::string& sParameters, const std::string& sFolder,
                               Long lngShowCmd, const std::string& sBase) {
  StartResult r;
  Resolved res = Resolve(host, sFile, sBase);
  const Disk::Node* node = nullptr;
  if (res.nError) {
    r.lngResult = res.nError;
  } else if (!(node = res.host->disk.Find(res.cDrive, res.parts))) {
    std::vector<std::string> folder(res.parts.begin(),
                                    res.parts.empty() ? res.parts.end() : res.parts.end() - 1);
    const Disk::Node* f = res.host->disk.Find(res.cDrive, folder);
    r.lngResult = f && f->bFolder ? 2 : 3;
  } else if (node->bFolder) {
    r.lngResult = 2;
  } else {
    ProgramStart start;
    if (!ParseProgramFile(node->content, start.sKind, start.options) ||
        !programs.count(start.sKind)) {
      r.lngResult = 31;
    } else {
      ParsedPath pp = ParsePath(sFile, sBase);
      start.sPath = sFile;
      if (pp.kind == ParsedPath::Kind::Local)
        start.sPath = JoinLocal(pp.cDrive, pp.parts);
      else if (pp.kind == ParsedPath::Kind::Unc) {
        start.sPath = "\\\\" + pp.sHost + "\\" + pp.sShare;
        for (auto& part : pp.parts) start.sPath += "\\" + part;
      }
      start.sParameters = sParameters;
      start.sFolder = sFolder;
      start.lngShowCmd = lngShowCmd;
      r.pid = Spawn(host, std::move(start));
      r.lngResult = r.pid ? 42 : 0;
    }
  }
  return r;
}

Long SimShell::Execute(const std::string& sVerb, const std::string& sFile,
                       const std::string& sParameters, const std::string& sFolder,
                       Long lngShowCmd) {
  StartResult r;
  if (!sVerb.empty() && !EqualNoCase(sVerb, "open"))
    r.lngResult = 31;
  else
    r = w_.Execute(p_.host, sFile, sParameters, sFolder, lngShowCmd,
                   p_.services->files.AgentFolder());
  w_.Record(
      p_.host, TranscriptKind::Launch,
      Quote(sFile) + " params " + Quote(sParameters) + " result " + std::to_string(r.lngResult));
  return r.lngResult;
}

// ---- Registry ---------------------------------------------------------------------------

std::optional<platform::RegistryKey> SimRegistry::CreateKey(platform::RegistryRoot root,
                                                            const std::string& sSubKey) {
  HostState& h = w_.HostOf(p_);
  if (root == platform::RegistryRoot::LocalMachine && h.bDenyLocalMachine) return std::nullopt;
  if (sSubKey.empty()) return std::nullopt;
  const std::string sPath =
      (root == platform::RegistryRoot::LocalMachine ? "HKLM\\" : "HKCU\\") + sSubKey;
  auto& key = h.registry[ToLower(sPath)];
  if (key.sPath.empty()) key.sPath = sPath;
  const platform::RegistryKey handle = nextKey_++;
  open_[handle] = {root, sPath};
  return handle;
}

bool SimRegistry::SetStringValue(platform::RegistryKey key, const std::string& sName,
                                 const std::string& sData) {
  auto it = open_.find(key);
  if (it == open_.end()) return false;
  HostState& h = w_.HostOf(p_);
  auto& k = h.registry[ToLower(it->second.second)];
  if (k.sPath.empty()) k.sPath = it->second.second;
  k.values[ToLower(sName)] = {sName, sData};
  w_.Record(p_.host, TranscriptKind::Registry, k.sPath + " " + sName + " = " + Escape(sData));
  return true;
}

bool SimRegistry::CloseKey(platform::RegistryKey key) { return open_.erase(key) != 0; }

// ---- Kernel -----------------------------------------------------------------------------

std::optional<std::string> SimKernel::ComputerName() {
  const HostState& h = *w_.hosts[host_];
  if (h.bComputerNameFails) return std::nullopt;
  return h.sComputerName;
}

// ---- Sockets library --------------------------------------------------------------------

namespace {
constexpr Long kWsaNotInitialised = 10093;
constexpr Long kWsaNetDown = 10050;
constexpr Long kWsaHostNotFound = 11001;
}  // namespace

Long SimSocketsLibrary::Startup(std::uint16_t wVersionRequested,
                                platform::SocketsStartupData& data) {
  const SocketsLibrarySettings& s = w_.HostOf(p_).sockets;
  if (s.lngStartupResult != 0) {
    lngLastError_ = s.lngStartupResult;
    return s.lngStartupResult;
  }
  ++nStarts_;
  data.wVersion = s.wVersion ? *s.wVersion : wVersionRequested;
  data.wHighVersion = s.wHighVersion;
  data.lngMaxSockets = s.lngMaxSockets;
  return 0;
}

Long SimSocketsLibrary::Cleanup() {
  const SocketsLibrarySettings& s = w_.HostOf(p_).sockets;
  if (s.lngCleanupResult) return *s.lngCleanupResult;
  if (nStarts_ <= 0) {
    lngLastError_ = kWsaNotInitialised;
    return -1;
  }
  --nStarts_;
  return 0;
}

Long SimSocketsLibrary::LastError() {
  const SocketsLibrarySettings& s = w_.HostOf(p_).sockets;
  return s.lngLastError ? *s.lngLastError : lngLastError_;
}

std::optional<std::string> SimSocketsLibrary::HostName() {
  const HostState& h = w_.HostOf(p_);
  if (h.sockets.bHostNameFails) {
    lngLastError_ = kWsaNetDown;
    return std::nullopt;
  }
  return h.sName;
}

std::optional<platform::HostEntry> SimSocketsLibrary::HostByName(const std::string& sName) {
  HostState& h = w_.HostOf(p_);
  if (h.sockets.lookupTime > 0) w_.sched.Sleep(p_, h.sockets.lookupTime);
  auto a = w_.net.Lookup(h, sName, &lngLastError_);
  if (!a) return std::nullopt;
  platform::HostEntry e;
  e.nAddressLength = 4;
  e.addresses.push_back(*a);
  return e;
}

std::optional<Address> NetModel::Lookup(HostState& h, const std::string& sName, Long* pError) {
  const auto fail = [pError]() -> std::optional<Address> {
    if (pError) *pError = kWsaHostNotFound;
    return std::nullopt;
  };
  if (sName.empty() || h.sockets.bAllLookupsFail) return fail();
  const std::string lower = ToLower(sName);
  if (h.failedLookups.count(lower)) return fail();
  if (auto a = ParseAddress(sName)) return a;
  if (auto it = h.nameEntries.find(lower); it != h.nameEntries.end()) return it->second;
  if (lower == "localhost") return Address{127, 0, 0, 1};
  if (auto id = hosts.ByName(lower)) return hosts[*id]->address;
  return fail();
}

}  // namespace launchagent::sim
