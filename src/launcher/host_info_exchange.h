#pragma once
// The host information exchange: this computer's description goes to every LAN host about
// every half minute; descriptions that arrive are stored in the registry.
#include <memory>
#include <string>

#include "launcher/host_info_rules.h"
#include "platform/activity_sink.h"
#include "platform/services.h"
#include "platform/types.h"

namespace launchagent {

class AgentHostInfo;
class LanHostTable;
class LauncherForms;
class MainApp;
class MessageContext;
class PropertyBag;
class clsMsg;
class clsMsgHostInfo;

class HostInfoExchange {
 public:
  HostInfoExchange(platform::Platform& platform, LauncherForms& forms, AgentHostInfo& registry,
                   MessageContext& context, LanHostTable& lanHosts, MainApp& mainApp,
                   LogActivityFn logActivity)
      : platform_(platform),
        forms_(forms),
        registry_(registry),
        context_(context),
        lanHosts_(lanHosts),
        mainApp_(mainApp),
        logActivity_(std::move(logActivity)) {}

  void RefreshLocalHostInfo();
  void BroadcastLocalHostInfo();
  // Every arrival of the client and the server comes here.
  void ProcessReceivedMessage(Long Index, const Bytes& byteArray);
  void ProcessHostInfo(Long Index, const PropertyBag& bag);
  // The hardened mode's rules for arrivals, or nullptr (the default: none).
  void SetRules(HostInfoRules* rules) { rules_ = rules; }
  bool CanOpenFile(const std::string& sPath);
  // This computer's description as it is broadcast, and the plain message that reads
  // the type of an arrival; both made on first use.
  std::shared_ptr<clsMsgHostInfo> objLocalHost();
  std::shared_ptr<clsMsg> objMsg();

 private:
  platform::Platform& platform_;
  LauncherForms& forms_;
  AgentHostInfo& registry_;
  MessageContext& context_;
  LanHostTable& lanHosts_;
  MainApp& mainApp_;
  LogActivityFn logActivity_;
  std::shared_ptr<clsMsgHostInfo> objLocalHost_;
  std::shared_ptr<clsMsg> objMsg_;
  HostInfoRules* rules_ = nullptr;

  // False when the rules drop the message; a refused launch site is cleared.
  bool FollowRules(Long Index, clsMsgHostInfo& objHostInfo);
};

}  // namespace launchagent
