#pragma once
// clsMsgHello (message type 6): a small greeting that names the host of the main
// application. It has its full wire form, though no agent sends it.
//
// The class's own typed Change is ChangeHello (Change through the interface stays
// False); the direct GetMsgID that gives the identifier as decimal text is GetMsgIDText.
#include <memory>
#include <string>

#include "messages/cls_msg_concrete.h"

namespace launchagent {

class clsMsgHello : public clsMsgConcrete {
 public:
  static constexpr Integer kMsgType = kMsgTypeHello;

  explicit clsMsgHello(MessageContext& ctx);
  ~clsMsgHello() override;

  // The interface.
  Bytes GetObjectData() override;
  bool SetObjectData(const Bytes& byteArray) override;

  // True when obj is a hello message whose number or host text differs (letter case
  // counts).
  bool ChangeHello(const std::shared_ptr<clsMsg>& obj);

  Integer GetHello() const { return m_nHello; }
  void SetHello(Integer nHelloIn) { m_nHello = nHelloIn; }
  std::string GetVarnoHost() const { return m_sVarnoHost; }
  void SetVarnoHost(const std::string& sVarnoHostIn) { m_sVarnoHost = sVarnoHostIn; }

 private:
  Integer m_nHello = 0;
  std::string m_sVarnoHost;
};

}  // namespace launchagent
