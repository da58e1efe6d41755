#pragma once
// The Agent Setup window. Besides the setup the user sees (neighbourhood, active
// computers, local and remote options, users and contexts, the two option files), the
// window holds this computer's host identity, so the agent loads it whenever it needs
// its own name or another host's address, and uses it while hidden.
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/activity_sink.h"
#include "platform/services.h"
#include "platform/types.h"
#include "platform/ui/form.h"
#include "setup/host_identity.h"
#include "setup/host_users_table.h"
#include "setup/local_option_changes.h"
#include "setup/option_records.h"
#include "setup/setup_frames.h"

namespace launchagent {

class AgentHostInfo;
class MessageContext;
class clsMsgHostInfo;
class clsMsgUserList;

class FrmAgentSetup {
 public:
  // What the window reaches above itself: the launcher's LAN host table (count, then
  // entries 1..count), its refresh, and the agent's unloading of this window.
  struct Links {
    std::function<Integer()> lanHostCount;
    std::function<std::string(Integer)> lanHost;
    std::function<void()> refreshLANHosts;
    std::function<void()> unload;
  };

 private:
  platform::Platform& platform_;
  AgentHostInfo& registry_;
  MessageContext& context_;
  bool& bActiveAgentServices_;
  Links links_;
  HostIdentity identity_;
  LocalOptionChanges localOptions_;
  ui::Form form_;
  // Handlers of this window now running (they may let events run, and the window may be
  // unloaded meanwhile): the agent frees an unloaded window only when this is 0.
  int nHandlersRunning_ = 0;

 public:
  // Loading: controls, timer, agent-info file name.
  FrmAgentSetup(platform::Platform& platform, AgentHostInfo& registry, MessageContext& context,
                LogActivityFn logActivity, bool& bActiveAgentServices, Links links);
  ~FrmAgentSetup();
  // Unloading by the user (the frame's close box): stops the socket library once. Not
  // run when the process ends, which has no shutdown sequence of its own.
  void Form_Unload();
  ui::Form& Form() { return form_; }
  void Init();
  bool HandlerRunning() const { return nHandlersRunning_ > 0; }
  LocalOptionChanges& localOptionChanges() { return localOptions_; }

  // This computer's identity: the window serves its name and address, so whoever needs
  // them loads the window first.
  HostIdentity& Identity() { return identity_; }

  // ---- Option files (option_files.cpp) ----
  bool LoadOptions();
  bool SaveOptions();
  void SetAgentInfoFN(Long lngID);
  bool LoadAgentInfo();
  bool SaveAgentInfo();
  std::string sAgentInfoFN;  // "" until SetAgentInfoFN

  // ---- Host users and contexts (host_users.cpp) ----
  HostUsersTable hostUsers;  // the agent-info table the file holds
  void ShowHostUsers(const std::shared_ptr<clsMsgUserList>& objUL);

  // ---- Neighbourhood and active computers (neighborhood.cpp) ----
  void PopulateNeighborhoodList();

  // ---- The frames and their controls (created by the constructor) ----
  NeighborhoodFrame neighborhood;
  ActiveFrame active;
  SelectedHostFrame selectedHost;
  LocalHostFrame localHost;
  LogFrame log;

 private:
  // Counts a running handler for as long as it lives.
  class HandlerScope {
   public:
    explicit HandlerScope(FrmAgentSetup& form) : form_(form) { ++form_.nHandlersRunning_; }
    ~HandlerScope() { --form_.nHandlersRunning_; }
    HandlerScope(const HandlerScope&) = delete;
    HandlerScope& operator=(const HandlerScope&) = delete;

   private:
    FrmAgentSetup& form_;
  };
  // Parts of the window that only its own handlers and operations use.
  bool bInternetAccess = false;
  Integer nInternetTicks = 0;
  ui::CommandButton* cmdOk = nullptr;
  ui::Timer* TimerCheckInternet = nullptr;
  void UpdateHostUsers(const std::string& sHostName);
  void SelectContext(const std::string& sContext);
  void ClearContextSelection();
  void PopulateContextList();
  // Entered by hand: upper case, once.
  void AddHostToNeighborhood(std::string& sHostName);
  bool InActiveHostList(const std::string& sHostName);
  void ClearRemoteHostFields();

  // Wires a handler to run inside a HandlerScope.
  std::function<void()> Handler(void (FrmAgentSetup::*fn)());

  // ---- Event handlers (wired to the controls by the constructor) ----
  void cmdRefresh_Click();
  void cmdActiveAdd_Click();
  void cmdActiveDelete_Click();
  void cmdActiveClear_Click();
  void lstNeighborhood_Click();
  void lstHostUsers_Click();
  void lstContexts_Click();
  void chkActiveAgentServices_Click();
  void chkSeekWeb_Click();
  void chkSeekNews_Click();
  void chkSeekJobs_Click();
  void chkSeekStocks_Click();
  void chkSeekIntranet_Click();
  void cmdSet_Click();
  void cmdOk_Click();

  void TimerCheckInternet_Timer();
  void CreateControls();
};

// Cuts an address at its dots into four parts; the parts past a missing dot stay empty.
void SplitIPAddress(const std::string& sAddress, std::string& sPart1, std::string& sPart2,
                    std::string& sPart3, std::string& sPart4);

}  // namespace launchagent
