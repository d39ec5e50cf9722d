#include "tests/platform/linux/DesktopScene.h"

#include <algorithm>
#include <stdexcept>

#include "platform/linux/x11/WindowProperties.h"

namespace platform::linux_desktop {
namespace {

stage::ChildProcess::Options clientOptions(const stage::VirtualDesktop& desktop) {
  stage::ChildProcess::Options options;
  options.environment = desktop.environment();
  options.readOutput = true;
  return options;
}

std::vector<std::pair<const char*, const char*>> variablesOf(const stage::Environment& environment) {
  std::vector<std::pair<const char*, const char*>> variables;
  for (const auto& [name, value] : environment) variables.emplace_back(name.c_str(), value.c_str());
  return variables;
}

}  // namespace

Application::Application(const stage::VirtualDesktop& desktop, const std::string& program)
    : process_({program}, clientOptions(desktop)) {}

xcb_window_t Application::create(const std::string& how) {
  const std::string answer = ask(how);
  return static_cast<xcb_window_t>(std::stoul(answer.substr(answer.find(' '))));
}

xcb_window_t Application::createMapped() {
  const xcb_window_t window = create();
  map(window);
  return window;
}

std::string Application::ask(const std::string& command) {
  process_.tell(command);
  const auto answer = process_.output().waitFor("", answers_++);
  if (!answer) throw std::runtime_error("a window client does not answer");
  return *answer;
}

DesktopScene::DesktopScene(stage::WindowManager manager)
    : desktop(manager), environment_(variablesOf(desktop.environment())) {}

void DesktopScene::setText(xcb_window_t window, const char* property, const std::string& bytes) const {
  const auto& connection = desktop.connection();
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, connection.atom(property), XCB_ATOM_STRING, 8,
                      static_cast<std::uint32_t>(bytes.size()), bytes.data());
  connection.sync();
}

void DesktopScene::setWindow(xcb_window_t window, const char* property, xcb_window_t value) const {
  setNumber(window, property, XCB_ATOM_WINDOW, value);
}

void DesktopScene::setType(xcb_window_t window, const char* type) const {
  setNumber(window, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, desktop.connection().atom(type));
}

void DesktopScene::setNumber(xcb_window_t window, const char* property, xcb_atom_t type, std::uint32_t value) const {
  const auto& connection = desktop.connection();
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, connection.atom(property), type, 32, 1, &value);
  connection.sync();
}

void DesktopScene::setInputFocus(xcb_window_t window) const {
  const auto& connection = desktop.connection();
  xcb_set_input_focus(connection, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
  connection.sync();
}

xcb_window_t DesktopScene::parentOf(xcb_window_t window) const {
  const auto& connection = desktop.connection();
  const auto tree = stage::answer(connection, xcb_query_tree_reply, xcb_query_tree(connection, window));
  return tree ? tree->parent : xcb_window_t{XCB_WINDOW_NONE};
}

bool DesktopScene::isManaged(xcb_window_t window) const {
  const auto connection = XcbConnection::open();
  if (!connection) return false;
  const auto clients = clientWindows(*connection);
  return std::find(clients.begin(), clients.end(), window) != clients.end();
}

}  // namespace platform::linux_desktop
