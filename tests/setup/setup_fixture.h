#pragma once
// The Agent Setup window on its own, in a process of the simulated desktop PC1, built as
// the agent builds it with a registry of its own and no LAN hosts; "agent.dat" lives on
// PC1's disk.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "messages/cls_msg_host_info.h"
#include "messages/message_context.h"
#include "platform/sim/world.h"
#include "registry/agent_host_info.h"
#include "setup/frm_agent_setup.h"

namespace launchagent::testing {

// What the agent hands the window, kept on the process's stack.
class SetupParts : public MessageContext {
 public:
  explicit SetupParts(platform::Platform& p)
      : platform_(p),
        registry_(
            p.clock, *this, [](const std::string&, Integer) {}, nullptr),
        window_(
            p, registry_, *this, [](const std::string&, Integer) {}, bActiveAgentServices_,
            FrmAgentSetup::Links{[] { return Integer{0}; }, [](Integer) { return std::string(); },
                                 [] {}, [] {}}) {}

  double SecondsSinceMidnight() override { return platform_.clock.SecondsSinceMidnight(); }
  std::string LocalHostName() override { return window_.Identity().GetHostName(); }
  FrmAgentSetup& frmAgentSetup() { return window_; }

  // Registers a host whose entry holds what fill puts in it.
  void Register(const std::string& sHost, const std::function<void(clsMsgHostInfo&)>& fill = {}) {
    auto m = std::make_shared<clsMsgHostInfo>(*this);
    m->SetHostName(sHost);
    if (fill) fill(*m);
    registry_.RegisterAgent(m);
  }
  // The registry's entry for a host, nullptr when it holds none.
  std::shared_ptr<clsMsgHostInfo> Entry(const std::string& sHost) {
    std::shared_ptr<clsMsgHostInfo> m;
    registry_.GetAgentHostInfoByName(sHost, m);
    return m;
  }

 private:
  platform::Platform& platform_;
  bool bActiveAgentServices_ = false;
  AgentHostInfo registry_;
  FrmAgentSetup window_;
};

class SetupTest : public ::testing::Test {
 protected:
  static constexpr const char* kAgentDat = "C:\\Launch\\agent.dat";

  SetupTest() {
    host_ = *world_.Hosts().AddHost("PC1", "10.0.0.1");
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

  // Runs fn inside the process with the local name known, as start-up leaves it.
  void InSetup(const std::function<void(SetupParts&, FrmAgentSetup&)>& fn) {
    ASSERT_TRUE(world_.Call(pid_, [&] {
      FrmAgentSetup& f = parts_->frmAgentSetup();
      if (f.Identity().GetHostName().empty()) f.Identity().GetHostInfo();
      fn(*parts_, f);
    }));
  }

  sim::World world_{1};
  sim::HostId host_ = 0;
  sim::ProcessId pid_ = 0;
  SetupParts* parts_ = nullptr;
};

inline std::vector<std::string> Items(const ui::ListBox& l) {
  std::vector<std::string> v;
  for (Integer i = 0; i < l.ListCount(); ++i) v.push_back(l.List(i));
  return v;
}

}  // namespace launchagent::testing
