#pragma once
// The Agent Setup window. Besides the setup the user sees (neighbourhood, active
// computers, local and remote options, users and contexts, the two option files), the
// same object is the agent's service for host names and addresses, used while hidden.
#include <memory>
#include <string>
#include <vector>

#include "platform/types.h"
#include "platform/ui/form.h"
#include "setup/option_records.h"

namespace launchagent {

class Agent;
class clsMsgHostInfo;
class clsMsgUserList;

class FrmAgentSetup {
  Agent& agent_;
  ui::Form form_;

 public:
  explicit FrmAgentSetup(Agent& agent);  // loading: controls, timer, agent-info file name
  ~FrmAgentSetup();
  // Unloading by the user (the frame's close box): stops the socket library once. Not
  // run when the process ends, which has no shutdown sequence of its own.
  void Form_Unload();
  ui::Form& Form() { return form_; }
  void Init();

  // ---- Host name and address resolution (host_resolution.cpp) ----
  void SocketsInitialize();
  void SocketsCleanup();
  void GetHostInfo();
  std::string GetHostName();
  std::string GetIPAddress();
  std::string GetIPInfo(const std::string& hostname);
  static Long hibyte(Integer wParam);
  static Long lobyte(Integer wParam);
  bool GotInternetAccess() const { return bInternetAccess; }
  std::string sHostName = std::string(256, '\0');  // fixed 256-character buffer
  std::string sIPAddress;
  bool bInternetAccess = false;
  Integer nInternetTicks = 0;

  // ---- Option files (option_files.cpp) ----
  bool LoadOptions();
  bool SaveOptions();
  void SetAgentInfoFN(Long lngID);
  bool LoadAgentInfo();
  bool SaveAgentInfo();
  std::string sAgentInfoFN;  // "" until SetAgentInfoFN

  // ---- Host users and contexts (host_users.cpp) ----
  std::vector<AgentInfoRecord> AgentInfoTable;  // entry i at [i - 1]
  Long FindHostRecord(const std::string& sHostName);
  Integer FindHostUser(Long lngHost, const std::string& sUserName);
  std::string LookupUserContext(const std::string& sHostName, const std::string& sUserName);
  void StoreHostUsers(Integer nHost, const std::shared_ptr<clsMsgHostInfo>& objMsg);
  void UpdateHostUsers(const std::string& sHostName);
  void ShowHostUsers(const std::shared_ptr<clsMsgUserList>& objUL);
  void SelectContext(const std::string& sContext);
  void ClearContextSelection();
  void PopulateContextList();

  // ---- Neighbourhood and active computers (neighborhood.cpp) ----
  void PopulateNeighborhoodList();
  void AddHostToNeighborhood(std::string& sHostName);
  bool InActiveHostList(const std::string& sHostName);
  static void SplitIPAddress(const std::string& sAddress, std::string& sPart1, std::string& sPart2,
                             std::string& sPart3, std::string& sPart4);
  void ClearRemoteHostFields();

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

 private:
  void TimerCheckInternet_Timer();
  void CreateControls();
  // Host names compare after lower-casing; neighbourhood entries added by hand are
  // upper case.
  static std::string LCase(std::string s);
  static std::string UCase(std::string s);
};

}  // namespace launchagent
