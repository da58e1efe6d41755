// wine-driver.exe: what the Windows end-to-end tests need to see and do on the desktop
// from outside the agent, through the same calls a user's desktop makes.
//   version FILE                      prints the version resource's strings
//   wait TITLE present|gone SECONDS   waits for a top-level window with that title
//   click TITLE CONTROL...            clicks each check box or button of that window
//                                     with BM_CLICK, in order; a control is named by its
//                                     caption, "Web#2" for the second control so named
// Exit code 0 when done, 1 when the thing waited for did not come, 2 on bad usage.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

int Usage() {
  std::fputs(
      "usage: wine-driver version FILE | wait TITLE present|gone SECONDS |\n"
      "       click TITLE CONTROL...\n",
      stderr);
  return 2;
}

// The strings of the first translation the resource lists, or nothing.
int PrintVersion(const std::string& sFile) {
  DWORD dwIgnored = 0;
  const DWORD n = GetFileVersionInfoSizeA(sFile.c_str(), &dwIgnored);
  if (n == 0) return 1;
  std::vector<char> data(n);
  if (!GetFileVersionInfoA(sFile.c_str(), 0, n, data.data())) return 1;
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT len = 0;
  if (VerQueryValueA(data.data(), "\\", reinterpret_cast<void**>(&fixed), &len) && fixed)
    std::printf("Fixed=%u.%u.%u.%u\n", HIWORD(fixed->dwFileVersionMS),
                LOWORD(fixed->dwFileVersionMS), HIWORD(fixed->dwFileVersionLS),
                LOWORD(fixed->dwFileVersionLS));
  struct Translation {
    WORD wLanguage, wCodePage;
  }* tr = nullptr;
  if (!VerQueryValueA(data.data(), "\\VarFileInfo\\Translation", reinterpret_cast<void**>(&tr),
                      &len) ||
      len < sizeof *tr)
    return 1;
  char szBlock[64];
  std::snprintf(szBlock, sizeof szBlock, "\\StringFileInfo\\%04x%04x\\", tr->wLanguage,
                tr->wCodePage);
  for (const char* szKey :
       {"ProductName", "ProductVersion", "FileVersion", "FileDescription", "OriginalFilename"}) {
    char* sz = nullptr;
    if (VerQueryValueA(data.data(), (std::string(szBlock) + szKey).c_str(),
                       reinterpret_cast<void**>(&sz), &len) &&
        sz)
      std::printf("%s=%s\n", szKey, sz);
  }
  return 0;
}

bool WaitFor(const std::string& sTitle, bool bPresent, double dSeconds) {
  const DWORD dwEnd = GetTickCount() + static_cast<DWORD>(dSeconds * 1000);
  while (true) {
    if ((FindWindowA(nullptr, sTitle.c_str()) != nullptr) == bPresent) return true;
    if (static_cast<LONG>(GetTickCount() - dwEnd) >= 0) return false;
    Sleep(50);
  }
}

struct Search {
  std::string sCaption;
  int nSkip = 0;  // matches to pass over before the one wanted
  HWND hFound = nullptr;
};

BOOL CALLBACK MatchCaption(HWND h, LPARAM l) {
  auto* s = reinterpret_cast<Search*>(l);
  char sz[256] = {};
  GetWindowTextA(h, sz, sizeof sz);
  if (s->sCaption != sz || s->nSkip-- > 0) return TRUE;
  s->hFound = h;
  return FALSE;
}

// "Web#2" -> caption "Web", one match skipped.
Search ParseControl(const std::string& sName) {
  const auto n = sName.rfind('#');
  if (n == std::string::npos || n + 1 == sName.size()) return Search{sName};
  return Search{sName.substr(0, n), std::atoi(sName.c_str() + n + 1) - 1};
}

int Click(const std::string& sTitle, const std::vector<std::string>& controls) {
  if (!WaitFor(sTitle, true, 10)) return 1;
  HWND hWnd = FindWindowA(nullptr, sTitle.c_str());
  for (const auto& sControl : controls) {
    Search s = ParseControl(sControl);
    EnumChildWindows(hWnd, MatchCaption, reinterpret_cast<LPARAM>(&s));
    if (!s.hFound) {
      std::fprintf(stderr, "no control \"%s\" in \"%s\"\n", sControl.c_str(), sTitle.c_str());
      return 1;
    }
    // Sent, so the click has been handled when the call returns.
    SendMessageA(s.hFound, BM_CLICK, 0, 0);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  if (args.size() == 2 && args[0] == "version") return PrintVersion(args[1]);
  if (args.size() == 4 && args[0] == "wait" && (args[2] == "present" || args[2] == "gone"))
    return WaitFor(args[1], args[2] == "present", std::atof(args[3].c_str())) ? 0 : 1;
  if (args.size() >= 3 && args[0] == "click")
    return Click(args[1], std::vector<std::string>(args.begin() + 2, args.end()));
  return Usage();
}
