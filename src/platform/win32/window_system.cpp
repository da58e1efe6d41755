#include "platform/win32/window_system.h"

#include <cstdio>

#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

HWND H(platform::WindowHandle h) { return reinterpret_cast<HWND>(static_cast<INT_PTR>(h)); }
platform::WindowHandle W(HWND h) {
  return static_cast<platform::WindowHandle>(reinterpret_cast<INT_PTR>(h));
}

// A window's text through a buffer of nBufferLen bytes, as the caller would read it.
std::optional<std::string> Read(platform::WindowHandle hWnd, int nBufferLen, bool bClass) {
  if (hWnd == 0 || !IsWindow(H(hWnd))) return std::nullopt;
  if (nBufferLen <= 1) return std::string();
  std::string s(static_cast<size_t>(nBufferLen), '\0');
  SetLastError(0);
  const int n = bClass ? GetClassNameA(H(hWnd), s.data(), nBufferLen)
                       : GetWindowTextA(H(hWnd), s.data(), nBufferLen);
  // An empty title reads as 0 characters without an error.
  if (n <= 0 && (bClass || GetLastError() != 0)) return std::nullopt;
  s.resize(static_cast<size_t>(std::max(n, 0)));
  return s;
}

}  // namespace

Win32WindowSystem::~Win32WindowSystem() = default;

platform::WindowHandle Win32WindowSystem::FindWindowByTitle(const std::string& sTitle) {
  // The window manager compares titles without regard to case; the agent wants them
  // exact, so a window that differs only in case is passed over.
  HWND h = FindWindowA(nullptr, sTitle.c_str());
  while (h) {
    if (Read(W(h), static_cast<int>(sTitle.size()) + 2, false) == sTitle) return W(h);
    h = FindWindowExA(nullptr, h, nullptr, sTitle.c_str());
  }
  return 0;
}

platform::WindowHandle Win32WindowSystem::NextWindow(platform::WindowHandle hWnd) {
  if (hWnd == 0 || !IsWindow(H(hWnd))) return 0;
  return W(GetWindow(H(hWnd), GW_HWNDNEXT));
}

std::optional<std::string> Win32WindowSystem::ClassName(platform::WindowHandle hWnd,
                                                        int nBufferLen) {
  return Read(hWnd, nBufferLen, true);
}

std::optional<std::string> Win32WindowSystem::WindowText(platform::WindowHandle hWnd,
                                                         int nBufferLen) {
  return Read(hWnd, nBufferLen, false);
}

bool Win32WindowSystem::SendClose(platform::WindowHandle hWnd) {
  if (hWnd == 0 || !IsWindow(H(hWnd))) return false;
  // Returns once the window's thread has handled the request (ours at once).
  SendMessageA(H(hWnd), WM_CLOSE, 0, 0);
  return true;
}

void Win32WindowSystem::AttachForm(ui::Form& form) {
  if (windows_.count(&form)) return;
  auto window = std::make_unique<FormWindow>(form, loop_, bOffscreen_);
  window->SetHideOnClose(hideOnClose_.count(&form) > 0);
  windows_[&form] = std::move(window);
}

void Win32WindowSystem::DetachForm(ui::Form& form) {
  // It may be the form's own handler that detaches it: the window object is safe to
  // end inside its own procedure, it touches nothing of itself after a delivery.
  windows_.erase(&form);
}

void Win32WindowSystem::SetHideOnClose(ui::Form& form) {
  hideOnClose_.insert(&form);
  if (auto* w = WindowOf(form)) w->SetHideOnClose(true);
}

FormWindow* Win32WindowSystem::WindowOf(const ui::Form& form) const {
  auto it = windows_.find(&form);
  return it == windows_.end() ? nullptr : it->second.get();
}

void Win32WindowSystem::MessageBox(const std::string& sTitle, const std::string& sText) {
  if (bOffscreen_) {
    // Nobody could answer it: say it where the log goes and go on.
    std::printf("MessageBox [%s]: %s\n", sTitle.c_str(), sText.c_str());
    std::fflush(stdout);
    return;
  }
  MessageBoxA(nullptr, sText.c_str(), sTitle.c_str(), MB_OK | MB_TASKMODAL);
  if (loop_.Ended()) throw platform::ProcessEnded{};
}

void Win32Trace::ActivityLine(const std::string& sText) {
  if (!bToStdout_) return;
  std::fwrite(sText.data(), 1, sText.size(), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

}  // namespace launchagent::win32
