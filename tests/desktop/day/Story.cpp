#include "tests/desktop/day/Story.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <thread>

namespace stage::day {
namespace {

constexpr std::chrono::seconds soon{8};
constexpr milliseconds glance{50};
constexpr std::array modifiers{KeyCode{keyLeftShift}, KeyCode{keyLeftControl}, KeyCode{keyLeftAlt},
                               KeyCode{keyLeftSuper}};

bool isModifier(KeyCode key) {
  return std::find(modifiers.begin(), modifiers.end(), key) != modifiers.end();
}

std::vector<KeyCode> withoutModifiers(std::vector<KeyCode> keys) {
  std::erase_if(keys, isModifier);
  return keys;
}

}  // namespace

std::string nameOf(Ending ending) {
  constexpr std::array names{"ok", "refused", "undone", "STOLEN", "keys", "failed"};
  return names.at(static_cast<std::size_t>(ending));
}

Story::Story(WindowManager manager, FocusModel model, bool isGuarded)
    : desktop_(manager, "1000x700x24", {}, model), manager_(manager), isGuarded_(isGuarded) {}

Story::~Story() {
  guard_.reset();
  while (!cast_.empty()) cast_.pop_front();
}

void Story::enter(const std::string& name, Options options, const std::string& executable) {
  const bool hasWindow = std::find(options.begin(), options.end(), "--hidden") == options.end();
  if (hasWindow) {
    const int x = 20 + placed_ % 3 * 325;
    const int y = 40 + placed_ / 3 * 330;
    ++placed_;
    options.push_back("--at=" + std::to_string(x) + ',' + std::to_string(y));
  }
  const auto& actor = cast_.emplace_back(desktop_, name, options, executable);
  const bool canHaveFocus = hasWindow && std::find(options.begin(), options.end(), "--dock") == options.end();
  if (!canHaveFocus) return;
  desktop_.activate(actor.window());
  awaitInFront(name);
  order_.insert(order_.begin(), name);
}

void Story::announce(const std::string& starter, const std::string& name) {
  cast_.emplace_back((*this)[starter], name);
}

std::string Story::programNamed(const std::string& executable) const {
  return actorNamed(desktop_, executable);
}

std::string Story::writeProgram(const std::string& name, const std::string& command) const {
  writeFile("bin/" + name, "#!/bin/sh\n" + command + '\n');
  const auto path = desktop_.home() / "bin" / name;
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  return path;
}

void Story::writeFile(const std::string& file, const std::string& text) const {
  const auto path = desktop_.home() / file;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path) << text;
}

void Story::run(const std::string& command) {
  ChildProcess::Options options{desktop_.environment()};
  others_.emplace_back(std::vector<std::string>{"sh", "-c", "cd; exec " + command}, options);
}

void Story::beginGuarding(std::optional<KeyCode> key) {
  if (!key) mouse_.moveTo(centreOf(order_.front()));
  if (isGuarded_) guard_.emplace(desktop_);
  // The first key of all makes it look twice; the day begins when that is over.
  key ? tap(*key) : type(order_.front());
  awaitGate(false);
  awaitGate(true);
  pause(pace);
}

KeyCode Story::nextCharacter() {
  return characterKeys()[typed_++ % characterKeys().size()];
}

void Story::tap(KeyCode key, const std::string& name) {
  if (!name.empty()) meant_[name].push_back(key);
  typist_.tap(key);
}

void Story::write(const std::string& text) {
  for (const char character : text) {
    typist_.write(character);
    pause(pace);
  }
}

void Story::tapWith(const std::vector<KeyCode>& held, KeyCode key, const std::string& name, milliseconds time) {
  for (const auto modifier : held) typist_.press(modifier);
  tap(key, name);
  pause(time);
  std::for_each(held.rbegin(), held.rend(), [this](KeyCode modifier) { typist_.release(modifier); });
}

std::string Story::altTab(int steps, milliseconds held) {
  typist_.press(keyLeftAlt);
  pause(pace);
  for (int i = 0; i < steps; ++i) {
    typist_.tap(keyTab);
    pause(held);
  }
  pause(pace);
  typist_.release(keyLeftAlt);
  orderBefore_ = order_;
  moveOn(order_.begin() + steps);
  return order_.front();
}

