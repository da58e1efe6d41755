// The simulated LAN as a backend of the contract: one desktop "PC1" with an idle
// process whose executable lies in C:\App; every case runs on that process's fiber.
#include <memory>

#include "backend.h"
#include "platform/sim/world.h"

namespace launchagent::contract {
namespace {

class SimBackend : public Backend {
 public:
  SimBackend() : w_(7) {
    h_ = *w_.Hosts().AddHost("PC1", "10.0.0.1");
    w_.Programs().RegisterProgram(
        "idle", [](platform::Platform& p, const sim::ProgramStart&) { p.loop.Run(); });
    w_.Files().MakeFolder(h_, kScratch);
    w_.Programs().WriteProgramFile(h_, "C:\\Apps\\Varno2.exe", "varno", "window-delay=1");
    pid_ = w_.Programs().StartProcess(h_, "idle", "C:\\App\\Launch.exe");
    w_.RunFor(0);
  }

  platform::Platform& Get() override { return *w_.Programs().PlatformOf(pid_); }
  Traits Differences() const override {
    Traits t;
    t.bCreationOrder = true;
    t.bCapsArrivals = false;
    t.bDotFolders = false;
    return t;
  }
  void In(const std::function<void()>& fn) override {
    EXPECT_TRUE(w_.Call(pid_, fn)) << "the process ended inside the case";
  }

  std::string Scratch() override { return kScratch; }
  void PutFile(const std::string& sName, const std::string& sContent, bool bHidden) override {
    w_.Files().WriteFile(h_, Scratch() + "\\" + sName, sContent, bHidden);
  }
  void PutFolder(const std::string& sName) override {
    w_.Files().MakeFolder(h_, Scratch() + "\\" + sName);
  }
  std::optional<std::string> FileContent(const std::string& sName) override {
    auto b = w_.Files().ReadFile(h_, Scratch() + "\\" + sName);
    if (!b) return std::nullopt;
    return ToText(*b);
  }
  std::vector<std::string> RawOrder() override { return {}; }
  std::string ExpectedAgentFolder() override { return "C:\\App"; }
  std::string StandInPath() override { return "C:\\Apps\\Varno2.exe"; }
  std::string LoopbackHost() override { return "PC1"; }
  std::optional<std::string> RegistryValue(platform::RegistryRoot root, const std::string& sSubKey,
                                           const std::string& sName) override {
    return w_.Hosts().RegistryValue(h_, root, sSubKey, sName);
  }

 private:
  static constexpr const char* kScratch = "C:\\ct";
  sim::World w_;
  sim::HostId h_ = 0;
  sim::ProcessId pid_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Sim, Contract,
                         ::testing::Values(BackendMaker{
                             "sim", [] { return std::unique_ptr<Backend>(new SimBackend); }}),
                         BackendName);

}  // namespace
}  // namespace launchagent::contract
