#include "platform/native/hosts_file.h"

#include <sys/stat.h>

#include <cctype>
#include <fstream>
#include <sstream>

#include "platform/text.h"

namespace launchagent::native {
namespace {}  // namespace

std::optional<Ipv4> ParseIpv4(const std::string& s) {
  Ipv4 a{};
  size_t i = 0;
  for (int nPart = 0; nPart < 4; ++nPart) {
    if (nPart > 0) {
      if (i >= s.size() || s[i] != '.') return std::nullopt;
      ++i;
    }
    int nValue = 0, nDigits = 0;
    while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i])) && nDigits < 4) {
      nValue = nValue * 10 + (s[i] - '0');
      ++nDigits;
      ++i;
    }
    if (nDigits == 0 || nDigits > 3 || nValue > 255) return std::nullopt;
    a[static_cast<size_t>(nPart)] = static_cast<std::uint8_t>(nValue);
  }
  if (i != s.size()) return std::nullopt;
  return a;
}

std::string Ipv4Text(const Ipv4& a) {
  return std::to_string(a[0]) + "." + std::to_string(a[1]) + "." + std::to_string(a[2]) + "." +
         std::to_string(a[3]);
}

std::map<std::string, Ipv4> HostsFile::Parse(const std::string& sText) {
  std::map<std::string, Ipv4> names;
  std::istringstream in(sText);
  std::string sLine;
  while (std::getline(in, sLine)) {
    if (auto n = sLine.find('#'); n != std::string::npos) sLine.resize(n);
    std::istringstream words(sLine);
    std::string sAddress, sName;
    if (!(words >> sAddress)) continue;
    auto address = ParseIpv4(sAddress);
    if (!address) continue;
    while (words >> sName) names.emplace(AsciiLower(sName), *address);
  }
  return names;
}

void HostsFile::Reload() {
  struct stat st {};
  if (sPath_.empty() || ::stat(sPath_.c_str(), &st) != 0) {
    names_.clear();
    lngStamp_ = -1;
    return;
  }
  const long long lngStamp =
      static_cast<long long>(st.st_mtim.tv_sec) * 1000000000LL + st.st_mtim.tv_nsec + st.st_size;
  if (lngStamp == lngStamp_) return;
  lngStamp_ = lngStamp;
  std::ifstream in(sPath_, std::ios::binary);
  std::string sText;
  // A hosts file is small; a huge one is cut rather than read whole.
  sText.resize(1 << 20);
  in.read(sText.data(), static_cast<std::streamsize>(sText.size()));
  sText.resize(static_cast<size_t>(in.gcount()));
  names_ = Parse(sText);
}

std::optional<Ipv4> HostsFile::Lookup(const std::string& sName) {
  Reload();
  auto it = names_.find(AsciiLower(sName));
  if (it == names_.end()) return std::nullopt;
  return it->second;
}

}  // namespace launchagent::native
