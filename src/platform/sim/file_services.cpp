// The file system and the share search one process sees: paths resolved to a host's
// disk (local or through a share), and the search's list of visible shares.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "platform/sim/impl.h"

namespace launchagent::sim {

// ---- Files ------------------------------------------------------------------------------

WorldImpl::Resolved WorldImpl::Resolve(HostId from, const std::string& sPath,
                                       const std::string& sBase) {
  Resolved r;
  ParsedPath pp = ParsePath(sPath, sBase);
  if (pp.kind == ParsedPath::Kind::Invalid) {
    r.nError = 3;
    return r;
  }
  if (pp.kind == ParsedPath::Kind::Local) {
    r.host = hosts[from].get();
    if (!r.host->disk.HasDrive(pp.cDrive)) {
      r.nError = 3;
      return r;
    }
    r.cDrive = pp.cDrive;
    r.parts = std::move(pp.parts);
    return r;
  }
  // \\host\share\rest through that host's share.
  HostState* target = nullptr;
  if (auto id = hosts.ByName(pp.sHost)) {
    target = hosts[*id].get();
  } else if (auto a = ParseAddress(pp.sHost)) {
    target = net.HostByAddress(*hosts[from], *a);
  }
  if (!target || !target->bUp || net.links.Partitioned(from, target->id, now) ||
      net.links.Partitioned(target->id, from, now)) {
    r.nError = 3;
    return r;
  }
  const Share* share = nullptr;
  for (auto& s : target->shares)
    if (EqualNoCase(s.sName, pp.sShare)) share = &s;
  if (!share) {
    r.nError = 3;
    return r;
  }
  if (!share->bReadable) {
    r.nError = 5;
    return r;
  }
  r.host = target;
  r.cDrive = share->cDrive;
  r.parts.reserve(share->folder.size() + pp.parts.size());
  r.parts = share->folder;
  std::move(pp.parts.begin(), pp.parts.end(), std::back_inserter(r.parts));
  return r;
}

std::string SimFileSystem::AgentFolder() {
  const std::string& s = p_.start.sPath;
  const auto slash = s.find_last_of('\\');
  if (slash == std::string::npos) return "C:\\";
  if (slash == 2 && s.size() > 1 && s[1] == ':') return s.substr(0, 3);
  return s.substr(0, slash);
}

std::optional<std::vector<platform::DirEntry>> SimFileSystem::List(const std::string& sPattern,
                                                                   bool bHidden, bool bFolders) {
  const auto slash = sPattern.find_last_of("\\/");
  std::string sFolder, sName;
  if (slash == std::string::npos) {
    if (sPattern.size() >= 2 && sPattern[1] == ':') {
      sFolder = sPattern.substr(0, 2) + "\\";
      sName = sPattern.substr(2);
    } else {
      sFolder = AgentFolder();
      sName = sPattern;
    }
  } else {
    sFolder = sPattern.substr(0, slash + 1);
    sName = sPattern.substr(slash + 1);
  }
  auto r = w_.Resolve(p_.host, sFolder, AgentFolder());
  if (r.nError) return std::nullopt;
  return r.host->disk.List(r.cDrive, r.parts, sName, bHidden, bFolders);
}

bool SimFileSystem::FolderExists(const std::string& sPath) {
  auto r = w_.Resolve(p_.host, sPath, AgentFolder());
  if (r.nError) return false;
  const Disk::Node* n = r.host->disk.Find(r.cDrive, r.parts);
  return n && n->bFolder;
}

bool SimFileSystem::CanOpenForReading(const std::string& sPath) {
  auto r = w_.Resolve(p_.host, sPath, AgentFolder());
  if (r.nError) return false;
  const Disk::Node* n = r.host->disk.Find(r.cDrive, r.parts);
  return n && !n->bFolder;
}

std::optional<Bytes> SimFileSystem::ReadFile(const std::string& sPath) {
  auto r = w_.Resolve(p_.host, sPath, AgentFolder());
  if (r.nError) return std::nullopt;
  const Disk::Node* n = r.host->disk.Find(r.cDrive, r.parts);
  if (!n || n->bFolder) return std::nullopt;
  return n->content;
}

bool SimFileSystem::ReplaceFile(const std::string& sPath, const Bytes& content) {
  auto r = w_.Resolve(p_.host, sPath, AgentFolder());
  if (r.nError) return false;
  // The old content only tells the transcript whether the write changed anything.
  const bool bTrace = w_.transcript.Wanted();
  std::optional<Bytes> old;
  if (r.host->disk.Write(r.cDrive, r.parts, content, false, false, bTrace ? &old : nullptr) !=
      Disk::WriteResult::Ok) {
    w_.Record(p_.host, TranscriptKind::File, sPath + " write failed");
    return false;
  }
  if (bTrace) w_.Record(p_.host, TranscriptKind::File, sPath + " " + DescribeWrite(old, content));
  return true;
}

std::optional<std::string> SimFileSystem::SystemFolder() {
  const HostState& h = w_.HostOf(p_);
  if (!h.systemFolder) return std::nullopt;
  if (!FolderExists(*h.systemFolder)) return std::nullopt;
  return h.systemFolder;
}

Integer SimFileSystem::CopyFile(const std::string& sSource, const std::string& sDestination) {
  const std::string base = AgentFolder();
  auto src = w_.Resolve(p_.host, sSource, base);
  if (src.nError) return static_cast<Integer>(src.nError == 5 ? 5 : 2);
  const Disk::Node* from = src.host->disk.Find(src.cDrive, src.parts);
  if (!from || from->bFolder) return 2;
  auto dst = w_.Resolve(p_.host, sDestination, base);
  if (dst.nError) return static_cast<Integer>(dst.nError);
  const Disk::Node* to = dst.host->disk.Find(dst.cDrive, dst.parts);
  if (to == from) return 0;  // one file: nothing to do
  const Bytes content = from->content;
  std::optional<Bytes> old;
  switch (dst.host->disk.Write(dst.cDrive, dst.parts, content, false, from->bHidden, &old)) {
    case Disk::WriteResult::Ok:
      break;
    case Disk::WriteResult::NoDrive:
    case Disk::WriteResult::NoFolder:
      return 3;
    case Disk::WriteResult::IsFolder:
      return 5;
    case Disk::WriteResult::Full:
      w_.Record(p_.host, TranscriptKind::File, sDestination + " write failed");
      return 112;
  }
  if (w_.transcript.Wanted())
    w_.Record(p_.host, TranscriptKind::File,
              sDestination + " " + DescribeWrite(old, content) + ", copied from " + sSource);
  return 0;
}

// ---- Share search -----------------------------------------------------------------------

void SimShareSearch::FindResources() {
  HostState& h = w_.HostOf(p_);
  results_ = h.visibleShares ? *h.visibleShares : w_.shareList.Default(w_.hosts);
  bError_ = h.bSearchError;
  const Nanos t = h.searchTime ? *h.searchTime : h.shareRng.UniformInt(1 * kSecond, 3 * kSecond);
  doneAt_ = w_.now + std::max<Nanos>(0, t);
  next_ = 0;
  bHave_ = true;
}

Long SimShareSearch::StillProcessing() { return bHave_ && w_.now < doneAt_ ? 1 : 0; }

Long SimShareSearch::ErrorOccurred() { return bHave_ && bError_ ? 1 : 0; }

void SimShareSearch::GetNResources(Long& lngCount) {
  lngCount = bHave_ && !bError_ ? static_cast<Long>(results_.size()) : 0;
}

void SimShareSearch::GetResource(std::array<char, 257>& buffer) {
  if (!bHave_ || bError_ || next_ >= results_.size()) {
    buffer[0] = '\0';
    return;
  }
  const std::string& s = results_[next_++];
  const std::size_t n = std::min<std::size_t>(s.size(), 255);
  std::memcpy(buffer.data(), s.data(), n);
  buffer[n] = '\0';
}

void SimShareSearch::FreeResources() {
  results_.clear();
  next_ = 0;
  bHave_ = false;
  bError_ = false;
}

}  // namespace launchagent::sim
