// A stand-in for the main application on Windows: one top-level window of class
// "ThunderRT6FormDC" titled "Varno" that closes on WM_CLOSE (or refuses the first N
// requests). Installed as Varno2.exe, the name the agent looks for.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "platform/win32/desktop.h"
#include "platform/win32/form_window.h"
#include "platform/win32/win.h"

namespace {

struct Options {
  int nRefuse = 0;
  int nDelayMs = 0;
  std::string sTitle = "Varno";
  std::string sLog;
  std::string sArgs;  // what the agent passed, for the log
};

Options options;
int nRefused = 0;
constexpr UINT_PTR kOpenTimer = 1;

std::string Env(const char* sz, const std::string& sDefault = "") {
  const char* v = std::getenv(sz);
  return v ? std::string(v) : sDefault;
}

void Log(const std::string& s) {
  std::printf("stand-in %lu: %s\n", GetCurrentProcessId(), s.c_str());
  std::fflush(stdout);
  if (options.sLog.empty()) return;
  std::ofstream out(options.sLog, std::ios::app);
  out << GetCurrentProcessId() << " " << s << "\n";
}

LRESULT CALLBACK StandInProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
  switch (uMsg) {
    case WM_CLOSE:
      if (nRefused < options.nRefuse) {
        ++nRefused;
        Log("close refused");
        return 0;
      }
      Log("closed");
      DestroyWindow(hWnd);
      return 0;
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
    default:
      return DefWindowProcA(hWnd, uMsg, wParam, lParam);
  }
}

void Usage() {
  std::puts(
      "A stand-in for Varno: one window titled \"Varno\" that closes when asked.\n\n"
      "Usage: Varno2.exe [-default | -ReindexVarno USER] [options]\n"
      "  --refuse N     refuse the first N close requests [LA_STANDIN_REFUSE]\n"
      "  --delay-ms N   open the window after N ms [LA_STANDIN_DELAY_MS]\n"
      "  --title TEXT   window title (default Varno)\n"
      "  --log FILE     append what happens to FILE [LA_STANDIN_LOG]");
}

}  // namespace

int main(int argc, char** argv) {
  options.nRefuse = std::atoi(Env("LA_STANDIN_REFUSE", "0").c_str());
  options.nDelayMs = std::atoi(Env("LA_STANDIN_DELAY_MS", "0").c_str());
  options.sLog = Env("LA_STANDIN_LOG");
  for (int i = 1; i < argc; ++i) {
    const std::string s = argv[i];
    auto next = [&]() -> std::string { return i + 1 < argc ? argv[++i] : ""; };
    if (s == "--refuse") {
      options.nRefuse = std::atoi(next().c_str());
    } else if (s == "--delay-ms") {
      options.nDelayMs = std::atoi(next().c_str());
    } else if (s == "--title") {
      options.sTitle = next();
    } else if (s == "--log") {
      options.sLog = next();
    } else if (s == "--help" || s == "-h") {
      Usage();
      return 0;
    } else {
      options.sArgs += (options.sArgs.empty() ? "" : " ") + s;  // the agent's parameters
    }
  }
  Log("started " + options.sArgs);
  // The agent that started us may run on a desktop of its own; its window watch looks
  // for us there.
  if (!launchagent::win32::JoinDesktop(Env(launchagent::win32::kDesktopVariable))) {
    Log("cannot use the desktop " + Env(launchagent::win32::kDesktopVariable));
    return 1;
  }

  WNDCLASSA wc{};
  wc.lpfnWndProc = StandInProc;
  wc.hInstance = GetModuleHandleA(nullptr);
  wc.hCursor = LoadCursor(nullptr, IDC_ARROW);
  wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
  wc.lpszClassName = launchagent::win32::kFormClass;
  if (!RegisterClassA(&wc)) return 1;
  HWND hWnd = nullptr;
  auto open = [&] {
    const std::string sText = "Varno (stand-in)\r\nstarted with: " + options.sArgs;
    hWnd = CreateWindowExA(0, launchagent::win32::kFormClass, options.sTitle.c_str(),
                           WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT, 320, 120, nullptr,
                           nullptr, wc.hInstance, nullptr);
    if (!hWnd) return false;
    CreateWindowExA(0, "STATIC", sText.c_str(), WS_CHILD | WS_VISIBLE, 8, 8, 300, 60, hWnd, nullptr,
                    wc.hInstance, nullptr);
    ShowWindow(hWnd, SW_SHOWNORMAL);
    Log("window open");
    return true;
  };
  if (options.nDelayMs <= 0) {
    if (!open()) return 1;
  } else {
    SetTimer(nullptr, kOpenTimer, static_cast<UINT>(options.nDelayMs), nullptr);
  }
  MSG msg;
  while (GetMessageA(&msg, nullptr, 0, 0) > 0) {
    if (msg.message == WM_TIMER && msg.hwnd == nullptr && !hWnd) {
      KillTimer(nullptr, msg.wParam);
      if (!open()) return 1;
      continue;
    }
    TranslateMessage(&msg);
    DispatchMessageA(&msg);
  }
  return 0;
}
