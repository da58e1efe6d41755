#pragma once
// The agent's sending side: one outgoing connection per computer, opened on first use
// and re-opened on the next agent port when it stays down.
#include <memory>
#include <optional>
#include <string>

#include "platform/services.h"
#include "platform/types.h"
#include "platform/ui/form.h"

namespace launchagent {

class Agent;

class FrmClient {
 public:
  explicit FrmClient(Agent& agent);  // loading: prepares the template socket
  ~FrmClient();                      // unloading: closes every socket
  ui::Form& Form() { return form_; }
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

  Agent& agent_;
  ui::Form form_;
  std::unique_ptr<platform::SocketArray> tcpClient_;
  Long lngSockets_ = 0;
};

}  // namespace launchagent
