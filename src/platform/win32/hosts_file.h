#pragma once
// An optional hosts file the agent consults before the system's resolver: lines of
// "address name [name...]", "#" starts a comment, names compare without regard to
// case. It is read again when it changes, so a running test LAN can be re-pointed.
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace launchagent::win32 {

using Ipv4 = std::array<std::uint8_t, 4>;

std::optional<Ipv4> ParseIpv4(const std::string& s);
// Names compare in lower case.
std::string LowerName(std::string s);

class HostsFile {
 public:
  explicit HostsFile(std::string sPath) : sPath_(std::move(sPath)) {}
  std::optional<Ipv4> Lookup(const std::string& sName);
  // Bad lines are skipped; the first address of a name wins.
  static std::map<std::string, Ipv4> Parse(const std::string& sText);

 private:
  void Reload();
  std::string sPath_;
  std::map<std::string, Ipv4> names_;
  unsigned long long ullStamp_ = ~0ULL;
};

}  // namespace launchagent::win32
