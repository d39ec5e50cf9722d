#include <array>
#include <cstdio>
#include <string>
#include <thread>

#include "Role.h"

namespace stage {
namespace {

class Editor : public Role {
 public:
  Editor(const XConnection& connection, const Looks& looks) : window_(connection, looks) {
    window_.map();
    report("window " + std::to_string(window_.id()));
  }
  void obey(const std::string& /*command*/, const std::string& /*argument*/) override {}

 private:
  ActorWindow window_;
};

class Thief : public Role {
 public:
  Thief(const XConnection& connection, const Looks& looks)
      : connection_(connection), clock_(""), looks_(looks), clockWindow_(clock_, looks), main_(connection, looks) {
    main_.map();
    report("window " + std::to_string(main_.id()));
  }

  void obey(const std::string& command, const std::string& argument) override {
    if (command == "request") {
      requestActivation(connection_, main_.id(), static_cast<std::uint32_t>(std::stoul(argument)),
                        serverTime(clock_, clockWindow_.id()));
    } else if (command == "nudge") {
      requestActivation(connection_, static_cast<xcb_window_t>(std::stoul(argument)), 2,
                        serverTime(clock_, clockWindow_.id()));
    } else if (command == "focus") {
      xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_PARENT, main_.id(), XCB_CURRENT_TIME);
    } else if (command == "map" || command == "modest") {
      Looks looks = looks_;
      looks.isModest = command == "modest";
      popup_ = std::make_unique<ActorWindow>(connection_, looks);
      popup_->map();
    } else if (command == "unmap") {
      popup_.reset();
    }
  }

 private:
  const XConnection& connection_;
  // A second connection, so that asking for the time loses no event of the first.
  XConnection clock_;
  Looks looks_;
  ActorWindow clockWindow_;
  ActorWindow main_;
  std::unique_ptr<ActorWindow> popup_;
};

class Grabber : public Role {
 public:
  Grabber(const XConnection& connection, const Looks& looks) : connection_(connection), window_(connection, looks) {
    report("window " + std::to_string(window_.id()));
  }

  void obey(const std::string& command, const std::string& /*argument*/) override {
    if (command == "grab") {
      report("grabbed " + std::to_string(grab()));
    } else if (command == "ungrab") {
      xcb_ungrab_keyboard(connection_, XCB_CURRENT_TIME);
      connection_.sync();
      report("ungrabbed");
    }
  }

 private:
  // Insists, as menus and lockers do: another grab may be just about to end.
  unsigned grab() const {
    unsigned status = XCB_GRAB_STATUS_ALREADY_GRABBED;
    for (int attempt = 0; attempt < 200 && status != XCB_GRAB_STATUS_SUCCESS; ++attempt) {
      const auto reply = answer(connection_, xcb_grab_keyboard_reply,
                                xcb_grab_keyboard(connection_, 0, connection_.root(), XCB_CURRENT_TIME,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
      if (reply) status = reply->status;
      if (status != XCB_GRAB_STATUS_SUCCESS) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return status;
  }

  const XConnection& connection_;
  ActorWindow window_;
};

}  // namespace

std::unique_ptr<Role> makeEditor(const XConnection& connection, const Looks& looks) {
  return std::make_unique<Editor>(connection, looks);
}
std::unique_ptr<Role> makeThief(const XConnection& connection, const Looks& looks) {
  return std::make_unique<Thief>(connection, looks);
}
std::unique_ptr<Role> makeGrabber(const XConnection& connection, const Looks& looks) {
  return std::make_unique<Grabber>(connection, looks);
}

void report(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

}  // namespace stage
