#pragma once
// The platform services one process sees, each bound to the world and its process.
#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/services.h"
#include "platform/sim/world.h"
#include "platform/ui/controls.h"
#include "platform/ui/form.h"

namespace launchagent::sim {

class ProcessState;

// ---- Per-process services ----------------------------------------------------------
class SimClock : public platform::Clock {
 public:
  SimClock(WorldImpl& w, HostId host) : w_(w), host_(host) {}
  DateTime Now() const override;
  double SecondsSinceMidnight() const override;

 private:
  WorldImpl& w_;
  HostId host_;
};

class SimEventLoop : public platform::EventLoop, public ui::TimerDriver {
 public:
  SimEventLoop(WorldImpl& w, ProcessState& p) : w_(w), p_(p) {}
  void ProcessPendingEvents() override;
  void WaitForEvents(double dSeconds) override;
  void Run() override;
  [[noreturn]] void EndProcess() override;
  ui::TimerDriver& Timers() override { return *this; }
  void TimerChanged(ui::Timer& timer) override;
  void TimerGone(ui::Timer& timer) override;

 private:
  void Tick(ui::Timer* timer, std::uint64_t gen, Nanos due);
  void Arm(ui::Timer* timer, std::uint64_t gen, Nanos due);
  WorldImpl& w_;
  ProcessState& p_;
};

class SimWindows : public platform::WindowSystem {
 public:
  SimWindows(WorldImpl& w, ProcessState& p) : w_(w), p_(p) {}
  platform::WindowHandle FindWindowByTitle(const std::string& sTitle) override;
  platform::WindowHandle NextWindow(platform::WindowHandle hWnd) override;
  std::optional<std::string> ClassName(platform::WindowHandle hWnd, int nBufferLen) override;
  std::optional<std::string> WindowText(platform::WindowHandle hWnd, int nBufferLen) override;
  bool SendClose(platform::WindowHandle hWnd) override;
  void AttachForm(ui::Form& form) override;
  void DetachForm(ui::Form& form) override;
  void MessageBox(const std::string& sTitle, const std::string& sText) override;

 private:
  WorldImpl& w_;
  ProcessState& p_;
};

class SimShell : public platform::Shell {
 public:
  SimShell(WorldImpl& w, ProcessState& p) : w_(w), p_(p) {}
  Long Execute(const std::string& sVerb, const std::string& sFile, const std::string& sParameters,
               const std::string& sFolder, Long lngShowCmd) override;

 private:
  WorldImpl& w_;
  ProcessState& p_;
};

class SimRegistry : public platform::Registry {
 public:
  SimRegistry(WorldImpl& w, ProcessState& p) : w_(w), p_(p) {}
  std::optional<platform::RegistryKey> CreateKey(platform::RegistryRoot root,
                                                 const std::string& sSubKey) override;
  bool SetStringValue(platform::RegistryKey key, const std::string& sName,
                      const std::string& sData) override;
  bool CloseKey(platform::RegistryKey key) override;

 private:
  WorldImpl& w_;
  ProcessState& p_;
  std::map<platform::RegistryKey, std::pair<platform::RegistryRoot, std::string>> open_;
  platform::RegistryKey nextKey_ = 0x100;
};

class SimKernel : public platform::Kernel {
 public:
  SimKernel(WorldImpl& w, HostId host) : w_(w), host_(host) {}
  std::optional<std::string> ComputerName() override;

 private:
  WorldImpl& w_;
  HostId host_;
};

class SimSocketsLibrary : public platform::SocketsLibrary {
 public:
  SimSocketsLibrary(WorldImpl& w, ProcessState& p) : w_(w), p_(p) {}
  Long Startup(std::uint16_t wVersionRequested, platform::SocketsStartupData& data) override;
  Long Cleanup() override;
  Long LastError() override;
  std::optional<std::string> HostName() override;
  std::optional<platform::HostEntry> HostByName(const std::string& sName) override;

 private:
  WorldImpl& w_;
  ProcessState& p_;
  int nStarts_ = 0;
  Long lngLastError_ = 0;
};

class SimNetwork : public platform::Network {
 public:
  SimNetwork(WorldImpl& w, ProcessState& p) : w_(w), p_(p) {}
  std::unique_ptr<platform::SocketArray> CreateSocketArray(const std::string& sName) override;

 private:
  WorldImpl& w_;
  ProcessState& p_;
};

class SimFileSystem : public platform::FileSystem {
 public:
  SimFileSystem(WorldImpl& w, ProcessState& p) : w_(w), p_(p) {}
  std::string AgentFolder() override;
  std::optional<std::vector<platform::DirEntry>> List(const std::string& sPattern, bool bHidden,
                                                      bool bFolders) override;
  bool FolderExists(const std::string& sPath) override;
  bool CanOpenForReading(const std::string& sPath) override;
  std::optional<Bytes> ReadFile(const std::string& sPath) override;
  bool ReplaceFile(const std::string& sPath, const Bytes& content) override;
  std::optional<std::string> SystemFolder() override;
  Integer CopyFile(const std::string& sSource, const std::string& sDestination) override;

 private:
  WorldImpl& w_;
  ProcessState& p_;
};

class SimShareSearch : public platform::ShareSearch {
 public:
  SimShareSearch(WorldImpl& w, ProcessState& p) : w_(w), p_(p) {}
  void FindResources() override;
  Long StillProcessing() override;
  Long ErrorOccurred() override;
  void GetNResources(Long& lngCount) override;
  void GetResource(std::array<char, 257>& buffer) override;
  void FreeResources() override;

 private:
  WorldImpl& w_;
  ProcessState& p_;
  bool bHave_ = false;
  bool bError_ = false;
  Nanos doneAt_ = 0;
  std::vector<std::string> results_;
  std::size_t next_ = 0;
};

class SimTrace : public platform::Trace {
 public:
  SimTrace(WorldImpl& w, HostId host) : w_(w), host_(host) {}
  void ActivityLine(const std::string& sText) override;

 private:
  WorldImpl& w_;
  HostId host_;
};

struct ProcessServices {
  ProcessServices(WorldImpl& w, ProcessState& p);
  SimClock clock;
  SimEventLoop loop;
  SimWindows windows;
  SimShell shell;
  SimRegistry registry;
  SimKernel kernel;
  SimSocketsLibrary sockets;
  SimNetwork network;
  SimFileSystem files;
  SimShareSearch shares;
  SimTrace trace;
  platform::Platform platform;
};

}  // namespace launchagent::sim
