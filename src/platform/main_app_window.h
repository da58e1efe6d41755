#pragma once
// The main application's top-level window as other programs see it. The class is the one
// its desktop runtime gives every form window, so the agent's own forms carry it too.
namespace launchagent {

inline constexpr const char* kFormWindowClass = "ThunderRT6FormDC";
inline constexpr const char* kMainAppTitle = "Varno";

}  // namespace launchagent
