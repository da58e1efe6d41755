#pragma once
// Where the transport hands every message image that arrives, read whole, with the socket
// position it came in on. The exchange above the transport receives them; Agent hands
// this in when it wires the pieces together.
#include <functional>

#include "platform/types.h"

namespace launchagent {

using MessageReceiverFn = std::function<void(Long Index, const Bytes& byteArray)>;

}  // namespace launchagent
