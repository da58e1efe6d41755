// The TCP server: filled by the transport capability.
#include "transport/frm_server.h"

#include "agent/agent.h"

namespace launchagent {
FrmServer::FrmServer(Agent& agent)
    : agent_(agent), form_("frmServer", "frmServer"),
      tcpServer_(agent.Platform().network.CreateSocketArray("tcpServer")) {}
FrmServer::~FrmServer() = default;
void FrmServer::SendOutMessage(Integer, const Bytes&) {}
void FrmServer::tcpServer_ConnectionRequest(Integer, Long) {}
void FrmServer::tcpServer_DataArrival(Integer, Long) {}
}  // namespace launchagent
