#include "platform/linux/keyboard/KeyBalance.h"

namespace platform::linux_desktop {

KeySet KeyBalance::fingers() const {
  KeySet all;
  for (const auto& [device, keys] : fingers_) all |= keys;
  return all;
}

std::vector<KeyBalance::Emission> KeyBalance::delivered(KeyCode key, bool isPress) {
  std::vector<Emission> emissions;
  server_.set(key, isPress);
  // The press was ours: our own device still has the key down, although the applications have seen the release.
  if (!isPress && emitted_[key]) {
    emitted_.reset(key);
    emissions.push_back({key, false});
  }
  return emissions;
}

std::vector<KeyBalance::Emission> KeyBalance::emit(KeyCode key, bool isPress) {
  std::vector<Emission> emissions;
  if (isPress) {
    if (server_[key]) release(key, emissions);
    press(key, emissions);
  } else if (server_[key]) {
    release(key, emissions);
  }
  return emissions;
}

std::vector<KeyBalance::Emission> KeyBalance::releaseEmitted() {
  std::vector<Emission> emissions;
  const KeySet down = emitted_;
  for (std::size_t key = 0; key < down.size(); ++key) {
    if (down[key]) release(static_cast<KeyCode>(key), emissions);
  }
  return emissions;
}

void KeyBalance::press(KeyCode key, std::vector<Emission>& emissions) {
  server_.set(key);
  emitted_.set(key);
  emissions.push_back({key, true});
}

void KeyBalance::release(KeyCode key, std::vector<Emission>& emissions) {
  server_.reset(key);
  emitted_.reset(key);
  emissions.push_back({key, false});
}

}  // namespace platform::linux_desktop
