// The world's scenario-side view of its machines: adding, finding, crashing and restarting
// hosts, their clocks, computer names and registries.
#include <cmath>

#include "platform/sim/impl.h"

namespace launchagent::sim {

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

// ---- Hosts ----------------------------------------------------------------------------

std::optional<HostId> WorldHosts::AddHost(const HostSetup& setup) {
  WorldImpl& w = *world_.impl_;
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

std::optional<HostId> WorldHosts::AddHost(const std::string& sWinsockName,
                                          const std::string& sAddress) {
  HostSetup setup;
  setup.sWinsockName = sWinsockName;
  setup.sAddress = sAddress;
  return AddHost(setup);
}

std::size_t WorldHosts::HostCount() const { return world_.impl_->hosts.size(); }

std::optional<HostId> WorldHosts::FindHost(const std::string& sNameOrAddress) const {
  if (auto id = world_.impl_->hosts.ByName(sNameOrAddress)) return id;
  if (auto a = ParseAddress(sNameOrAddress)) return world_.impl_->hosts.ByAddress(*a);
  return std::nullopt;
}

const std::string& WorldHosts::HostName(HostId host) const {
  static const std::string kNone;  // immutable: safe to share
  return host < world_.impl_->hosts.size() ? world_.impl_->hosts[host]->sName : kNone;
}

std::string WorldHosts::HostAddress(HostId host) const {
  return host < world_.impl_->hosts.size() ? FormatAddress(world_.impl_->hosts[host]->address) : "";
}

bool WorldHosts::HostUp(HostId host) const {
  return host < world_.impl_->hosts.size() && world_.impl_->hosts[host]->bUp;
}

void WorldHosts::CrashHost(HostId host) {
  WorldImpl& w = *world_.impl_;
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

void WorldHosts::RestartHost(HostId host, bool bAutostart) {
  WorldImpl& w = *world_.impl_;
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
    world_.Programs().StartProgram(host, sPath, sParams);
  }
}

// ---- Clocks ---------------------------------------------------------------------------

Nanos WorldImpl::LocalNanos(const HostState& h) const {
  const double skew = static_cast<double>(now) * h.dSkewPpm * 1e-6;
  return now + static_cast<Nanos>(std::llround(skew)) + h.offset;
}

DateTime WorldHosts::HostTime(HostId host) const {
  if (host >= world_.impl_->hosts.size()) return world_.impl_->startDate;
  const Nanos local = world_.impl_->LocalNanos(*world_.impl_->hosts[host]);
  Nanos secs = local / kSecond;
  if (local % kSecond < 0) --secs;
  return DateTime{world_.impl_->startDate.lngSeconds + secs};
}

void WorldHosts::SetClockSkew(HostId host, double dPpm) {
  WorldImpl& w = *world_.impl_;
  if (host >= w.hosts.size()) return;
  HostState& h = *w.hosts[host];
  // The clock keeps its reading; only its rate changes.
  const Nanos before = w.LocalNanos(h);
  h.dSkewPpm = dPpm;
  h.offset += before - w.LocalNanos(h);
}

void WorldHosts::JumpClock(HostId host, Nanos at, double dSeconds) {
  WorldImpl& w = *world_.impl_;
  if (host >= w.hosts.size()) return;
  w.sched.PostWorld(at, [&w, host, dSeconds] {
    w.hosts[host]->offset += FromSeconds(dSeconds);
    w.Record(
        host, TranscriptKind::Note,
        "clock set to " +
            DateTime{w.startDate.lngSeconds + w.LocalNanos(*w.hosts[host]) / kSecond}.ToText());
  });
}

void WorldHosts::SetClock(HostId host, Nanos at, DateTime local) {
  WorldImpl& w = *world_.impl_;
  if (host >= w.hosts.size()) return;
  w.sched.PostWorld(at, [&w, host, local] {
    HostState& h = *w.hosts[host];
    const Nanos want = (local.lngSeconds - w.startDate.lngSeconds) * kSecond;
    h.offset += want - w.LocalNanos(h);
    w.Record(host, TranscriptKind::Note, "clock set to " + local.ToText());
  });
}

// ---- Registry and kernel --------------------------------------------------------------

void WorldHosts::DenyLocalMachine(HostId host, bool bDenied) {
  if (host < world_.impl_->hosts.size()) world_.impl_->hosts[host]->bDenyLocalMachine = bDenied;
}

std::optional<std::string> WorldHosts::RegistryValue(HostId host, platform::RegistryRoot root,
                                                     const std::string& sSubKey,
                                                     const std::string& sName) const {
  if (host >= world_.impl_->hosts.size()) return std::nullopt;
  auto& reg = world_.impl_->hosts[host]->registry;
  auto it = reg.find(ToLower(RootPrefix(root) + "\\" + sSubKey));
  if (it == reg.end()) return std::nullopt;
  auto jt = it->second.values.find(ToLower(sName));
  if (jt == it->second.values.end()) return std::nullopt;
  return jt->second.second;
}

void WorldHosts::SetRegistryValue(HostId host, platform::RegistryRoot root,
                                  const std::string& sSubKey, const std::string& sName,
                                  const std::string& sData) {
  if (host >= world_.impl_->hosts.size()) return;
  const std::string sPath = RootPrefix(root) + "\\" + sSubKey;
  auto& key = world_.impl_->hosts[host]->registry[ToLower(sPath)];
  if (key.sPath.empty()) key.sPath = sPath;
  key.values[ToLower(sName)] = {sName, sData};
}

void WorldHosts::SetComputerName(HostId host, const std::string& sName) {
  if (host < world_.impl_->hosts.size()) world_.impl_->hosts[host]->sComputerName = sName;
}

void WorldHosts::SetComputerNameFails(HostId host, bool bFails) {
  if (host < world_.impl_->hosts.size()) world_.impl_->hosts[host]->bComputerNameFails = bFails;
}

}  // namespace launchagent::sim
