#include "platform/win32/form_window.h"

#include <algorithm>

#include "platform/backend/form_layout.h"
#include "platform/win32/win.h"

namespace launchagent::win32 {
namespace {

// The timer of a form window that brings its multi-line boxes up to date.
constexpr UINT_PTR kRefreshTimer = 1;
constexpr UINT kRefreshMs = 100;
// Child control ids start here; each control of a form has its own.
constexpr int kFirstControlId = 100;

HWND H(void* p) { return static_cast<HWND>(p); }

// A multi-line box shows a line break for "\r\n", a lone "\r" and a lone "\n"; the
// control wants "\r\n" for each.
std::string ForDisplay(const std::string& s) {
  std::string out;
  out.reserve(s.size() + s.size() / 16);
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\r' || s[i] == '\n') {
      out += "\r\n";
      if (s[i] == '\r' && i + 1 < s.size() && s[i + 1] == '\n') ++i;
    } else {
      out += s[i];
    }
  }
  return out;
}

// The position in the shown text of a position in the model's text.
long DisplayPosition(const std::string& s, long lngPos) {
  long n = 0;
  for (long i = 0; i < lngPos && i < static_cast<long>(s.size()); ++i) {
    const char c = s[static_cast<size_t>(i)];
    const bool bPair =
        c == '\r' && i + 1 < static_cast<long>(s.size()) && s[static_cast<size_t>(i) + 1] == '\n';
    n += ((c == '\r' && !bPair) || (c == '\n' && !(i > 0 && s[static_cast<size_t>(i) - 1] == '\r')))
             ? 2
             : 1;
  }
  return n;
}

std::string TextOf(HWND h) {
  const int n = GetWindowTextLengthA(h);
  std::string s(static_cast<size_t>(std::max(n, 0)) + 1, '\0');
  const int nGot = GetWindowTextA(h, s.data(), n + 1);
  s.resize(static_cast<size_t>(std::max(nGot, 0)));
  return s;
}

LRESULT CALLBACK FormProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
  if (uMsg == WM_NCCREATE) {
    auto* cs = reinterpret_cast<CREATESTRUCTA*>(lParam);
    SetWindowLongPtrA(hWnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(cs->lpCreateParams));
  }
  auto* self = reinterpret_cast<FormWindow*>(GetWindowLongPtrA(hWnd, GWLP_USERDATA));
  if (self) {
    bool bHandled = false;
    const long long r = self->Dispatch(uMsg, wParam, lParam, bHandled);
    if (bHandled) return static_cast<LRESULT>(r);
  }
  return DefWindowProcA(hWnd, uMsg, wParam, lParam);
}

}  // namespace

bool RegisterFormClass() {
  static const bool bRegistered = [] {
    WNDCLASSA wc{};
    wc.lpfnWndProc = FormProc;
    wc.hInstance = GetModuleHandleA(nullptr);
    wc.hCursor = LoadCursor(nullptr, IDC_ARROW);
    wc.hIcon = LoadIcon(nullptr, IDI_APPLICATION);
    wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    wc.lpszClassName = kFormClass;
    return RegisterClassA(&wc) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
  }();
  return bRegistered;
}

FormWindow::FormWindow(ui::Form& form, Win32EventLoop& loop, bool bOffscreen)
    : form_(form), loop_(loop), bOffscreen_(bOffscreen), alive_(std::make_shared<bool>(true)) {
  const platform::FormLayout layout = platform::LayoutOf(form_);
  bAbsolute_ = layout.bAbsolute;
  bFill_ = layout.bFill;
  nDesignWidth_ = std::max(form_.nWidth, 120);
  nDesignHeight_ = std::max(form_.nHeight, 80);

  RegisterFormClass();
  RECT r{0, 0, nDesignWidth_, nDesignHeight_};
  AdjustWindowRect(&r, WS_OVERLAPPEDWINDOW, FALSE);
  sCaption_ = form_.Caption();
  hWnd_ = CreateWindowExA(0, kFormClass, sCaption_.c_str(), WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN,
                          CW_USEDEFAULT, CW_USEDEFAULT, r.right - r.left, r.bottom - r.top, nullptr,
                          nullptr, GetModuleHandleA(nullptr), this);
  if (!hWnd_) {
    OutputDebugStringA("launch agent: a form window could not be made\n");
    return;
  }
  hFont_ = GetStockObject(DEFAULT_GUI_FONT);
  form_.AddObserver([w = std::weak_ptr<bool>(alive_), this] {
    if (w.lock()) SyncForm();
  });
  SyncForm();
}

