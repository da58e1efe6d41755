// Watching the main application's window: a missing window is the only reason to launch.
#include <cstdint>
#include <limits>

#include "launcher/main_app.h"
#include "platform/main_app_window.h"

namespace launchagent {

namespace {
constexpr int kNameBufferLen = 50;
// What the watch assumes when it cannot look: the application runs, nothing is launched.
constexpr Integer kCountOnFailure = 1;
}  // namespace

Integer MainApp::CountMainAppWindows() {
  platform::WindowSystem& windows = platform_.windows;
  std::int32_t nCount = 0;
  platform::WindowHandle hWnd = windows.FindWindowByTitle(kMainAppTitle);
  while (hWnd != 0) {
    const auto sClass = windows.ClassName(hWnd, kNameBufferLen);
    if (!sClass) return kCountOnFailure;
    if (*sClass == kFormWindowClass) {
      const auto sTitle = windows.WindowText(hWnd, kNameBufferLen);
      if (!sTitle) return kCountOnFailure;
      if (*sTitle == kMainAppTitle) {
        ++nCount;
        if (nCount > std::numeric_limits<Integer>::max()) return kCountOnFailure;
      }
    }
    hWnd = windows.NextWindow(hWnd);
  }
  return static_cast<Integer>(nCount);
}

void MainApp::MonitorMainApp() {
  if (CountMainAppWindows() != 0) return;
  const std::string sName = FindMainAppFile();
  if (!sName.empty()) {
    std::string sPath = AppPath() + "\\" + sName;
    LaunchMainApp(sPath);
  } else {
    LaunchFromLaunchSite();
  }
}

}  // namespace launchagent
