#pragma once
// The agent-info table: per neighbourhood computer, the users seen on it and the context
// chosen for each. It follows the LAN host order, so it is searched from the front.
#include <memory>
#include <string>
#include <vector>

#include "platform/types.h"
#include "setup/option_records.h"

namespace launchagent {

class clsMsgHostInfo;

class HostUsersTable {
 public:
  static constexpr Integer kUserSlots = 64;

  // Entry h (1-based) at [h - 1]; host names compare without regard to case.
  Long FindHostRecord(const std::string& sHostName);
  // Slot k (1-based) of host entry lngHost holding sUserName, or 0.
  Integer FindHostUser(Long lngHost, const std::string& sUserName);
  std::string LookupUserContext(const std::string& sHostName, const std::string& sUserName);
  // The users of objMsg's user list into entry nHost, their contexts cleared.
  void StoreHostUsers(Integer nHost, const std::shared_ptr<clsMsgHostInfo>& objMsg);

  std::vector<AgentInfoRecord> AgentInfoTable;  // entry i at [i - 1]
};

}  // namespace launchagent
