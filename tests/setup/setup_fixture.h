#pragma once
// The Agent Setup window on its own, in a process of the simulated desktop PC1 (PC2
// beside it): built as the agent builds it, with a registry of its own and the launcher's
// LAN host table as a list the test fills; the option files live on PC1's disk.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "messages/cls_msg_host_info.h"
#include "messages/message_context.h"
#include "platform/sim/world.h"
#include "registry/agent_host_info.h"
#include "setup/frm_agent_setup.h"

namespace launchagent::testing {

// What the agent hands the window, kept on the process's stack; the window loads on
// first use, as the agent loads it.
class SetupParts : public MessageContext {
 public:
  explicit SetupParts(platform::Platform& p)
      : platform_(p),
        registry_(
            p.clock, *this, [](const std::string&, Integer) {}, nullptr) {}
  ~SetupParts() { window_.reset(); }

  double SecondsSinceMidnight() override { return platform_.clock.SecondsSinceMidnight(); }
  std::string LocalHostName() override { return frmAgentSetup().Identity().GetHostName(); }
  platform::Platform& Platform() { return platform_; }
  AgentHostInfo& agentHostInfo() { return registry_; }
  FrmAgentSetup& frmAgentSetup() {
    if (!window_) {
      FrmAgentSetup::Links links{
          [this] { return static_cast<Integer>(lanHosts.size()); },
          [this](Integer n) { return lanHosts.at(static_cast<std::size_t>(n - 1)); },
          // The launcher's share search is not here: a refresh finds nothing new.
          [] {}, [] {}};
      window_ = std::make_unique<FrmAgentSetup>(
          platform_, registry_, *this, [](const std::string&, Integer) {}, bActiveAgentServices,
          std::move(links));
    }
    return *window_;
  }

  bool bActiveAgentServices = false;
  std::vector<std::string> lanHosts;

 private:
  platform::Platform& platform_;
  AgentHostInfo registry_;
  std::unique_ptr<FrmAgentSetup> window_;
};

class SetupTest : public ::testing::Test {
 protected:
  static constexpr const char* kAgentDat = "C:\\Launch\\agent.dat";
  static constexpr const char* kAgentInfo1 = "C:\\Launch\\AgentInfo_1";

  SetupTest() {
    host_ = *world_.Hosts().AddHost("PC1", "10.0.0.1");
    host2_ = *world_.Hosts().AddHost("PC2", "10.0.0.2");
    world_.Files().MakeFolder(host_, "C:\\Launch");
    world_.Programs().RegisterProgram("setup",
                                      [this](platform::Platform& p, const sim::ProgramStart&) {
                                        SetupParts parts(p);
                                        parts_ = &parts;
                                        p.loop.Run();
                                      });
    pid_ = world_.Programs().StartProcess(host_, "setup", "C:\\Launch\\Launch.exe");
    world_.RunFor(0);
  }

  // Runs fn inside the process with the window loaded and the local name known, as
  // start-up leaves it.
  void InSetup(const std::function<void(SetupParts&, FrmAgentSetup&)>& fn) {
    ASSERT_TRUE(world_.Call(pid_, [&] {
      FrmAgentSetup& f = parts_->frmAgentSetup();
      if (f.Identity().GetHostName().empty()) f.Identity().GetHostInfo();
      fn(*parts_, f);
    }));
  }

  sim::World& World() { return world_; }
  std::optional<Bytes> ReadFile(const std::string& sPath) {
    return world_.Files().ReadFile(host_, sPath);
  }
  bool WriteFile(const std::string& sPath, const Bytes& content) {
    return world_.Files().WriteFile(host_, sPath, content);
  }
  // Bytes of a file as text, "" when the file is missing or too short.
  std::string FileBytes(const std::string& sPath, std::size_t nOffset, std::size_t nLen = 64) {
    const auto b = ReadFile(sPath);
    if (!b || b->size() < nOffset + nLen) return "";
    return std::string(b->begin() + static_cast<std::ptrdiff_t>(nOffset),
                       b->begin() + static_cast<std::ptrdiff_t>(nOffset + nLen));
  }

  sim::World world_{1};
  sim::HostId host_ = 0, host2_ = 0;
  sim::ProcessId pid_ = 0;
  SetupParts* parts_ = nullptr;
};

inline std::string Padded(const std::string& s) { return s + std::string(64 - s.size(), ' '); }

inline std::vector<std::string> Items(const ui::ListBox& l) {
  std::vector<std::string> v;
  for (Integer i = 0; i < l.ListCount(); ++i) v.push_back(l.List(i));
  return v;
}

// The registry's entry for a host, nullptr when it holds none.
inline std::shared_ptr<clsMsgHostInfo> Entry(SetupParts& a, const std::string& sHost) {
  std::shared_ptr<clsMsgHostInfo> m;
  a.agentHostInfo().GetAgentHostInfoByName(sHost, m);
  return m;
}

// Registers a host whose entry holds what fill puts in it.
inline void Register(SetupParts& a, const std::string& sHost,
                     const std::function<void(clsMsgHostInfo&)>& fill = {}) {
  auto m = std::make_shared<clsMsgHostInfo>(a);
  m->SetHostName(sHost);
  if (fill) fill(*m);
  a.agentHostInfo().RegisterAgent(m);
}

}  // namespace launchagent::testing
