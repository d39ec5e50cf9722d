#include "platform/simulated/InputStream.h"

#include <algorithm>
#include <utility>

namespace platform::simulated {

class InputStream::Tap final : public CFMachPort {
 public:
  Tap(CGEventTapOptions options, CGEventMask mask, CGEventTapCallBack callback, void* userInfo)
      : options_(options), mask_(mask), callback_(callback), userInfo_(userInfo) {}

  void setEnabled(bool enabled) override { isEnabled_ = enabled; }
  bool isEnabled() const override { return isEnabled_ && isValid_; }
  void invalidate() override { isValid_ = false; }

  bool isValid() const { return isValid_; }
  bool isActive() const { return options_ == CGEventTapOptions::active; }
  bool wants(CGEventType type) const { return isEnabled() && type < 64 && (mask_ >> type & 1) != 0; }
  CGEvent* call(InputEvent& event) const { return callback_(nullptr, event.contents().type, event, userInfo_); }

  // The tap's run-loop source, as long as anybody holds it.
  std::weak_ptr<Source> source;

 private:
  CGEventTapOptions options_;
  CGEventMask mask_;
  CGEventTapCallBack callback_;
  void* userInfo_;
  std::atomic<bool> isEnabled_{true};
  std::atomic<bool> isValid_{true};
};

void InputStream::send(CGEventType type, char key) {
  send({type, key, flags_, location_});
}

void InputStream::send(CGEventType type, CGEventFlags flags, CGPoint location) {
  send({type, 0, flags, location});
}

void InputStream::send(InputEvent::Contents contents) {
  auto event = std::make_unique<InputEvent>(contents, ++lastSequence_, areEventsCopyable_);
  const auto ended = event->ended();
  enqueue(std::move(event), nullptr);
  executor_.waitUntil([ended] { return ended->load(); }, "a tap keeps an event without an answer");
}

void InputStream::disableTaps(CGEventType notice) {
  std::vector<std::shared_ptr<Tap>> disabled;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& each : taps_) {
      const auto tap = each.lock();
      if (tap && tap->isEnabled()) disabled.push_back(tap);
    }
  }
  for (const auto& tap : disabled) {
    tap->setEnabled(false);
    auto event =
        std::make_unique<InputEvent>(InputEvent::Contents{notice, 0, flags_, location_}, ++lastSequence_, false);
    const auto ended = event->ended();
    enqueue(std::move(event), tap);
    executor_.waitUntil([ended] { return ended->load(); }, "a tap keeps its notice without an answer");
  }
}

std::size_t InputStream::liveTaps() const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::ranges::count_if(taps_, [](const std::weak_ptr<Tap>& each) {
    const auto tap = each.lock();
    return tap && tap->isValid();
  }));
}

bool InputStream::move() {
  if (!underWay_) takeNext();
  if (!underWay_ || underWay_->isInCallback) return false;
  if (canOffer(underWay_->offeredTo.lock())) return false;  // its thread has to come now

  while (!underWay_->tapsToAsk.empty()) {
    underWay_->offeredTo = underWay_->tapsToAsk.front();
    underWay_->tapsToAsk.erase(underWay_->tapsToAsk.begin());
    if (canOffer(underWay_->offeredTo.lock())) return true;
  }
  end(false);
  return true;
}

bool InputStream::passOverStuckTap() {
  if (!underWay_ || underWay_->isInCallback) return false;
  underWay_->offeredTo.reset();
  return true;
}

std::shared_ptr<Source> InputStream::sourceOf(const CFMachPortRef& port) {
  const auto tap = std::static_pointer_cast<Tap>(port);
  if (auto source = tap->source.lock()) return source;
  const std::weak_ptr<Tap> weakTap = tap;
  auto source =
      std::make_shared<Source>([this, weakTap] { return isOfferedTo(weakTap); }, [this, weakTap] { callTap(weakTap); });
  tap->source = source;
  return source;
}

CFMachPortRef InputStream::createTap(CGEventTapLocation, CGEventTapPlacement placement, CGEventTapOptions options,
                                     CGEventMask mask, CGEventTapCallBack callback, void* userInfo) {
  if (!isInputMonitoringGranted_) return nullptr;
  if (options == CGEventTapOptions::active && !areActiveTapsAllowed_) return nullptr;
  auto tap = std::make_shared<Tap>(options, mask, callback, userInfo);
  const std::lock_guard lock(mutex_);
  std::erase_if(taps_, [](const std::weak_ptr<Tap>& each) { return each.expired(); });
  taps_.insert(placement == CGEventTapPlacement::headInsert ? taps_.begin() : taps_.end(), tap);
  return tap;
}

void InputStream::post(CGEventTapLocation, std::unique_ptr<CGEvent> event) {
  enqueue(std::unique_ptr<InputEvent>(static_cast<InputEvent*>(event.release())), nullptr);
}

void InputStream::enqueue(std::unique_ptr<InputEvent> event, std::shared_ptr<Tap> noticeFor) {
  const Place place{event->origin(), ++lastSequence_};
  const std::lock_guard lock(mutex_);
  waiting_.emplace(place, Waiting{std::move(event), std::move(noticeFor)});
}

void InputStream::takeNext() {
  const std::lock_guard lock(mutex_);
  if (waiting_.empty()) return;
  Waiting next = std::move(waiting_.extract(waiting_.begin()).mapped());
  underWay_ = std::make_unique<UnderWay>();
  underWay_->event = std::move(next.event);
  if (next.noticeFor) {
    underWay_->isNotice = true;
    underWay_->tapsToAsk = {next.noticeFor};
  } else {
    underWay_->tapsToAsk = taps_;
  }
}

bool InputStream::canOffer(const std::shared_ptr<Tap>& tap) const {
  if (!tap || !(underWay_->isNotice ? tap->isValid() : tap->wants(underWay_->event->contents().type))) return false;
  const auto source = tap->source.lock();
  if (source && runLoops_.isInMainLoop(*source)) failLoudly("a tap in the main run loop is not simulated");
  return true;
}

bool InputStream::isOfferedTo(const std::weak_ptr<Tap>& tap) const {
  const auto asked = tap.lock();
  return underWay_ && !underWay_->isInCallback && asked == underWay_->offeredTo.lock() && canOffer(asked);
}

void InputStream::callTap(const std::weak_ptr<Tap>& weakTap) {
  const auto tap = weakTap.lock();
  fixDestination();
  underWay_->isInCallback = true;
  const CGEvent* passed = nullptr;
  {
    const Workspace::EventInHand inHand(underWay_->destination);
    passed = tap->call(*underWay_->event);
  }
  underWay_->isInCallback = false;
  underWay_->offeredTo.reset();
  if (!passed && tap->isActive()) end(true);
}

void InputStream::fixDestination() {
  if (std::exchange(underWay_->hasDestination, true)) return;
  underWay_->destination = workspace_.frontmostApplication();
}

void InputStream::end(bool suppressed) {
  fixDestination();
  const InputEvent& event = *underWay_->event;
  if (!underWay_->isNotice) {
    const auto& contents = event.contents();
    InputRecord record{contents.type, contents.key, contents.flags, contents.location, suppressed, {}};
    if (!suppressed && underWay_->destination) record.application = underWay_->destination->processIdentifier();
    records_.push_back(record);
  }
  event.ended()->store(true);
  underWay_.reset();
}

}  // namespace platform::simulated
