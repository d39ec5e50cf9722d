// Brings every tapped event to those who need it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "varnoletKit/EventTapDelegate.h"
#include "varnoletKit/GestureDetector.h"
#include "varnoletKit/Guarded.h"
#include "varnoletKit/KeystrokeBuffer.h"

namespace varnoletKit {

// Records each event in the gesture detector and lets the keystroke buffer decide on it. A key that would reach another
// process than the key before it starts a speculative capture first, and is its first catch: whether the user wanted
// the change of application is judged a little later, on the main thread.
//
// Events come on the event tap's thread.
class EventRouter final : public EventTapDelegate {
 public:
  EventRouter(std::shared_ptr<GestureDetector> gestureDetector, std::shared_ptr<KeystrokeBuffer> keystrokeBuffer);

  platform::CGEvent* handleTapEvent(platform::CGEventTapProxy proxy, platform::CGEventType type,
                                    platform::CGEvent& event) override;

  // Any thread. The process that is rightly in front: its next key is no change, but one that any other would get is.
  // Without being told, a router that last saw a key go to a thief would let that same thief have one more.
  void noteFrontmost(std::int32_t pid);
  // Any thread. The same, of one that takes the place of any that was being brought back.
  void acceptFrontmost(std::int32_t pid);
  // Any thread. The process that is being brought back after a judged theft, 0 for none: none either once the user has
  // pressed a mouse button. Keys that would reach another one are held for it; its own need no judgement.
  void expectReturnOf(std::int32_t pid) { returningPID_ = pid; }
  std::int32_t returningPID() const { return returningPID_; }

 private:
  void captureIfFrontmostChanged();

  const std::shared_ptr<GestureDetector> gestureDetector_;
  const std::shared_ptr<KeystrokeBuffer> keystrokeBuffer_;
  // 0 until the first key: that one always counts as a change.
  Guarded<std::int32_t> lastKnownFrontmostPID_{0};
  std::atomic<std::int32_t> returningPID_{0};
};

}  // namespace varnoletKit
