#pragma once
// Top-level windows of this desktop through the window manager's own calls, and the
// agent's forms as real windows of class "ThunderRT6FormDC".
#include <map>
#include <memory>
#include <set>

#include "platform/services.h"
#include "platform/win32/event_loop.h"
#include "platform/win32/form_window.h"

namespace launchagent::win32 {

class Win32WindowSystem : public platform::WindowSystem {
 public:
  // bOffscreen: forms are never shown and message boxes go to standard output.
  Win32WindowSystem(Win32EventLoop& loop, bool bOffscreen) : loop_(loop), bOffscreen_(bOffscreen) {}
  ~Win32WindowSystem() override;

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
  FormWindow* WindowOf(const ui::Form& form) const;

 private:
  Win32EventLoop& loop_;
  bool bOffscreen_;
  std::map<const ui::Form*, std::unique_ptr<FormWindow>> windows_;
  std::set<const ui::Form*> hideOnClose_;
};

// The activity log's mirror on standard output, when asked for.
class Win32Trace : public platform::Trace {
 public:
  explicit Win32Trace(bool bToStdout) : bToStdout_(bToStdout) {}
  void ActivityLine(const std::string& sText) override;

 private:
  bool bToStdout_;
};

}  // namespace launchagent::win32
