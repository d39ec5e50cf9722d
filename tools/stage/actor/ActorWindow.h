// A window as an application makes it.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "tools/stage/XConnection.h"

namespace stage {

struct Looks {
  // The bytes of the title, class, application and process id; what is empty or false the window lacks.
  std::string title = "stage";
  std::string windowClass = "stage";
  std::string applicationId{};
  bool hasProcessId = true;
  // Says that it wants no focus when it appears.
  bool isModest = false;
  // The time of the input that it appears for, 0 if it does not tell.
  std::uint32_t userTime = 0;
  // A panel; a menu, which no window manager knows of.
  bool isDock = false;
  bool isMenu = false;
  // Where it asks to be; left to the window manager if absent.
  std::optional<std::pair<int, int>> place{};
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
  void withdraw() const;

 private:
  void setText(const char* property, const char* type, const std::string& bytes) const;
  void setNumber(const char* property, const char* type, std::uint32_t number) const;

  const XConnection& connection_;
  xcb_window_t id_;
};

// The server's time now. Uses a property of `window`, and skips events that come in meanwhile: for a connection that
// has none to lose.
std::uint32_t serverTime(const XConnection& connection, xcb_window_t window);

}  // namespace stage
