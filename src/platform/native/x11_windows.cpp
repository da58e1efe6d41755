#include "platform/native/x11_windows.h"

#include <poll.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <set>

namespace launchagent::native {

struct X11Windows::Impl {
  xcb_connection_t* c = nullptr;
  xcb_window_t root = 0;
  xcb_atom_t aStacking = 0, aNetWmName = 0, aUtf8 = 0, aProtocols = 0, aDelete = 0;

  ~Impl() {
    if (c) xcb_disconnect(c);
  }

  xcb_atom_t Atom(const char* sz) {
    auto cookie = xcb_intern_atom(c, 0, static_cast<uint16_t>(std::strlen(sz)), sz);
    xcb_intern_atom_reply_t* r = xcb_intern_atom_reply(c, cookie, nullptr);
    if (!r) return 0;
    const xcb_atom_t a = r->atom;
    std::free(r);
    return a;
  }

  // The bytes of a property; nullopt when the window is gone or lacks it.
  std::optional<std::string> Property(xcb_window_t w, xcb_atom_t prop, xcb_atom_t type) {
    auto cookie = xcb_get_property(c, 0, w, prop, type, 0, 1024);
    xcb_generic_error_t* err = nullptr;
    xcb_get_property_reply_t* r = xcb_get_property_reply(c, cookie, &err);
    std::free(err);
    if (!r) return std::nullopt;
    std::optional<std::string> out;
    if (r->type != XCB_NONE) {
      const int nLen = xcb_get_property_value_length(r);
      const char* p = static_cast<const char*>(xcb_get_property_value(r));
      out = std::string(p, p + std::max(0, nLen));
    }
    std::free(r);
    return out;
  }

  std::vector<xcb_window_t> Children(xcb_window_t w) {
    std::vector<xcb_window_t> out;
    xcb_query_tree_reply_t* r = xcb_query_tree_reply(c, xcb_query_tree(c, w), nullptr);
    if (!r) return out;
    const xcb_window_t* p = xcb_query_tree_children(r);
    out.assign(p, p + xcb_query_tree_children_length(r));
    std::free(r);
    std::reverse(out.begin(), out.end());  // the server lists bottom to top
    return out;
  }

  bool IsClient(xcb_window_t w) {
    return Property(w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING).has_value() ||
           Property(w, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY).has_value();
  }

  // A window manager's frame holds the client a level or two down.
  void CollectClients(xcb_window_t w, int nDepth, std::vector<xcb_window_t>& out,
                      const std::set<xcb_window_t>& skip) {
    if (skip.count(w)) return;
    if (IsClient(w)) {
      out.push_back(w);
      return;
    }
    if (nDepth <= 0) return;
    for (xcb_window_t child : Children(w)) CollectClients(child, nDepth - 1, out, skip);
  }
};

std::unique_ptr<X11Windows> X11Windows::Open(const std::string& sDisplay) {
  auto impl = std::make_unique<Impl>();
  int nScreen = 0;
  impl->c = xcb_connect(sDisplay.empty() ? nullptr : sDisplay.c_str(), &nScreen);
  if (!impl->c || xcb_connection_has_error(impl->c)) return nullptr;
  xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(impl->c));
  for (int i = 0; i < nScreen && it.rem; ++i) xcb_screen_next(&it);
  if (!it.rem) return nullptr;
  impl->root = it.data->root;
  impl->aStacking = impl->Atom("_NET_CLIENT_LIST_STACKING");
  impl->aNetWmName = impl->Atom("_NET_WM_NAME");
  impl->aUtf8 = impl->Atom("UTF8_STRING");
  impl->aProtocols = impl->Atom("WM_PROTOCOLS");
  impl->aDelete = impl->Atom("WM_DELETE_WINDOW");
  return std::unique_ptr<X11Windows>(new X11Windows(std::move(impl)));
}

X11Windows::X11Windows(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
X11Windows::~X11Windows() = default;

std::vector<std::uint32_t> X11Windows::TopLevels() {
  std::vector<xcb_window_t> out;
  std::set<xcb_window_t> seen;
  // With a window manager, its stacking list orders the managed windows.
  if (auto s = impl_->Property(impl_->root, impl_->aStacking, XCB_ATOM_WINDOW)) {
    const size_t n = s->size() / sizeof(xcb_window_t);
    std::vector<xcb_window_t> stack(n);
    std::memcpy(stack.data(), s->data(), n * sizeof(xcb_window_t));
    for (auto it = stack.rbegin(); it != stack.rend(); ++it)
      if (seen.insert(*it).second) out.push_back(*it);
  }
  // Then the root's children: every window without a manager, hidden ones included.
  std::vector<xcb_window_t> rest;
  for (xcb_window_t child : impl_->Children(impl_->root))
    impl_->CollectClients(child, 2, rest, seen);
  for (xcb_window_t w : rest)
    if (seen.insert(w).second) out.push_back(w);
  return {out.begin(), out.end()};
}

bool X11Windows::Exists(std::uint32_t w) {
  auto cookie = xcb_get_window_attributes(impl_->c, w);
  xcb_generic_error_t* err = nullptr;
  xcb_get_window_attributes_reply_t* r = xcb_get_window_attributes_reply(impl_->c, cookie, &err);
  std::free(err);
  if (!r) return false;
  std::free(r);
  return true;
}

std::optional<std::string> X11Windows::ClassName(std::uint32_t w) {
  if (!Exists(w)) return std::nullopt;
  auto s = impl_->Property(w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING);
  if (!s) return std::string();
  // "instance\0class\0": the class part.
  const size_t nZero = s->find('\0');
  if (nZero == std::string::npos) return std::string();
  std::string sClass = s->substr(nZero + 1);
  if (auto n = sClass.find('\0'); n != std::string::npos) sClass.resize(n);
  return sClass;
}

std::optional<std::string> X11Windows::Title(std::uint32_t w) {
  if (!Exists(w)) return std::nullopt;
  if (auto s = impl_->Property(w, impl_->aNetWmName, impl_->aUtf8)) return *s;
  if (auto s = impl_->Property(w, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY)) return *s;
  return std::string();
}

bool X11Windows::SendClose(std::uint32_t w, double dWaitSeconds) {
  if (!Exists(w)) return false;
  xcb_connection_t* c = impl_->c;
  const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(c, w, XCB_CW_EVENT_MASK, &mask);
  xcb_client_message_event_t ev;
  std::memset(&ev, 0, sizeof ev);
  ev.response_type = XCB_CLIENT_MESSAGE;
  ev.format = 32;
  ev.window = w;
  ev.type = impl_->aProtocols;
  ev.data.data32[0] = impl_->aDelete;
  ev.data.data32[1] = XCB_CURRENT_TIME;
  xcb_send_event(c, 0, w, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&ev));
  xcb_flush(c);

  // Sleep on the connection until the window is destroyed or the wait is over. A window
  // that only hides stays a window (hidden ones count), so that is not the end of it.
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                           std::chrono::duration<double>(dWaitSeconds));
  bool bDone = false;
  while (!bDone) {
    while (xcb_generic_event_t* e = xcb_poll_for_event(c)) {
      const uint8_t type = e->response_type & 0x7f;
      if (type == XCB_DESTROY_NOTIFY &&
          reinterpret_cast<xcb_destroy_notify_event_t*>(e)->window == w)
        bDone = true;
      std::free(e);
    }
    if (bDone || xcb_connection_has_error(c)) break;
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) break;
    pollfd pfd{xcb_get_file_descriptor(c), POLLIN, 0};
    ::poll(&pfd, 1, static_cast<int>(left.count()));
  }
  return true;
}

}  // namespace launchagent::native
