// A private X11 desktop with this process on it, and applications to look at.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/linux/LinuxDesktop.h"
#include "tests/platform/linux/TestFolder.h"
#include "tools/stage/VirtualDesktop.h"

namespace platform::linux_desktop {

// An application: a process with windows. Ends with this object.
class Application {
 public:
  // `program` may be a copy of the window client under another name.
  explicit Application(const stage::VirtualDesktop& desktop, const std::string& program = VARNOLET_WINDOW_CLIENT);

  pid_t process() const { return process_.pid(); }
  // Not mapped yet.
  xcb_window_t create(const std::string& how = "create");
  xcb_window_t createInside(xcb_window_t parent) { return create("create-inside " + std::to_string(parent)); }
  void map(xcb_window_t window) { ask("map " + std::to_string(window)); }
  void unmap(xcb_window_t window) { ask("unmap " + std::to_string(window)); }
  void destroy(xcb_window_t window) { ask("destroy " + std::to_string(window)); }
  xcb_window_t createMapped();

 private:
  std::string ask(const std::string& command);

  std::size_t answers_ = 0;
  stage::ChildProcess process_;
};

// The desktop, which is also that of this process's environment.
class DesktopScene {
 public:
  explicit DesktopScene(stage::WindowManager manager = stage::WindowManager::openbox);

  void setText(xcb_window_t window, const char* property, const std::string& bytes) const;
  void setWindow(xcb_window_t window, const char* property, xcb_window_t value) const;
  void setType(xcb_window_t window, const char* type) const;
  void setInputFocus(xcb_window_t window) const;
  xcb_window_t parentOf(xcb_window_t window) const;
  bool isManaged(xcb_window_t window) const;

  stage::VirtualDesktop desktop;

 private:
  void setNumber(xcb_window_t window, const char* property, xcb_atom_t type, std::uint32_t value) const;

  TestEnvironment environment_;
};

}  // namespace platform::linux_desktop
