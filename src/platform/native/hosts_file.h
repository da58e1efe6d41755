#pragma once
// An optional hosts file that the agent consults before the system's resolver: lines of
// "address name [name...]", "#" starts a comment. Names compare without regard to case.
// The file is read again when it changes, so a running LAN can be re-pointed.
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace launchagent::native {

using Ipv4 = std::array<std::uint8_t, 4>;

// Dotted decimal a.b.c.d, each number from 0 to 255, nothing else.
std::optional<Ipv4> ParseIpv4(const std::string& s);
std::string Ipv4Text(const Ipv4& a);

class HostsFile {
 public:
  explicit HostsFile(std::string sPath) : sPath_(std::move(sPath)) {}
  std::optional<Ipv4> Lookup(const std::string& sName);
  // Parses hosts-file text; bad lines are skipped. The first address of a name wins.
  static std::map<std::string, Ipv4> Parse(const std::string& sText);

 private:
  void Reload();
  std::string sPath_;
  std::map<std::string, Ipv4> names_;
  long long lngStamp_ = -1;
};

}  // namespace launchagent::native
