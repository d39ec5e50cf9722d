// Copies of keys that the gate holds back, and the way back of such a copy into the gate.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/keyboard/KeyQueue.h"

namespace platform::linux_desktop {

// Where posted and dropped copies come in. Any thread puts in, the tap's thread takes out.
class HeldKeyInbox {
 public:
  struct Message {
    KeyQueue::Ordinal ordinal = 0;
    bool isPosted = false;
  };

  HeldKeyInbox();

  // Readable exactly while something waits to be taken out.
  int fileDescriptor() const { return wake_.get(); }
  void put(const Message& message);
  std::vector<Message> takeAll();
  // What comes in afterwards is ignored: the gate that held the keys is gone.
  void close();

 private:
  FileDescriptor wake_;
  std::atomic<bool> hasMessages_ = false;
  std::mutex mutex_;
  bool isClosed_ = false;
  std::vector<Message> messages_;
};

// The copy of a held key. Destroying it unposted drops the key.
class HeldKey final : public CGEvent {
 public:
  HeldKey(const KeyStroke& stroke, KeyQueue::Ordinal ordinal, std::shared_ptr<HeldKeyInbox> inbox)
      : stroke_(stroke), ordinal_(ordinal), inbox_(std::move(inbox)) {}
  ~HeldKey() override;

  CGEventFlags flags() const override { return stroke_.flags; }
  CGPoint location() const override { return stroke_.location; }
  // A key is typed once: of its copy there is no copy.
  std::unique_ptr<CGEvent> copy() const override { return nullptr; }

  // Gives the key back to the gate, to go to the application in front.
  void post();

 private:
  KeyStroke stroke_;
  KeyQueue::Ordinal ordinal_;
  std::shared_ptr<HeldKeyInbox> inbox_;
};

// An event as the tap's callback sees it; lives for the call.
class TapEvent final : public CGEvent {
 public:
  // One that has reached an application already, or a mouse event: it cannot be copied.
  TapEvent(CGEventFlags flags, CGPoint location) : flags_(flags), location_(location) {}
  // One that the gate holds.
  TapEvent(const KeyStroke& stroke, KeyQueue::Ordinal ordinal, const std::shared_ptr<HeldKeyInbox>& inbox)
      : flags_(stroke.flags), location_(stroke.location), stroke_(&stroke), ordinal_(ordinal), inbox_(&inbox) {}

  CGEventFlags flags() const override { return flags_; }
  CGPoint location() const override { return location_; }
  std::unique_ptr<CGEvent> copy() const override;
  bool wasCopied() const { return wasCopied_; }

 private:
  CGEventFlags flags_;
  CGPoint location_;
  const KeyStroke* stroke_ = nullptr;
  KeyQueue::Ordinal ordinal_ = 0;
  const std::shared_ptr<HeldKeyInbox>* inbox_ = nullptr;
  mutable bool wasCopied_ = false;
};

}  // namespace platform::linux_desktop
