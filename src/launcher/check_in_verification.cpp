// Check-in verification: this computer's own broadcast, coming back to its own server,
// keeps the receive time of its registry entry fresh. When that time is 9 minutes old
// the main application is closed; the window watch starts it again.
#include "launcher/check_in_verification.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "messages/cls_msg_host_info.h"
#include "platform/main_app_window.h"
#include "platform/text.h"
#include "registry/agent_host_info.h"
#include "registry/cls_agent_info.h"

namespace launchagent {

namespace {

constexpr Integer kLogLevel = 1;
constexpr std::int64_t kCheckInMinutes = 9;

}  // namespace

void CheckInVerification::VerifyCheckIn() {
  platform::Platform& p = platform_;
  const std::string sLocalName = AsciiLower(p.kernel.ComputerName().value_or(""));
  logActivity_("Verifying Agent CheckIn (" + sLocalName + ") ...", kLogLevel);

  AgentHostInfo& registry = registry_;
  const Long lngCount = registry.GetAgentCount();
  for (Long i = 1; i <= lngCount; ++i) {
    // Read by position each time: closing the application lets events run, and a host
    // registered meanwhile shifts the later records by one.
    const std::shared_ptr<clsAgentInfo> objRecord = registry.GetAgentRecord(i);
    std::shared_ptr<clsMsgHostInfo> objHostInfo;
    if (objRecord) objRecord->GetMessage(objHostInfo);
    if (!objHostInfo) {
      logActivity_("ERROR: Verification.", kLogLevel);
      return;
    }
    logActivity_("Verifying Agent  " + objHostInfo->GetHostName(), kLogLevel);
    if (AsciiLower(objHostInfo->GetHostName()) != sLocalName) continue;

    const DateTime dtReceived = objHostInfo->GetDateReceived();
    launch_.sLaunchUserName = objHostInfo->GetUserName();
    launch_.bLaunchIndexing = objHostInfo->GetIndexing();

    // Whole minutes on both sides: 10:00:59 to 10:01:00 counts as one.
    const std::int64_t lngAge = p.clock.Now().WholeMinutes() - dtReceived.WholeMinutes();
    if (lngAge < std::numeric_limits<Integer>::min() ||
        lngAge > std::numeric_limits<Integer>::max()) {
      logActivity_("ERROR: Verification.", kLogLevel);
      return;
    }
    const Integer nAge = static_cast<Integer>(lngAge);
    logActivity_("Last Updated=" + dtReceived.ToText() + "(" + std::to_string(nAge) + ")",
                 kLogLevel);

    if (nAge >= kCheckInMinutes) {
      // Reset so the next shutdown comes 9 minutes later at the earliest.
      objHostInfo->SetDateReceived(p.clock.Now());
      objRecord->SetMessage(objHostInfo);
      logActivity_("Shutting Down Varno.", kLogLevel);
      CloseMainApplication();
    }
  }
  logActivity_("Verification completed.", kLogLevel);
}

void CheckInVerification::CloseMainApplication() {
  platform::Platform& p = platform_;
  // No limit: an application that refuses to close is asked again until it goes.
  for (;;) {
    const platform::WindowHandle hWnd = p.windows.FindWindowByTitle(kMainAppTitle);
    if (hWnd == 0) break;
    p.windows.SendClose(hWnd);
    p.loop.ProcessPendingEvents();
  }
}

}  // namespace launchagent
