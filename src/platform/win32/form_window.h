#pragma once
// A top-level window of class "ThunderRT6FormDC" that renders any ui::Form with raw
// Win32 controls and binds them both ways: model changes update the controls, user
// actions go back through the models (and so to the agent). Placement follows the
// layout hints (pixels; controls in a frame sit inside its group box); without hints
// the controls stack. A form whose only control is a multi-line box gets that box
// filling the window, read-only. In a larger window a control that crosses the middle
// stretches and one beyond it moves with the far edge.
// Multi-line boxes follow their model through a coalescing timer, so a log that takes
// thousands of lines a second costs one refresh per tick, and nothing while hidden.
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/ui/form.h"
#include "platform/win32/event_loop.h"

namespace launchagent::win32 {

// The window class every form of the agent and of the main application carries.
inline constexpr const char* kFormClass = "ThunderRT6FormDC";

class FormWindow {
 public:
  // bOffscreen: the window exists (others find it) but is never shown.
  FormWindow(ui::Form& form, Win32EventLoop& loop, bool bOffscreen);
  ~FormWindow();
  FormWindow(const FormWindow&) = delete;
  FormWindow& operator=(const FormWindow&) = delete;

  void* Handle() const { return hWnd_; }
  ui::Form& Model() { return form_; }
  void SetHideOnClose(bool b) { bHideOnClose_ = b; }
  // The desktop or another program asks the window to close.
  void RequestClose();
  // The child window that renders a control; nullptr for timers and unknown names.
  void* ControlHandle(const std::string& sControl) const;
  // Brings every multi-line box up to date with its model now.
  void RefreshNow();
  // How many times a multi-line box was written to since the window was made.
  long long TextRefreshes() const { return lngTextRefreshes_; }

  // Window procedure work; public for the procedure only.
  long long Dispatch(unsigned uMsg, unsigned long long wParam, long long lParam, bool& bHandled);

 private:
  struct View {
    ui::Control* control = nullptr;
    void* hWnd = nullptr;
    int nLeft = 0, nTop = 0, nWidth = 0, nHeight = 0;  // where the hints put it
    bool bOwnArea = false;                             // placed on the form itself
    bool bDirty = false;                               // multi-line text behind its model
    std::string sShown;                                // the text the box holds
    long lngSelStart = -1, lngSelLength = -1;          // the selection last applied
  };
  void SyncForm();
  void Build(ui::Control& c);
  void SyncControl(View& v);
  void SyncMultiLine(View& v);
  void OnCommand(void* hChild, unsigned nCode);
  void OnSize(int nWidth, int nHeight);
  void ScheduleTextRefresh();
  void Show(bool b);

  ui::Form& form_;
  Win32EventLoop& loop_;
  bool bOffscreen_;
  void* hWnd_ = nullptr;
  void* hFont_ = nullptr;
  std::shared_ptr<bool> alive_;
  std::map<ui::Control*, View> views_;
  std::map<std::string, View*> frames_;
  int nNextY_ = 8;  // the next free row of an unplaced form
  int nDesignWidth_ = 0, nDesignHeight_ = 0;
  bool bFill_ = false;
  bool bAbsolute_ = false;
  bool bHideOnClose_ = false;
  bool bSyncing_ = false;
  bool bRefreshPending_ = false;
  bool bShown_ = false;
  std::string sCaption_;
  long long lngTextRefreshes_ = 0;
};

// Registers the form window class of this process (once); false when it cannot.
bool RegisterFormClass();

}  // namespace launchagent::win32
