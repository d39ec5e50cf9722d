#include "ApplicationScene.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace stage {
namespace {

constexpr int mostTabStops = 40;
constexpr const char* itemRoles[] = {"list item", "cell", "page tab"};

}  // namespace

ApplicationScene::ApplicationScene() : Scene(WindowManager::openbox) {
  beginNotifications();
  panel.emplace(desktop);
}

void ApplicationScene::begin(Environment besides) {
  besides.emplace("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
  guard.emplace(desktop, Guard::programUnderTest(), besides);
}

void ApplicationScene::beginNotifications() {
  notificationService = startNotificationService(desktop);
}

std::optional<Ending> ApplicationScene::startAgainIn(const Environment& environment) {
  return ChildProcess({Guard::programUnderTest()}, ChildProcess::Options{environment}).ending();
}

void ApplicationScene::openPopover() {
  startAgain();
  if (!eventually([this] { return isPopoverOpen() && focused(); })) throw std::runtime_error("no popover");
}

void ApplicationScene::closePopover() {
  typist.tap(keyEscape);
  if (!eventually([this] { return !isPopoverOpen(); })) throw std::runtime_error("the popover stays");
}

void ApplicationScene::choose(const std::string& name) {
  openPopover();
  tabTo(name);
  typist.tap(keyReturn);
}

std::optional<Accessible> ApplicationScene::focused() const {
  std::optional<Accessible> innermost;
  for (auto& accessible : reader.read(program)) {
    // The present item of a list counts as focused too, wherever the keyboard is.
    const bool isItem = std::ranges::any_of(itemRoles, [&](const char* role) { return accessible.role == role; });
    if (accessible.is(AccessibleState::focused) && !isItem) innermost = std::move(accessible);
  }
  return innermost;
}

std::optional<Accessible> ApplicationScene::tab() {
  const auto place = [this] {
    const auto present = focused();
    return present ? present->path.toStdString() + ' ' + std::to_string(reader.caretOf(*present)) : std::string();
  };
  const auto before = place();
  const auto present = focused();
  typist.tap(keyTab);
  if (!eventually([&] { return place() != before; })) {
    throw std::runtime_error("Tab leads nowhere from '" + (present ? present->name : "") + '\'');
  }
  return focused();
}

void ApplicationScene::tabTo(const std::string& name) {
  auto present = focused();
  for (int i = 0; i < mostTabStops && !(present && present->name == name); ++i) present = tab();
  if (!present || present->name != name) throw std::runtime_error("Tab never comes to '" + name + "'");
}

std::vector<std::string> ApplicationScene::tabStops() {
  std::vector<std::string> names;
  auto present = focused();
  if (!present) return names;
  const auto first = present;
  auto last = present;
  do {
    // Within a date, Tab goes from part to part first.
    if (names.empty() || present->path != last->path) names.push_back(present->name);
    last = std::exchange(present, tab());
  } while (present && present->path != first->path && names.size() < mostTabStops);
  return names;
}

void ApplicationScene::expectIcon(Panel::Icon icon, const std::string& when) const {
  EXPECT_TRUE(eventually([&] { return panel->icon() == icon; }))
      << when << ": the icon is of kind " << static_cast<int>(panel->icon()) << "; " << account();
}

void ApplicationScene::expectTheftPasses(const std::string& when) {
  startAfresh();
  steal(thief, Theft::byRequest);
  ASSERT_TRUE(eventually([this] { return thief.isFocused(); })) << when << ": the thief gets no focus";
  for (int i = 0; i < 5; ++i) typist.tap(keyA);
  EXPECT_TRUE(eventually([this] { return thief.pressCount() == typist.pressed().size(); })) << when << account();
  EXPECT_TRUE(thief.isFocused()) << when;
  EXPECT_EQ(editor.pressCount(), 0u) << when;
}

void ApplicationScene::returnToEditor() {
  desktop.activate(editor.window());
  if (!eventually([this] { return editor.isFocused(); })) throw std::runtime_error("the editor gets no focus");
}

void ApplicationScene::activateThiefByKey() {
  const auto before = guard->log().count();
  typist.press(keyLeftSuper);
  typist.tap(keyA);
  typist.release(keyLeftSuper);
  steal(thief, Theft::byRequest);
  if (!guard->log().waitFor("User-initiated activation: stage-thief", before)) throw std::runtime_error(account());
}

bool ApplicationScene::canGrabKeyboard() const {
  const auto& connection = desktop.connection();
  const auto reply = answer(
      connection, xcb_grab_keyboard_reply,
      xcb_grab_keyboard(connection, 0, connection.root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
  xcb_ungrab_keyboard(connection, XCB_CURRENT_TIME);
  connection.sync();
  return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void ApplicationScene::expectKeyboardIsFree(const std::string& when) {
  EXPECT_TRUE(eventually([this] { return canGrabKeyboard(); })) << when << ": somebody holds a grab";
  startAfresh();
  for (int i = 0; i < 5; ++i) typist.tap(keyA);
  EXPECT_TRUE(editorGotAll()) << when << ": " << account();
  ASSERT_NO_FATAL_FAILURE(waitUntilGateOpens()) << when;
}

}  // namespace stage
