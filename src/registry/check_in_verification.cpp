// Check-in verification: filled by the check-in capability.
#include "registry/check_in_verification.h"

namespace launchagent {
void CheckInVerification::VerifyCheckIn() {}
void CheckInVerification::CloseMainApplication() {}
}  // namespace launchagent
