#pragma once
// clsMsg: the message interface and, at the same time, the plain envelope (message
// identifier, reference identifier, return address). Concrete messages derive from it
// for the interface and own one plain clsMsg as their envelope, to which they forward
// the envelope operations.
//
// Messages are held by std::shared_ptr: Clone hands out the object itself, and the
// registry and the agent share one host information object.
#include <cstdint>
#include <memory>
#include <string>

#include "messages/message_context.h"
#include "platform/types.h"

namespace launchagent {

class PropertyBag;

class clsMsg : public std::enable_shared_from_this<clsMsg> {
 public:
  // The type numbers written as "MsgType".
  static constexpr Integer kMsgTypeHostInfo = 4;
  static constexpr Integer kMsgTypeUserList = 5;
  static constexpr Integer kMsgTypeHello = 6;

  // A new envelope: a fresh identifier drawn after re-seeding from the clock, the local
  // host name as return address, reference identifier 0.
  explicit clsMsg(MessageContext& ctx);
  virtual ~clsMsg();
  clsMsg(const clsMsg&) = delete;
  clsMsg& operator=(const clsMsg&) = delete;

  // The interface, in the order of its slots.
  virtual Bytes GetObjectData();                       // plain: no bytes
  virtual bool SetObjectData(const Bytes& byteArray);  // plain: false, reads nothing
  virtual Long GetMsgType(const Bytes& byteArray);     // type of any image, 0 on failure
  // The same, keeping what was read: a host information image goes on to
  // clsMsgHostInfo::SetObjectData(bag) without being read again. The bag reads the bytes
  // where they lie, so they must outlive it.
  Long GetMsgType(const Bytes& byteArray, PropertyBag& bag);
  virtual Single GetMsgID();
  virtual void SetMsgID(Single sglMsgIDIn);
  virtual Single GetMsgReferenceID();
  virtual void SetMsgReferenceID(Single sglMsgReferenceIDIn);
  virtual std::string GetReturnAddress();
  virtual void SetReturnAddress(const std::string& sReturnAddressIn);
  virtual bool StringToBoolean(const std::string& sVal);
  virtual std::shared_ptr<clsMsg> Clone();  // plain: nullptr
  // Through the interface no message reports a change; each concrete class has its own
  // typed comparison (ChangeHostInfo, ChangeUserList, ChangeHello).
  virtual bool Change(const std::shared_ptr<clsMsg>& objIn);

  // The identifier drawn for a seed: the generator is re-seeded with the seed and gives
  // its first value in [0, 1). The same seed always gives the same identifier.
  static Single NewMsgID(double dSeed);

 protected:
  // For the interface part of a concrete message: no envelope values of its own, so
  // nothing is drawn for it.
  struct InterfaceOnly {};
  explicit clsMsg(InterfaceOnly);
  // The object itself as a shared pointer, or nullptr when it is not held by one.
  std::shared_ptr<clsMsg> Self();

 private:
  Single m_sglMsgID = 0;
  Single m_sglMsgReferenceID = 0;
  std::string m_sReturnAddress;
};

}  // namespace launchagent
