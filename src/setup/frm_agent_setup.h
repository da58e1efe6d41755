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

  // ---- Host identity: the window's own operations of these names ----
  void SocketsInitialize() { identity_.SocketsInitialize(); }
  void SocketsCleanup() { identity_.SocketsCleanup(); }
  void GetHostInfo() { identity_.GetHostInfo(); }
  std::string GetHostName() { return identity_.GetHostName(); }
  std::string GetIPAddress() { return identity_.GetIPAddress(); }
  std::string GetIPInfo(const std::string& hostname) { return identity_.GetIPInfo(hostname); }
  bool GotInternetAccess() const { return bInternetAccess; }

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
  static void SplitIPAddress(const std::string& sAddress, std::string& sPart1, std::string& sPart2,
                             std::string& sPart3, std::string& sPart4);

  // ---- The window (frm_agent_setup.cpp) ----
  bool bSeekWeb = false;
  bool bSeekNews = false;
  bool bSeekJobs = false;
  bool bSeekStocks = false;
  bool bSeekIntranet = false;
  // The "Log" box: mode 5 first cuts the text to its second half past 2048 characters.
  void txtAgentLog_Display(const std::string& sText, Integer nMode);

  // Controls (created by the constructor; owned by the form).
  ui::ListBox* lstNeighborhood = nullptr;
  ui::ListBox* lstActive = nullptr;
  ui::ListBox* lstHostUsers = nullptr;
  ui::ListBox* lstContexts = nullptr;
  ui::CommandButton* cmdRefresh = nullptr;
  ui::CommandButton* cmdActiveAdd = nullptr;
  ui::CommandButton* cmdActiveDelete = nullptr;
  ui::CommandButton* cmdActiveClear = nullptr;
  ui::CommandButton* cmdSet = nullptr;
  ui::CommandButton* cmdOk = nullptr;
  ui::CheckBox* chkSeekWeb = nullptr;
  ui::CheckBox* chkSeekNews = nullptr;
  ui::CheckBox* chkSeekJobs = nullptr;
  ui::CheckBox* chkSeekStocks = nullptr;
  ui::CheckBox* chkSeekIntranet = nullptr;
  ui::CheckBox* chkActiveAgentServices = nullptr;
  ui::CheckBox* chkRemoteWeb = nullptr;
  ui::CheckBox* chkRemoteNews = nullptr;
  ui::CheckBox* chkRemoteJobs = nullptr;
  ui::CheckBox* chkRemoteStocks = nullptr;
  ui::CheckBox* chkRemoteIntranet = nullptr;
  ui::CheckBox* chkActiveHost = nullptr;
  ui::TextBox* txtHostName = nullptr;
  ui::TextBox* txtIP1 = nullptr;
  ui::TextBox* txtIP2 = nullptr;
  ui::TextBox* txtIP3 = nullptr;
  ui::TextBox* txtIP4 = nullptr;
  ui::TextBox* txtLocalPortNumber = nullptr;
  ui::TextBox* rtbAgentLog = nullptr;
  ui::Timer* TimerCheckInternet = nullptr;
  ui::Frame* fraNeighborhood = nullptr;
  ui::Frame* fraActive = nullptr;
  ui::Frame* fraSelectedHost = nullptr;
  ui::Frame* fraLocalHost = nullptr;
  ui::Frame* fraLog = nullptr;

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

}  // namespace launchagent
