#pragma once
// The agent's sending side: one outgoing connection per computer, opened on first use
// and re-opened on the next agent port when it stays down.
#include <memory>
#include <optional>
#include <string>

#include "platform/activity_sink.h"
#include "platform/services.h"
#include "platform/types.h"
#include "transport/message_receiver.h"

namespace launchagent {

class AgentHostInfo;

class FrmClient {
 public:
  // Loading: prepares the template socket. Nothing is sent or read while
  // bActiveAgentServices is off.
  FrmClient(platform::Network& network, AgentHostInfo& registry, const bool& bActiveAgentServices,
            LogActivityFn logActivity, MessageReceiverFn onMessage);
  ~FrmClient();  // unloading: closes every socket
  platform::SocketArray& tcpClient() { return *tcpClient_; }

  void SendMessageEx(const std::string& sHostName, const std::string& sIPAddress,
                     const Bytes& byteArray);
  void SendMessage(const std::string& sHostName, const std::string& sIPAddress, Integer& nPort,
                   const Bytes& byteArray, bool bUseAgentPort);
  void SetAgentIndex(Long lngIndex, Long lngAgentIndex);

  Long AddSocket();
  void ConnectSocket(Integer nIndex, const std::string& sHost, Integer nPort);
  void CloseSocket(Integer nIndex);
  bool IsSocketDisconnected(Long lngIndex);

 private:
  std::optional<Long> PrepareSocket(const std::string& sHostName, const std::string& sTarget,
                                    Integer& nPort, bool bUseAgentPort);
  void tcpClient_DataArrival(Integer Index, Long bytesTotal);

  AgentHostInfo& registry_;
  const bool& bActiveAgentServices_;
  LogActivityFn logActivity_;
  MessageReceiverFn onMessage_;
  std::unique_ptr<platform::SocketArray> tcpClient_;
  Long lngSockets_ = 0;
};

}  // namespace launchagent
