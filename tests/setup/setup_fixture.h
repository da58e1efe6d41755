#pragma once
// One agent on a simulated host, with the Agent Setup window at hand: the files of the
// agent's folder live on the host's virtual disk.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "../support/agent_on_sim.h"
#include "agent/agent.h"
#include "launcher/launcher.h"
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
      if (f.GetHostName().empty()) f.GetHostInfo();
      fn(a, f);
    });
  }

  std::optional<Bytes> ReadFile(const std::string& sPath) {
    return lan_.World().ReadFile(host_, sPath);
  }
  bool WriteFile(const std::string& sPath, const Bytes& content) {
    return lan_.World().WriteFile(host_, sPath, content);
  }
  // Transcript lines of this host of one kind ("file", "msgbox"...).
  std::vector<std::string> Lines(const std::string& sKind) {
    std::vector<std::string> out;
    const std::string sTag = " PC1 " + sKind + " ";
    for (const std::string& s : lan_.World().Transcript())
      if (s.find(sTag) != std::string::npos) out.push_back(s);
    return out;
  }

  AgentOnSim lan_;
  sim::HostId host_ = 0;
};

// 16-bit little-endian value at an offset of a byte image.
inline int Word(const Bytes& b, std::size_t nOffset) {
  return static_cast<std::int16_t>(b.at(nOffset) | (b.at(nOffset + 1) << 8));
}

inline std::string Field(const Bytes& b, std::size_t nOffset, std::size_t nLen = 64) {
  return std::string(b.begin() + static_cast<std::ptrdiff_t>(nOffset),
                     b.begin() + static_cast<std::ptrdiff_t>(nOffset + nLen));
}

inline std::string Padded(const std::string& s) { return s + std::string(64 - s.size(), ' '); }

}  // namespace launchagent::testing
