// The local option setters and SetAgentAddress, on the registry of a running agent.
#include "registry/local_option_changes.h"

#include <gtest/gtest.h>

#include "messages/cls_msg_host_info.h"
#include "setup_fixture.h"
#include "transport/cls_agent_info.h"

namespace launchagent::testing {
namespace {

using LocalOptionChangesTest = SetupTest;

std::shared_ptr<clsMsgHostInfo> Entry(Agent& a, const std::string& sHost) {
  std::shared_ptr<clsMsgHostInfo> m;
  a.agentHostInfo().GetAgentHostInfoByName(sHost, m);
  return m;
}

void Register(Agent& a, const std::string& sHost) {
  auto m = std::make_shared<clsMsgHostInfo>(a);
  m->SetHostName(sHost);
  a.agentHostInfo().RegisterAgent(m);
}

TEST_F(LocalOptionChangesTest, EachSetterWritesItsFlagIntoTheLocalEntry) {
  using Setter = void (LocalOptionChanges::*)(bool);
  using Getter = bool (clsMsgHostInfo::*)() const;
  struct Case {
    const char* sName;
    Setter set;
    Getter get;
  };
  const Case cases[] = {
      {"HostServices", &LocalOptionChanges::SetLocalProvideHostServices,
       &clsMsgHostInfo::GetProvideHostServices},
      {"Intranet", &LocalOptionChanges::SetLocalProvideIntranet,
       &clsMsgHostInfo::GetProvideIntranet},
      {"Web", &LocalOptionChanges::SetLocalProvideWeb, &clsMsgHostInfo::GetProvideWeb},
      {"News", &LocalOptionChanges::SetLocalProvideNews, &clsMsgHostInfo::GetProvideNews},
      {"Jobs", &LocalOptionChanges::SetLocalProvideJobs, &clsMsgHostInfo::GetProvideJobs},
      {"Stocks", &LocalOptionChanges::SetLocalProvideStocks, &clsMsgHostInfo::GetProvideStocks},
      {"InternetReady", &LocalOptionChanges::SetLocalInternetReady,
       &clsMsgHostInfo::GetInternetReady},
  };
  InSetup([&](Agent& a, FrmAgentSetup&) {
    Register(a, "pc1");  // the Winsock name is PC1: case does not count
    Register(a, "PC2");
    LocalOptionChanges& opts = a.localOptionChanges();
    for (const Case& c : cases) {
      SCOPED_TRACE(c.sName);
      (opts.*c.set)(true);
      EXPECT_TRUE((*Entry(a, "PC1").*c.get)());
      EXPECT_FALSE((*Entry(a, "PC2").*c.get)());
      (opts.*c.set)(false);
      EXPECT_FALSE((*Entry(a, "PC1").*c.get)());
    }
  });
}

TEST_F(LocalOptionChangesTest, WebCheckBoxReachesTheLocalEntry) {
  InSetup([](Agent& a, FrmAgentSetup& f) {
    Register(a, "PC1");
    f.chkSeekWeb->Click();
    EXPECT_TRUE(Entry(a, "PC1")->GetProvideWeb());
    f.chkSeekWeb->Click();
    EXPECT_FALSE(Entry(a, "PC1")->GetProvideWeb());
  });
}

TEST_F(LocalOptionChangesTest, WithoutALocalEntryTheCheckBoxesChangeNoEntry) {
  InSetup([](Agent& a, FrmAgentSetup& f) {
    Register(a, "PC2");
    for (ui::CheckBox* c :
         {f.chkSeekWeb, f.chkSeekNews, f.chkSeekJobs, f.chkSeekStocks, f.chkSeekIntranet})
      c->Click();
    f.chkActiveAgentServices->Click();
    EXPECT_EQ(a.agentHostInfo().GetAgentCount(), 1);
    const auto m = Entry(a, "PC2");
    EXPECT_FALSE(m->GetProvideWeb() || m->GetProvideNews() || m->GetProvideJobs() ||
                 m->GetProvideStocks() || m->GetProvideIntranet() || m->GetProvideHostServices());
    EXPECT_TRUE(f.bSeekWeb);  // the option itself still changed
  });
}

TEST_F(LocalOptionChangesTest, SetAgentAddressRegistersANewHost) {
  InSetup([&](Agent& a, FrmAgentSetup& f) {
    a.localOptionChanges().SetAgentAddress("pc20", "10.0.0.20", "1233");
    const auto m = Entry(a, "pc20");
    ASSERT_TRUE(m);
    EXPECT_EQ(m->GetHostName(), "pc20");
    EXPECT_EQ(m->GetIPAddress(), "10.0.0.20");
    EXPECT_EQ(m->GetLocalPort(), 1233);
    EXPECT_EQ(m->GetDateReceived(), a.Platform().clock.Now());
    const auto rec = a.agentHostInfo().GetAgentRecord(a.agentHostInfo().FindAgentIndex("pc20"));
    ASSERT_TRUE(rec);
    EXPECT_EQ(rec->GetPort(), 0);
    ASSERT_EQ(f.lstNeighborhood->ListCount(), 1);
    EXPECT_EQ(f.lstNeighborhood->List(0), "PC20");
  });
}

TEST_F(LocalOptionChangesTest, SetAgentAddressOnAKnownHostReplacesAddressAndPortOnly) {
  struct Case {
    const char* sPort;
    Integer nWant;  // the port afterwards
    const char* sAddressWant;
  };
  const Case cases[] = {
      {"1233", 1233, "10.9.9.9"},   {"1233x", 1233, "10.9.9.9"},  {"", 0, "10.9.9.9"},
      {" 1231", 1231, "10.9.9.9"},  {"1232.5", 1232, "10.9.9.9"}, {"-7", -7, "10.9.9.9"},
      {"32767", 32767, "10.9.9.9"}, {"32768", 1230, "10.0.0.2"},  {"99999", 1230, "10.0.0.2"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.sPort);
    InSetup([&](Agent& a, FrmAgentSetup& f) {
      auto m = std::make_shared<clsMsgHostInfo>(a);
      m->SetHostName("PC2");
      m->SetIPAddress("10.0.0.2");
      m->SetLocalPort(1230);
      m->SetAppPath("\\\\PC2\\apps\\Varno2.exe");
      m->SetProvideNews(true);
      a.agentHostInfo().UpdateAgent(m);
      f.lstNeighborhood->Clear();

      a.localOptionChanges().SetAgentAddress("pc2", "10.9.9.9", c.sPort);
      const auto after = Entry(a, "PC2");
      EXPECT_EQ(after->GetLocalPort(), c.nWant);
      EXPECT_EQ(after->GetIPAddress(), c.sAddressWant);
      EXPECT_EQ(after->GetHostName(), "PC2");
      EXPECT_EQ(after->GetAppPath(), "\\\\PC2\\apps\\Varno2.exe");
      EXPECT_TRUE(after->GetProvideNews());
      EXPECT_EQ(a.agentHostInfo().GetAgentCount(), 1);
      // A port that does not fit ends the operation before the list changes.
      EXPECT_EQ(f.lstNeighborhood->ListCount(), c.nWant == 1230 ? 0 : 1);
    });
  }
}

}  // namespace
}  // namespace launchagent::testing
