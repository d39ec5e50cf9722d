// The toolkit's own connection to the X server.
#pragma once

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <cstdlib>
#include <memory>

namespace platform::ui {

struct Free {
  void operator()(void* reply) const { std::free(reply); }  // NOLINT(cppcoreguidelines-no-malloc): XCB allocates it so
};
template <class T>
using Reply = std::unique_ptr<T, Free>;

// Null without an X server. Main thread.
inline xcb_connection_t* xConnection() {
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  return x11 ? x11->connection() : nullptr;
}

}  // namespace platform::ui
