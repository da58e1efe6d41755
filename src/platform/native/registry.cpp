#include "platform/native/registry.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <fstream>
#include <sstream>

#include "platform/native/files.h"
#include "platform/text.h"

namespace launchagent::native {
namespace {

constexpr const char* kRunKey = "software\\microsoft\\windows\\currentversion\\run";

std::string ParentOf(const std::string& s) {
  const auto n = s.find_last_of('/');
  if (n == std::string::npos) return ".";
  return n == 0 ? "/" : s.substr(0, n);
}

// Makes the folder and its parents; true when it exists and we may write in it.
bool WritableFolder(const std::string& sDir) {
  if (sDir.empty()) return false;
  struct stat st {};
  if (::stat(sDir.c_str(), &st) != 0) {
    if (sDir != "/" && sDir != "." && !WritableFolder(ParentOf(sDir))) return false;
    if (::mkdir(sDir.c_str(), 0755) != 0 && errno != EEXIST) return false;
    if (::stat(sDir.c_str(), &st) != 0) return false;
  }
  return S_ISDIR(st.st_mode) && ::access(sDir.c_str(), W_OK) == 0;
}

std::string Escape(const std::string& s) {
  std::string out;
  for (char c : s) {
    if (c == '\\') {
      out += "\\\\";
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\r') {
      out += "\\r";
    } else {
      out += c;
    }
  }
  return out;
}

std::string Unescape(const std::string& s) {
  std::string out;
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\\' && i + 1 < s.size()) {
      const char c = s[++i];
      out += c == 'n' ? '\n' : c == 'r' ? '\r' : c;
    } else {
      out += s[i];
    }
  }
  return out;
}

// Quoting of an Exec= argument (desktop entry rules).
std::string QuoteExec(const std::string& s) {
  std::string out = "\"";
  for (char c : s) {
    if (c == '"' || c == '`' || c == '$' || c == '\\') out += '\\';
    if (c == '%') out += '%';
    out += c;
  }
  return out + "\"";
}

std::string FileName(const std::string& sName) {
  std::string s;
  for (char c : sName) s += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
  return "launch-agent-run-" + (s.empty() ? std::string("default") : s) + ".desktop";
}

}  // namespace

std::map<std::string, std::map<std::string, std::string>> NativeRegistry::ParseStore(
    const std::string& sText) {
  std::map<std::string, std::map<std::string, std::string>> keys;
  std::istringstream in(sText);
  std::string sLine, sKey;
  bool bInKey = false;
  while (std::getline(in, sLine)) {
    if (!sLine.empty() && sLine.back() == '\r') sLine.pop_back();
    if (sLine.size() >= 2 && sLine.front() == '[' && sLine.back() == ']') {
      sKey = Unescape(sLine.substr(1, sLine.size() - 2));
      keys[sKey];
      bInKey = true;
      continue;
    }
    const auto nEq = sLine.find('=');
    if (!bInKey || nEq == std::string::npos) continue;
    keys[sKey][Unescape(sLine.substr(0, nEq))] = Unescape(sLine.substr(nEq + 1));
  }
  return keys;
}

std::string NativeRegistry::FormatStore(
    const std::map<std::string, std::map<std::string, std::string>>& keys) {
  std::string s;
  for (const auto& [sKey, values] : keys) {
    s += "[" + Escape(sKey) + "]\n";
    for (const auto& [sName, sData] : values) {
      std::string sEscName = Escape(sName);
      // A name holding "=" would split wrongly on reading.
      std::string sSafe;
      for (char c : sEscName) sSafe += c == '=' ? '_' : c;
      s += sSafe + "=" + Escape(sData) + "\n";
    }
  }
  return s;
}

std::string NativeRegistry::DesktopEntry(const std::string& sName, const std::string& sCommand) {
  return "[Desktop Entry]\n"
         "Type=Application\n"
         "Name=Launch Service for Varno (" +
         sName + ")\n" + "Exec=" + QuoteExec(sCommand) +
         "\n"
         "X-GNOME-Autostart-enabled=true\n"
         "NoDisplay=true\n";
}

std::optional<platform::RegistryKey> NativeRegistry::CreateKey(platform::RegistryRoot root,
                                                               const std::string& sSubKey) {
  const RegistryPlaces& places = PlacesOf(root);
  if (!WritableFolder(ParentOf(places.sStoreFile))) return std::nullopt;
  if (::access(places.sStoreFile.c_str(), F_OK) == 0 &&
      ::access(places.sStoreFile.c_str(), W_OK) != 0)
    return std::nullopt;
  if (AsciiLower(sSubKey) == kRunKey && !WritableFolder(places.sAutostartDir)) return std::nullopt;
  const platform::RegistryKey key = nextKey_++;
  keys_[key] = OpenKey{root, sSubKey};
  return key;
}

bool NativeRegistry::SetStringValue(platform::RegistryKey key, const std::string& sName,
                                    const std::string& sData) {
  auto it = keys_.find(key);
  if (it == keys_.end()) return false;
  const RegistryPlaces& places = PlacesOf(it->second.root);
  std::string sText;
  {
    std::ifstream in(places.sStoreFile, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    sText = all.str();
  }
  auto keys = ParseStore(sText);
  // Key names compare without regard to case; the first spelling stays.
  std::string sKey = it->second.sSubKey;
  for (const auto& [sExisting, values] : keys)
    if (AsciiLower(sExisting) == AsciiLower(sKey)) sKey = sExisting;
  keys[sKey][sName] = sData;
  if (!ReplaceLocalFile(places.sStoreFile, FormatStore(keys))) return false;
  if (AsciiLower(sKey) == kRunKey) {
    std::string sCommand = sData;
    if (auto local = paths_.ToLocal(sData)) sCommand = *local;
    if (!ReplaceLocalFile(places.sAutostartDir + "/" + FileName(sName),
                          DesktopEntry(sName, sCommand)))
      return false;
  }
  return true;
}

bool NativeRegistry::CloseKey(platform::RegistryKey key) { return keys_.erase(key) > 0; }

}  // namespace launchagent::native
