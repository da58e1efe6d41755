#pragma once
// Every service of the seam for this Windows desktop, built from the backend's settings
// and handed to the agent as one Platform. Holds its own Winsock reference, so the
// socket tables work whatever the agent does with its own start-up and clean-up.
#include "platform/services.h"
#include "platform/win32/clock.h"
#include "platform/win32/event_loop.h"
#include "platform/win32/files.h"
#include "platform/win32/hosts_file.h"
#include "platform/win32/settings.h"
#include "platform/win32/share_search.h"
#include "platform/win32/shell.h"
#include "platform/win32/sockets.h"
#include "platform/win32/window_system.h"

namespace launchagent::win32 {

class Win32Platform {
 public:
  explicit Win32Platform(const Win32Settings& settings);
  ~Win32Platform();
  Win32Platform(const Win32Platform&) = delete;
  Win32Platform& operator=(const Win32Platform&) = delete;

  platform::Platform& Get() { return platform_; }
  const Win32Settings& Settings() const { return settings_; }
  Win32EventLoop& Loop() { return loop_; }
  Win32WindowSystem& Windows() { return windows_; }
  Win32FileSystem& Files() { return files_; }

 private:
  struct WinsockReference {
    WinsockReference();
    ~WinsockReference();
    bool bStarted = false;
  };
  Win32Settings settings_;
  WinsockReference winsock_;
  TimeBase time_;
  HostsFile hosts_;
  Win32Clock clock_;
  Win32EventLoop loop_;
  Win32WindowSystem windows_;
  Win32Shell shell_;
  Win32Registry registry_;
  Win32Kernel kernel_;
  Win32SocketsLibrary sockets_;
  Win32Network network_;
  Win32FileSystem files_;
  Win32ShareSearch shares_;
  Win32Trace trace_;
  platform::Platform platform_;
};

}  // namespace launchagent::win32