FormWindow::~FormWindow() {
  alive_.reset();
  if (hWnd_) {
    KillTimer(H(hWnd_), kRefreshTimer);
    SetWindowLongPtrA(H(hWnd_), GWLP_USERDATA, 0);
    DestroyWindow(H(hWnd_));
  }
}

void* FormWindow::ControlHandle(const std::string& sControl) const {
  for (auto& [c, v] : views_)
    if (c->Name() == sControl) return v.hWnd;
  return nullptr;
}

void FormWindow::Show(bool b) {
  if (bOffscreen_ || b == bShown_) return;
  bShown_ = b;
  ShowWindow(H(hWnd_), b ? SW_SHOWNORMAL : SW_HIDE);
  // What a hidden window skipped is shown at once.
  if (b) RefreshNow();
}

void FormWindow::SyncForm() {
  for (auto& c : form_.Controls())
    if (!views_.count(c.get()) && !platform::IsTimer(*c)) Build(*c);
  if (form_.Caption() != sCaption_) {
    sCaption_ = form_.Caption();
    SetWindowTextA(H(hWnd_), sCaption_.c_str());
  }
  Show(form_.Visible());
}

void FormWindow::Build(ui::Control& c) {
  const char* szClass = nullptr;
  std::string sText;
  DWORD style = WS_CHILD;
  DWORD exStyle = 0;
  if (auto* label = dynamic_cast<ui::Label*>(&c)) {
    szClass = "STATIC";
    sText = label->Caption();
    style |= SS_LEFT;
  } else if (auto* frame = dynamic_cast<ui::Frame*>(&c)) {
    szClass = "BUTTON";
    sText = frame->Caption();
    style |= BS_GROUPBOX;
  } else if (auto* text = dynamic_cast<ui::TextBox*>(&c)) {
    szClass = "EDIT";
    exStyle = WS_EX_CLIENTEDGE;
    style |= WS_TABSTOP | ES_LEFT;
    if (text->MultiLine()) {
      style |= ES_MULTILINE | ES_AUTOVSCROLL | ES_WANTRETURN | WS_VSCROLL;
      if (bFill_) style |= ES_READONLY;
    } else {
      style |= ES_AUTOHSCROLL;
    }
  } else if (auto* button = dynamic_cast<ui::CommandButton*>(&c)) {
    szClass = "BUTTON";
    sText = button->Caption();
    style |= BS_PUSHBUTTON | WS_TABSTOP;
  } else if (auto* check = dynamic_cast<ui::CheckBox*>(&c)) {
    szClass = "BUTTON";
    sText = check->Caption();
    style |= BS_AUTOCHECKBOX | WS_TABSTOP;
  } else if (auto* list = dynamic_cast<ui::ListBox*>(&c)) {
    szClass = "LISTBOX";
    exStyle = WS_EX_CLIENTEDGE;
    style |= LBS_NOTIFY | LBS_NOINTEGRALHEIGHT | WS_VSCROLL | WS_TABSTOP;
    if (list->MultiSelect()) style |= LBS_MULTIPLESEL;
  } else {
    return;
  }

  View v;
  v.control = &c;
  // Placement: the hints (inside the frame's group box when it has one), the whole
  // client area for a lone log box, else the next free row.
  if (bFill_) {
    v.nLeft = 0;
    v.nTop = 0;
    v.nWidth = nDesignWidth_;
    v.nHeight = nDesignHeight_;
    v.bOwnArea = true;
  } else if (bAbsolute_) {
    v.nLeft = c.nLeft;
    v.nTop = c.nTop;
    v.nWidth = platform::HasHints(c) ? c.nWidth : 120;
    v.nHeight = platform::HasHints(c) ? c.nHeight : 24;
    auto frame = frames_.find(c.sContainer);
    if (!c.sContainer.empty() && frame != frames_.end()) {
      v.nLeft += frame->second->nLeft;
      v.nTop += frame->second->nTop;
    } else {
      v.bOwnArea = true;
    }
  } else {
    v.nLeft = 8;
    v.nTop = nNextY_;
    v.nWidth = nDesignWidth_ - 16;
    v.nHeight = dynamic_cast<ui::ListBox*>(&c) ||
                        (dynamic_cast<ui::TextBox*>(&c) && static_cast<ui::TextBox&>(c).MultiLine())
                    ? 96
                    : 24;
    nNextY_ += v.nHeight + 6;
    v.bOwnArea = true;
  }
  const int nId = kFirstControlId + static_cast<int>(views_.size());
  v.hWnd = CreateWindowExA(exStyle, szClass, sText.c_str(), style, v.nLeft, v.nTop, v.nWidth,
                           v.nHeight, H(hWnd_), reinterpret_cast<HMENU>(static_cast<INT_PTR>(nId)),
                           GetModuleHandleA(nullptr), nullptr);
  if (!v.hWnd) return;
  SendMessageA(H(v.hWnd), WM_SETFONT, reinterpret_cast<WPARAM>(hFont_), FALSE);
  if (szClass == std::string("EDIT")) SendMessageA(H(v.hWnd), EM_SETLIMITTEXT, 0, 0);
  // A group box is drawn below the controls it holds.
  if (dynamic_cast<ui::Frame*>(&c))
    SetWindowPos(H(v.hWnd), HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  View& stored = views_[&c] = std::move(v);
  if (dynamic_cast<ui::Frame*>(&c)) frames_[c.Name()] = &stored;
  if (stored.bOwnArea) {
    nDesignWidth_ = std::max(nDesignWidth_, stored.nLeft + stored.nWidth);
    nDesignHeight_ = std::max(nDesignHeight_, stored.nTop + stored.nHeight);
  }
  SyncControl(stored);
  c.AddObserver([w = std::weak_ptr<bool>(alive_), this, pc = &c] {
    if (!w.lock()) return;
    auto it = views_.find(pc);
    if (it != views_.end()) SyncControl(it->second);
  });
}

void FormWindow::SyncControl(View& v) {
  HWND h = H(v.hWnd);
  ui::Control& c = *v.control;
  bSyncing_ = true;
  if (auto* label = dynamic_cast<ui::Label*>(&c)) {
    if (TextOf(h) != label->Caption()) SetWindowTextA(h, label->Caption().c_str());
  } else if (auto* frame = dynamic_cast<ui::Frame*>(&c)) {
    if (TextOf(h) != frame->Caption()) SetWindowTextA(h, frame->Caption().c_str());
  } else if (auto* button = dynamic_cast<ui::CommandButton*>(&c)) {
    if (TextOf(h) != button->Caption()) SetWindowTextA(h, button->Caption().c_str());
  } else if (auto* check = dynamic_cast<ui::CheckBox*>(&c)) {
    if (TextOf(h) != check->Caption()) SetWindowTextA(h, check->Caption().c_str());
    SendMessageA(h, BM_SETCHECK, check->Value() == 1 ? BST_CHECKED : BST_UNCHECKED, 0);
  } else if (auto* text = dynamic_cast<ui::TextBox*>(&c)) {
    if (text->MultiLine()) {
      v.bDirty = true;
      ScheduleTextRefresh();
    } else {
      if (TextOf(h) != text->Text()) SetWindowTextA(h, text->Text().c_str());
      SendMessageA(h, EM_SETSEL, static_cast<WPARAM>(text->SelStart()),
                   static_cast<LPARAM>(text->SelStart() + text->SelLength()));
    }
  } else if (auto* list = dynamic_cast<ui::ListBox*>(&c)) {
    bool bSame = SendMessageA(h, LB_GETCOUNT, 0, 0) == list->ListCount();
    for (Integer i = 0; bSame && i < list->ListCount(); ++i) {
      const LRESULT n = SendMessageA(h, LB_GETTEXTLEN, static_cast<WPARAM>(i), 0);
      std::string s(static_cast<size_t>(std::max<LRESULT>(n, 0)) + 1, '\0');
      SendMessageA(h, LB_GETTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(s.data()));
      s.resize(static_cast<size_t>(std::max<LRESULT>(n, 0)));
      bSame = s == list->List(i);
    }
    if (!bSame) {
      const bool bRedraw = (GetWindowLongA(h, GWL_STYLE) & WS_VISIBLE) != 0;
      if (bRedraw) SendMessageA(h, WM_SETREDRAW, FALSE, 0);
      SendMessageA(h, LB_RESETCONTENT, 0, 0);
      for (Integer i = 0; i < list->ListCount(); ++i)
        SendMessageA(h, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(list->List(i).c_str()));
      if (bRedraw) {
        SendMessageA(h, WM_SETREDRAW, TRUE, 0);
        InvalidateRect(h, nullptr, TRUE);
      }
    }
    if (list->MultiSelect()) {
      for (Integer i = 0; i < list->ListCount(); ++i)
        SendMessageA(h, LB_SETSEL, list->Selected(i) ? TRUE : FALSE, static_cast<LPARAM>(i));
      if (list->ListIndex() >= 0)
        SendMessageA(h, LB_SETCARETINDEX, static_cast<WPARAM>(list->ListIndex()), FALSE);
    } else {
      SendMessageA(h, LB_SETCURSEL, static_cast<WPARAM>(list->ListIndex()), 0);
    }
  }
  EnableWindow(h, c.Enabled() ? TRUE : FALSE);
  const bool bVisible = c.Visible();
  if (((GetWindowLongA(h, GWL_STYLE) & WS_VISIBLE) != 0) != bVisible)
    ShowWindow(h, bVisible ? SW_SHOWNA : SW_HIDE);
  bSyncing_ = false;
}

void FormWindow::ScheduleTextRefresh() {
  // A hidden window is brought up to date when it is shown; a shown one at the next tick.
  // An offscreen form that the agent shows counts as shown: tests read its controls.
  const bool bLive = bShown_ || (bOffscreen_ && form_.Visible());
  if (bRefreshPending_ || !bLive) return;
  bRefreshPending_ = SetTimer(H(hWnd_), kRefreshTimer, kRefreshMs, nullptr) != 0;
}

void FormWindow::RefreshNow() {
  KillTimer(H(hWnd_), kRefreshTimer);
  bRefreshPending_ = false;
  for (auto& [c, v] : views_)
    if (v.bDirty) SyncMultiLine(v);
}

void FormWindow::SyncMultiLine(View& v) {
  auto* text = static_cast<ui::TextBox*>(v.control);
  HWND h = H(v.hWnd);
  v.bDirty = false;
  bSyncing_ = true;
  const std::string& s = text->Text();
  std::string sShown = ForDisplay(s);
  if (sShown != v.sShown) {
    ++lngTextRefreshes_;
    // Redraw is switched off only for a box that shows: switching it on again would show
    // a hidden one.
    const bool bRedraw = (GetWindowLongA(h, GWL_STYLE) & WS_VISIBLE) != 0;
    if (bRedraw) SendMessageA(h, WM_SETREDRAW, FALSE, 0);
    if (sShown.size() > v.sShown.size() && sShown.compare(0, v.sShown.size(), v.sShown) == 0) {
      // New lines at the end: only they go to the control.
      const std::string sAdded = sShown.substr(v.sShown.size());
      const auto nEnd = static_cast<WPARAM>(v.sShown.size());
      SendMessageA(h, EM_SETSEL, nEnd, static_cast<LPARAM>(nEnd));
      SendMessageA(h, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(sAdded.c_str()));
    } else {
      SetWindowTextA(h, sShown.c_str());
    }
    if (bRedraw) {
      SendMessageA(h, WM_SETREDRAW, TRUE, 0);
      InvalidateRect(h, nullptr, TRUE);
    }
    v.sShown = std::move(sShown);
    v.lngSelStart = -1;  // the text moved under the selection
  }
  if (text->SelStart() != v.lngSelStart || text->SelLength() != v.lngSelLength) {
    v.lngSelStart = text->SelStart();
    v.lngSelLength = text->SelLength();
    const long nFrom = DisplayPosition(s, text->SelStart());
    const long nTo = DisplayPosition(s, text->SelStart() + text->SelLength());
    SendMessageA(h, EM_SETSEL, static_cast<WPARAM>(nFrom), static_cast<LPARAM>(nTo));
    SendMessageA(h, EM_SCROLLCARET, 0, 0);
  }
  bSyncing_ = false;
}

void FormWindow::OnCommand(void* hChild, unsigned nCode) {
  View* found = nullptr;
  for (auto& [c, v] : views_)
    if (v.hWnd == hChild) found = &v;
  if (!found || bSyncing_) return;
  HWND h = H(found->hWnd);
  const std::weak_ptr<bool> alive = alive_;
  ui::Control* c = found->control;
  if (auto* button = dynamic_cast<ui::CommandButton*>(c); button && nCode == BN_CLICKED) {
    loop_.Deliver([button] { button->Click(); });
  } else if (auto* check = dynamic_cast<ui::CheckBox*>(c); check && nCode == BN_CLICKED) {
    loop_.Deliver([check] { check->Click(); });
    // A disabled model or a handler may have kept the old value.
    if (alive.lock())
      SendMessageA(h, BM_SETCHECK, check->Value() == 1 ? BST_CHECKED : BST_UNCHECKED, 0);
  } else if (auto* list = dynamic_cast<ui::ListBox*>(c); list && nCode == LBN_SELCHANGE) {
    const LRESULT nRow =
        SendMessageA(h, list->MultiSelect() ? LB_GETCARETINDEX : LB_GETCURSEL, 0, 0);
    if (nRow < 0 || nRow >= list->ListCount()) return;
    loop_.Deliver(
        [list, nRow] { list->UserClick(static_cast<Integer>(nRow), list->MultiSelect()); });
  } else if (auto* text = dynamic_cast<ui::TextBox*>(c); text && nCode == EN_CHANGE) {
    std::string s = TextOf(h);
    if (text->MultiLine()) found->sShown = s;
    loop_.Deliver([text, s] { text->UserType(s); });
    if (!alive.lock()) return;
    // The user's caret stays where the user put it.
    if (auto it = views_.find(text); it != views_.end()) {
      it->second.lngSelStart = text->SelStart();
      it->second.lngSelLength = text->SelLength();
      if (text->MultiLine()) {
        it->second.sShown = ForDisplay(text->Text());
        it->second.bDirty = false;
      }
    }
  }
}

void FormWindow::OnSize(int nWidth, int nHeight) {
  if (bFill_) {
    for (auto& [c, v] : views_) MoveWindow(H(v.hWnd), 0, 0, nWidth, nHeight, TRUE);
    return;
  }
  if (!bAbsolute_) return;
  const int dx = std::max(0, nWidth - nDesignWidth_);
  const int dy = std::max(0, nHeight - nDesignHeight_);
  const int nMidX = nDesignWidth_ / 2, nMidY = nDesignHeight_ / 2;
  for (auto& [c, v] : views_) {
    if (!v.bOwnArea) continue;
    int x = v.nLeft, y = v.nTop, w = v.nWidth, h = v.nHeight;
    if (v.nLeft < nMidX && v.nLeft + v.nWidth > nMidX)
      w += dx;
    else if (v.nLeft >= nMidX)
      x += dx;
    if (v.nTop < nMidY && v.nTop + v.nHeight > nMidY)
      h += dy;
    else if (v.nTop >= nMidY)
      y += dy;
    MoveWindow(H(v.hWnd), x, y, w, h, TRUE);
  }
}

void FormWindow::RequestClose() {
  if (bHideOnClose_ || !form_.OnUserClose) {
    loop_.Deliver([this] { form_.Hide(); });
    return;
  }
  loop_.Deliver([this] { form_.UserClose(); });
}

long long FormWindow::Dispatch(unsigned uMsg, unsigned long long wParam, long long lParam,
                               bool& bHandled) {
  bHandled = true;
  switch (uMsg) {
    case WM_CLOSE:
      // The model decides; the window follows the model's visibility.
      RequestClose();
      return 0;
    case WM_COMMAND:
      if (lParam != 0) OnCommand(reinterpret_cast<void*>(lParam), HIWORD(wParam));
      return 0;
    case WM_TIMER:
      if (wParam == kRefreshTimer) RefreshNow();
      return 0;
    case WM_SIZE:
      OnSize(LOWORD(lParam), HIWORD(lParam));
      return 0;
    default:
      bHandled = false;
      return 0;
  }
}

}  // namespace launchagent::win32
