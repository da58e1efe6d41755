#pragma once
// Rules the server follows for accepted connections when the hardened mode is on. Without
// them (the default) every request takes the next new position, as it always has.
#include "platform/services.h"
#include "platform/types.h"

namespace launchagent {

class ConnectionRules {
 public:
  virtual ~ConnectionRules() = default;
  // The position a new request is accepted on; 0 when it is refused.
  virtual Long PositionForRequest(platform::SocketArray& sockets) = 0;
  // After the accept: false when the connection is to be closed again.
  virtual bool KeepAccepted(platform::SocketArray& sockets, Long lngIndex) = 0;
  virtual void NoteArrival(Long lngIndex) = 0;
  // Run on a timer every SweepIntervalMs agent milliseconds, new requests or not: closes
  // what the rules no longer keep (connections silent too long).
  virtual void Sweep(platform::SocketArray& sockets) = 0;
  virtual Long SweepIntervalMs() const = 0;
};

}  // namespace launchagent
