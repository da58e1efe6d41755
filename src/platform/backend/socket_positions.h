#pragma once
// The socket table's positions as every backend keeps them: what the agent sets on a
// position (ports, remote host, tag) and what it reads back (state, bytes left over),
// by index, whatever carries the bytes. A backend's slot adds its own socket handles.
#include <cstddef>
#include <map>
#include <memory>
#include <string>

#include "platform/services.h"

namespace launchagent::platform {

// The most bytes one data arrival hands over. A message image is a few hundred bytes;
// anything beyond this is not an image, and reading it whole would let a peer fill
// our memory.
constexpr long long kMaxArrivalBytes = 64 * 1024;
constexpr Long kMaxSocketIndex = 32767;

struct SocketPosition {
  Long lngLocalPort = 0;
  std::string sRemoteHost;
  Long lngRemotePort = 0;
  std::string sTag;
  Integer nState = kSckClosed;
  Bytes leftover;  // what the peer sent before it closed, not read yet
};

// Slot: a SocketPosition with the backend's handles; a new one holds none.
template <class Slot>
class SocketPositions : public SocketArray {
 public:
  bool Load(Long lngIndex) override {
    if (lngIndex <= 0 || lngIndex > kMaxSocketIndex || slots_.count(lngIndex)) return false;
    slots_[lngIndex] = Slot{};
    return true;
  }
  bool Exists(Long lngIndex) const override { return Find(lngIndex) != nullptr; }
  Long UBound() const override { return slots_.rbegin()->first; }
  bool SetLocalPort(Long lngIndex, Long lngPort) override {
    return Set(lngIndex, &SocketPosition::lngLocalPort, lngPort, IsPort(lngPort));
  }
  bool SetRemoteHost(Long lngIndex, const std::string& sHost) override {
    return Set(lngIndex, &SocketPosition::sRemoteHost, sHost, true);
  }
  bool SetRemotePort(Long lngIndex, Long lngPort) override {
    return Set(lngIndex, &SocketPosition::lngRemotePort, lngPort, IsPort(lngPort));
  }
  bool SetTag(Long lngIndex, const std::string& sTag) override {
    return Set(lngIndex, &SocketPosition::sTag, sTag, true);
  }
  std::optional<std::string> Tag(Long lngIndex) const override {
    const Slot* slot = Find(lngIndex);
    if (!slot) return std::nullopt;
    return slot->sTag;
  }
  std::optional<Integer> State(Long lngIndex) const override {
    const Slot* slot = Find(lngIndex);
    if (!slot) return std::nullopt;
    return slot->nState;
  }
  // What the peer left before it closed, then what waits on the connection, up to the
  // arrival cap.
  std::optional<Bytes> GetData(Long lngIndex) override {
    Slot* slot = Find(lngIndex);
    if (!slot) return std::nullopt;
    Bytes out = std::move(slot->leftover);
    slot->leftover.clear();
    if (out.size() < static_cast<std::size_t>(kMaxArrivalBytes))
      ReadMore(*slot, out, static_cast<std::size_t>(kMaxArrivalBytes) - out.size());
    return out;
  }
  bool Close(Long lngIndex) override {
    Slot* slot = Find(lngIndex);
    if (!slot) return false;
    Release(*slot);
    slot->leftover.clear();
    slot->nState = kSckClosed;
    return true;
  }

 protected:
  // Position 0 exists from the start, as the table's first control does.
  SocketPositions() { slots_[0] = Slot{}; }

  Slot* Find(Long lngIndex) {
    auto it = slots_.find(lngIndex);
    return it == slots_.end() ? nullptr : &it->second;
  }
  const Slot* Find(Long lngIndex) const {
    auto it = slots_.find(lngIndex);
    return it == slots_.end() ? nullptr : &it->second;
  }

  // Gives the position's handles back; the position stays.
  virtual void Release(Slot& slot) = 0;
  // Appends up to nRoom bytes that wait on the position's connection, if it has one.
  virtual void ReadMore(Slot& slot, Bytes& out, std::size_t nRoom) = 0;

  std::map<Long, Slot> slots_;

 private:
  static bool IsPort(Long lngPort) { return lngPort >= 0 && lngPort <= 65535; }
  template <class T, class V>
  bool Set(Long lngIndex, T SocketPosition::*field, const V& value, bool bValid) {
    Slot* slot = Find(lngIndex);
    if (!slot || !bValid) return false;
    slot->*field = value;
    return true;
  }
};

// A backend's network: every socket table it makes shares the loop, the hosts file and
// the address to bind to.
template <class Array, class Loop, class Hosts>
class SocketTables : public Network {
 public:
  SocketTables(Loop& loop, Hosts& hosts, std::string sBindAddress)
      : loop_(loop), hosts_(hosts), sBindAddress_(std::move(sBindAddress)) {}
  std::unique_ptr<SocketArray> CreateSocketArray(const std::string&) override {
    return std::make_unique<Array>(loop_, hosts_, sBindAddress_);
  }

 private:
  Loop& loop_;
  Hosts& hosts_;
  std::string sBindAddress_;
};

}  // namespace launchagent::platform
