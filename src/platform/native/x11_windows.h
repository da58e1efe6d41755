#pragma once
// Other programs' top-level windows on an X display, through xcb on a connection of
// our own: the stacking order, the class part of WM_CLASS, the title and the close
// request (WM_DELETE_WINDOW).
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace launchagent::native {

class X11Windows {
 public:
  // nullptr when the display cannot be opened.
  static std::unique_ptr<X11Windows> Open(const std::string& sDisplay = "");
  ~X11Windows();
  X11Windows(const X11Windows&) = delete;
  X11Windows& operator=(const X11Windows&) = delete;

  // Client windows, topmost first; hidden (unmapped) ones included.
  std::vector<std::uint32_t> TopLevels();
  bool Exists(std::uint32_t w);
  std::optional<std::string> ClassName(std::uint32_t w);
  std::optional<std::string> Title(std::uint32_t w);
  // Asks the window to close and waits up to dWaitSeconds for it to be destroyed. False
  // when the window does not exist.
  bool SendClose(std::uint32_t w, double dWaitSeconds);

 private:
  struct Impl;
  explicit X11Windows(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace launchagent::native
