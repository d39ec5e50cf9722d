// Brings every tapped event to those who need it.
#pragma once

#include <cstdint>
#include <memory>

#include "varnoletKit/EventTapDelegate.h"
#include "varnoletKit/ExpectedReturn.h"
#include "varnoletKit/GestureDetector.h"
#include "varnoletKit/Guarded.h"
#include "varnoletKit/KeystrokeBuffer.h"

namespace varnoletKit {

// Records each event in the gesture detector and lets the keystroke buffer decide on it. A key that would reach another
// process than the key before it starts a speculative capture first, and is its first catch: whether the user wanted
// the change of application is judged a little later, on the main thread. While a judged theft is being undone, keys of
// the application that is expected back need no judgement, and those of any other are captured for it. A mouse press
// ends the expectation: the user has decided.
//
// Events come on the event tap's thread.
class EventRouter final : public EventTapDelegate {
 public:
  EventRouter(std::shared_ptr<GestureDetector> gestureDetector, std::shared_ptr<KeystrokeBuffer> keystrokeBuffer,
              std::shared_ptr<ExpectedReturn> expectedReturn);

  platform::CGEvent* handleTapEvent(platform::CGEventTapProxy proxy, platform::CGEventType type,
                                    platform::CGEvent& event) override;

  // Any thread. Keys of this process start no capture from now on, keys of any other do. To be told of each process
  // that is in front by right: the last key may have gone to another one, even to a thief.
  void setLastKnownFrontmostPID(std::int32_t pid);

 private:
  void captureIfFrontmostChanged();

  const std::shared_ptr<GestureDetector> gestureDetector_;
  const std::shared_ptr<KeystrokeBuffer> keystrokeBuffer_;
  const std::shared_ptr<ExpectedReturn> expectedReturn_;
  // 0 until the first key: that one always counts as a change.
  Guarded<std::int32_t> lastKnownFrontmostPID_{0};
};

}  // namespace varnoletKit
