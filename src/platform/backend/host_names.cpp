#include "platform/backend/host_names.h"

#include <algorithm>
#include <sstream>

#include "platform/text.h"

namespace launchagent::platform {
namespace {

// A hosts file is small; a huge one is cut rather than read whole.
constexpr std::size_t kMaxHostsBytes = 1 << 20;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::optional<Ipv4> ParseIpv4(const std::string& s) {
  Ipv4 a{};
  size_t i = 0;
  for (int nPart = 0; nPart < 4; ++nPart) {
    if (nPart > 0) {
      if (i >= s.size() || s[i] != '.') return std::nullopt;
      ++i;
    }
    int nValue = 0, nDigits = 0;
    while (i < s.size() && IsDigit(s[i]) && nDigits < 4) {
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

std::map<std::string, Ipv4> HostsFileNames::Parse(const std::string& sText) {
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

void HostsFileNames::Reload() {
  const auto stamp = sPath_.empty() ? std::nullopt : probe_.stamp(sPath_);
  if (!stamp) {
    names_.clear();
    stamp_.reset();
    return;
  }
  if (stamp == stamp_) return;
  stamp_ = stamp;
  names_ = Parse(probe_.read(sPath_, kMaxHostsBytes));
}

std::optional<Ipv4> HostsFileNames::Lookup(const std::string& sName) {
  Reload();
  auto it = names_.find(AsciiLower(sName));
  if (it == names_.end()) return std::nullopt;
  return it->second;
}

std::string TrimBlanks(const std::string& s) {
  const auto b = s.find_first_not_of(" \t\r\n");
  if (b == std::string::npos) return "";
  return s.substr(b, s.find_last_not_of(" \t\r\n") - b + 1);
}

std::string ResolvableName(const std::string& sName) {
  std::string s = TrimBlanks(sName);
  return s.size() > 255 ? "" : s;
}

std::optional<HostEntry> KnownHost(const std::string& sName, HostsFileNames& hosts,
                                   const std::string& sOwnName, const std::string& sBindAddress) {
  auto Entry = [](const Ipv4& a) {
    HostEntry e;
    e.nAddressLength = 4;
    e.addresses.push_back(a);
    return e;
  };
  if (auto a = ParseIpv4(sName)) return Entry(*a);
  if (auto a = hosts.Lookup(sName)) return Entry(*a);
  if (!sOwnName.empty() && !sBindAddress.empty() && EqualsIgnoringCase(sName, sOwnName))
    if (auto a = ParseIpv4(sBindAddress)) return Entry(*a);
  return std::nullopt;
}

void AddAddress(HostEntry& entry, const Ipv4& a) {
  if (std::find(entry.addresses.begin(), entry.addresses.end(), a) == entry.addresses.end())
    entry.addresses.push_back(a);
}

}  // namespace launchagent::platform
