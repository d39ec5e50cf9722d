// One connection to the X server and the handles that come with it.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace platform::linux_desktop {

// What xcb hands out is freed with free(). Events tell what was typed, so nothing is left of them.
struct FreeDeleter {
  void operator()(void* memory) const noexcept { std::free(memory); }
  void operator()(xcb_generic_event_t* event) const noexcept {
    overwrite(*event);
    std::free(event);
  }
  static void overwrite(xcb_generic_event_t& event) noexcept;
};
template <class T>
using XcbOwned = std::unique_ptr<T, FreeDeleter>;

// The reply to `cookie`, or null if there was an error or the connection is lost:
//   const auto focus = replyTo(connection, xcb_get_input_focus_reply, xcb_get_input_focus(connection));
template <class Reply, class Cookie>
XcbOwned<Reply> replyTo(xcb_connection_t* connection, Reply* (*await)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                        std::type_identity_t<Cookie> cookie) {
  xcb_generic_error_t* error = nullptr;
  XcbOwned<Reply> reply(await(connection, cookie, &error));
  const XcbOwned<xcb_generic_error_t> discarded(error);
  return reply;
}

// Whether the request or event of that number is the other or came after it. Sequence numbers wrap around.
inline bool isAtOrPast(std::uint32_t sequence, std::uint32_t boundary) {
  return static_cast<std::int32_t>(sequence - boundary) >= 0;
}

// Not thread-safe: each thread that talks to the server has a connection of its own.
class XcbConnection {
 public:
  // Connects to the display of the environment; null if there is none.
  static std::unique_ptr<XcbConnection> open();
  XcbConnection(const XcbConnection&) = delete;
  XcbConnection& operator=(const XcbConnection&) = delete;
  ~XcbConnection();

  operator xcb_connection_t*() const { return connection_; }  // NOLINT(google-explicit-constructor)
  // Of the default screen.
  xcb_window_t root() const { return root_; }
  // XCB_ATOM_NONE only if the connection is lost. Waits for the server at the first use of a name.
  xcb_atom_t atom(std::string_view name);
  // True once the server is gone or has closed the connection; it stays so.
  bool isLost() const { return xcb_connection_has_error(connection_) != 0; }
  int fileDescriptor() const { return xcb_get_file_descriptor(connection_); }

 private:
  explicit XcbConnection(xcb_connection_t* connection, int screen);

  xcb_connection_t* connection_;
  xcb_window_t root_ = XCB_WINDOW_NONE;
  std::map<std::string, xcb_atom_t, std::less<>> atoms_;
};

}  // namespace platform::linux_desktop
