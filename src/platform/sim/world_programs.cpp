// The world's scenario-side view of programs, processes and windows: program kinds and
// files, starting and killing processes, the desktops' top-level windows.
#include "platform/sim/impl.h"

namespace launchagent::sim {

// ---- Programs -------------------------------------------------------------------------

void WorldPrograms::RegisterProgram(const std::string& sKind, ProgramBody body) {
  world_.impl_->programs[sKind] = std::move(body);
}

bool WorldPrograms::HasProgram(const std::string& sKind) const {
  return world_.impl_->programs.count(sKind) != 0;
}

bool WorldPrograms::WriteProgramFile(HostId host, const std::string& sPath,
                                     const std::string& sKind, const std::string& sOptions) {
  std::string s = "SIMPROGRAM " + sKind;
  if (!sOptions.empty()) s += " " + sOptions;
  return world_.Files().WriteFile(host, sPath, s + "\r\n");
}

StartResult WorldPrograms::StartProgram(HostId host, const std::string& sPath,
                                        const std::string& sParameters) {
  if (host >= world_.impl_->hosts.size() || !world_.impl_->hosts[host]->bUp) return StartResult{};
  return world_.impl_->Execute(host, sPath, sParameters, "", 1, "C:\\");
}

ProcessId WorldPrograms::StartProcess(HostId host, const std::string& sKind,
                                      const std::string& sPath, const std::string& sParameters,
                                      std::vector<std::pair<std::string, std::string>> options) {
  ProgramStart start;
  start.sKind = sKind;
  start.sPath = sPath.empty() ? "C:\\" + sKind + ".exe" : sPath;
  start.sParameters = sParameters;
  start.options = std::move(options);
  // The program is installed: its folder exists.
  ParsedPath pp = ParsePath(start.sPath, "C:\\");
  if (host < world_.impl_->hosts.size() && pp.kind == ParsedPath::Kind::Local &&
      !pp.parts.empty()) {
    pp.parts.pop_back();
    world_.impl_->hosts[host]->disk.MakeFolders(pp.cDrive, pp.parts);
  }
  return world_.impl_->Spawn(host, std::move(start));
}

bool WorldPrograms::Kill(ProcessId pid) { return world_.impl_->Kill(pid); }

bool WorldPrograms::Alive(ProcessId pid) const {
  const ProcessState* p = world_.impl_->Proc(pid);
  return p && p->Alive();
}

std::optional<ProcessInfo> WorldPrograms::Process(ProcessId pid) const {
  const ProcessState* p = world_.impl_->Proc(pid);
  if (!p) return std::nullopt;
  return world_.impl_->Info(*p);
}

std::vector<ProcessInfo> WorldPrograms::Processes(HostId host) const {
  std::vector<ProcessInfo> out;
  if (host >= world_.impl_->hosts.size()) return out;
  for (auto pid : world_.impl_->hosts[host]->processes)
    if (const ProcessState* p = world_.impl_->Proc(pid)) out.push_back(world_.impl_->Info(*p));
  return out;
}

platform::Platform* WorldPrograms::PlatformOf(ProcessId pid) {
  ProcessState* p = world_.impl_->Proc(pid);
  if (!p || !p->Alive()) return nullptr;
  return &p->services->platform;
}

ProcessId WorldPrograms::CurrentProcess() const {
  return world_.impl_->sched.current ? world_.impl_->sched.current->pid : 0;
}

// ---- Windows --------------------------------------------------------------------------

namespace {
WindowInfo ToInfo(const WindowRec& r) {
  WindowInfo i;
  i.hWnd = r.hWnd;
  i.sClass = r.sClass;
  i.sTitle = r.sTitle;
  i.bVisible = r.bVisible;
  i.owner = r.owner;
  i.form = r.form;
  i.sFormName = r.sFormName;
  return i;
}
}  // namespace

std::vector<WindowInfo> WorldPrograms::Windows(HostId host) const {
  std::vector<WindowInfo> out;
  if (host >= world_.impl_->hosts.size()) return out;
  for (auto& r : world_.impl_->hosts[host]->windows) out.push_back(ToInfo(*r));
  return out;
}

std::optional<WindowInfo> WorldPrograms::FindForm(HostId host, const std::string& sFormName) const {
  if (host >= world_.impl_->hosts.size()) return std::nullopt;
  for (auto& r : world_.impl_->hosts[host]->windows)
    if (r->form && r->sFormName == sFormName) return ToInfo(*r);
  return std::nullopt;
}

platform::WindowHandle WorldPrograms::AddWindow(HostId host, const std::string& sClass,
                                                const std::string& sTitle, int nRefuseClose) {
  WorldImpl& w = *world_.impl_;
  if (host >= w.hosts.size() || !w.hosts[host]->bUp) return 0;
  auto rec = std::make_shared<WindowRec>();
  rec->host = host;
  rec->sClass = sClass;
  rec->sTitle = sTitle;
  rec->bVisible = true;
  rec->nRefuseClose = nRefuseClose;
  w.desktop.OpenWindow(*w.hosts[host], rec);
  return rec->hWnd;
}

bool WorldPrograms::CloseWindow(HostId host, platform::WindowHandle hWnd) {
  WorldImpl& w = *world_.impl_;
  auto rec = w.desktop.FindWindow(host, hWnd);
  if (!rec) return false;
  if (rec->owner == 0) {
    w.desktop.DeliverClose(host, hWnd);
    return true;
  }
  ProcessState* p = w.Proc(rec->owner);
  if (!p || !p->Alive()) return false;
  w.sched.PostProcess(*p, w.now, [&w, host, hWnd] { w.desktop.DeliverClose(host, hWnd); });
  return true;
}

}  // namespace launchagent::sim
