#include "Program.h"

#include <xcb/xtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>
#include <thread>
#include <utility>

#include "Launch.h"

namespace stage {
namespace {

using std::chrono::milliseconds;

// A place well inside any window.
constexpr std::pair<std::int16_t, std::int16_t> middle{100, 100};

std::uint32_t numberIn(const std::string& text) {
  return static_cast<std::uint32_t>(std::stoul(text));
}

// "RATE PROGRAM OPTION...": the number and the rest.
std::pair<milliseconds, std::string> splitNumber(const std::string& text) {
  const auto space = text.find(' ');
  return {milliseconds(numberIn(text)), text.substr(space + 1)};
}

void send(const XConnection& connection, xcb_window_t receiver, std::uint32_t eventMask, xcb_window_t window,
          const char* type, std::array<std::uint32_t, 2> values) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = connection.atom(type);
  message.data.data32[0] = values[0];
  message.data.data32[1] = values[1];
  xcb_send_event(connection, 0, receiver, eventMask, reinterpret_cast<const char*>(&message));
  xcb_flush(connection);
}

void askManager(const XConnection& connection, xcb_window_t window, const char* type,
                std::array<std::uint32_t, 2> values) {
  send(connection, connection.root(), XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT, window,
       type, values);
}

xcb_window_t windowUnderPointer(const XConnection& connection) {
  xcb_window_t window = connection.root();
  for (;;) {
    const auto pointer = answer(connection, xcb_query_pointer_reply, xcb_query_pointer(connection, window));
    if (!pointer || pointer->child == XCB_WINDOW_NONE) return window;
    window = pointer->child;
  }
}

}  // namespace

Program::Reaction Program::reactionFrom(const std::string& text) {
  std::istringstream parts(text);
  Reaction reaction;
  std::string delay;
  std::getline(parts, reaction.trigger, '/');
  std::getline(parts, delay, '/');
  reaction.delay = milliseconds(numberIn(delay));
  std::getline(parts, reaction.command, '/');
  std::getline(parts, reaction.argument);
  return reaction;
}

Program::Program(const XConnection& connection, const Looks& looks, Manner manner)
    : connection_(connection),
      keymap_(connection),
      looks_(looks),
      manner_(std::move(manner)),
      clock_(""),
      clockWindow_(clock_, looks),
      main_(connection, looks) {
  for (const auto& [trigger, delay, command, argument] : manner_.reactions) {
    if (!trigger.starts_with("shortcut")) continue;
    xcb_grab_key(connection_, 1, connection_.root(), 0, static_cast<std::uint8_t>(numberIn(trigger.substr(8))),
                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
  }
  connection_.sync();
  happens("begin", 0);
  if (manner_.late.count() > 0) {
    plans_.push_back({Clock::now() + manner_.late, "appear", "", 0});
  } else {
    appear();
  }
}

void Program::report(const std::string& line) const {
  std::printf("%s: %s\n", manner_.name.c_str(), line.c_str());
  std::fflush(stdout);
}

void Program::appear() {
  if (!manner_.isHidden) main_.map();
  isShown_ = !manner_.isHidden;
  report("window " + std::to_string(main_.id()));
}

void Program::happens(const std::string& trigger, std::uint32_t time) {
  for (const auto& reaction : manner_.reactions) {
    if (reaction.trigger != trigger) continue;
    plans_.push_back({Clock::now() + reaction.delay, reaction.command, reaction.argument, time});
  }
}

std::optional<milliseconds> Program::doWhatIsDue() {
  for (;;) {
    const auto next = std::min_element(plans_.begin(), plans_.end(), [](auto& a, auto& b) { return a.when < b.when; });
    if (next == plans_.end()) return std::nullopt;
    const auto now = Clock::now();
    if (next->when > now) return std::chrono::ceil<milliseconds>(next->when - now);
    const Plan plan = *next;
    plans_.erase(next);
    cause_ = plan.time;
    obey(plan.command, plan.argument);
    cause_ = 0;
  }
}

void Program::handle(const xcb_generic_event_t& event) {
  if (keymap_.follow(event)) return;
  const auto type = event.response_type & 0x7f;
  if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
    handleKey(reinterpret_cast<const xcb_key_press_event_t&>(event), type == XCB_KEY_PRESS);
  } else if (type == XCB_BUTTON_PRESS || type == XCB_BUTTON_RELEASE) {
    happens(type == XCB_BUTTON_PRESS ? "press" : "release",
            reinterpret_cast<const xcb_button_press_event_t&>(event).time);
  } else if (type == XCB_CLIENT_MESSAGE) {
    const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
    if (message.type == connection_.atom("STAGE_MESSAGE")) happens("message", message.data.data32[0]);
  } else if (type == XCB_FOCUS_IN || type == XCB_FOCUS_OUT) {
    const auto& focus = reinterpret_cast<const xcb_focus_in_event_t&>(event);
    // A keyboard grab shows as a change of focus too.
    const bool byGrab = focus.mode == XCB_NOTIFY_MODE_GRAB || focus.mode == XCB_NOTIFY_MODE_UNGRAB;
    const bool isPointers = focus.detail == XCB_NOTIFY_DETAIL_POINTER || focus.detail == XCB_NOTIFY_DETAIL_POINTER_ROOT;
    if (!byGrab && !isPointers) report(type == XCB_FOCUS_IN ? "focus in" : "focus out");
  }
}

