#pragma once
// Writes the local service options into this computer's registry entry, and records an
// agent's address and port by hand. Sends nothing to other agents.
#include <functional>
#include <string>

namespace launchagent {

class AgentHostInfo;
class HostIdentity;
class MessageContext;

class LocalOptionChanges {
 public:
  // addToNeighborhood puts a host entered by hand into the setup window's list.
  LocalOptionChanges(AgentHostInfo& registry, MessageContext& context, HostIdentity& identity,
                     std::function<void(std::string& sHostName)> addToNeighborhood)
      : registry_(registry),
        context_(context),
        identity_(identity),
        addToNeighborhood_(std::move(addToNeighborhood)) {}
  void SetLocalProvideHostServices(bool b);
  void SetLocalProvideIntranet(bool b);
  void SetLocalProvideWeb(bool b);
  void SetLocalProvideNews(bool b);
  void SetLocalProvideJobs(bool b);
  void SetLocalProvideStocks(bool b);
  void SetLocalInternetReady(bool b);
  void SetAgentAddress(const std::string& sHostName, const std::string& sIPAddress,
                       const std::string& sPort);

 private:
  // Runs fn on the stored message of this computer's registry entry and stores it back.
  template <class Fn>
  void ChangeLocalEntry(Fn fn);

  AgentHostInfo& registry_;
  MessageContext& context_;
  HostIdentity& identity_;
  std::function<void(std::string&)> addToNeighborhood_;
};

}  // namespace launchagent
