// The agent connection record: the registry's record per computer.
#include "registry/cls_agent_info.h"

#include <limits>

namespace launchagent {

void clsAgentInfo::Init(std::shared_ptr<clsMsgHostInfo> objIn) {
  // Port and trial count are left as they are: a fresh record already holds 0 for both.
  lngSocketIndex_ = -1;
  objMsg_ = std::move(objIn);
  bActive_ = false;
}

void clsAgentInfo::SetConnectTrials(Long nConnectTrialsIn) {
  // The count is a 16-bit field; a value that does not fit it is refused, not cut.
  if (nConnectTrialsIn < std::numeric_limits<Integer>::min() ||
      nConnectTrialsIn > std::numeric_limits<Integer>::max())
    return;
  nConnectTrials_ = static_cast<Integer>(nConnectTrialsIn);
}

}  // namespace launchagent
