#pragma once
// Host names and addresses as both backends answer them before the system's resolver:
// dotted addresses, the optional hosts file (lines of "address name [name...]", "#"
// starts a comment, names compare without regard to A-Z case; read again when it
// changes, so a running LAN can be re-pointed) and our own overridden name.
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "platform/services.h"

namespace launchagent::platform {

using Ipv4 = std::array<std::uint8_t, 4>;

// Dotted decimal a.b.c.d, each number from 0 to 255 in at most three digits, nothing
// else.
std::optional<Ipv4> ParseIpv4(const std::string& s);
std::string Ipv4Text(const Ipv4& a);

// The file's change stamp (nullopt: no file) and its first bytes, from the backend.
struct FileProbe {
  std::function<std::optional<unsigned long long>(const std::string& sPath)> stamp;
  std::function<std::string(const std::string& sPath, std::size_t nMaxBytes)> read;
};

class HostsFileNames {
 public:
  HostsFileNames(std::string sPath, FileProbe probe)
      : sPath_(std::move(sPath)), probe_(std::move(probe)) {}
  std::optional<Ipv4> Lookup(const std::string& sName);
  // Parses hosts-file text; bad lines are skipped. The first address of a name wins.
  static std::map<std::string, Ipv4> Parse(const std::string& sText);

 private:
  void Reload();
  std::string sPath_;
  FileProbe probe_;
  std::map<std::string, Ipv4> names_;
  std::optional<unsigned long long> stamp_;
};

// A host name or address as typed, without the blanks and line ends around it.
std::string TrimBlanks(const std::string& s);
// The name as a resolver takes it: trimmed; "" when it can name no host (empty, or
// longer than 255 characters).
std::string ResolvableName(const std::string& sName);

// A dotted address, a name of the hosts file, or our own overridden name (which stands
// for the address we bind to); nullopt leaves the name to the system's resolver.
std::optional<HostEntry> KnownHost(const std::string& sName, HostsFileNames& hosts,
                                   const std::string& sOwnName, const std::string& sBindAddress);

// Adds an address the entry does not hold yet.
void AddAddress(HostEntry& entry, const Ipv4& a);

}  // namespace launchagent::platform
