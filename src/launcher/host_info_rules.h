#pragma once
// Rules the exchange follows for arriving host information when the hardened mode is on.
// Without them (the default) every description is stored as it came.
#include <optional>
#include <string>

#include "platform/types.h"

namespace launchagent {

class HostInfoRules {
 public:
  virtual ~HostInfoRules() = default;
  // The address the connection at an accepted server position came from, if known.
  virtual std::optional<std::string> SenderOf(Long lngIndex) const = 0;
  // Whether the registry takes a host it does not know yet (bKnown false).
  virtual bool AdmitHost(const std::string& sHostName, bool bKnown,
                         const std::optional<std::string>& sSender) = 0;
  // Whether a launch site may be stored; a refused one is stored as none.
  virtual bool AcceptLaunchSite(const std::string& sHostName, const std::string& sAppPath,
                                const std::optional<std::string>& sSender) = 0;
};

}  // namespace launchagent
