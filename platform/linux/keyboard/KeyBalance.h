// The books on which keys are down: under the fingers, and as the X server believes.
#pragma once

#include <map>
#include <vector>

#include "platform/linux/keyboard/KeyStroke.h"

namespace platform::linux_desktop {

// Pure bookkeeping, no X. It says what has to be emitted so that the server has down what the fingers hold. Not
// thread-safe.
class KeyBalance {
 public:
  struct Emission {
    Wiped<KeyCode> key;
    bool isPress = false;
    friend bool operator==(const Emission& a, const Emission& b) { return a.key == b.key && a.isPress == b.isPress; }
  };

  // A finger on the keyboard `device`.
  void fingerMoved(DeviceId device, KeyCode key, bool isDown) { fingers_[device].set(key, isDown); }
  // The keyboard is gone, and every finger with it.
  void forget(DeviceId device) { fingers_.erase(device); }
  // What was found down on a keyboard that came with keys down.
  void setFingers(DeviceId device, const KeySet& down) { fingers_[device] = down; }
  KeySet fingers() const;

  // The server handed an event to the applications by itself. Returns what has to be emitted after it.
  std::vector<Emission> delivered(KeyCode key, bool isPress);
  // The event shall go to the applications now. Returns what has to be emitted for it: nothing for the release of a key
  // that is up, a release before a press of a key that is down already.
  std::vector<Emission> emit(KeyCode key, bool isPress);
  // Evens out what drops have left behind: a key that is still held when its press is dropped goes down after all, as
  // the user sees it down. `isPending(key)` tells that an event of the key is still to come, so that its balance is not
  // due yet.
  template <class IsPending>
  std::vector<Emission> settle(const IsPending& isPending);

  // For the end: what releases all keys that are down through our own emissions.
  std::vector<Emission> releaseEmitted();

  // The keys that the server has down through our own emissions.
  const KeySet& emittedDown() const { return emitted_; }
  void setServerDown(const KeySet& down) { server_ = down; }
  const KeySet& serverDown() const { return server_; }

 private:
  void press(KeyCode key, std::vector<Emission>& emissions);
  void release(KeyCode key, std::vector<Emission>& emissions);

  std::map<DeviceId, KeySet> fingers_;
  KeySet server_;
  KeySet emitted_;
};

template <class IsPending>
std::vector<KeyBalance::Emission> KeyBalance::settle(const IsPending& isPending) {
  std::vector<Emission> emissions;
  const KeySet down = fingers();
  const KeySet different = down ^ server_;
  if (different.none()) return emissions;
  for (std::size_t i = 0; i < different.size(); ++i) {
    const auto key = static_cast<KeyCode>(i);
    if (!different[i] || isPending(key)) continue;
    if (server_[i]) {
      release(key, emissions);
    } else {
      press(key, emissions);
    }
  }
  return emissions;
}

}  // namespace platform::linux_desktop
