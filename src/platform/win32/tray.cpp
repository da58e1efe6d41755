#include "platform/win32/tray.h"

#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

constexpr UINT kTrayMessage = WM_APP + 10;
constexpr UINT kIconId = 1;
enum : UINT { kShowLog = 1, kOpenSetup = 2, kQuit = 3 };
constexpr const char* kTrayClass = "LaunchAgentTray";

LRESULT CALLBACK TrayProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
  auto* self = reinterpret_cast<AgentTray*>(GetWindowLongPtrA(hWnd, GWLP_USERDATA));
  if (self && uMsg == kTrayMessage) {
    self->OnNotify(static_cast<unsigned>(LOWORD(lParam)));
    return 0;
  }
  if (self && uMsg == WM_COMMAND) {
    self->OnMenu(LOWORD(wParam));
    return 0;
  }
  return DefWindowProcA(hWnd, uMsg, wParam, lParam);
}

NOTIFYICONDATAA IconData(HWND h) {
  NOTIFYICONDATAA nid{};
  nid.cbSize = sizeof nid;
  nid.hWnd = h;
  nid.uID = kIconId;
  return nid;
}

}  // namespace

AgentTray::AgentTray(Win32EventLoop& loop, std::function<void()> fnShowLog,
                     std::function<void()> fnOpenSetup)
    : loop_(loop), fnShowLog_(std::move(fnShowLog)), fnOpenSetup_(std::move(fnOpenSetup)) {
  WNDCLASSA wc{};
  wc.lpfnWndProc = TrayProc;
  wc.hInstance = GetModuleHandleA(nullptr);
  wc.lpszClassName = kTrayClass;
  RegisterClassA(&wc);
  // A hidden window of its own: the menu needs a foreground window to close properly.
  HWND h = CreateWindowExA(WS_EX_TOOLWINDOW, kTrayClass, "", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr,
                           GetModuleHandleA(nullptr), nullptr);
  hWnd_ = h;
  if (!h) return;
  SetWindowLongPtrA(h, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  NOTIFYICONDATAA nid = IconData(h);
  nid.uFlags = NIF_ICON | NIF_MESSAGE | NIF_TIP;
  nid.uCallbackMessage = kTrayMessage;
  nid.hIcon = LoadIcon(nullptr, IDI_APPLICATION);
  lstrcpynA(nid.szTip, "Launch Service for Varno", sizeof nid.szTip);
  bShown_ = Shell_NotifyIconA(NIM_ADD, &nid) != 0;
  if (!bShown_) OutputDebugStringA("launch agent: the notification area took no icon\n");
}

AgentTray::~AgentTray() {
  if (!hWnd_) return;
  if (bShown_) {
    NOTIFYICONDATAA nid = IconData(static_cast<HWND>(hWnd_));
    Shell_NotifyIconA(NIM_DELETE, &nid);
  }
  SetWindowLongPtrA(static_cast<HWND>(hWnd_), GWLP_USERDATA, 0);
  DestroyWindow(static_cast<HWND>(hWnd_));
}

void AgentTray::OnNotify(unsigned nEvent) {
  if (nEvent == WM_LBUTTONUP || nEvent == WM_LBUTTONDBLCLK) {
    loop_.Deliver(fnShowLog_);
    return;
  }
  if (nEvent != WM_RBUTTONUP && nEvent != WM_CONTEXTMENU) return;
  HMENU hMenu = CreatePopupMenu();
  AppendMenuA(hMenu, MF_STRING, kShowLog, "Show log");
  AppendMenuA(hMenu, MF_STRING, kOpenSetup, "Agent Setup...");
  AppendMenuA(hMenu, MF_SEPARATOR, 0, nullptr);
  AppendMenuA(hMenu, MF_STRING, kQuit, "Quit");
  POINT pt{};
  GetCursorPos(&pt);
  HWND h = static_cast<HWND>(hWnd_);
  SetForegroundWindow(h);
  const UINT nItem = static_cast<UINT>(
      TrackPopupMenu(hMenu, TPM_RETURNCMD | TPM_RIGHTBUTTON, pt.x, pt.y, 0, h, nullptr));
  DestroyMenu(hMenu);
  if (nItem != 0) OnMenu(nItem);
}

void AgentTray::OnMenu(unsigned nItem) {
  switch (nItem) {
    case kShowLog:
      loop_.Deliver(fnShowLog_);
      break;
    case kOpenSetup:
      loop_.Deliver(fnOpenSetup_);
      break;
    case kQuit:
      loop_.RequestEnd();
      break;
    default:
      break;
  }
}

}  // namespace launchagent::win32
