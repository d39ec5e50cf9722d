#include "tools/stage/Actors.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace stage {
namespace {

ChildProcess::Options reporting(const VirtualDesktop& desktop, Lines::Listener listener) {
  ChildProcess::Options options{desktop.environment()};
  options.environment["STAGE_ACTOR"] = VARNOLET_STAGE_ACTOR;
  options.readOutput = true;
  options.onOutput = std::move(listener);
  return options;
}

constexpr std::string_view windowReport = "window ";

}  // namespace

Actor::Actor(const VirtualDesktop& desktop, const std::string& name, const std::vector<std::string>& options,
             const std::string& executable)
    : name_(name) {
  const std::string program = executable.empty() ? VARNOLET_STAGE_ACTOR : actorNamed(desktop, executable).string();
  std::vector<std::string> command{program, name};
  command.insert(command.end(), options.begin(), options.end());
  process_.emplace(command, reporting(desktop, [this](const std::string& line) { take(line); }));
  if (!eventually([this] { return window_ != XCB_WINDOW_NONE; })) throw std::runtime_error("no " + name + " appears");
}

Actor::Actor(Actor& starter, const std::string& name) : name_(name) {
  const std::lock_guard lock(starter.mutex_);
  starter.started_.push_back(this);
}

void Actor::take(const std::string& report) {
  const auto end = std::min(report.find(": "), report.size());
  const auto line = report.substr(std::min(end + 2, report.size()));
  if (report.substr(0, end) != name_) {
    const std::lock_guard lock(mutex_);
    for (auto* actor : started_) actor->take(report);
    return;
  }
  if (line == "done") ++commandsDone_;
  if (line.starts_with(windowReport)) {
    window_ = static_cast<xcb_window_t>(std::stoul(line.substr(windowReport.size())));
  }
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
  process_->tell(command);
  if (!eventually([&] { return commandsDone_ > before; })) throw std::runtime_error("an actor does not obey");
}

std::filesystem::path actorNamed(const VirtualDesktop& desktop, const std::string& executable) {
  auto file = desktop.home() / executable;
  // By another process: one that this one starts just then would keep the file open for writing, and so from being run.
  desktop.run({"cp", "--no-clobber", VARNOLET_STAGE_ACTOR, file});
  return file;
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
