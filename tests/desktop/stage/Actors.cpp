#include "tests/desktop/stage/Actors.h"

#include <charconv>
#include <sstream>
#include <stdexcept>

namespace stage {
namespace {

std::vector<std::string> commandFor(const std::string& role, const std::vector<std::string>& options) {
  std::vector<std::string> command{VARNOLET_STAGE_ACTOR, role};
  command.insert(command.end(), options.begin(), options.end());
  return command;
}

ChildProcess::Options reporting(const VirtualDesktop& desktop, Lines::Listener listener) {
  ChildProcess::Options options;
  options.environment = desktop.environment();
  options.readOutput = true;
  options.onOutput = std::move(listener);
  return options;
}

}  // namespace

Actor::Actor(const VirtualDesktop& desktop, const std::string& role, const std::vector<std::string>& options)
    : process_(commandFor(role, options), reporting(desktop, [this](const std::string& line) { take(line); })) {
  constexpr std::string_view prefix = "window ";
  const auto line = process_.output().waitFor(std::string(prefix));
  if (!line) throw std::runtime_error("no " + role + " appears");
  window_ = static_cast<xcb_window_t>(std::stoul(line->substr(prefix.size())));
}

void Actor::take(const std::string& line) {
  if (line == "done") ++commandsDone_;
  if (line == "focus in") {
    isFocused_ = true;
    ++timesFocused_;
  }
  if (line == "focus out") isFocused_ = false;
  const bool isPress = line.starts_with("press ");
  if (!isPress && !line.starts_with("release ")) return;
  std::istringstream words(line.substr(line.find(' ')));
  unsigned key = 0;
  ReceivedKey received;
  words >> key >> received.state >> received.keysym;
  received.isPress = isPress;
  received.key = static_cast<KeyCode>(key);
  received.when = std::chrono::steady_clock::now();
  const std::lock_guard lock(mutex_);
  keys_.push_back(received);
  ++keyCount_;
  if (isPress) ++pressCount_;
}

std::vector<ReceivedKey> Actor::keys() const {
  const std::lock_guard lock(mutex_);
  return keys_;
}

std::vector<KeyCode> Actor::presses() const {
  std::vector<KeyCode> presses;
  for (const auto& key : keys()) {
    if (key.isPress) presses.push_back(key.key);
  }
  return presses;
}

void Actor::forgetKeys() {
  const std::lock_guard lock(mutex_);
  keys_.clear();
  keyCount_ = 0;
  pressCount_ = 0;
}

void Actor::tell(const std::string& command) {
  const unsigned before = commandsDone_;
  process_.tell(command);
  if (!eventually([&] { return commandsDone_ > before; })) throw std::runtime_error("an actor does not obey");
}

std::string nameOf(Theft theft) {
  switch (theft) {
    case Theft::byRequest:
      return "a request";
    case Theft::byApplicationRequest:
      return "an application's request";
    case Theft::byNewWindow:
      return "a new window";
    case Theft::byInputFocus:
      return "a bare XSetInputFocus";
  }
  return {};
}

void steal(Actor& thief, Theft theft) {
  switch (theft) {
    case Theft::byRequest:
      thief.tellAndGoOn("request 2");
      break;
    case Theft::byApplicationRequest:
      thief.tellAndGoOn("request 1");
      break;
    case Theft::byNewWindow:
      thief.tellAndGoOn("map");
      break;
    case Theft::byInputFocus:
      thief.tellAndGoOn("focus");
      break;
  }
}

}  // namespace stage
