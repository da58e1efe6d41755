#pragma once
// Closes the main application when this computer's own check-in has lapsed.
#include "launcher/launch_globals.h"
#include "platform/activity_sink.h"
#include "platform/services.h"

namespace launchagent {

class AgentHostInfo;

class CheckInVerification {
 public:
  CheckInVerification(platform::Platform& platform, AgentHostInfo& registry,
                      LogActivityFn logActivity, LaunchGlobals& launch)
      : platform_(platform),
        registry_(registry),
        logActivity_(std::move(logActivity)),
        launch_(launch) {}
  void VerifyCheckIn();
  void CloseMainApplication();

 private:
  platform::Platform& platform_;
  AgentHostInfo& registry_;
  LogActivityFn logActivity_;
  LaunchGlobals& launch_;
};

}  // namespace launchagent
