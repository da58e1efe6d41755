#pragma once
// Writes the local service options into this computer's registry entry, and records an
// agent's address and port by hand. Sends nothing to other agents.
#include <string>

namespace launchagent {

class Agent;

class LocalOptionChanges {
 public:
  explicit LocalOptionChanges(Agent& agent) : agent_(agent) {}
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
  Agent& agent_;
};

}  // namespace launchagent
