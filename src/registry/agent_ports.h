#pragma once
// The agent ports: every agent listens on the default port; a connection that stays down
// is tried again on the next port of the range, and a record's port is held inside it.
#include "platform/types.h"

namespace launchagent {

constexpr Integer GetDefaultAgentPort() { return 1230; }
constexpr Integer GetFirstAgentPort() { return 1230; }
constexpr Integer GetLastAgentPort() { return 1235; }
// The next port of the range, after the last the first again.
inline void NextAgentPort(Integer& nPort) {
  if (nPort < GetLastAgentPort()) {
    ++nPort;
  } else {
    nPort = GetFirstAgentPort();
  }
}

}  // namespace launchagent
