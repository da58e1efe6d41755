#include "platform/native/window_system.h"

#include <unistd.h>
#include <xcb/xcb.h>

#include <QFileSystemWatcher>
#include <QGuiApplication>
#include <QMessageBox>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>

namespace launchagent::native {
namespace {

std::string Cut(const std::string& s, int nBufferLen) {
  if (nBufferLen <= 1) return "";
  return s.substr(0, static_cast<size_t>(nBufferLen - 1));
}

xcb_connection_t* QtConnection() {
  auto* app = qGuiApp;
  if (!app) return nullptr;
  auto* x11 = app->nativeInterface<QNativeInterface::QX11Application>();
  return x11 ? x11->connection() : nullptr;
}

}  // namespace

std::string FormWmClass() {
  std::string sClass = kFormWindowClass;
  sClass += '\0';
  sClass += kFormWindowClass;
  sClass += '\0';
  return sClass;
}

NativeWindowSystem::NativeWindowSystem(NativeEventLoop& loop, const NativeSettings& settings)
    : loop_(loop), bOffscreen_(settings.bOffscreen), dCloseWait_(settings.dCloseWaitSeconds) {
  if (!bOffscreen_) x11_ = X11Windows::Open();
  if (!x11_) {
    table_ = std::make_unique<WindowTable>(settings.sWindowTable);
    table_->Remove(0);  // makes the file, so it can be watched
    watcher_ = new QFileSystemWatcher();
    watcher_->addPath(QString::fromStdString(table_->Path()));
    QObject::connect(watcher_, &QFileSystemWatcher::fileChanged, watcher_,
                     [this] { TakeCloseRequests(); });
    // Inotify loses a file that is replaced; a slow poll covers that.
    poll_ = new QTimer();
    QObject::connect(poll_, &QTimer::timeout, poll_, [this] {
      if (watcher_->files().isEmpty()) watcher_->addPath(QString::fromStdString(table_->Path()));
      TakeCloseRequests();
    });
    poll_->start(1000);
  }
}

NativeWindowSystem::~NativeWindowSystem() {
  delete poll_;
  delete watcher_;
  for (auto& [form, h] : tableHandles_) table_->Remove(h);
  for (auto& [form, view] : views_) delete view;
}

void NativeWindowSystem::FlushOwnWindows() {
  if (auto* c = QtConnection()) xcb_flush(c);
}

std::optional<NativeWindowSystem::Window> NativeWindowSystem::Describe(
    platform::WindowHandle hWnd) {
  if (hWnd <= 0) return std::nullopt;
  if (table_) {
    for (const auto& e : table_->List())
      if (e.lngHandle == hWnd) return Window{hWnd, e.sClass, e.sTitle};
    return std::nullopt;
  }
  if (hWnd > 0xffffffffLL) return std::nullopt;
  FlushOwnWindows();
  const auto w = static_cast<std::uint32_t>(hWnd);
  auto sClass = x11_->ClassName(w);
  auto sTitle = x11_->Title(w);
  if (!sClass || !sTitle) return std::nullopt;
  return Window{hWnd, *sClass, *sTitle};
}

std::vector<NativeWindowSystem::Window> NativeWindowSystem::Snapshot() {
  std::vector<Window> out;
  if (table_) {
    for (const auto& e : table_->List()) out.push_back(Window{e.lngHandle, e.sClass, e.sTitle});
  } else {
    FlushOwnWindows();
    for (std::uint32_t w : x11_->TopLevels()) out.push_back(Window{w, "", ""});
  }
  snapshot_.clear();
  for (const auto& w : out) snapshot_.push_back(w.h);
  return out;
}

platform::WindowHandle NativeWindowSystem::FindWindowByTitle(const std::string& sTitle) {
  for (const auto& w : Snapshot()) {
    if (table_) {
      if (w.sTitle == sTitle) return w.h;
    } else if (auto t = x11_->Title(static_cast<std::uint32_t>(w.h)); t && *t == sTitle) {
      return w.h;
    }
  }
  return 0;
}

platform::WindowHandle NativeWindowSystem::NextWindow(platform::WindowHandle hWnd) {
  auto find = [&] { return std::find(snapshot_.begin(), snapshot_.end(), hWnd); };
  auto it = find();
  if (it == snapshot_.end()) {
    Snapshot();
    it = find();
  }
  if (it == snapshot_.end() || ++it == snapshot_.end()) return 0;
  return *it;
}

std::optional<std::string> NativeWindowSystem::ClassName(platform::WindowHandle hWnd,
                                                         int nBufferLen) {
  auto w = Describe(hWnd);
  if (!w) return std::nullopt;
  return Cut(w->sClass, nBufferLen);
}

std::optional<std::string> NativeWindowSystem::WindowText(platform::WindowHandle hWnd,
                                                          int nBufferLen) {
  auto w = Describe(hWnd);
  if (!w) return std::nullopt;
  return Cut(w->sTitle, nBufferLen);
}

bool NativeWindowSystem::SendClose(platform::WindowHandle hWnd) {
  // Our own forms handle the request at once, as a window of this thread would.
  for (auto& [form, view] : views_) {
    const bool bOwn = table_ ? (tableHandles_.count(form) && tableHandles_[form] == hWnd)
                             : static_cast<platform::WindowHandle>(view->winId()) == hWnd;
    if (bOwn) {
      view->RequestClose();
      return true;
    }
  }
  if (!table_) {
    if (hWnd <= 0 || hWnd > 0xffffffffLL) return false;
    return x11_->SendClose(static_cast<std::uint32_t>(hWnd), dCloseWait_);
  }
  const int nRequest = table_->RequestClose(hWnd);
  if (nRequest == 0) return false;
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                           std::chrono::duration<double>(dCloseWait_));
  while (!table_->CloseHandled(hWnd, nRequest) && Clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  return true;
}

void NativeWindowSystem::AttachForm(ui::Form& form) {
  if (views_.count(&form)) return;
  auto* view = new FormView(form, loop_);
  views_[&form] = view;
  view->SetHideOnClose(hideOnClose_.count(&form) > 0);
  view->SetMinimiseOnClose(bMinimiseOnClose_);
  if (table_) {
    const std::int64_t h = table_->Add(kFormWindowClass, form.Caption());
    tableHandles_[&form] = h;
    view->OnCaptionChanged = [this, h](const std::string& s) { table_->SetTitle(h, s); };
  } else {
    // A hidden form is a window too: make it exist on the display now.
    const auto wid = static_cast<xcb_window_t>(view->winId());
    if (auto* c = QtConnection()) {
      const std::string sClass = FormWmClass();
      xcb_change_property(c, XCB_PROP_MODE_REPLACE, wid, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                          static_cast<std::uint32_t>(sClass.size()), sClass.data());
      xcb_flush(c);
    }
  }
}

void NativeWindowSystem::DetachForm(ui::Form& form) {
  auto it = views_.find(&form);
  if (it != views_.end()) {
    // It may be its own close handler that detaches it.
    it->second->hide();
    it->second->deleteLater();
    views_.erase(it);
  }
  if (auto h = tableHandles_.find(&form); h != tableHandles_.end()) {
    table_->Remove(h->second);
    tableHandles_.erase(h);
  }
}

void NativeWindowSystem::SetHideOnClose(ui::Form& form) {
  hideOnClose_.insert(&form);
  if (auto* view = ViewOf(form)) view->SetHideOnClose(true);
}

void NativeWindowSystem::SetMinimiseOnClose(bool b) {
  bMinimiseOnClose_ = b;
  for (auto& [form, view] : views_) view->SetMinimiseOnClose(b);
}

FormView* NativeWindowSystem::ViewOf(const ui::Form& form) const {
  auto it = views_.find(&form);
  return it == views_.end() ? nullptr : it->second;
}

void NativeWindowSystem::MessageBox(const std::string& sTitle, const std::string& sText) {
  if (bOffscreen_) {
    // Nobody could answer it: say it where the log goes and go on.
    std::printf("MessageBox [%s]: %s\n", sTitle.c_str(), sText.c_str());
    std::fflush(stdout);
    return;
  }
  QMessageBox box(QMessageBox::NoIcon, QString::fromLatin1(sTitle.c_str()),
                  QString::fromLatin1(sText.c_str()), QMessageBox::Ok);
  box.exec();
  if (loop_.Ended()) throw platform::ProcessEnded{};
}

void NativeWindowSystem::TakeCloseRequests() {
  if (!table_) return;
  for (std::int64_t h : table_->TakeCloseRequests()) {
    for (auto& [form, handle] : tableHandles_)
      if (handle == h) {
        if (FormView* view = ViewOf(*form)) view->RequestClose();
        break;
      }
  }
}

void NativeTrace::ActivityLine(const std::string& sText) {
  if (!bToStdout_) return;
  std::fwrite(sText.data(), 1, sText.size(), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

}  // namespace launchagent::native
