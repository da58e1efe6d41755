#pragma once
// The agent's icon in the notification area: "Show log", "Agent Setup..." and "Quit".
// Quit is the one way to end the agent from the desktop; closing its window hides it.
#include <functional>

#include "platform/win32/event_loop.h"

namespace launchagent::win32 {

class AgentTray {
 public:
  AgentTray(Win32EventLoop& loop, std::function<void()> fnShowLog,
            std::function<void()> fnOpenSetup);
  ~AgentTray();
  AgentTray(const AgentTray&) = delete;
  AgentTray& operator=(const AgentTray&) = delete;
  // Whether the desktop took the icon.
  bool Shown() const { return bShown_; }

  // Window procedure work; public for the procedure only.
  void OnNotify(unsigned nEvent);
  void OnMenu(unsigned nItem);

 private:
  Win32EventLoop& loop_;
  std::function<void()> fnShowLog_;
  std::function<void()> fnOpenSetup_;
  void* hWnd_ = nullptr;
  bool bShown_ = false;
};

}  // namespace launchagent::win32
