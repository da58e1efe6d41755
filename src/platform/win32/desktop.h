#pragma once
// A desktop of its own for a test: windows on one desktop do not see those on
// another, so several agents (each with its main application) can share one machine
// without taking each other for a running agent. Programs the agent starts join the
// same desktop through the environment.
#include <string>

namespace launchagent::win32 {

// The environment variable that names the desktop.
inline constexpr const char* kDesktopVariable = "LA_DESKTOP";

// Moves this thread to the named desktop (made when missing) and names it for child
// programs. Must run before the thread makes any window. False when it cannot.
bool JoinDesktop(const std::string& sName);

}  // namespace launchagent::win32
