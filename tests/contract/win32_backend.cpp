// The Win32 backend as a backend of the contract, under Wine or on a Windows desktop:
// a fresh folder under the user's temporary folder holds the scratch folder and a copy
// of the stand-in; files are placed and read back with the C library, hidden with the
// file attribute, the Run value read back with RegQueryValueExA.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "backend.h"
#include "platform/win32/desktop.h"
#include "platform/win32/win.h"
#include "platform/win32/win32_platform.h"

namespace launchagent::contract {
namespace {

namespace fs = std::filesystem;

std::string TempFolder() {
  char sz[MAX_PATH + 1] = {};
  const DWORD n = GetTempPathA(MAX_PATH, sz);
  std::string s(sz, n);
  while (!s.empty() && s.back() == '\\') s.pop_back();
  static int nCount = 0;
  return s + "\\la-contract-" + std::to_string(GetCurrentProcessId()) + "-" +
         std::to_string(++nCount);
}

// The build folder's path as the desktop sees it: Wine shows the Unix root as drive Z:.
std::string BuildPath(std::string s) {
  if (s.empty() || s[0] != '/') return s;
  for (auto& c : s)
    if (c == '/') c = '\\';
  return "Z:" + s;
}

// Wine's ntdll exports its version; Windows' does not.
bool UnderWine() {
  HMODULE h = GetModuleHandleA("ntdll.dll");
  return h && GetProcAddress(h, "wine_get_version");
}

std::string ModuleFolder() {
  char sz[MAX_PATH + 1] = {};
  const DWORD n = GetModuleFileNameA(nullptr, sz, MAX_PATH);
  std::string s(sz, n);
  return s.substr(0, s.find_last_of('\\'));
}

class Win32Backend : public Backend {
 public:
  Win32Backend() : sRoot_(TempFolder()) {
    // Windows of other tests running at the same time (a "Varno" of their own) stay on
    // the default desktop; this process and the stand-ins it starts use one of its own.
    static const bool bOwnDesktop =
        win32::JoinDesktop("la-contract-" + std::to_string(GetCurrentProcessId()));
    EXPECT_TRUE(bOwnDesktop);
    fs::create_directories(sRoot_ + "\\ct");
    fs::create_directories(sRoot_ + "\\Apps");
    CopyFileA(BuildPath(LA_STANDIN_PATH).c_str(), (sRoot_ + "\\Apps\\Varno2.exe").c_str(), FALSE);
    std::ofstream(sRoot_ + "\\hosts") << "127.0.0.2 contract-pc\n";
    win32::Win32Settings settings;
    settings.sHostName = "contract-pc";
    settings.sBindAddress = "127.0.0.2";
    settings.sHostsFile = sRoot_ + "\\hosts";
    settings.bOffscreen = true;
    platform_ = std::make_unique<win32::Win32Platform>(settings);
  }
  ~Win32Backend() override {
    platform_.reset();
    std::error_code e;
    fs::remove_all(sRoot_, e);
  }

  platform::Platform& Get() override { return platform_->Get(); }
  Traits Differences() const override {
    Traits t;
    t.bMissingFolderIsPathNotFound = !UnderWine();
    return t;
  }

  std::string Scratch() override { return sRoot_ + "\\ct"; }
  void PutFile(const std::string& sName, const std::string& sContent, bool bHidden) override {
    Backend::PutFile(sName, sContent, bHidden);
    if (bHidden) SetFileAttributesA(Local(sName).c_str(), FILE_ATTRIBUTE_HIDDEN);
  }
  // The folder's own order is what FindFirstFileA gives, the call the backend lists with.
  std::vector<std::string> RawOrder() override { return {}; }
  std::string ExpectedAgentFolder() override { return ModuleFolder(); }
  std::string StandInPath() override { return sRoot_ + "\\Apps\\Varno2.exe"; }
  std::optional<std::string> RegistryValue(platform::RegistryRoot root, const std::string& sSubKey,
                                           const std::string& sName) override {
    HKEY hKey = nullptr;
    if (RegOpenKeyExA(
            root == platform::RegistryRoot::CurrentUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE,
            sSubKey.c_str(), 0, KEY_READ, &hKey) != ERROR_SUCCESS)
      return std::nullopt;
    char sz[1024] = {};
    DWORD dwType = 0, dwSize = sizeof sz - 1;
    const LONG r = RegQueryValueExA(hKey, sName.c_str(), nullptr, &dwType,
                                    reinterpret_cast<BYTE*>(sz), &dwSize);
    RegCloseKey(hKey);
    if (r != ERROR_SUCCESS || dwType != REG_SZ) return std::nullopt;
    return std::string(sz);
  }

 private:
  std::string sRoot_;
  std::unique_ptr<win32::Win32Platform> platform_;
};

INSTANTIATE_TEST_SUITE_P(Win32, Contract,
                         ::testing::Values(BackendMaker{
                             "win32", [] { return std::unique_ptr<Backend>(new Win32Backend); }}),
                         BackendName);

}  // namespace
}  // namespace launchagent::contract
