// The native backend as a backend of the contract: offscreen, with the session's window
// table in a folder of the test, drive C: on that folder and drive D: on the folder
// above the test program (so the agent folder is "D:\contract"). The stand-in is the
// real stand-in program, started through the shell; it finds the same window table
// through the environment.
#include <dirent.h>
#include <unistd.h>

#include <QApplication>
#include <cstdlib>
#include <filesystem>

#include "backend.h"
#include "platform/native/native_platform.h"
#include "platform/native/registry.h"

namespace launchagent::contract {
namespace {

namespace fs = std::filesystem;

class NativeBackend : public Backend {
 public:
  explicit NativeBackend(bool bOffscreen) {
    char szTemplate[] = "/tmp/la-contract-XXXXXX";
    sRoot_ = ::mkdtemp(szTemplate) ? szTemplate : "";
    fs::create_directories(sRoot_ + "/c/ct");
    fs::create_directories(sRoot_ + "/c/Apps");
    fs::create_directories(sRoot_ + "/c/Windows/System32");
    fs::create_symlink(LA_STANDIN_PATH, sRoot_ + "/c/Apps/Varno2.exe");
    const fs::path exe = fs::read_symlink("/proc/self/exe");
    settings_.drives = {{'C', sRoot_ + "/c"}, {'D', exe.parent_path().parent_path().string()}};
    sAgentFolder_ = "D:\\" + exe.parent_path().filename().string();
    settings_.sHostName = "contract-pc";
    settings_.sBindAddress = "127.0.0.2";
    settings_.bOffscreen = bOffscreen;
    settings_.sWindowTable = sRoot_ + "/windows";
    settings_.sSystemFolder = sRoot_ + "/c/Windows/System32";
    settings_.sMachineRegistryFile = sRoot_ + "/machine.reg";
    settings_.sUserRegistryFile = sRoot_ + "/user.reg";
    settings_.sMachineAutostartDir = sRoot_ + "/autostart";
    settings_.sUserAutostartDir = sRoot_ + "/user-autostart";
    // What the started stand-in reads to join this session.
    ::setenv("LA_OFFSCREEN", bOffscreen ? "1" : "0", 1);
    ::setenv("LA_WINDOW_TABLE", settings_.sWindowTable.c_str(), 1);
    platform_ = std::make_unique<native::NativePlatform>(settings_);
  }
  ~NativeBackend() override {
    platform_.reset();
    std::error_code e;
    if (!sRoot_.empty()) fs::remove_all(sRoot_, e);
  }

  platform::Platform& Get() override { return platform_->Get(); }
  Traits Differences() const override {
    Traits t;
    t.bDetachedWindowGoesAtOnce = settings_.bOffscreen;
    return t;
  }

  std::string Scratch() override { return "C:\\ct"; }
  std::string Local(const std::string& sName) override { return sRoot_ + "/c/ct/" + sName; }
  std::vector<std::string> RawOrder() override {
    std::vector<std::string> out;
    if (DIR* d = ::opendir((sRoot_ + "/c/ct").c_str())) {
      while (dirent* e = ::readdir(d))
        if (std::string(e->d_name) != "." && std::string(e->d_name) != "..")
          out.push_back(e->d_name);
      ::closedir(d);
    }
    return out;
  }
  std::string ExpectedAgentFolder() override { return sAgentFolder_; }
  std::string StandInPath() override { return "C:\\Apps\\Varno2.exe"; }
  std::optional<std::string> RegistryValue(platform::RegistryRoot root, const std::string& sSubKey,
                                           const std::string& sName) override {
    const auto keys = native::NativeRegistry::ParseStore(
        ReadAll(root == platform::RegistryRoot::CurrentUser ? settings_.sUserRegistryFile
                                                            : settings_.sMachineRegistryFile));
    auto k = keys.find(sSubKey);
    if (k == keys.end()) return std::nullopt;
    auto v = k->second.find(sName);
    if (v == k->second.end()) return std::nullopt;
    return v->second;
  }

 private:
  std::string sRoot_;
  std::string sAgentFolder_;
  native::NativeSettings settings_;
  std::unique_ptr<native::NativePlatform> platform_;
};

// Offscreen, the session's windows are the window table; under a display (the run under
// Xvfb) they are the display's windows.
std::vector<BackendMaker> NativeMakers() {
  std::vector<BackendMaker> makers = {
      {"native", [] { return std::unique_ptr<Backend>(new NativeBackend(true)); }}};
  if (std::getenv("DISPLAY"))
    makers.push_back({"x11", [] { return std::unique_ptr<Backend>(new NativeBackend(false)); }});
  return makers;
}

INSTANTIATE_TEST_SUITE_P(Native, Contract, ::testing::ValuesIn(NativeMakers()), BackendName);

}  // namespace
}  // namespace launchagent::contract

int main(int argc, char** argv) {
  if (!std::getenv("DISPLAY")) ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  QApplication app(argc, argv);
  QCoreApplication::setApplicationName("ThunderRT6FormDC");
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
