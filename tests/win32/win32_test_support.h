#pragma once
// What the Windows backend's tests share: one loop on real time, Winsock started for
// the test's life, and a pump that runs the loop until something has happened.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "platform/win32/clock.h"
#include "platform/win32/event_loop.h"
#include "platform/win32/win.h"

namespace launchagent::win32 {

class Win32LoopTest : public ::testing::Test {
 protected:
  void SetUp() override {
    WSADATA wsa{};
    ASSERT_EQ(WSAStartup(0x0101, &wsa), 0);
  }
  void TearDown() override { WSACleanup(); }

  // Runs the loop until bDone says so; false when it never did within the safety limit
  // (a hang guard, not a timing check).
  bool PumpUntil(const std::function<bool()>& bDone, double dLimitSeconds = 20) {
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::milliseconds(static_cast<long long>(dLimitSeconds * 1000));
    while (!bDone()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      loop.WaitForEvents(0.05);
    }
    return true;
  }

  TimeBase time{1.0};
  Win32EventLoop loop{time};
};

// A peer's socket that called port nPort on loopback; INVALID_SOCKET when it could not.
inline SOCKET CallLoopback(int nPort) {
  const SOCKET peer = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  if (peer == INVALID_SOCKET) return peer;
  sockaddr_in sin{};
  sin.sin_family = AF_INET;
  sin.sin_port = htons(static_cast<u_short>(nPort));
  sin.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(peer, reinterpret_cast<const sockaddr*>(&sin), sizeof sin) != 0) {
    closesocket(peer);
    return INVALID_SOCKET;
  }
  return peer;
}

// Catches this process's debug output while it lives: OutputDebugStringA raises
// DBG_PRINTEXCEPTION_C, which a vectored handler sees before anyone handles it.
class DebugLines {
 public:
  DebugLines() {
    pLines_ = &lines;
    handler_ = AddVectoredExceptionHandler(1, Catch);
  }
  ~DebugLines() {
    RemoveVectoredExceptionHandler(handler_);
    pLines_ = nullptr;
  }
  DebugLines(const DebugLines&) = delete;
  DebugLines& operator=(const DebugLines&) = delete;

  std::vector<std::string> lines;

 private:
  static LONG CALLBACK Catch(EXCEPTION_POINTERS* p) {
    const EXCEPTION_RECORD* r = p->ExceptionRecord;
    if (pLines_ && r->ExceptionCode == DBG_PRINTEXCEPTION_C && r->NumberParameters >= 2)
      pLines_->emplace_back(reinterpret_cast<const char*>(r->ExceptionInformation[1]));
    return EXCEPTION_CONTINUE_SEARCH;
  }
  static inline std::vector<std::string>* pLines_ = nullptr;
  void* handler_;
};

}  // namespace launchagent::win32
