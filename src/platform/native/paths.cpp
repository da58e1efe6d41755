#include "platform/native/paths.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>

#include "platform/text.h"

namespace launchagent::native {
namespace {

std::vector<std::string> SplitParts(const std::string& s) {
  std::vector<std::string> parts;
  std::string sCur;
  for (char c : s) {
    if (c == '\\' || c == '/') {
      if (!sCur.empty()) parts.push_back(sCur);
      sCur.clear();
    } else {
      sCur += c;
    }
  }
  if (!sCur.empty()) parts.push_back(sCur);
  return parts;
}

// Resolves "." and ".." by name, before anything touches the disk: a share or a drive
// is reached through a mount point or a link, so following ".." on the disk would climb
// out of it into the rest of this machine. A path that climbs above its root is none.
std::optional<std::vector<std::string>> Normalise(const std::vector<std::string>& parts) {
  std::vector<std::string> out;
  for (const auto& sPart : parts) {
    if (sPart == ".") continue;
    if (sPart == "..") {
      if (out.empty()) return std::nullopt;
      out.pop_back();
      continue;
    }
    out.push_back(sPart);
  }
  return out;
}

bool Exists(const std::string& sPath) {
  struct stat st {};
  return ::lstat(sPath.c_str(), &st) == 0;
}

}  // namespace

PathMapper::PathMapper(std::map<char, std::string> drives, std::string sMountRoot)
    : sMountRoot_(std::move(sMountRoot)) {
  for (auto& [c, sDir] : drives) drives_[AsciiUpper(c)] = sDir;
  while (sMountRoot_.size() > 1 && sMountRoot_.back() == '/') sMountRoot_.pop_back();
}

std::string ResolveCase(const std::string& sBase, const std::vector<std::string>& parts) {
  std::string sPath = sBase;
  bool bSearch = true;  // once a part is missing, the rest cannot exist either
  for (const auto& sPart : parts) {
    if (sPart == ".") continue;
    std::string sNext = sPath == "/" ? "/" + sPart : sPath + "/" + sPart;
    if (bSearch && sPart != ".." && !Exists(sNext)) {
      bool bFound = false;
      if (DIR* dir = ::opendir(sPath.c_str())) {
        const std::string sWanted = AsciiLower(sPart);
        while (dirent* e = ::readdir(dir)) {
          if (AsciiLower(e->d_name) == sWanted) {
            sNext = sPath == "/" ? std::string("/") + e->d_name : sPath + "/" + e->d_name;
            bFound = true;
            break;
          }
        }
        ::closedir(dir);
      }
      bSearch = bFound;
    }
    sPath = sNext;
  }
  return sPath;
}

std::optional<std::string> PathMapper::ToLocal(const std::string& sPath) const {
  if (sPath.size() >= 2 && (sPath[0] == '\\' || sPath[0] == '/') &&
      (sPath[1] == '\\' || sPath[1] == '/')) {
    auto parts = SplitParts(sPath.substr(2));
    if (parts.size() < 2) return std::nullopt;
    // The host and the share are names, never steps; the rest stays below the share.
    for (int i = 0; i < 2; ++i)
      if (parts[i] == "." || parts[i] == "..") return std::nullopt;
    auto rest = Normalise({parts.begin() + 2, parts.end()});
    if (!rest) return std::nullopt;
    rest->insert(rest->begin(), parts.begin(), parts.begin() + 2);
    return ResolveCase(sMountRoot_, *rest);
  }
  if (sPath.size() >= 2 && sPath[1] == ':' && std::isalpha(static_cast<unsigned char>(sPath[0]))) {
    auto it = drives_.find(AsciiUpper(sPath[0]));
    if (it == drives_.end()) return std::nullopt;
    auto parts = Normalise(SplitParts(sPath.substr(2)));
    if (!parts) return std::nullopt;
    return ResolveCase(it->second, *parts);
  }
  // A path without a drive: relative to the current folder, or already local.
  auto parts = Normalise(SplitParts(sPath));
  if (!parts) return std::nullopt;
  return ResolveCase(!sPath.empty() && sPath[0] == '/' ? "/" : ".", *parts);
}

std::optional<std::string> PathMapper::ToSystem(const std::string& sLocal) const {
  if (sLocal.empty() || sLocal[0] != '/') return std::nullopt;
  const char* best = nullptr;
  size_t nBest = 0;
  for (auto& [c, sDir] : drives_) {
    const bool bRoot = sDir == "/";
    const bool bMatch = bRoot || sLocal == sDir || (sLocal.rfind(sDir + "/", 0) == 0);
    const size_t nLen = bRoot ? 1 : sDir.size() + 1;
    if (bMatch && (!best || nLen > nBest)) {
      best = &c;
      nBest = nLen;
    }
  }
  if (!best) return std::nullopt;
  const std::string sRest = sLocal.size() > nBest - 1 ? sLocal.substr(nBest - 1) : "";
  std::string sOut = std::string(1, *best) + ":";
  for (const auto& sPart : SplitParts(sRest)) sOut += "\\" + sPart;
  if (sOut.size() == 2) sOut += "\\";
  return sOut;
}

std::vector<std::string> SplitWindowsArgs(const std::string& s) {
  std::vector<std::string> args;
  size_t i = 0;
  const size_t n = s.size();
  while (true) {
    while (i < n && (s[i] == ' ' || s[i] == '\t')) ++i;
    if (i >= n) break;
    std::string sArg;
    bool bQuoted = false;
    while (i < n) {
      const char c = s[i];
      if (!bQuoted && (c == ' ' || c == '\t')) break;
      if (c == '\\') {
        size_t nSlashes = 0;
        while (i < n && s[i] == '\\') {
          ++nSlashes;
          ++i;
        }
        if (i < n && s[i] == '"') {
          sArg.append(nSlashes / 2, '\\');
          if (nSlashes % 2) {
            sArg += '"';
            ++i;
          }
        } else {
          sArg.append(nSlashes, '\\');
        }
        continue;
      }
      if (c == '"') {
        // "" inside quotes is a literal quote.
        if (bQuoted && i + 1 < n && s[i + 1] == '"') {
          sArg += '"';
          i += 2;
          continue;
        }
        bQuoted = !bQuoted;
        ++i;
        continue;
      }
      sArg += c;
      ++i;
    }
    args.push_back(sArg);
  }
  return args;
}

}  // namespace launchagent::native
