#include "platform/win32/shell.h"

#include "platform/win32/win.h"

namespace launchagent::win32 {

Long Win32Shell::Execute(const std::string& sVerb, const std::string& sFile,
                         const std::string& sParameters, const std::string& sFolder,
                         Long lngShowCmd) {
  const HINSTANCE h =
      ShellExecuteA(reinterpret_cast<HWND>(1), sVerb.empty() ? nullptr : sVerb.c_str(),
                    sFile.c_str(), sParameters.empty() ? nullptr : sParameters.c_str(),
                    sFolder.empty() ? nullptr : sFolder.c_str(), lngShowCmd);
  const auto lngResult = reinterpret_cast<INT_PTR>(h);
  return static_cast<Long>(lngResult > 0x7fffffff ? 0x7fffffff : lngResult);
}

Win32Registry::~Win32Registry() {
  for (auto& [key, h] : keys_) RegCloseKey(static_cast<HKEY>(h));
}

std::optional<platform::RegistryKey> Win32Registry::CreateKey(platform::RegistryRoot root,
                                                              const std::string& sSubKey) {
  HKEY hRoot =
      root == platform::RegistryRoot::LocalMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
  HKEY hKey = nullptr;
  DWORD dwDisposition = 0;
  // Denied access (an ordinary user on the machine root) fails quietly.
  if (RegCreateKeyExA(hRoot, sSubKey.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE,
                      nullptr, &hKey, &dwDisposition) != ERROR_SUCCESS)
    return std::nullopt;
  const platform::RegistryKey key = nextKey_++;
  keys_[key] = hKey;
  return key;
}

bool Win32Registry::SetStringValue(platform::RegistryKey key, const std::string& sName,
                                   const std::string& sData) {
  auto it = keys_.find(key);
  if (it == keys_.end()) return false;
  // The length counts the characters only, not the terminating zero.
  return RegSetValueExA(static_cast<HKEY>(it->second), sName.c_str(), 0, REG_SZ,
                        reinterpret_cast<const BYTE*>(sData.c_str()),
                        static_cast<DWORD>(sData.size())) == ERROR_SUCCESS;
}

bool Win32Registry::CloseKey(platform::RegistryKey key) {
  auto it = keys_.find(key);
  if (it == keys_.end()) return false;
  const bool bOk = RegCloseKey(static_cast<HKEY>(it->second)) == ERROR_SUCCESS;
  keys_.erase(it);
  return bOk;
}

std::optional<std::string> Win32Kernel::ComputerName() {
  if (!sOverride_.empty()) return sOverride_.substr(0, 255);
  char buf[MAX_COMPUTERNAME_LENGTH + 1] = {};
  DWORD n = sizeof buf;
  if (!GetComputerNameA(buf, &n)) return std::nullopt;
  return std::string(buf, n);
}

}  // namespace launchagent::win32
