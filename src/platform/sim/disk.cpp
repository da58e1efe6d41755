#include "platform/sim/disk.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace launchagent::sim {

namespace {

bool IsSep(char c) { return c == '\\' || c == '/'; }

// The parts of s appended to parts, empty ones dropped, "." and ".." resolved; false when
// ".." climbs above what was there before. Every file operation parses its path: the
// parts are cut from the path where it lies.
bool AppendParts(std::string_view s, std::vector<std::string>& parts) {
  const std::size_t nBase = parts.size();
  std::size_t i = 0;
  while (i < s.size()) {
    if (IsSep(s[i])) {
      ++i;
      continue;
    }
    std::size_t j = i;
    while (j < s.size() && !IsSep(s[j])) ++j;
    const std::string_view part = s.substr(i, j - i);
    i = j;
    if (part == ".") continue;
    if (part == "..") {
      if (parts.size() == nBase) return false;
      parts.pop_back();
      continue;
    }
    parts.emplace_back(part);
  }
  return true;
}

bool ValidName(const std::string& s) {
  for (char c : s) {
    const unsigned char u = static_cast<unsigned char>(c);
    if (u < 32 || c == ':' || c == '*' || c == '?' || c == '"' || c == '<' || c == '>' || c == '|')
      return false;
  }
  return true;
}

}  // namespace

ParsedPath ParsePath(const std::string& sPath, const std::string& sBase) {
  ParsedPath r;
  if (sPath.size() >= 2 && IsSep(sPath[0]) && IsSep(sPath[1])) {
    // Host and share are the first two parts as they stand; the rest is resolved.
    const std::string_view sRest = std::string_view(sPath).substr(2);
    std::size_t i = 0;
    const auto nextPart = [&] {
      while (i < sRest.size() && IsSep(sRest[i])) ++i;
      const std::size_t nFrom = i;
      while (i < sRest.size() && !IsSep(sRest[i])) ++i;
      return sRest.substr(nFrom, i - nFrom);
    };
    const std::string_view sHost = nextPart();
    const std::string_view sShare = nextPart();
    if (sShare.empty()) return r;
    r.sHost = sHost;
    r.sShare = sShare;
    if (!AppendParts(sRest.substr(i), r.parts)) return ParsedPath{};
    r.kind = ParsedPath::Kind::Unc;
    return r;
  }
  if (sPath.size() >= 2 && sPath[1] == ':' && std::isalpha(static_cast<unsigned char>(sPath[0]))) {
    r.cDrive = AsciiUpper(sPath[0]);
    if (!AppendParts(std::string_view(sPath).substr(2), r.parts)) return ParsedPath{};
    r.kind = ParsedPath::Kind::Local;
    return r;
  }
  if (sPath.empty() || sBase.empty() || IsSep(sPath[0])) {
    // A rooted path without a drive takes the base's drive.
    if (!sPath.empty() && IsSep(sPath[0]) && !sBase.empty()) {
      ParsedPath base = ParsePath(sBase);
      if (base.kind != ParsedPath::Kind::Local) return r;
      return ParsePath(std::string(1, base.cDrive) + ":" + sPath);
    }
    return r;
  }
  return ParsePath(sBase + "\\" + sPath);
}

std::string JoinLocal(char cDrive, const std::vector<std::string>& parts) {
  std::string s(1, cDrive);
  s += ":";
  if (parts.empty()) return s + "\\";
  for (auto& p : parts) s += "\\" + p;
  return s;
}

Disk::Node* Disk::Node::Child(const std::string& sChild) const {
  for (auto& c : children)
    if (EqualNoCase(c->sName, sChild)) return c.get();
  return nullptr;
}

Disk::Disk() { AddDrive('C'); }

bool Disk::HasDrive(char cDrive) const { return drives_.count(cDrive) != 0; }

void Disk::AddDrive(char cDrive) {
  auto& d = drives_[cDrive];
  d.root.bFolder = true;
}

Disk::Node* Disk::Find(char cDrive, const std::vector<std::string>& parts) {
  return const_cast<Node*>(static_cast<const Disk*>(this)->Find(cDrive, parts));
}

const Disk::Node* Disk::Find(char cDrive, const std::vector<std::string>& parts) const {
  auto it = drives_.find(cDrive);
  if (it == drives_.end()) return nullptr;
  const Node* n = &it->second.root;
  for (auto& p : parts) {
    if (!n->bFolder) return nullptr;
    n = n->Child(p);
    if (!n) return nullptr;
  }
  return n;
}

Disk::Node* Disk::MakeFolders(char cDrive, const std::vector<std::string>& parts, bool bHidden) {
  if (!HasDrive(cDrive)) AddDrive(cDrive);
  Node* n = &drives_[cDrive].root;
  for (auto& p : parts) {
    if (!ValidName(p)) return nullptr;
    Node* c = n->Child(p);
    if (!c) {
      auto node = std::make_unique<Node>();
      node->sName = p;
      node->bFolder = true;
      node->bHidden = bHidden;
      c = node.get();
      n->children.push_back(std::move(node));
    }
    if (!c->bFolder) return nullptr;
    n = c;
  }
  return n;
}

