#include "tools/stage/Lines.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace stage {

Lines::Lines(int descriptor, Listener listener)
    : descriptor_(descriptor), listener_(std::move(listener)), reader_([this] { read(); }) {}

Lines::~Lines() {
  reader_.join();
  ::close(descriptor_);
}

void Lines::read() {
  std::array<char, 4096> bytes{};
  std::string pending;
  for (;;) {
    const auto size = ::read(descriptor_, bytes.data(), bytes.size());
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) break;
    pending.append(bytes.data(), static_cast<std::size_t>(size));
    std::size_t start = 0;
    for (auto end = pending.find('\n'); end != std::string::npos; end = pending.find('\n', start)) {
      std::string line = pending.substr(start, end - start);
      if (listener_) listener_(line);
      const std::lock_guard lock(mutex_);
      lines_.push_back(std::move(line));
      start = end + 1;
    }
    pending.erase(0, start);
    changed_.notify_all();
  }
  const std::lock_guard lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

std::optional<std::string> Lines::waitFor(const std::string& part, std::size_t from, std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  std::optional<std::string> found;
  std::size_t next = from;
  changed_.wait_for(lock, limit, [&] {
    for (; next < lines_.size() && !found; ++next) {
      if (lines_[next].find(part) != std::string::npos) found = lines_[next];
    }
    return found || ended_;
  });
  return found;
}

std::size_t Lines::count() const {
  const std::lock_guard lock(mutex_);
  return lines_.size();
}

std::size_t Lines::countOf(const std::string& part) const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::count_if(
      lines_.begin(), lines_.end(), [&](const std::string& line) { return line.find(part) != std::string::npos; }));
}

std::vector<std::string> Lines::all() const {
  const std::lock_guard lock(mutex_);
  return lines_;
}

std::string Lines::text() const {
  std::string text;
  for (const auto& line : all()) text += line + '\n';
  return text;
}

}  // namespace stage
