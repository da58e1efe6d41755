#pragma once
// The registry's record per computer: its latest host information and the state of the
// outgoing connection to it.
#include <memory>

#include "platform/types.h"

namespace launchagent {

class clsMsgHostInfo;

class clsAgentInfo {
 public:
  void Init(std::shared_ptr<clsMsgHostInfo> objIn);
  Integer GetPort() const { return nPort_; }
  void SetPort(Integer nPortIn) { nPort_ = nPortIn; }
  Long GetSocketIndex() const { return lngSocketIndex_; }
  void SetSocketIndex(Long lngSocketIndexIn) { lngSocketIndex_ = lngSocketIndexIn; }
  Integer GetConnectTrials() const { return nConnectTrials_; }
  // A count that does not fit 16 bits is not stored; the old count stays.
  void SetConnectTrials(Long nConnectTrialsIn);
  void SetMessage(std::shared_ptr<clsMsgHostInfo> objIn) { objMsg_ = std::move(objIn); }
  void GetMessage(std::shared_ptr<clsMsgHostInfo>& objOut) const { objOut = objMsg_; }
  const std::shared_ptr<clsMsgHostInfo>& Message() const { return objMsg_; }
  void SetActive(bool bActiveIn) { bActive_ = bActiveIn; }
  bool GetActive() const { return bActive_; }

 private:
  Long lngSocketIndex_ = -1;
  Integer nPort_ = 0;
  Integer nConnectTrials_ = 0;
  bool bActive_ = false;
  std::shared_ptr<clsMsgHostInfo> objMsg_;
};

}  // namespace launchagent