void Program::handleKey(const xcb_key_press_event_t& key, bool isPress) {
  const std::string code = std::to_string(key.detail);
  const std::string shortcut = "shortcut" + code;
  const bool isShortcut =
      key.event == key.root && std::any_of(manner_.reactions.begin(), manner_.reactions.end(),
                                           [&](auto& reaction) { return reaction.trigger == shortcut; });
  if (!isShortcut) {
    report((isPress ? "press " : "release ") + code + ' ' + std::to_string(key.state) + ' ' +
           std::to_string(keymap_.keysym(key)));
  }
  if (!isPress) return;
  if (isShortcut) return happens(shortcut, key.time);
  happens(((key.state & XCB_MOD_MASK_CONTROL) != 0 ? "control" : "key") + code, key.time);
}

void Program::obey(const std::string& command, const std::string& argument) {
  if (command == "request") {
    request(numberIn(argument));
  } else if (command == "nudge") {
    askManager(connection_, numberIn(argument), "_NET_ACTIVE_WINDOW", {2, time()});
  } else if (command == "focus") {
    takeFocus();
  } else if (command == "insist") {
    insistence_ = milliseconds(numberIn(argument));
    insistsOn_ = argument.substr(std::min(argument.find(' '), argument.size() - 1) + 1);
    insist();
  } else if (command == "insist again") {
    insist();
  } else if (command == "map" || command == "modest" || command == "open") {
    openWindow(command == "modest", command == "open" ? time() : 0);
  } else if (command == "unmap") {
    popup_.reset();
  } else if (command == "appear") {
    appear();
  } else if (command == "show" || (command == "toggle" && !isShown_)) {
    isShown_ = true;
    main_.map();
    request(1);
  } else if (command == "hide" || command == "toggle") {
    isShown_ = false;
    main_.withdraw();
  } else if (command == "minimise") {
    constexpr std::uint32_t iconic = 3;
    askManager(connection_, main_.id(), "WM_CHANGE_STATE", {iconic, 0});
  } else if (command == "destroy") {
    xcb_destroy_window(connection_, main_.id());
  } else if (command == "grab") {
    report("grabbed " + std::to_string(grab()));
  } else if (command == "ungrab") {
    xcb_ungrab_keyboard(connection_, XCB_CURRENT_TIME);
    connection_.sync();
    report("ungrabbed");
  } else if (command == "click") {
    click();
  } else if (command == "pass") {
    pass(argument);
  } else if (command == "start") {
    launch(argument, Lineage::child, {});
  } else if (command == "script") {
    const auto [takes, program] = splitNumber(argument);
    launch(program, Lineage::childOfScript, takes);
  } else if (command == "detach") {
    launch(argument, Lineage::orphan, {});
  } else if (command == "exit") {
    std::exit(0);  // NOLINT(concurrency-mt-unsafe)
  }
}

void Program::insist() {
  if (insistence_.count() == 0) return;
  if (insistsOn_ != "focus") request(2);
  if (insistsOn_ != "request") takeFocus();
  plans_.push_back({Clock::now() + insistence_, "insist again", "", 0});
}

void Program::openWindow(bool isModest, std::uint32_t userTime) {
  Looks looks = looks_;
  looks.isModest = isModest;
  looks.userTime = userTime;
  popup_ = std::make_unique<ActorWindow>(connection_, looks);
  popup_->map();
}

void Program::request(std::uint32_t source) {
  askManager(connection_, main_.id(), "_NET_ACTIVE_WINDOW", {source, time()});
}

void Program::takeFocus() const {
  xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_PARENT, main_.id(), XCB_CURRENT_TIME);
}

void Program::pass(const std::string& window) const {
  const auto receiver = window.empty() ? windowUnderPointer(connection_) : numberIn(window);
  send(connection_, receiver, XCB_EVENT_MASK_NO_EVENT, receiver, "STAGE_MESSAGE", {cause_, 0});
}

void Program::click() const {
  const auto place =
      answer(connection_, xcb_translate_coordinates_reply,
             xcb_translate_coordinates(connection_, main_.id(), connection_.root(), middle.first, middle.second));
  if (!place) return;
  using Input = std::pair<std::uint8_t, std::uint8_t>;
  for (const auto& [type, button] : {Input{XCB_MOTION_NOTIFY, 0}, Input{XCB_BUTTON_PRESS, XCB_BUTTON_INDEX_1},
                                     Input{XCB_BUTTON_RELEASE, XCB_BUTTON_INDEX_1}}) {
    xcb_test_fake_input(connection_, type, button, XCB_CURRENT_TIME, connection_.root(), place->dst_x, place->dst_y, 0);
  }
}

std::uint32_t Program::time() {
  return cause_ != 0 ? cause_ : serverTime(clock_, clockWindow_.id());
}

// Insists, as menus and lockers do: another grab may be just about to end.
unsigned Program::grab() const {
  unsigned status = XCB_GRAB_STATUS_ALREADY_GRABBED;
  for (int attempt = 0; attempt < 200 && status != XCB_GRAB_STATUS_SUCCESS; ++attempt) {
    const auto reply = answer(connection_, xcb_grab_keyboard_reply,
                              xcb_grab_keyboard(connection_, 0, connection_.root(), XCB_CURRENT_TIME,
                                                XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    if (reply) status = reply->status;
    if (status != XCB_GRAB_STATUS_SUCCESS) std::this_thread::sleep_for(milliseconds(5));
  }
  return status;
}

}  // namespace stage
