// The TCP client: filled by the transport capability.
#include "transport/frm_client.h"

#include "agent/agent.h"

namespace launchagent {
FrmClient::FrmClient(Agent& agent)
    : agent_(agent), form_("frmClient", "frmClient"),
      tcpClient_(agent.Platform().network.CreateSocketArray("tcpClient")) {}
FrmClient::~FrmClient() = default;
void FrmClient::SendMessageEx(const std::string&, const std::string&, const Bytes&) {}
void FrmClient::SendMessage(const std::string&, const std::string&, Integer&, const Bytes&, bool) {}
void FrmClient::SetAgentIndex(Long, Long) {}
Long FrmClient::AddSocket() { return 0; }
void FrmClient::ConnectSocket(Integer, const std::string&, Integer) {}
void FrmClient::CloseSocket(Integer) {}
bool FrmClient::IsSocketDisconnected(Long) { return false; }
void FrmClient::tcpClient_DataArrival(Integer, Long) {}
}  // namespace launchagent
