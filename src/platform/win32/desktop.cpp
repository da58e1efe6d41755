#include "platform/win32/desktop.h"

#include "platform/win32/win.h"

namespace launchagent::win32 {

bool JoinDesktop(const std::string& sName) {
  if (sName.empty()) return true;
  HDESK hDesk = CreateDesktopA(sName.c_str(), nullptr, nullptr, 0, GENERIC_ALL, nullptr);
  if (!hDesk || !SetThreadDesktop(hDesk)) return false;
  return SetEnvironmentVariableA(kDesktopVariable, sName.c_str()) != 0;
}

}  // namespace launchagent::win32
