#pragma once
// What every concrete message shares: it owns one plain envelope for its whole life (so
// its identifier is drawn once) and forwards the envelope operations to it; Clone hands
// out the message itself; Change through the interface reports no change. Each concrete
// class adds its image, its fields and its own typed comparison.
#include <memory>
#include <string>

#include "messages/cls_msg.h"

namespace launchagent {

class clsMsgConcrete : public clsMsg {
 public:
  Long GetMsgType(const Bytes& byteArray) override;
  Single GetMsgID() override;
  void SetMsgID(Single sglMsgIDIn) override;
  Single GetMsgReferenceID() override;
  void SetMsgReferenceID(Single sglMsgReferenceIDIn) override;
  std::string GetReturnAddress() override;
  void SetReturnAddress(const std::string& sReturnAddressIn) override;
  bool StringToBoolean(const std::string& sVal) override;
  std::shared_ptr<clsMsg> Clone() override;                    // the object itself
  bool Change(const std::shared_ptr<clsMsg>& objIn) override;  // always false
  // The identifier as decimal text (the class's direct GetMsgID).
  std::string GetMsgIDText();

 protected:
  explicit clsMsgConcrete(MessageContext& ctx);
  ~clsMsgConcrete() override;

  clsMsg m_objEnvelope;
};

}  // namespace launchagent
