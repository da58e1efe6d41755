#pragma once
// One agent on a simulated host, with the Agent Setup window at hand: the files of the
// agent's folder live on the host's virtual disk.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "../support/agent_on_sim.h"
#include "agent/agent.h"
#include "launcher/launcher.h"
#include "messages/cls_msg_host_info.h"
#include "registry/agent_host_info.h"
#include "setup/frm_agent_setup.h"

namespace launchagent::testing {

class SetupTest : public ::testing::Test {
 protected:
  static constexpr const char* kAgentDat = "C:\\Launch\\agent.dat";
  static constexpr const char* kAgentInfo1 = "C:\\Launch\\AgentInfo_1";

  void SetUp() override {
    host_ = lan_.AddHost("PC1", "10.0.0.1");
    lan_.AddHost("PC2", "10.0.0.2");
    // The agent's own folder, where its executable lies.
    ASSERT_TRUE(lan_.World().MakeFolder(host_, "C:\\Launch"));
    ASSERT_NE(lan_.StartAgent("PC1", Mode()), 0);
  }
  virtual AgentStart Mode() const { return AgentStart::Bare; }

  // Runs fn inside the agent's process; the test fails when the process is gone.
  void InAgent(const std::function<void(Agent&)>& fn) { ASSERT_TRUE(lan_.Call("PC1", fn)); }
  // The same with the window loaded and the local name known, as start-up leaves it.
  void InSetup(const std::function<void(Agent&, FrmAgentSetup&)>& fn) {
    InAgent([&](Agent& a) {
      FrmAgentSetup& f = a.frmAgentSetup();
      if (f.Identity().GetHostName().empty()) f.Identity().GetHostInfo();
      fn(a, f);
    });
  }

  std::optional<Bytes> ReadFile(const std::string& sPath) {
    return lan_.World().ReadFile(host_, sPath);
  }
  bool WriteFile(const std::string& sPath, const Bytes& content) {
    return lan_.World().WriteFile(host_, sPath, content);
  }
  // Bytes of a file as text, "" when the file is missing or too short.
  std::string FileBytes(const std::string& sPath, std::size_t nOffset, std::size_t nLen = 64) {
    const auto b = ReadFile(sPath);
    if (!b || b->size() < nOffset + nLen) return "";
    return std::string(b->begin() + static_cast<std::ptrdiff_t>(nOffset),
                       b->begin() + static_cast<std::ptrdiff_t>(nOffset + nLen));
  }

  AgentOnSim lan_;
  sim::HostId host_ = 0;
};

inline std::string Padded(const std::string& s) { return s + std::string(64 - s.size(), ' '); }

inline std::vector<std::string> Items(const ui::ListBox& l) {
  std::vector<std::string> v;
  for (Integer i = 0; i < l.ListCount(); ++i) v.push_back(l.List(i));
  return v;
}

// The registry's entry for a host, nullptr when it holds none.
inline std::shared_ptr<clsMsgHostInfo> Entry(Agent& a, const std::string& sHost) {
  std::shared_ptr<clsMsgHostInfo> m;
  a.agentHostInfo().GetAgentHostInfoByName(sHost, m);
  return m;
}

// Registers a host whose entry holds what fill puts in it.
inline void Register(Agent& a, const std::string& sHost,
                     const std::function<void(clsMsgHostInfo&)>& fill = {}) {
  auto m = std::make_shared<clsMsgHostInfo>(a);
  m->SetHostName(sHost);
  if (fill) fill(*m);
  a.agentHostInfo().RegisterAgent(m);
}

}  // namespace launchagent::testing
