#include "platform/linux/keyboard/KeyQueue.h"

#include <algorithm>

namespace platform::linux_desktop {

const KeyQueue::Entry* KeyQueue::ready() const {
  if (entries_.empty() || entries_.front().state == State::held) return nullptr;
  return &entries_.front();
}

void KeyQueue::post(Ordinal ordinal) {
  const auto entry = findHeld(ordinal);
  if (entry != entries_.end()) entry->state = State::posted;
}

void KeyQueue::drop(Ordinal ordinal) {
  const auto entry = findHeld(ordinal);
  if (entry != entries_.end()) entries_.erase(entry);
}

bool KeyQueue::contains(KeyCode key) const {
  return std::any_of(entries_.begin(), entries_.end(), [key](const Entry& entry) { return entry.stroke.key == key; });
}

std::deque<KeyQueue::Entry>::iterator KeyQueue::findHeld(Ordinal ordinal) {
  const auto entry = std::lower_bound(entries_.begin(), entries_.end(), ordinal,
                                      [](const Entry& a, Ordinal b) { return a.ordinal < b; });
  const bool isHeld = entry != entries_.end() && entry->ordinal == ordinal && entry->state == State::held;
  return isHeld ? entry : entries_.end();
}

}  // namespace platform::linux_desktop
