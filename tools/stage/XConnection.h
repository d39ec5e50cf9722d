// A connection to the X server of a virtual desktop, independent of the program under test.
#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

namespace stage {

struct FreeMemory {
  void operator()(void* memory) const noexcept { std::free(memory); }
};
template <class T>
using Owned = std::unique_ptr<T, FreeMemory>;

// The reply to a request, null after an error:
//   answer(connection, xcb_query_keymap_reply, xcb_query_keymap(connection))
template <class Reply, class Cookie>
Owned<Reply> answer(xcb_connection_t* connection, Reply* (*await)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                    std::type_identity_t<Cookie> cookie) {
  xcb_generic_error_t* error = nullptr;
  Owned<Reply> reply(await(connection, cookie, &error));
  std::free(error);
  return reply;
}

// One thread at a time. Throws std::runtime_error if there is no server.
class XConnection {
 public:
  explicit XConnection(const std::string& display)
      : connection_(xcb_connect(display.empty() ? nullptr : display.c_str(), nullptr), &xcb_disconnect) {
    if (xcb_connection_has_error(connection_.get()) != 0) throw std::runtime_error("no X server on " + display);
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root;
  }

  operator xcb_connection_t*() const { return connection_.get(); }  // NOLINT(google-explicit-constructor)
  xcb_window_t root() const { return root_; }

  xcb_atom_t atom(std::string_view name) const {
    const auto reply = answer(*this, xcb_intern_atom_reply,
                              xcb_intern_atom(*this, 0, static_cast<std::uint16_t>(name.size()), name.data()));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  }
  bool has(xcb_window_t window, std::string_view name) const {
    const auto reply = answer(*this, xcb_get_property_reply,
                              xcb_get_property(*this, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 0));
    return reply && reply->type != XCB_NONE;
  }
  // The first 32-bit value of a property, 0 if there is none.
  std::uint32_t value(xcb_window_t window, std::string_view name) const {
    const auto reply = answer(*this, xcb_get_property_reply,
                              xcb_get_property(*this, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 1));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4) return 0;
    return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
  }
  // The bytes of a short property, empty if there is none.
  std::string text(xcb_window_t window, std::string_view name) const {
    constexpr std::uint32_t longest = 256;
    const auto reply = answer(*this, xcb_get_property_reply,
                              xcb_get_property(*this, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, longest));
    if (!reply) return {};
    const auto size = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
    return {static_cast<const char*>(xcb_get_property_value(reply.get())), size};
  }
  // Returns when the server has done everything asked so far.
  void sync() const { answer(*this, xcb_get_input_focus_reply, xcb_get_input_focus(*this)); }

 private:
  std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> connection_;
  xcb_window_t root_ = XCB_WINDOW_NONE;
};

}  // namespace stage
