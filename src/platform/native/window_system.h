#pragma once
// Top-level windows and the agent's forms on this desktop. With a display, other
// programs' windows come from X11 and the agent's forms are real Qt windows of class
// kFormWindowClass. Without one, every window of the session lives in the window
// table, the agent's forms included, and close requests travel through it.
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/main_app_window.h"
#include "platform/native/event_loop.h"
#include "platform/native/form_view.h"
#include "platform/native/settings.h"
#include "platform/native/window_table.h"
#include "platform/native/x11_windows.h"
#include "platform/services.h"

class QFileSystemWatcher;
class QTimer;

namespace launchagent::native {

// The WM_CLASS property of a form window: instance and class, each ending in a zero byte,
// both the form window class (platform/main_app_window.h).
std::string FormWmClass();

class NativeWindowSystem : public platform::WindowSystem {
 public:
  NativeWindowSystem(NativeEventLoop& loop, const NativeSettings& settings);
  ~NativeWindowSystem() override;

  platform::WindowHandle FindWindowByTitle(const std::string& sTitle) override;
  platform::WindowHandle NextWindow(platform::WindowHandle hWnd) override;
  std::optional<std::string> ClassName(platform::WindowHandle hWnd, int nBufferLen) override;
  std::optional<std::string> WindowText(platform::WindowHandle hWnd, int nBufferLen) override;
  bool SendClose(platform::WindowHandle hWnd) override;
  void AttachForm(ui::Form& form) override;
  void DetachForm(ui::Form& form) override;
  void MessageBox(const std::string& sTitle, const std::string& sText) override;

  // Closing this form's window hides it instead of asking the agent.
  void SetHideOnClose(ui::Form& form);
  // Closing any window that would hide minimises it instead (a desktop without a tray).
  void SetMinimiseOnClose(bool b);
  FormView* ViewOf(const ui::Form& form) const;
  bool UsesWindowTable() const { return table_ != nullptr; }

 private:
  struct Window {
    platform::WindowHandle h = 0;
    std::string sClass, sTitle;
  };
  std::vector<Window> Snapshot();
  std::optional<Window> Describe(platform::WindowHandle hWnd);
  void FlushOwnWindows();
  void TakeCloseRequests();

  NativeEventLoop& loop_;
  bool bOffscreen_;
  double dCloseWait_;
  std::unique_ptr<X11Windows> x11_;
  std::unique_ptr<WindowTable> table_;
  std::map<const ui::Form*, FormView*> views_;
  std::map<const ui::Form*, std::int64_t> tableHandles_;
  std::set<const ui::Form*> hideOnClose_;
  bool bMinimiseOnClose_ = false;
  std::vector<platform::WindowHandle> snapshot_;
  QFileSystemWatcher* watcher_ = nullptr;
  QTimer* poll_ = nullptr;
};

// Where the activity log goes besides the agent's window: standard output when asked.
class NativeTrace : public platform::Trace {
 public:
  explicit NativeTrace(bool bToStdout) : bToStdout_(bToStdout) {}
  void ActivityLine(const std::string& sText) override;

 private:
  bool bToStdout_;
};

}  // namespace launchagent::native
