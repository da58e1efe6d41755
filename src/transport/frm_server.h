#pragma once
// The agent's receiving side: listens on the default agent port, accepts every
// connection into a new position and hands each arrival to the message receiver.
#include <memory>

#include "platform/services.h"
#include "platform/types.h"
#include "platform/ui/controls.h"
#include "transport/connection_rules.h"
#include "transport/message_receiver.h"

namespace launchagent {

class FrmServer {
 public:
  // Loading: starts listening. Nothing is read or sent while bActiveAgentServices is off.
  // rules: the hardened mode's connection rules, or nullptr (every request takes the next
  // new position).
  FrmServer(platform::Network& network, platform::EventLoop& loop, const bool& bActiveAgentServices,
            MessageReceiverFn onMessage, ConnectionRules* rules = nullptr);
  ~FrmServer();  // unloading: closes the accepted connections
  platform::SocketArray& tcpServer() { return *tcpServer_; }
  void SendOutMessage(Integer Index, const Bytes& byteArray);
  Long AcceptedCount() const { return lngConnections_; }

 private:
  void tcpServer_ConnectionRequest(Integer Index, Long requestID);
  void RuledConnectionRequest(Long requestID);
  void tcpServer_DataArrival(Integer Index, Long bytesTotal);

  platform::EventLoop& loop_;
  const bool& bActiveAgentServices_;
  MessageReceiverFn onMessage_;
  ConnectionRules* rules_;
  std::unique_ptr<platform::SocketArray> tcpServer_;
  Long lngConnections_ = 0;
  // With rules only: their sweep, so a silent connection ends even when no request comes.
  std::unique_ptr<ui::Timer> tmrSweep_;
};

}  // namespace launchagent
