#pragma once
// The agent's tray icon: "Show log", "Agent Setup..." and "Quit". Quit is the one way
// to end the agent from the desktop; closing its window only hides it (or minimises it
// where the desktop shows no tray).
#include <functional>
#include <memory>

#include "platform/native/event_loop.h"

class QIcon;
class QMenu;
class QSystemTrayIcon;

namespace launchagent::native {

class AgentTray {
 public:
  AgentTray(NativeEventLoop& loop, std::function<void()> fnShowLog,
            std::function<void()> fnOpenSetup);
  ~AgentTray();
  // Whether the desktop shows tray icons at all.
  bool Available() const;

 private:
  std::unique_ptr<QMenu> menu_;
  std::unique_ptr<QSystemTrayIcon> icon_;
};

// The agent's icon, drawn rather than shipped as a file.
QIcon AgentIcon();

}  // namespace launchagent::native
