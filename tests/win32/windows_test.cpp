#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "platform/ui/form.h"
#include "platform/win32/desktop.h"
#include "platform/win32/window_system.h"
#include "win32_test_support.h"

namespace launchagent::win32 {
namespace {

HWND H(void* p) { return static_cast<HWND>(p); }

std::string TextOf(HWND h) {
  char buf[4096] = {};
  GetWindowTextA(h, buf, sizeof buf);
  return buf;
}

// A form attached to a window system for one scope, and its windows.
struct Attached {
  Attached(Win32WindowSystem& s, ui::Form& f) : system(s), form(f) { s.AttachForm(f); }
  ~Attached() { system.DetachForm(form); }
  FormWindow* Window() const { return system.WindowOf(form); }
  HWND Handle() const { return Window() ? H(Window()->Handle()) : nullptr; }
  HWND Control(const char* szName) const {
    return Window() ? H(Window()->ControlHandle(szName)) : nullptr;
  }
  Win32WindowSystem& system;
  ui::Form& form;
};

class WindowsTest : public Win32LoopTest {
 protected:
  Win32WindowSystem windows{loop, false};
};

// Finding, reading, renaming and closing windows are the seam's contract (tests/contract).
// Clicks and typing reach the models and their handlers; the program's changes to the
// models reach the controls (and are no clicks).
TEST_F(WindowsTest, ControlsAndTheirModelsFollowEachOther) {
  ui::Form form("frmSetup", "Launch Smoke Setup");
  auto& check = form.Add<ui::CheckBox>("chkOption", "Option");
  auto& list = form.Add<ui::ListBox>("lstHosts", true);
  auto& button = form.Add<ui::CommandButton>("cmdGo", "Go");
  auto& label = form.Add<ui::Label>("lblInfo", "Info");
  auto& name = form.Add<ui::TextBox>("txtName", "old");
  int nChecks = 0, nButtons = 0, nListClicks = 0, nChanges = 0;
  check.OnClick = [&] { ++nChecks; };
  button.OnClick = [&] { ++nButtons; };
  list.OnClick = [&] { ++nListClicks; };
  name.OnChange = [&] { ++nChanges; };
  Attached on(windows, form);
  HWND hCheck = on.Control("chkOption"), hList = on.Control("lstHosts");
  HWND hButton = on.Control("cmdGo"), hName = on.Control("txtName");
  ASSERT_TRUE(hCheck && hList && hButton && hName);

  SendMessageA(hCheck, BM_CLICK, 0, 0);
  EXPECT_EQ(check.Value(), 1);
  EXPECT_EQ(nChecks, 1);
  SendMessageA(hButton, BM_CLICK, 0, 0);
  EXPECT_EQ(nButtons, 1);
  EXPECT_EQ(TextOf(hName), "old");
  SetWindowTextA(hName, "typed");  // as a user's edit, it notifies the form
  EXPECT_EQ(name.Text(), "typed");
  EXPECT_EQ(nChanges, 1);

  button.SetEnabled(false);
  EXPECT_FALSE(IsWindowEnabled(hButton));
  check.SetValue(0);
  EXPECT_EQ(SendMessageA(hCheck, BM_GETCHECK, 0, 0), BST_UNCHECKED);
  label.SetCaption("Changed");
  EXPECT_EQ(TextOf(on.Control("lblInfo")), "Changed");
  name.SetText("set by the agent");
  EXPECT_EQ(TextOf(hName), "set by the agent");
  EXPECT_EQ(nChanges, 2);
  for (const char* sz : {"pc1", "pc2", "pc3"}) list.AddItem(sz);
  list.SetSelected(2, true);
  EXPECT_EQ(SendMessageA(hList, LB_GETCOUNT, 0, 0), 3);
  EXPECT_EQ(SendMessageA(hList, LB_GETSEL, 2, 0), TRUE);
  EXPECT_EQ(SendMessageA(hList, LB_GETSEL, 0, 0), FALSE);
  EXPECT_EQ(nListClicks, 0) << "a program's change is no click";
  list.RemoveItem(0);
  EXPECT_EQ(SendMessageA(hList, LB_GETCOUNT, 0, 0), 2);
}

TEST_F(WindowsTest, PlacedControlsSitInTheirFramesAndFollowALargerWindow) {
  ui::Form form("frmSetup", "Launch Smoke Layout");
  form.nWidth = 400;
  form.nHeight = 300;
  auto place = [](ui::Control& c, const char* szIn, int x, int y, int w, int h) {
    c.sContainer = szIn;
    c.nLeft = x, c.nTop = y, c.nWidth = w, c.nHeight = h;
  };
  place(form.Add<ui::Frame>("fra", "Frame"), "", 10, 10, 380, 200);
  place(form.Add<ui::ListBox>("lst"), "fra", 8, 20, 360, 170);
  place(form.Add<ui::CommandButton>("cmd", "OK"), "", 300, 260, 90, 30);
  Attached on(windows, form);
  HWND hForm = on.Handle();
  ASSERT_NE(hForm, nullptr);
  auto Rect = [&](const char* sz) {
    RECT r{};
    GetWindowRect(on.Control(sz), &r);
    MapWindowPoints(nullptr, hForm, reinterpret_cast<POINT*>(&r), 2);
    return r;
  };
  const RECT list = Rect("lst");
  EXPECT_EQ(list.left, 18);
  EXPECT_EQ(list.top, 30);
  const RECT button = Rect("cmd");
  // Wider and taller: the frame crosses the middle and stretches, its list box with it
  // only as far as its own hints say; the button beyond the middle moves.
  RECT r{0, 0, 600, 500};
  AdjustWindowRect(&r, WS_OVERLAPPEDWINDOW, FALSE);
  SetWindowPos(hForm, nullptr, 0, 0, r.right - r.left, r.bottom - r.top,
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  const RECT frame = Rect("fra");
  EXPECT_EQ(frame.right - frame.left, 380 + 200);
  EXPECT_EQ(frame.bottom - frame.top, 200 + 200);
  const RECT moved = Rect("cmd");
  EXPECT_EQ(moved.left - button.left, 200);
  EXPECT_EQ(moved.top - button.top, 200);
  EXPECT_EQ(moved.right - moved.left, 90);
}

TEST_F(WindowsTest, TheLogBoxTakesEveryLineButRefreshesAtABoundedRate) {
  ui::Form form("frmLaunch", "Launch Smoke Log");
  auto& log = form.Add<ui::TextBox>("txtInfo", "", true);
  Attached on(windows, form);
  FormWindow* window = on.Window();
  ASSERT_NE(window, nullptr);
  HWND hBox = on.Control("txtInfo");
  // Hidden, the window costs nothing to keep current.
  for (int i = 0; i < 200; ++i)
    log.SetText(log.Text() + "hidden line " + std::to_string(i) + "\r\n");
  loop.WaitForEvents(0.2);
  EXPECT_EQ(window->TextRefreshes(), 0);

  form.Show();
  EXPECT_EQ(TextOf(hBox), log.Text()) << "shown at once when the window appears";
  const long long lngAfterShow = window->TextRefreshes();
  const int nLines = 3000;
  for (int i = 0; i < nLines; ++i) {
    std::string s = log.Text() + "line " + std::to_string(i) + "\n";
    log.SetText(std::move(s));
    log.SetSelStart(static_cast<Long>(log.Text().size()));
  }
  EXPECT_LT(window->TextRefreshes() - lngAfterShow, 2) << "refreshed per line";
  ASSERT_TRUE(PumpUntil([&] { return window->TextRefreshes() > lngAfterShow; }));
  // The box holds every line, each "\n" shown as a line break.
  const std::string sShown = [&] {
    std::string s(static_cast<size_t>(GetWindowTextLengthA(hBox)) + 1, '\0');
    s.resize(static_cast<size_t>(GetWindowTextA(hBox, s.data(), static_cast<int>(s.size()))));
    return s;
  }();
  EXPECT_NE(sShown.find("line 0\r\nline 1\r\n"), std::string::npos);
  EXPECT_EQ(sShown.size() - sShown.rfind("line 2999\r\n"), 11u);
  DWORD dwStart = 0, dwEnd = 0;
  SendMessageA(hBox, EM_GETSEL, reinterpret_cast<WPARAM>(&dwStart),
               reinterpret_cast<LPARAM>(&dwEnd));
  EXPECT_EQ(dwStart, sShown.size()) << "the caret follows the model's selection";
}

TEST_F(WindowsTest, OffscreenFormsKeepTheirBoxesCurrentAndHiddenBoxesStayHidden) {
  for (bool bOffscreen : {true, false}) {
    SCOPED_TRACE(bOffscreen ? "offscreen" : "on screen");
    Win32WindowSystem system(loop, bOffscreen);
    ui::Form form("frmSetup", "Launch Smoke Boxes");
    auto& shown = form.Add<ui::TextBox>("txtLog", "", true);
    auto& hidden = form.Add<ui::TextBox>("txtHidden", "", true);
    hidden.SetVisible(false);
    Attached on(system, form);
    ASSERT_NE(on.Handle(), nullptr);
    form.Show();
    EXPECT_EQ(IsWindowVisible(on.Handle()) != 0, !bOffscreen);
    shown.SetText("first\r\n");
    hidden.SetText("secret\r\n");
    ASSERT_TRUE(PumpUntil([&] { return TextOf(on.Control("txtLog")) == "first\r\n"; }));
    EXPECT_EQ(TextOf(on.Control("txtHidden")), "secret\r\n");
    EXPECT_FALSE(GetWindowLongA(on.Control("txtHidden"), GWL_STYLE) & WS_VISIBLE);
  }
}

TEST_F(WindowsTest, AgentsOnDesktopsOfTheirOwnDoNotSeeEachOther) {
  platform::WindowHandle hSeenThere = 0, hMadeThere = 0;
  std::thread other([&] {
    ASSERT_TRUE(JoinDesktop("la-smoke-desktop"));
    Win32EventLoop otherLoop(time);
    Win32WindowSystem otherWindows(otherLoop, true);
    ui::Form form("frmLaunch", "Launch Smoke Isolated");
    Attached on(otherWindows, form);
    hMadeThere = reinterpret_cast<INT_PTR>(on.Handle());
    hSeenThere = otherWindows.FindWindowByTitle("Launch Smoke Isolated");
  });
  other.join();
  SetEnvironmentVariableA(kDesktopVariable, nullptr);
  EXPECT_NE(hMadeThere, 0);
  EXPECT_EQ(hSeenThere, hMadeThere);
  ui::Form form("frmLaunch", "Launch Smoke Isolated");
  Attached on(windows, form);
  const auto hHere = windows.FindWindowByTitle("Launch Smoke Isolated");
  EXPECT_NE(hHere, 0);
  EXPECT_NE(hHere, hMadeThere);
}

}  // namespace
}  // namespace launchagent::win32
