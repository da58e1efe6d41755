#pragma once
// The agent's receiving side: listens on the default agent port, accepts every
// connection into a new position and hands each arrival to the message receiver.
#include <memory>

#include "platform/services.h"
#include "platform/types.h"
#include "platform/ui/form.h"

namespace launchagent {

class Agent;

class FrmServer {
 public:
  explicit FrmServer(Agent& agent);  // loading: starts listening
  ~FrmServer();                      // unloading: closes the accepted connections
  ui::Form& Form() { return form_; }
  platform::SocketArray& tcpServer() { return *tcpServer_; }
  void SendOutMessage(Integer Index, const Bytes& byteArray);
  Long AcceptedCount() const { return lngConnections_; }

 private:
  void tcpServer_ConnectionRequest(Integer Index, Long requestID);
  void tcpServer_DataArrival(Integer Index, Long bytesTotal);

  Agent& agent_;
  ui::Form form_;
  std::unique_ptr<platform::SocketArray> tcpServer_;
  Long lngConnections_ = 0;
};

}  // namespace launchagent
