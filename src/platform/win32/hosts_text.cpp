// The hosts file's text: standard C++ only, so its parser can be fuzzed anywhere.
#include <cctype>
#include <sstream>

#include "platform/win32/hosts_file.h"
#include "platform/win32/settings.h"

namespace launchagent::win32 {

std::string LowerName(std::string s) {
  for (auto& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

std::optional<Ipv4> ParseIpv4(const std::string& s) {
  if (!IsDottedIpv4(s)) return std::nullopt;
  Ipv4 a{};
  std::istringstream in(s);
  for (size_t i = 0; i < 4; ++i) {
    int n = 0;
    char dot = 0;
    in >> n;
    if (i < 3) in >> dot;
    a[i] = static_cast<std::uint8_t>(n);
  }
  return a;
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
    while (words >> sName) names.emplace(LowerName(sName), *address);
  }
  return names;
}

}  // namespace launchagent::win32
