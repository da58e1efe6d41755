// The TCP client: one outgoing connection per computer in tcpClient, made on the first
// send and re-made on the next agent port after three sends that found it down. Per
// computer the port, socket position and trial count live in its registry record.
#include "transport/frm_client.h"

#include <cstdint>
#include <limits>

#include "messages/text_forms.h"
#include "registry/agent_host_info.h"
#include "registry/agent_ports.h"

namespace launchagent {

namespace {

// Socket positions are 16-bit: a later position cannot be made.
constexpr Long kMaxSocketPosition = std::numeric_limits<Integer>::max();

bool FitsPosition(Long lngIndex) { return lngIndex >= 0 && lngIndex <= kMaxSocketPosition; }

std::string AttemptLine(const std::string& sHostName, Integer nPort, Long lngSocket) {
  return "Trying to connect to " + sHostName + " via port " +
         text_forms::SignedForm(std::int64_t{nPort}) + " and Socket " +
         text_forms::SignedForm(std::int64_t{lngSocket});
}

}  // namespace

FrmClient::FrmClient(platform::Network& network, AgentHostInfo& registry,
                     const bool& bActiveAgentServices, LogActivityFn logActivity,
                     MessageReceiverFn onMessage)
    : registry_(registry),
      bActiveAgentServices_(bActiveAgentServices),
      logActivity_(std::move(logActivity)),
      onMessage_(std::move(onMessage)),
      tcpClient_(network.CreateSocketArray("tcpClient")) {
  if (!tcpClient_) return;
  // Only arrivals are handled: the state of a connection is learnt at the next send.
  tcpClient_->OnDataArrival = [this](Long lngIndex, Long lngBytesTotal) {
    if (!FitsPosition(lngIndex)) return;
    tcpClient_DataArrival(static_cast<Integer>(lngIndex), lngBytesTotal);
  };
  lngSockets_ = 0;
  // Position 0 is the template that every connection socket is made from; it never connects.
  tcpClient_->SetLocalPort(0, GetDefaultAgentPort());
}

FrmClient::~FrmClient() {
  if (!tcpClient_) return;
  tcpClient_->OnConnectionRequest = nullptr;
  tcpClient_->OnDataArrival = nullptr;
  const Long lngLast = tcpClient_->UBound();
  for (Long i = 1; i <= lngLast; ++i) tcpClient_->Close(i);
}

// The steps both sends share: find or make the host's socket and start a new attempt
// where the trial cycle calls for one. With bUseAgentPort the port is the registry's and
// steps through the agent ports; without it the caller's port is tried again. nullopt
// when the send ends here.
std::optional<Long> FrmClient::PrepareSocket(const std::string& sHostName,
                                             const std::string& sTarget, Integer& nPort,
                                             bool bUseAgentPort) {
  AgentHostInfo& registry = registry_;
  Long lngAgentIndex = 0;
  Long lngSocket = 0;
  registry.GetAgentSocketIndex(sHostName, lngSocket, lngAgentIndex);

  if (lngSocket <= 0) {
    lngSocket = AddSocket();
    registry.SetAgentSocketIndex(sHostName, lngSocket);
    registry.SetAgentConnectTrials(sHostName, 0);
    logActivity_(AttemptLine(sHostName, nPort, lngSocket), 5);
    // A position the table cannot hold ends the send here.
    if (!FitsPosition(lngSocket)) return std::nullopt;
    ConnectSocket(static_cast<Integer>(lngSocket), sTarget, nPort);
    if (bUseAgentPort) registry.SetAgentPort(sHostName, nPort);
  } else if (IsSocketDisconnected(lngSocket)) {
    Integer nTrials = 0;
    registry.GetAgentConnectTrials(sHostName, nTrials);
    if (nTrials <= 1) {
      registry.SetAgentConnectTrials(sHostName, static_cast<Long>(nTrials) + 1);
    } else {
      // Third send in a row that found it down: a fresh attempt, on the next port.
      if (bUseAgentPort) {
        NextAgentPort(nPort);
        registry.SetAgentPort(sHostName, nPort);
      }
      registry.SetAgentConnectTrials(sHostName, 0);
      logActivity_(AttemptLine(sHostName, nPort, lngSocket), 5);
      if (!FitsPosition(lngSocket)) return std::nullopt;
      CloseSocket(static_cast<Integer>(lngSocket));
      ConnectSocket(static_cast<Integer>(lngSocket), sTarget, nPort);
    }
  }
  return lngSocket;
}

void FrmClient::SendMessageEx(const std::string& sHostName, const std::string& sIPAddress,
                              const Bytes& byteArray) {
  if (!bActiveAgentServices_ || !tcpClient_) return;
  Integer nPort = 0;
  Long lngAgentIndex = 0;
  registry_.GetAgentPort(sHostName, nPort, lngAgentIndex);
  // The address, when known, is where the connection goes; the logs always name the host.
  const std::string& sTarget = sIPAddress.empty() ? sHostName : sIPAddress;
  const std::optional<Long> lngSocket = PrepareSocket(sHostName, sTarget, nPort, true);
  if (!lngSocket) return;

  const std::optional<Integer> nState = tcpClient_->State(*lngSocket);
  if (!nState) return;  // a socket that cannot be asked ends the send silently
  if (*nState == platform::kSckConnected) {
    // One unframed send: the image is the whole message.
    if (!tcpClient_->SendData(*lngSocket, byteArray)) return;
    logActivity_("Connected to host " + sHostName, 5);
  } else {
    // The image is not kept: the next broadcast carries a fresh one.
    logActivity_("WARNING: No connection to host " + sHostName, 5);
  }
}

void FrmClient::SendMessage(const std::string& sHostName, const std::string& sIPAddress,
                            Integer& nPort, const Bytes& byteArray, bool bUseAgentPort) {
  if (!bActiveAgentServices_ || !tcpClient_) return;
  if (bUseAgentPort) {
    Long lngAgentIndex = 0;
    registry_.GetAgentPort(sHostName, nPort, lngAgentIndex);
  } else if (nPort == 0) {
    nPort = GetDefaultAgentPort();
  }
  const std::string& sTarget = sIPAddress.empty() ? sHostName : sIPAddress;
  const std::optional<Long> lngSocket = PrepareSocket(sHostName, sTarget, nPort, bUseAgentPort);
  if (!lngSocket) return;

  const std::optional<Integer> nState = tcpClient_->State(*lngSocket);
  if (!nState) return;
  if (*nState == platform::kSckConnected) {
    tcpClient_->SendData(*lngSocket, byteArray);
  } else {
    logActivity_("WARNING: No connection to host " + sHostName + " via port " +
                     text_forms::SignedForm(std::int64_t{nPort}) + " and Socket " +
                     text_forms::SignedForm(std::int64_t{*lngSocket}),
                 5);
  }
}

void FrmClient::SetAgentIndex(Long lngIndex, Long lngAgentIndex) {
  if (!tcpClient_) return;
  tcpClient_->SetTag(lngIndex, text_forms::BareForm(std::int64_t{lngAgentIndex}));
}

Long FrmClient::AddSocket() {
  if (lngSockets_ < std::numeric_limits<Long>::max()) ++lngSockets_;
  // Past the last position the number is still handed out, but no socket stands behind it.
  if (tcpClient_ && FitsPosition(lngSockets_)) {
    tcpClient_->Load(lngSockets_);
    tcpClient_->SetLocalPort(lngSockets_, 0);
  }
  return lngSockets_;
}

void FrmClient::ConnectSocket(Integer nIndex, const std::string& sHost, Integer nPort) {
  if (!tcpClient_) return;
  const std::optional<Integer> nState = tcpClient_->State(nIndex);
  if (nState && (*nState == platform::kSckError || *nState == platform::kSckClosing)) {
    tcpClient_->Close(nIndex);
  }
  tcpClient_->SetRemoteHost(nIndex, sHost);
  tcpClient_->SetRemotePort(nIndex, nPort);
  // A socket still busy with an earlier attempt refuses; that attempt simply goes on.
  tcpClient_->Connect(nIndex);
}

void FrmClient::CloseSocket(Integer nIndex) {
  if (!tcpClient_) return;
  tcpClient_->Close(nIndex);
}

bool FrmClient::IsSocketDisconnected(Long lngIndex) {
  if (lngIndex <= 0 || !tcpClient_) return false;
  const std::optional<Integer> nState = tcpClient_->State(lngIndex);
  if (!nState) return false;
  return *nState != platform::kSckConnected;
}

void FrmClient::tcpClient_DataArrival(Integer Index, Long bytesTotal) {
  (void)bytesTotal;
  const std::optional<Integer> nState = tcpClient_->State(Index);
  if (!nState || *nState != platform::kSckConnected || !bActiveAgentServices_) return;
  const std::optional<Bytes> byteArray = tcpClient_->GetData(Index);
  // Handed on where they lie: no copy of the image per arrival.
  static const Bytes kNothing;
  onMessage_(Index, byteArray ? *byteArray : kNothing);
}

}  // namespace launchagent