std::uint64_t Disk::SizeOf(const Node& node) {
  if (!node.bFolder) return node.content.size();
  std::uint64_t n = 0;
  for (auto& c : node.children) n += SizeOf(*c);
  return n;
}

Disk::WriteResult Disk::Write(char cDrive, const std::vector<std::string>& parts,
                              const Bytes& content, bool bMakeFolders, bool bHidden,
                              std::optional<Bytes>* pOld) {
  if (pOld) pOld->reset();
  if (parts.empty()) return WriteResult::IsFolder;
  if (!HasDrive(cDrive)) {
    if (!bMakeFolders) return WriteResult::NoDrive;
    AddDrive(cDrive);
  }
  Drive& drive = drives_[cDrive];
  const std::vector<std::string> folderParts(parts.begin(), parts.end() - 1);
  Node* folder = bMakeFolders ? MakeFolders(cDrive, folderParts) : Find(cDrive, folderParts);
  if (!folder || !folder->bFolder) return WriteResult::NoFolder;
  if (!ValidName(parts.back())) return WriteResult::NoFolder;
  Node* file = folder->Child(parts.back());
  if (file && file->bFolder) return WriteResult::IsFolder;
  // The new content is written beside the old before the rename.
  if (drive.capacity && drive.used + content.size() > *drive.capacity) return WriteResult::Full;
  if (!file) {
    auto node = std::make_unique<Node>();
    node->sName = parts.back();
    node->bHidden = bHidden;
    file = node.get();
    folder->children.push_back(std::move(node));
  } else if (pOld) {
    *pOld = file->content;
  }
  drive.used = drive.used - file->content.size() + content.size();
  file->content = content;
  return WriteResult::Ok;
}

bool Disk::Remove(char cDrive, const std::vector<std::string>& parts) {
  if (parts.empty()) return false;
  const std::vector<std::string> folderParts(parts.begin(), parts.end() - 1);
  Node* folder = Find(cDrive, folderParts);
  if (!folder || !folder->bFolder) return false;
  for (auto it = folder->children.begin(); it != folder->children.end(); ++it) {
    if (EqualNoCase((*it)->sName, parts.back())) {
      drives_[cDrive].used -= SizeOf(**it);
      folder->children.erase(it);
      return true;
    }
  }
  return false;
}

std::optional<std::vector<platform::DirEntry>> Disk::List(char cDrive,
                                                          const std::vector<std::string>& folder,
                                                          const std::string& sPattern, bool bHidden,
                                                          bool bFolders) const {
  const Node* n = Find(cDrive, folder);
  if (!n || !n->bFolder) return std::nullopt;
  std::vector<platform::DirEntry> out;
  const std::string pattern = sPattern.empty() ? "*" : sPattern;
  for (auto& c : n->children) {
    if (c->bHidden && !bHidden) continue;
    if (c->bFolder && !bFolders) continue;
    if (!WildcardMatch(pattern, c->sName)) continue;
    out.push_back(platform::DirEntry{c->sName, c->bFolder, c->bHidden});
  }
  return out;
}

void Disk::SetCapacity(char cDrive, std::optional<std::uint64_t> bytes) {
  if (!HasDrive(cDrive)) AddDrive(cDrive);
  drives_[cDrive].capacity = bytes;
}

std::uint64_t Disk::Used(char cDrive) const {
  auto it = drives_.find(cDrive);
  return it == drives_.end() ? 0 : it->second.used;
}

std::string DescribeWrite(const std::optional<Bytes>& old, const Bytes& now) {
  std::string s = "written " + std::to_string(now.size()) + " bytes, ";
  if (!old) return s + "new";
  std::vector<std::pair<std::size_t, std::size_t>> ranges;
  const std::size_t n = std::max(old->size(), now.size());
  for (std::size_t i = 0; i < n; ++i) {
    const bool differ = i >= old->size() || i >= now.size() || (*old)[i] != now[i];
    if (!differ) continue;
    if (!ranges.empty() && ranges.back().second + 1 == i)
      ranges.back().second = i;
    else
      ranges.emplace_back(i, i);
  }
  if (ranges.empty()) return s + "unchanged";
  s += "changed ";
  const std::size_t kShown = 8;
  for (std::size_t i = 0; i < ranges.size() && i < kShown; ++i) {
    if (i) s += ",";
    s += std::to_string(ranges[i].first);
    if (ranges[i].second != ranges[i].first) {
      s += '-';  // appended: g++ 12 at -O2 warns wrongly on "-" + string
      s += std::to_string(ranges[i].second);
    }
  }
  if (ranges.size() > kShown) s += ",... (" + std::to_string(ranges.size()) + " ranges)";
  if (now.size() < old->size()) s += ", was " + std::to_string(old->size()) + " bytes";
  return s;
}

}  // namespace launchagent::sim