// By last use; but one goes on along the windows as they lie.
void Story::moveOn(std::vector<std::string>::iterator to) {
  std::rotate(order_.begin(), to, manager_ == WindowManager::i3 ? order_.end() : to + 1);
}

Point Story::centreOf(const std::string& name) {
  const auto& connection = desktop_.connection();
  const auto window = (*this)[name].window();
  const auto size = answer(connection, xcb_get_geometry_reply, xcb_get_geometry(connection, window));
  if (!size) throw Deviation(name + " has no window");
  const auto centre = answer(
      connection, xcb_translate_coordinates_reply,
      xcb_translate_coordinates(connection, window, connection.root(), static_cast<std::int16_t>(size->width / 2),
                                static_cast<std::int16_t>(size->height / 2)));
  if (!centre) throw Deviation(name + " is nowhere");
  return {centre->dst_x, centre->dst_y};
}

void Story::click(const std::string& name) {
  pressOn(name);
  releaseButton();
}

void Story::pressOn(const std::string& name) {
  mouse_.moveTo(centreOf(name));
  mouse_.press();
}

void Story::pause(milliseconds time) {
  std::this_thread::sleep_for(time);
}

Actor& Story::operator[](const std::string& name) {
  const auto actor = std::find_if(cast_.begin(), cast_.end(), [&](auto& one) { return one.name() == name; });
  if (actor == cast_.end()) throw std::logic_error("no " + name + " in this story");
  return *actor;
}

bool Story::isSoonInFront(const std::string& name) {
  return eventually([&] { return (*this)[name].isFocused(); }, soon);
}

void Story::awaitInFront(const std::string& name) {
  if (!isSoonInFront(name)) throw Deviation(name + " is not in front");
  pause(glance);
}

// The second of the two names in WM_CLASS.
std::string Story::classOf(xcb_window_t window) const {
  const auto names = desktop_.connection().text(window, "WM_CLASS");
  const auto second = names.find('\0');
  return second == std::string::npos ? names : names.substr(second + 1, names.find('\0', second + 1) - second - 1);
}

void Story::awaitClassInFront(const std::string& windowClass) const {
  const auto isInFront = [&] { return classOf(activeWindow()) == windowClass; };
  if (!eventually(isInFront, soon)) throw Deviation(windowClass + " is not in front");
  pause(glance);
}

void Story::awaitClassShown(const std::string& windowClass) const {
  const auto& connection = desktop_.connection();
  const auto isShown = [&] {
    const auto tree = answer(connection, xcb_query_tree_reply, xcb_query_tree(connection, connection.root()));
    const auto* windows = xcb_query_tree_children(tree.get());
    const auto* end = windows + xcb_query_tree_children_length(tree.get());
    // The window itself, or one that its manager has put into a frame and made active.
    return classOf(activeWindow()) == windowClass ||
           std::any_of(windows, end, [&](auto window) { return classOf(window) == windowClass; });
  };
  if (!eventually(isShown, soon)) throw Deviation(windowClass + " does not appear");
  pause(glance * 4);
}

void Story::awaitFile(const std::string& file, const std::string& text) const {
  const auto says = [&] {
    std::ifstream stream(desktop_.home() / file);
    std::string line;
    return std::getline(stream, line) && line == text;
  };
  if (!eventually(says, soon)) throw Deviation(file + " does not say '" + text + '\'');
}

void Story::lookWhoIsInFront() {
  order_ = orderBefore_;
  const auto front = std::find_if(order_.begin(), order_.end(), [&](auto& name) { return (*this)[name].isFocused(); });
  if (front != order_.end()) moveOn(front);
}

void Story::awaitTimesFocused(const std::string& name, unsigned times) {
  const auto isSo = [&] { return (*this)[name].timesFocused() >= times; };
  if (!eventually(isSo, soon)) throw Deviation(name + " does not get the focus");
}

