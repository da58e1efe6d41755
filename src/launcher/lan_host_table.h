#pragma once
// The LAN host table: every computer that offers a reachable share, found through the
// share search. It only grows, and at start-up each entry is registered.
#include <string>
#include <vector>

#include "platform/services.h"
#include "platform/types.h"

namespace launchagent {

class AgentHostInfo;
class LauncherForms;
class MessageContext;

class LanHostTable {
 public:
  LanHostTable(platform::EventLoop& loop, LauncherForms& forms, AgentHostInfo& registry,
               MessageContext& context)
      : loop_(loop), forms_(forms), registry_(registry), context_(context) {}

  void RefreshLANHosts();
  static std::string GetHostFromUNC(const std::string& sPath);
  Integer FindLANHost(const std::string& sHostName);
  void AddLANHost(const std::string& sHostName);
  std::string GetLANHost(Integer nIndex);
  void RegisterLANHosts();

  // Entries 1..nLANHostCnt hold names; entry 0 is unused. Sized nLANHostMax + 1.
  std::vector<std::string> LANHosts;
  Integer nLANHostCnt = 0;
  Integer nLANHostMax = 0;

 private:
  platform::EventLoop& loop_;
  LauncherForms& forms_;
  AgentHostInfo& registry_;
  MessageContext& context_;
};

}  // namespace launchagent
