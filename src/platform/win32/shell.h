#pragma once
// Starting programs, the Run value, the computer name: the shell's, the registry's and
// the kernel's own calls.
#include <map>
#include <string>

#include "platform/services.h"

namespace launchagent::win32 {

// ShellExecuteA with its real result; the owner window handle is 1, as the system
// passes it.
class Win32Shell : public platform::Shell {
 public:
  Long Execute(const std::string& sVerb, const std::string& sFile, const std::string& sParameters,
               const std::string& sFolder, Long lngShowCmd) override;
};

// RegCreateKeyExA/RegSetValueExA/RegCloseKey. Handles are handed out as small numbers
// of our own, so a stale one can never reach another open key.
class Win32Registry : public platform::Registry {
 public:
  ~Win32Registry() override;
  std::optional<platform::RegistryKey> CreateKey(platform::RegistryRoot root,
                                                 const std::string& sSubKey) override;
  bool SetStringValue(platform::RegistryKey key, const std::string& sName,
                      const std::string& sData) override;
  bool CloseKey(platform::RegistryKey key) override;

 private:
  std::map<platform::RegistryKey, void*> keys_;
  platform::RegistryKey nextKey_ = 1;
};

class Win32Kernel : public platform::Kernel {
 public:
  // sOverride: the name to report instead of the system's ("" = GetComputerNameA).
  explicit Win32Kernel(std::string sOverride) : sOverride_(std::move(sOverride)) {}
  std::optional<std::string> ComputerName() override;

 private:
  std::string sOverride_;
};

}  // namespace launchagent::win32
