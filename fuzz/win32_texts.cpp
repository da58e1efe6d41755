// Arbitrary bytes as the Windows agent's hosts file, share list and command line: the
// parsers never crash, a parsed share is always \\host\share, and every address a
// hosts file yields reads back as itself.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/text.h"
#include "platform/win32/hosts_file.h"
#include "platform/win32/settings.h"

namespace {

void Check(bool b) {
  if (!b) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  namespace w = launchagent::win32;
  const std::string s(reinterpret_cast<const char*>(data), size);
  for (const auto& [sName, a] : w::HostsFile::Parse(s)) {
    Check(!sName.empty() && launchagent::AsciiLower(sName) == sName);
    const std::string sText = std::to_string(a[0]) + "." + std::to_string(a[1]) + "." +
                              std::to_string(a[2]) + "." + std::to_string(a[3]);
    Check(w::ParseIpv4(sText) == a);
  }
  std::vector<std::string> shares;
  std::string sError;
  if (w::ParseShareList(s, shares, sError))
    for (const auto& sShare : shares)
      Check(sShare.size() > 4 && sShare.compare(0, 2, "\\\\") == 0 && sShare.size() <= 255);
  // The bytes split at NULs as the arguments of a command line.
  std::vector<std::string> args(1);
  for (char c : s) {
    if (c == '\0')
      args.emplace_back();
    else
      args.back() += c;
  }
  w::Win32Settings settings;
  const bool bOk = w::ParseWin32Settings(
      args, [](const std::string&) { return std::optional<std::string>(); }, settings, sError);
  Check(bOk || (!sError.empty() && sError.find('\n') == std::string::npos));
  return 0;
}
