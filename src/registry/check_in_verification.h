#pragma once
// Closes the main application when this computer's own check-in has lapsed.
namespace launchagent {

class Agent;

class CheckInVerification {
 public:
  explicit CheckInVerification(Agent& agent) : agent_(agent) {}
  void VerifyCheckIn();
  void CloseMainApplication();

 private:
  Agent& agent_;
};

}  // namespace launchagent