void Story::awaitActive(xcb_window_t window) const {
  if (!eventually([&] { return activeWindow() == window; }, soon)) throw Deviation("another window is active");
}

void Story::awaitReport(const std::string& name, const std::string& part) {
  if (!(*this)[name].waitForReport(part)) throw Deviation(name + " does not say: " + part);
}

void Story::awaitGate(bool isOpen) const {
  if (guard_ && !eventually([&] { return keyboard_.isFloating() != isOpen; }, soon))
    throw Deviation("the gate stays as it was");
}

void Story::switchWorkspace(std::uint32_t number) const {
  desktop_.send("_NET_CURRENT_DESKTOP", desktop_.connection().root(), number);
  expectWorkspace(number);
}

void Story::moveToWorkspace(const std::string& name, std::uint32_t number) {
  const auto window = (*this)[name].window();
  // It has no workspace but those that hold something.
  if (manager_ == WindowManager::i3) {
    desktop_.run(
        {"i3-msg", "[id=" + std::to_string(window) + "] move container to workspace " + std::to_string(number + 1)});
  }
  desktop_.send("_NET_WM_DESKTOP", window, number);
  const auto isThere = [&] { return desktop_.connection().value(window, "_NET_WM_DESKTOP") == number; };
  if (!eventually(isThere, soon)) throw Deviation(name + " stays on its workspace");
}

void Story::minimise(const std::string& name) {
  tell(name, "minimise");
  if (!eventually([&] { return !(*this)[name].isFocused(); }, soon)) throw Deviation(name + " keeps the focus");
  expectMinimised(name);
}

void Story::expectMinimised(const std::string& name) {
  constexpr std::uint32_t iconic = 3;
  const auto isIconic = [&] { return desktop_.connection().value((*this)[name].window(), "WM_STATE") == iconic; };
  if (!eventually(isIconic, soon)) throw Deviation(name + " is not minimised");
}

void Story::expectWorkspace(std::uint32_t number) const {
  const auto& connection = desktop_.connection();
  const auto isThere = [&] { return connection.value(connection.root(), "_NET_CURRENT_DESKTOP") == number; };
  if (!eventually(isThere, soon)) throw Deviation("another workspace is shown");
}

void Story::awaitJudgements() {
  if (!guard_) return;
  // A prompt for a password: allowed to come to the front.
  const auto& marker = cast_.emplace_back(desktop_, "marker", Options{}, "gcr-prompter");
  desktop_.activate(marker.window());
  if (!guard_->log().waitFor("Focus change notification: stage-marker")) throw Deviation("the guard says no more");
}

std::string Story::keysAstray() const {
  std::string account;
  for (const auto& actor : cast_) {
    const auto meant = meant_.find(actor.name());
    const auto wanted = meant == meant_.end() ? std::vector<KeyCode>{} : meant->second;
    const auto result = difference(wanted, withoutModifiers(actor.presses()));
    if (!result.isNone()) account += "; " + actor.name() + ": " + describe(result);
  }
  return account;
}

Verdict Story::end(const std::string& inFront, bool isTheft) {
  if (!inFront.empty()) awaitInFront(inFront);
  const bool isWhole = eventually([this] { return keysAstray().empty(); }, soon);
  if (isWhole) awaitJudgements();
  if (!isTheft && blocked() > 0) return {Ending::undone, keysAstray() + guardsWords()};
  if (!keysAstray().empty()) return {Ending::astray, keysAstray() + guardsWords()};
  return {isTheft && blocked() == 0 ? Ending::refused : Ending::well};
}

Verdict Story::endWith(const std::string& deviation, bool isTheft) const {
  const auto ending = isTheft ? Ending::stolen : blocked() > 0 ? Ending::undone : Ending::otherwise;
  return {ending, deviation + keysAstray() + guardsWords()};
}

std::string Story::guardsWords() const {
  constexpr std::size_t lastLines = 40;
  std::string text;
  if (!guard_) return text;
  const auto lines = guard_->log().all();
  for (std::size_t i = lines.size() - std::min(lines.size(), lastLines); i < lines.size(); ++i) text += '\n' + lines[i];
  return text;
}

}  // namespace stage::day
