// The World's public face: hosts, clocks, programs, windows, registry, names, disks
// and shares as a scenario sets them up.
#include "platform/sim/world.h"

#include <cmath>
#include <cstdlib>

#include "platform/sim/impl.h"

namespace launchagent::sim {

Nanos FromSeconds(double dSeconds) {
  if (!(dSeconds == dSeconds)) return 0;  // NaN
  const double ns = dSeconds * 1e9;
  if (ns >= 9.2e18) return kForever;
  if (ns <= -9.2e18) return -kForever;
  return static_cast<Nanos>(std::llround(ns));
}

std::optional<Address> ParseAddress(const std::string& sText) {
  Address a{};
  std::size_t i = 0;
  for (int part = 0; part < 4; ++part) {
    if (part > 0) {
      if (i >= sText.size() || sText[i] != '.') return std::nullopt;
      ++i;
    }
    int value = 0, digits = 0;
    while (i < sText.size() && sText[i] >= '0' && sText[i] <= '9' && digits < 4) {
      value = value * 10 + (sText[i] - '0');
      ++i;
      ++digits;
    }
    if (digits == 0 || digits > 3 || value > 255) return std::nullopt;
    a[static_cast<std::size_t>(part)] = static_cast<std::uint8_t>(value);
  }
  if (i != sText.size()) return std::nullopt;
  return a;
}

std::string FormatAddress(const Address& a) {
  return std::to_string(a[0]) + "." + std::to_string(a[1]) + "." + std::to_string(a[2]) + "." +
         std::to_string(a[3]);
}

namespace {

std::string RootPrefix(platform::RegistryRoot root) {
  return root == platform::RegistryRoot::LocalMachine ? "HKLM" : "HKCU";
}

std::string Trim(const std::string& s) {
  std::size_t a = 0, b = s.size();
  while (a < b && s[a] == ' ') ++a;
  while (b > a && s[b - 1] == ' ') --b;
  return s.substr(a, b - a);
}

}  // namespace

std::string ProgramStart::Option(const std::string& sKey, const std::string& sDefault) const {
  for (auto& [k, v] : options)
    if (EqualNoCase(k, sKey)) return v;
  return sDefault;
}

// ---- Impl life ------------------------------------------------------------------------

World::Impl::Impl(std::uint64_t s) : seed(s) {
  programs["varno"] = [this](platform::Platform& p, const ProgramStart& start) {
    VarnoProgram(*this, p, start);
  };
}

World::Impl::~Impl() {
  // Programs unwind first, while everything they touch still exists; nothing they do
  // now reaches the transcript or a sink that may already be gone.
  bTearingDown = true;
  transcript.Close();
  KillAll();
  sched.Clear();
  net.raw.Clear();
  processes.clear();
  hosts.clear();
}

World::World(std::uint64_t seed) : impl_(std::make_unique<Impl>(seed)) {}
World::~World() = default;

std::uint64_t World::Seed() const { return impl_->seed; }
std::uint64_t World::SubSeed(const std::string& sPurpose) const {
  return DeriveSeed(impl_->seed, sPurpose);
}

// ---- Time -----------------------------------------------------------------------------

void World::SetStartDateTime(DateTime start) {
  if (impl_->hosts.empty() && impl_->now == 0) impl_->startDate = start;
}
DateTime World::StartDateTime() const { return impl_->startDate; }
Nanos World::Now() const { return impl_->now; }
void World::RunUntil(Nanos t) { impl_->sched.RunUntil(t); }
void World::RunFor(Nanos d) {
  impl_->sched.RunUntil(d >= kForever - impl_->now ? kForever : impl_->now + d);
}
bool World::Step() {
  if (impl_->sched.current) Fatal("World::Step from inside a process");
  return impl_->sched.Step();
}
Nanos World::NextEventTime() const {
  return impl_->sched.Empty() ? kForever : impl_->sched.NextTime();
}
void World::At(Nanos t, std::function<void()> fn) { impl_->sched.PostWorld(t, std::move(fn)); }
bool World::Call(ProcessId pid, std::function<void()> fn) {
  return impl_->sched.Call(pid, std::move(fn));
}

// ---- Hosts ----------------------------------------------------------------------------

std::optional<HostId> World::AddHost(const HostSetup& setup) {
  Impl& w = *impl_;
  const std::string sName = Trim(setup.sWinsockName);
  if (sName.empty() || sName.find_first_of(" \\/") != std::string::npos) return std::nullopt;
  const HostId id = static_cast<HostId>(w.hosts.size());
  Address a{};
  if (setup.sAddress.empty()) {
    const std::uint32_t n = id + 1;
    a = {10, static_cast<std::uint8_t>(n >> 16), static_cast<std::uint8_t>(n >> 8),
         static_cast<std::uint8_t>(n)};
  } else {
    auto parsed = ParseAddress(setup.sAddress);
    if (!parsed || (*parsed)[0] == 127) return std::nullopt;
    a = *parsed;
  }
  if (!w.hosts.Free(sName, a)) return std::nullopt;
  auto h = std::make_unique<HostState>();
  h->sName = sName;
  h->sComputerName = setup.sComputerName.empty() ? sName : setup.sComputerName;
  h->address = a;
  h->dSkewPpm = setup.dClockSkewPpm;
  h->offset = FromSeconds(setup.dClockOffsetSeconds);
  h->netRng = Rng(DeriveSeed(w.seed, "net", id));
  h->shareRng = Rng(DeriveSeed(w.seed, "shares", id));
  h->disk.MakeFolders('C', {"Windows", "System32"});
  w.hosts.Add(std::move(h));
  w.shareList.Changed();
  return id;
}

std::optional<HostId> World::AddHost(const std::string& sWinsockName, const std::string& sAddress) {
  HostSetup setup;
  setup.sWinsockName = sWinsockName;
  setup.sAddress = sAddress;
  return AddHost(setup);
}

std::size_t World::HostCount() const { return impl_->hosts.size(); }

std::optional<HostId> World::FindHost(const std::string& sNameOrAddress) const {
  if (auto id = impl_->hosts.ByName(sNameOrAddress)) return id;
  if (auto a = ParseAddress(sNameOrAddress)) return impl_->hosts.ByAddress(*a);
  return std::nullopt;
}

const std::string& World::HostName(HostId host) const {
  static const std::string kNone;  // immutable: safe to share
  return host < impl_->hosts.size() ? impl_->hosts[host]->sName : kNone;
}

std::string World::HostAddress(HostId host) const {
  return host < impl_->hosts.size() ? FormatAddress(impl_->hosts[host]->address) : "";
}

bool World::HostUp(HostId host) const {
  return host < impl_->hosts.size() && impl_->hosts[host]->bUp;
}

void World::CrashHost(HostId host) {
  Impl& w = *impl_;
  if (host >= w.hosts.size() || !w.hosts[host]->bUp) return;
  if (w.sched.current) {
    w.sched.PostWorld(w.now, [this, host] { CrashHost(host); });
    return;
  }
  HostState& h = *w.hosts[host];
  w.Record(host, TranscriptKind::Note, "host crashed");
  h.bUp = false;
  h.bCrashing = true;
  w.shareList.Changed();
  std::vector<std::shared_ptr<Endpoint>> eps;
  for (auto& [id, weak] : h.endpoints)
    if (auto ep = weak.lock()) eps.push_back(ep);
  for (auto& ep : eps) w.net.CloseEndpoint(ep, false);
  h.listeners.clear();
  const std::vector<ProcessId> pids = h.processes;
  for (auto pid : pids) w.Kill(pid);
  std::vector<platform::WindowHandle> left;
  for (auto& rec : h.windows) left.push_back(rec->hWnd);
  for (auto hWnd : left) w.desktop.RemoveWindow(h, hWnd);
  h.bCrashing = false;
}

void World::RestartHost(HostId host, bool bAutostart) {
  Impl& w = *impl_;
  if (host >= w.hosts.size() || w.hosts[host]->bUp) return;
  if (w.sched.current) {
    w.sched.PostWorld(w.now, [this, host, bAutostart] { RestartHost(host, bAutostart); });
    return;
  }
  HostState& h = *w.hosts[host];
  h.bUp = true;
  w.shareList.Changed();
  w.Record(host, TranscriptKind::Note, "host restarted");
  if (!bAutostart) return;
  const std::string sRun = "software\\microsoft\\windows\\currentversion\\run";
  std::vector<std::string> commands;
  for (const char* root : {"hklm\\", "hkcu\\"}) {
    auto it = h.registry.find(root + sRun);
    if (it == h.registry.end()) continue;
    for (auto& [lower, value] : it->second.values) commands.push_back(value.second);
  }
  for (auto& c : commands) {
    std::string sPath = c, sParams;
    if (!c.empty() && c[0] == '"') {
      const auto q = c.find('"', 1);
      sPath = c.substr(1, q == std::string::npos ? std::string::npos : q - 1);
      if (q != std::string::npos) sParams = Trim(c.substr(q + 1));
    }
    programs_.StartProgram(host, sPath, sParams);
  }
}

// ---- Clocks ---------------------------------------------------------------------------

Nanos World::Impl::LocalNanos(const HostState& h) const {
  const double skew = static_cast<double>(now) * h.dSkewPpm * 1e-6;
  return now + static_cast<Nanos>(std::llround(skew)) + h.offset;
}

DateTime World::HostTime(HostId host) const {
  if (host >= impl_->hosts.size()) return impl_->startDate;
  const Nanos local = impl_->LocalNanos(*impl_->hosts[host]);
  Nanos secs = local / kSecond;
  if (local % kSecond < 0) --secs;
  return DateTime{impl_->startDate.lngSeconds + secs};
}

void World::SetClockSkew(HostId host, double dPpm) {
  Impl& w = *impl_;
  if (host >= w.hosts.size()) return;
  HostState& h = *w.hosts[host];
  // The clock keeps its reading; only its rate changes.
  const Nanos before = w.LocalNanos(h);
  h.dSkewPpm = dPpm;
  h.offset += before - w.LocalNanos(h);
}

void World::JumpClock(HostId host, Nanos at, double dSeconds) {
  Impl& w = *impl_;
  if (host >= w.hosts.size()) return;
  w.sched.PostWorld(at, [&w, host, dSeconds] {
    w.hosts[host]->offset += FromSeconds(dSeconds);
    w.Record(
        host, TranscriptKind::Note,
        "clock set to " +
            DateTime{w.startDate.lngSeconds + w.LocalNanos(*w.hosts[host]) / kSecond}.ToText());
  });
}

void World::SetClock(HostId host, Nanos at, DateTime local) {
  Impl& w = *impl_;
  if (host >= w.hosts.size()) return;
  w.sched.PostWorld(at, [&w, host, local] {
    HostState& h = *w.hosts[host];
    const Nanos want = (local.lngSeconds - w.startDate.lngSeconds) * kSecond;
    h.offset += want - w.LocalNanos(h);
    w.Record(host, TranscriptKind::Note, "clock set to " + local.ToText());
  });
}

// ---- Registry and kernel --------------------------------------------------------------

void World::DenyLocalMachine(HostId host, bool bDenied) {
  if (host < impl_->hosts.size()) impl_->hosts[host]->bDenyLocalMachine = bDenied;
}

std::optional<std::string> World::RegistryValue(HostId host, platform::RegistryRoot root,
                                                const std::string& sSubKey,
                                                const std::string& sName) const {
  if (host >= impl_->hosts.size()) return std::nullopt;
  auto& reg = impl_->hosts[host]->registry;
  auto it = reg.find(ToLower(RootPrefix(root) + "\\" + sSubKey));
  if (it == reg.end()) return std::nullopt;
  auto jt = it->second.values.find(ToLower(sName));
  if (jt == it->second.values.end()) return std::nullopt;
  return jt->second.second;
}

void World::SetRegistryValue(HostId host, platform::RegistryRoot root, const std::string& sSubKey,
                             const std::string& sName, const std::string& sData) {
  if (host >= impl_->hosts.size()) return;
  const std::string sPath = RootPrefix(root) + "\\" + sSubKey;
  auto& key = impl_->hosts[host]->registry[ToLower(sPath)];
  if (key.sPath.empty()) key.sPath = sPath;
  key.values[ToLower(sName)] = {sName, sData};
}

void World::SetComputerName(HostId host, const std::string& sName) {
  if (host < impl_->hosts.size()) impl_->hosts[host]->sComputerName = sName;
}

void World::SetComputerNameFails(HostId host, bool bFails) {
  if (host < impl_->hosts.size()) impl_->hosts[host]->bComputerNameFails = bFails;
}

// ---- Transcript -------------------------------------------------------------------------

const std::vector<std::string>& World::Transcript() const { return impl_->transcript.Lines(); }

std::vector<std::string> World::TakeTranscript() { return impl_->transcript.TakeLines(); }

void World::SetTranscriptSink(std::function<void(const std::string&)> sink) {
  impl_->transcript.SetSink(std::move(sink));
}

void World::KeepTranscript(bool bKeep) { impl_->transcript.SetKeep(bKeep); }

void World::Record(std::optional<HostId> host, TranscriptKind kind, const std::string& sText) {
  impl_->Record(host, kind, sText);
}

void World::Note(std::optional<HostId> host, const std::string& sText) {
  impl_->Record(host, TranscriptKind::Note, sText);
}

}  // namespace launchagent::sim
