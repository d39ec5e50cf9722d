// A window as an application makes it.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <string>

#include "tests/desktop/stage/XConnection.h"

namespace stage {

struct Looks {
  // The bytes of the title, class and process id; what is empty or false the window lacks.
  std::string title = "stage";
  std::string windowClass = "stage";
  bool hasProcessId = true;
  // Says that it wants no focus when it appears.
  bool isModest = false;
};

// Unmapped and destroyed with this object.
class ActorWindow {
 public:
  ActorWindow(const XConnection& connection, const Looks& looks);
  ActorWindow(const ActorWindow&) = delete;
  ActorWindow& operator=(const ActorWindow&) = delete;
  ~ActorWindow();

  xcb_window_t id() const { return id_; }
  void map() const;

 private:
  void setText(const char* property, const char* type, const std::string& bytes) const;

  const XConnection& connection_;
  xcb_window_t id_;
};

// Asks the window manager to activate a window, as a pager (2) or as an application (1) does.
void requestActivation(const XConnection& connection, xcb_window_t window, std::uint32_t source, std::uint32_t time);

// The server's time now. Uses a property of `window`, and skips events that come in meanwhile: for a connection that
// has none to lose.
std::uint32_t serverTime(const XConnection& connection, xcb_window_t window);

}  // namespace stage
