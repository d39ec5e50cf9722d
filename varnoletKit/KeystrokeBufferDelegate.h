// Who is told that the keystroke buffer gave up by itself.
#pragma once

namespace varnoletKit {

// Main thread, in a turn of its own: the buffer has emptied itself by then.
class KeystrokeBufferDelegate {
 public:
  KeystrokeBufferDelegate() = default;
  KeystrokeBufferDelegate(const KeystrokeBufferDelegate&) = delete;
  KeystrokeBufferDelegate& operator=(const KeystrokeBufferDelegate&) = delete;
  virtual ~KeystrokeBufferDelegate() = default;

  virtual void keystrokeBufferDidTimeout() = 0;
  virtual void keystrokeBufferDidCancelViaMouseClick() = 0;
};

}  // namespace varnoletKit
