#pragma once
// What a message needs from the agent that creates it: the clock that seeds its
// identifier and the local host name that becomes its return address.
#include <string>

namespace launchagent {

class MessageContext {
 public:
  virtual ~MessageContext() = default;
  // Seconds since local midnight, with fractions: the seed of each new identifier.
  virtual double SecondsSinceMidnight() = 0;
  // This computer's host name (the Agent Setup window's GetHostName).
  virtual std::string LocalHostName() = 0;
};

}  // namespace launchagent
