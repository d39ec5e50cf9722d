// A desktop of its own for one test: X server, session bus, window manager and a home folder, all private.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/stage/ChildProcess.h"
#include "tools/stage/WindowManager.h"
#include "tools/stage/XConnection.h"

namespace stage {

// Created and removed with this object.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// Everything is up when the constructor returns; throws std::runtime_error where something did not come up. All of it
// ends with this object.
class VirtualDesktop {
 public:
  // `serverOptions`: what the X server is told besides, for example to lack an extension.
  explicit VirtualDesktop(WindowManager manager, const std::string& screen = "800x600x24",
                          const std::vector<std::string>& serverOptions = {}, FocusModel model = FocusModel::click);

  const std::string& display() const { return display_; }
  const Environment& environment() const { return environment_; }
  // Of a program that a launcher starts because the user has just told it to.
  Environment environmentByLauncher() const;
  const std::filesystem::path& home() const { return home_.path(); }
  void giveFoldersTo(unsigned user) const;
  // For questions of the test's own thread.
  const XConnection& connection() const { return *connection_; }

  // 0 if there is none.
  xcb_window_t activeWindow() const;
  // As a taskbar does: returns when the window is active.
  void activate(xcb_window_t window) const;
  // A client message about a window to the window manager.
  void send(const char* message, xcb_window_t window, std::uint32_t value) const;
  // Another window manager takes over from the one that runs; returns when it has.
  void replaceWindowManager(WindowManager manager, FocusModel model = FocusModel::click);
  // The X server goes away without a word.
  void killServer();
  void signalServer(int number) const { server_->signal(number); }
  void signalWindowManager(int number) const { windowManager_->signal(number); }
  // Runs a program of this desktop to its end; returns whether it succeeded.
  bool run(const std::vector<std::string>& command) const;

 private:
  void startServer(const std::string& screen, const std::vector<std::string>& serverOptions);
  void startBus();
  // The window by which a window manager shows that it manages this display, 0 if none does.
  xcb_window_t managersWindow() const;
  bool windowManagerAnswers() const;

  TemporaryFolder home_;
  Environment environment_;
  std::string display_;
  std::unique_ptr<ChildProcess> server_;
  std::unique_ptr<ChildProcess> bus_;
  std::unique_ptr<XConnection> connection_;
  std::unique_ptr<ChildProcess> windowManager_;
};

}  // namespace stage
