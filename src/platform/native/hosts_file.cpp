#include "platform/native/hosts_file.h"

#include <sys/stat.h>

#include <fstream>

namespace launchagent::native {
namespace {

std::optional<unsigned long long> Stamp(const std::string& sPath) {
  struct stat st {};
  if (::stat(sPath.c_str(), &st) != 0) return std::nullopt;
  return static_cast<unsigned long long>(st.st_mtim.tv_sec) * 1000000000ULL +
         static_cast<unsigned long long>(st.st_mtim.tv_nsec) +
         static_cast<unsigned long long>(st.st_size);
}

std::string Read(const std::string& sPath, std::size_t nMaxBytes) {
  std::ifstream in(sPath, std::ios::binary);
  std::string sText(nMaxBytes, '\0');
  in.read(sText.data(), static_cast<std::streamsize>(sText.size()));
  sText.resize(static_cast<size_t>(in.gcount()));
  return sText;
}

}  // namespace

HostsFile::HostsFile(std::string sPath)
    : platform::HostsFileNames(std::move(sPath), {Stamp, Read}) {}

}  // namespace launchagent::native
