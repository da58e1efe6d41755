// The world's scenario-side view of disks and shares: files written without a
// transcript line, capacities, the system folder, shares and the share search.
#include "platform/sim/impl.h"
#include "platform/text.h"

namespace launchagent::sim {

// ---- Disks and shares -------------------------------------------------------------------

namespace {

// Scenario-side paths are local to the host: "C:\..." (or relative to C:\).
bool LocalParts(const std::string& sPath, char& cDrive, std::vector<std::string>& parts) {
  ParsedPath pp = ParsePath(sPath, "C:\\");
  if (pp.kind != ParsedPath::Kind::Local) return false;
  cDrive = pp.cDrive;
  parts = std::move(pp.parts);
  return true;
}

}  // namespace

bool WorldFiles::WriteFile(HostId host, const std::string& sPath, const Bytes& content,
                           bool bHidden) {
  if (host >= world_.impl_->hosts.size()) return false;
  char d;
  std::vector<std::string> parts;
  if (!LocalParts(sPath, d, parts)) return false;
  return world_.impl_->hosts[host]->disk.Write(d, parts, content, true, bHidden) ==
         Disk::WriteResult::Ok;
}

bool WorldFiles::WriteFile(HostId host, const std::string& sPath, const std::string& sText,
                           bool bHidden) {
  return WriteFile(host, sPath, Bytes(sText.begin(), sText.end()), bHidden);
}

bool WorldFiles::MakeFolder(HostId host, const std::string& sPath, bool bHidden) {
  if (host >= world_.impl_->hosts.size()) return false;
  char d;
  std::vector<std::string> parts;
  if (!LocalParts(sPath, d, parts)) return false;
  return world_.impl_->hosts[host]->disk.MakeFolders(d, parts, bHidden) != nullptr;
}

bool WorldFiles::RemovePath(HostId host, const std::string& sPath) {
  if (host >= world_.impl_->hosts.size()) return false;
  char d;
  std::vector<std::string> parts;
  if (!LocalParts(sPath, d, parts)) return false;
  return world_.impl_->hosts[host]->disk.Remove(d, parts);
}

bool WorldFiles::SetHidden(HostId host, const std::string& sPath, bool bHidden) {
  if (host >= world_.impl_->hosts.size()) return false;
  char d;
  std::vector<std::string> parts;
  if (!LocalParts(sPath, d, parts) || parts.empty()) return false;
  Disk::Node* n = world_.impl_->hosts[host]->disk.Find(d, parts);
  if (!n) return false;
  n->bHidden = bHidden;
  return true;
}

std::optional<Bytes> WorldFiles::ReadFile(HostId host, const std::string& sPath) const {
  if (host >= world_.impl_->hosts.size()) return std::nullopt;
  char d;
  std::vector<std::string> parts;
  if (!LocalParts(sPath, d, parts)) return std::nullopt;
  const Disk::Node* n = world_.impl_->hosts[host]->disk.Find(d, parts);
  if (!n || n->bFolder) return std::nullopt;
  return n->content;
}

bool WorldFiles::FolderExists(HostId host, const std::string& sPath) const {
  if (host >= world_.impl_->hosts.size()) return false;
  char d;
  std::vector<std::string> parts;
  if (!LocalParts(sPath, d, parts)) return false;
  const Disk::Node* n = world_.impl_->hosts[host]->disk.Find(d, parts);
  return n && n->bFolder;
}

void WorldFiles::SetDiskCapacity(HostId host, char cDrive, std::optional<std::uint64_t> bytes) {
  if (host >= world_.impl_->hosts.size()) return;
  world_.impl_->hosts[host]->disk.SetCapacity(AsciiUpper(cDrive), bytes);
}

void WorldFiles::SetSystemFolder(HostId host, std::optional<std::string> sPath) {
  if (host >= world_.impl_->hosts.size()) return;
  if (sPath) MakeFolder(host, *sPath);
  world_.impl_->hosts[host]->systemFolder = std::move(sPath);
}

bool WorldFiles::AddShare(HostId host, const std::string& sShare, const std::string& sFolder,
                          bool bReadable) {
  if (host >= world_.impl_->hosts.size() || sShare.empty()) return false;
  HostState& h = *world_.impl_->hosts[host];
  for (auto& s : h.shares)
    if (EqualNoCase(s.sName, sShare)) return false;
  Share s;
  s.sName = sShare;
  if (!LocalParts(sFolder, s.cDrive, s.folder)) return false;
  if (!h.disk.MakeFolders(s.cDrive, s.folder)) return false;
  s.bReadable = bReadable;
  h.shares.push_back(std::move(s));
  world_.impl_->shareList.Changed();
  return true;
}

bool WorldFiles::SetShareReadable(HostId host, const std::string& sShare, bool bReadable) {
  if (host >= world_.impl_->hosts.size()) return false;
  for (auto& s : world_.impl_->hosts[host]->shares) {
    if (EqualNoCase(s.sName, sShare)) {
      s.bReadable = bReadable;
      return true;
    }
  }
  return false;
}

bool WorldFiles::RemoveShare(HostId host, const std::string& sShare) {
  if (host >= world_.impl_->hosts.size()) return false;
  auto& shares = world_.impl_->hosts[host]->shares;
  for (auto it = shares.begin(); it != shares.end(); ++it) {
    if (EqualNoCase(it->sName, sShare)) {
      shares.erase(it);
      world_.impl_->shareList.Changed();
      return true;
    }
  }
  return false;
}

void WorldFiles::SetVisibleShares(HostId host, std::vector<std::string> names) {
  if (host < world_.impl_->hosts.size())
    world_.impl_->hosts[host]->visibleShares = std::move(names);
}

void WorldFiles::ClearVisibleShares(HostId host) {
  if (host < world_.impl_->hosts.size()) world_.impl_->hosts[host]->visibleShares.reset();
}

void WorldFiles::SetShareSearchTime(HostId host, std::optional<Nanos> time) {
  if (host < world_.impl_->hosts.size()) world_.impl_->hosts[host]->searchTime = time;
}

void WorldFiles::SetShareSearchError(HostId host, bool bError) {
  if (host < world_.impl_->hosts.size()) world_.impl_->hosts[host]->bSearchError = bError;
}

const std::vector<std::string>& VisibleShareList::Default(const HostTable& hosts) {
  if (cacheGen_ != gen_) {
    cache_.clear();
    for (auto& h : hosts) {
      if (!h->bUp) continue;
      for (auto& s : h->shares) cache_.push_back("\\\\" + h->sName + "\\" + s.sName);
    }
    cacheGen_ = gen_;
  }
  return cache_;
}

}  // namespace launchagent::sim
