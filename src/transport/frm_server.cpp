// The TCP server: listens on the default agent port, accepts every request into the next
// position of tcpServer and hands every arrival, read whole, to the message receiver.
#include "transport/frm_server.h"

#include <limits>

#include "registry/agent_ports.h"

namespace launchagent {

namespace {
// Socket positions are 16-bit: a later position cannot be made.
constexpr Long kMaxSocketPosition = std::numeric_limits<Integer>::max();
}  // namespace

FrmServer::FrmServer(platform::Network& network, platform::EventLoop& loop,
                     const bool& bActiveAgentServices, MessageReceiverFn onMessage,
                     ConnectionRules* rules)
    : loop_(loop),
      bActiveAgentServices_(bActiveAgentServices),
      onMessage_(std::move(onMessage)),
      rules_(rules),
      tcpServer_(network.CreateSocketArray("tcpServer")) {
  if (!tcpServer_) return;
  tcpServer_->OnConnectionRequest = [this](Long lngIndex, Long lngRequestId) {
    if (lngIndex < 0 || lngIndex > kMaxSocketPosition) return;
    tcpServer_ConnectionRequest(static_cast<Integer>(lngIndex), lngRequestId);
  };
  tcpServer_->OnDataArrival = [this](Long lngIndex, Long lngBytesTotal) {
    if (lngIndex < 0 || lngIndex > kMaxSocketPosition) return;
    tcpServer_DataArrival(static_cast<Integer>(lngIndex), lngBytesTotal);
  };
  lngConnections_ = 0;
  // A port already taken leaves the server without a listener, unreported.
  tcpServer_->SetLocalPort(0, GetDefaultAgentPort());
  tcpServer_->Listen(0);
  if (!rules_) return;
  tmrSweep_ = std::make_unique<ui::Timer>("tmrSweep", rules_->SweepIntervalMs(), true);
  tmrSweep_->OnTick = [this] { rules_->Sweep(*tcpServer_); };
  tmrSweep_->AttachDriver(&loop_.Timers());
}

FrmServer::~FrmServer() {
  tmrSweep_.reset();
  if (!tcpServer_) return;
  tcpServer_->OnConnectionRequest = nullptr;
  tcpServer_->OnDataArrival = nullptr;
  const Long lngLast = tcpServer_->UBound();
  for (Long i = 1; i <= lngLast; ++i) tcpServer_->Close(i);
  // The listening socket ends with the table.
}

void FrmServer::SendOutMessage(Integer Index, const Bytes& byteArray) {
  if (tcpServer_) {
    const std::optional<Integer> nState = tcpServer_->State(Index);
    if (nState && *nState == platform::kSckConnected && bActiveAgentServices_) {
      tcpServer_->SendData(Index, byteArray);
    }
  }
  loop_.ProcessPendingEvents();
}

void FrmServer::tcpServer_ConnectionRequest(Integer Index, Long requestID) {
  if (Index != 0) return;
  if (rules_) return RuledConnectionRequest(requestID);
  if (lngConnections_ < std::numeric_limits<Long>::max()) ++lngConnections_;
  // Past the last position the socket cannot be made and the request stays unanswered.
  if (lngConnections_ > kMaxSocketPosition) return;
  tcpServer_->Load(lngConnections_);
  tcpServer_->SetLocalPort(lngConnections_, 0);
  tcpServer_->Accept(lngConnections_, requestID);
}

void FrmServer::RuledConnectionRequest(Long requestID) {
  const Long i = rules_->PositionForRequest(*tcpServer_);
  if (i <= 0) return;
  if (!tcpServer_->Exists(i)) tcpServer_->Load(i);
  tcpServer_->SetLocalPort(i, 0);
  tcpServer_->Accept(i, requestID);
  if (!rules_->KeepAccepted(*tcpServer_, i)) tcpServer_->Close(i);
}

void FrmServer::tcpServer_DataArrival(Integer Index, Long bytesTotal) {
  if (rules_) rules_->NoteArrival(Index);
  (void)bytesTotal;  // everything waiting is read, whatever the event announced
  const std::optional<Integer> nState = tcpServer_->State(Index);
  // Left unread, the bytes stay with the connection.
  if (!nState || *nState != platform::kSckConnected || !bActiveAgentServices_) return;
  // No framing: whatever is waiting now is taken as one message image.
  const std::optional<Bytes> byteArray = tcpServer_->GetData(Index);
  // Handed on where they lie: no copy of the image per arrival.
  static const Bytes kNothing;
  onMessage_(Index, byteArray ? *byteArray : kNothing);
}

}  // namespace launchagent
