#include "platform/linux/TapSession.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <algorithm>

#include "platform/linux/FrontmostOnThread.h"

namespace platform::linux_desktop {
namespace {

// The gate opens when it has been quiet for so long: longer than a capture lasts by default.
constexpr std::chrono::milliseconds quietBeforeOpening{1500};
// While the gate is closed the watchdog wants to hear from us well within its patience.
constexpr std::chrono::milliseconds beatInterval{100};
constexpr std::chrono::milliseconds recheckInterval{1000};

// While one lives, the server does nothing for anybody else: focus cannot move between a question and a key.
class ServerGrab {
 public:
  explicit ServerGrab(xcb_connection_t* connection) : connection_(connection) { xcb_grab_server(connection_); }
  ServerGrab(const ServerGrab&) = delete;
  ServerGrab& operator=(const ServerGrab&) = delete;
  ~ServerGrab() {
    xcb_ungrab_server(connection_);
    xcb_flush(connection_);
  }

 private:
  xcb_connection_t* connection_;
};

// Nothing for wheel buttons.
std::optional<CGEventType> typeOfButton(std::uint32_t button) {
  switch (button) {
    case 1:
      return kCGEventLeftMouseDown;
    case 3:
      return kCGEventRightMouseDown;
    case 4:
    case 5:
    case 6:
    case 7:
      return std::nullopt;
    default:
      return kCGEventOtherMouseDown;
  }
}

}  // namespace

std::unique_ptr<TapSession> TapSession::open(Judge judge, std::shared_ptr<WatchdogLink> watchdog) {
  auto connection = XcbConnection::open();
  if (!connection) return nullptr;
  auto session =
      std::unique_ptr<TapSession>(new TapSession(std::move(connection), std::move(judge), std::move(watchdog)));
  if (!session->devices_.isSupported()) return nullptr;
  session->begin();
  return session->isLost() ? nullptr : std::move(session);
}

TapSession::TapSession(std::unique_ptr<XcbConnection> connection, Judge judge, std::shared_ptr<WatchdogLink> watchdog)
    : connection_(std::move(connection)),
      judge_(std::move(judge)),
      watchdog_(std::move(watchdog)),
      inbox_(std::make_shared<HeldKeyInbox>()),
      devices_(*connection_),
      focus_(*connection_),
      gate_(*connection_),
      keymaps_(*connection_) {}

TapSession::~TapSession() {
  inbox_->close();
  queue_ = {};
  settle();
  emit(balance_.releaseEmitted());
  if (gate_.isClosed()) {
    for (const DeviceId keyboard : gate_.grabbed()) keymaps_.copyLocksTo(keyboard);
    openGate();
  }
  // The disconnection must not overtake what was just asked for.
  replyTo(*connection_, xcb_get_input_focus_reply, xcb_get_input_focus(*connection_));
}

void TapSession::begin() {
  watchdog_->watch(*connection_);
  xinputOpcode_ = devices_.xinputOpcode();
  devices_.watchHierarchy();
  keymaps_.begin();
  refreshDevices();
  focus_.begin();
  xcb_flush(*connection_);
}

void TapSession::refreshDevices() {
  const std::vector<DeviceId> before = devices_.keyboards();
  devices_.refresh(gate_.grabbed());
  const std::vector<DeviceId>& now = devices_.keyboards();
  for (const DeviceId keyboard : before) {
    if (std::find(now.begin(), now.end(), keyboard) != now.end()) continue;
    forget(keyboard);
  }
  for (const DeviceId keyboard : now) {
    if (std::find(before.begin(), before.end(), keyboard) != before.end()) continue;
    const auto down = devices_.keysDown(keyboard);
    if (!down) continue;
    balance_.setFingers(keyboard, *down);
    balance_.setServerDown(balance_.serverDown() | *down);
  }
  if (std::find(now.begin(), now.end(), typist_) == now.end() && !now.empty()) {
    typist_ = now.front();
    roles_.load(*connection_, typist_);
  }
  keymaps_.setDevices(now, devices_.xtestKeyboard(), devices_.masterKeyboard());
  keymaps_.keyboardTypes(typist_);
  if (gate_.isClosed()) gate_.close(now);
  settle();
}

void TapSession::forget(DeviceId keyboard) {
  gate_.forget(keyboard);
  balance_.forget(keyboard);
  keymaps_.forget(keyboard);
  devices_.forget(keyboard);
  if (typist_ == keyboard) typist_ = 0;
}

void TapSession::addPollDescriptors(std::vector<pollfd>& descriptors) const {
  descriptors.push_back({connection_->fileDescriptor(), POLLIN, 0});
  descriptors.push_back({inbox_->fileDescriptor(), POLLIN, 0});
}

std::optional<TapSession::Clock::time_point> TapSession::deadline() const {
  if (!gate_.isClosed()) return std::nullopt;
  return Clock::now() + beatInterval;
}

bool TapSession::perform() {
  watchdog_->beat();
  keymaps_.noteEndOfCopies();
  if (handleInbox()) return true;
  if (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(*connection_)}) {
    take(*event);
    return true;
  }
  return openIfQuiet();
}

bool TapSession::handleInbox() {
  const auto messages = inbox_->takeAll();
  if (messages.empty()) return false;
  for (const auto& message : messages) {
    if (message.isPosted) {
      queue_.post(message.ordinal);
    } else {
      queue_.drop(message.ordinal);
    }
  }
  advance();
  settle();
  return true;
}

void TapSession::take(const xcb_generic_event_t& event) {
  gate_.reached(event.full_sequence);
  // Any program can send any event; requests to the window manager are the only ones that are meant to be sent.
  const bool isSent = (event.response_type & 0x80) != 0;
  if (isSent && (event.response_type & ~0x80) != XCB_CLIENT_MESSAGE) return;
  const auto type = static_cast<std::uint8_t>(event.response_type & ~0x80);
  if (type == XCB_GE_GENERIC) {
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    if (generic.extension == xinputOpcode_) handleInput(generic);
  } else if (keymaps_.isKeymapEvent(event)) {
    if (keymaps_.handle(event, gate_.isClosed())) roles_.load(*connection_, typist_);
  } else {
    noteFocus(focus_.handle(event));
  }
}

void TapSession::handleInput(const xcb_ge_generic_event_t& event) {
  switch (event.event_type) {
    case XCB_INPUT_RAW_KEY_PRESS:
    case XCB_INPUT_RAW_KEY_RELEASE: {
      const auto& raw = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
      const auto& keyboards = devices_.keyboards();
      const bool isRepeat = (raw.flags & XCB_INPUT_KEY_EVENT_FLAGS_KEY_REPEAT) != 0;
      if (isRepeat || std::find(keyboards.begin(), keyboards.end(), raw.deviceid) == keyboards.end()) return;
      handleKey(raw.deviceid, static_cast<KeyCode>(raw.detail), event.event_type == XCB_INPUT_RAW_KEY_PRESS);
      return;
    }
    case XCB_INPUT_RAW_BUTTON_PRESS:
      handleButton(reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event).detail);
      return;
    case XCB_INPUT_HIERARCHY:
      for (const DeviceId device :
           InputDevices::goneWith(reinterpret_cast<const xcb_input_hierarchy_event_t&>(event))) {
        forget(device);
      }
      refreshDevices();
      return;
    default:
      return;
  }
}

void TapSession::handleKey(DeviceId keyboard, KeyCode key, bool isPress) {
  if (keyboard != typist_) {
    typist_ = keyboard;
    roles_.load(*connection_, keyboard);
    keymaps_.keyboardTypes(keyboard);
  }
  balance_.fingerMoved(keyboard, key, isPress);
  const KeyStroke stroke{key, isPress, roles_.typeOf(key, isPress), roles_.flagsOf(key, balance_.fingers()), {}};
  if (!gate_.holds(keyboard)) {
    emit(balance_.delivered(key, isPress));
    judgeDelivered(stroke);
  } else if (isGrabbedElsewhere_) {
    // The program that grabbed the keyboard gets every key at once, whatever else is going on.
    emit(balance_.emit(key, isPress));
    judgeDelivered(stroke);
  } else {
    admit(stroke);
  }
  settle();
}

void TapSession::handleButton(std::uint32_t button) {
  const auto type = typeOfButton(button);
  if (!type) return;
  const auto pointer =
      replyTo(*connection_, xcb_query_pointer_reply, xcb_query_pointer(*connection_, connection_->root()));
  const CGPoint location =
      pointer ? CGPoint{static_cast<double>(pointer->root_x), static_cast<double>(pointer->root_y)} : CGPoint{};
  TapEvent event(roles_.flagsOf(0, balance_.fingers()), location);
  judge(*type, event, knownFront());
}

void TapSession::noteFocus(FocusWatch::Sign sign) {
  if (sign == FocusWatch::Sign::none) return;
  front_.reset();
  isGrabbedElsewhere_ =
      sign == FocusWatch::Sign::grabBegan || (isGrabbedElsewhere_ && sign != FocusWatch::Sign::grabEnded);
  disturb();
}

// The applications have the event already: the verdict can only tell that the next ones should be held.
void TapSession::judgeDelivered(const KeyStroke& stroke) {
  TapEvent event(stroke.flags, stroke.location);
  if (!judge(stroke.type, event, knownFront())) disturb();
}

void TapSession::admit(const KeyStroke& stroke) {
  const KeyQueue::Ordinal ordinal = queue_.takeOrdinal();
  const bool isFirst = queue_.isEmpty();
  TapEvent event(stroke, ordinal, inbox_);
  // One that has to wait its turn is not emitted now, so the focus may move: the server has others to serve.
  std::optional<ServerGrab> grab;
  if (isFirst) grab.emplace(*connection_);
  const auto front = focus_.frontmostProcess();
  if (!judge(stroke.type, event, front)) {
    disturb();
    if (event.wasCopied()) queue_.append({ordinal, stroke, KeyQueue::State::held, std::nullopt});
  } else if (isFirst) {
    emit(balance_.emit(stroke.key, stroke.isPress));
  } else {
    queue_.append({ordinal, stroke, KeyQueue::State::passed, front});
  }
}

// Lets the keys go that nothing before them holds back. Posted ones enter the tap like any other key. A passed one
// whose destination is no longer in front is judged anew: it must not reach whoever came in between.
void TapSession::advance() {
  while (const KeyQueue::Entry* first = queue_.ready()) {
    const KeyQueue::Entry entry = *first;
    const ServerGrab grab(*connection_);
    const auto front = focus_.frontmostProcess();
    if (entry.state == KeyQueue::State::posted || front != entry.destination) {
      TapEvent event(entry.stroke, entry.ordinal, inbox_);
      if (!judge(entry.stroke.type, event, front)) {
        disturb();
        if (event.wasCopied()) {
          queue_.holdFirstAgain();
        } else {
          queue_.removeFirst();
        }
        continue;
      }
    }
    queue_.removeFirst();
    emit(balance_.emit(entry.stroke.key, entry.stroke.isPress));
  }
}

bool TapSession::judge(CGEventType type, TapEvent& event, std::optional<pid_t> front) {
  const FrontmostOnThread frontmost(front);
  return judge_(type, event);
}

std::optional<pid_t> TapSession::knownFront() {
  if (!front_) front_ = focus_.frontmostProcess();
  return *front_;
}

void TapSession::disturb() {
  if (isGrabbedElsewhere_) return;
  lastDisturbance_ = Clock::now();
  // The watchdog first: it has to know of every grab.
  if (!gate_.isClosed()) watchdog_->gateClosed();
  gate_.close(devices_.keyboards());
}

bool TapSession::isQuiet() const {
  return queue_.isEmpty() && balance_.fingers().none() && Clock::now() - lastDisturbance_ >= quietBeforeOpening;
}

// True if the server was asked something: events may have come in with its answers that nothing else would wake us for.
bool TapSession::openIfQuiet() {
  if (!gate_.isClosed() || !queue_.isEmpty() || Clock::now() - lastDisturbance_ < quietBeforeOpening) return false;
  if (balance_.fingers().any()) return recheckFingers();
  if (!keymaps_.isReadyToOpen()) return false;
  // What the user switched while the gate was closed (Caps Lock, the layout) the applications have, but the floating
  // keyboards do not.
  for (const DeviceId keyboard : gate_.grabbed()) keymaps_.copyLocksTo(keyboard);
  // A key that is still on its way through the gate could be overtaken by the next one.
  takeQueued();
  if (isQuiet()) openGate();
  return true;
}

// A finger may have gone up unseen, for example while another program grabbed the keyboard. Looked at now and then
// only.
bool TapSession::recheckFingers() {
  if (Clock::now() - lastRecheck_ < recheckInterval) return false;
  lastRecheck_ = Clock::now();
  std::vector<std::pair<DeviceId, KeySet>> found;
  for (const DeviceId keyboard : gate_.grabbed()) {
    if (const auto down = devices_.keysDown(keyboard)) found.emplace_back(keyboard, *down);
  }
  // Events that came in with the answers tell themselves what moved, and want to be judged.
  if (takeQueued()) return true;
  for (const auto& [keyboard, down] : found) balance_.setFingers(keyboard, down);
  settle();
  return true;
}

bool TapSession::takeQueued() {
  bool hasTaken = false;
  while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_queued_event(*connection_)}) {
    take(*event);
    hasTaken = true;
  }
  return hasTaken;
}

void TapSession::openGate() {
  gate_.open();
  front_.reset();
  watchdog_->gateOpened();
}

void TapSession::emit(const std::vector<KeyBalance::Emission>& emissions) {
  if (emissions.empty()) return;
  for (const auto& [key, isPress] : emissions) {
    xcb_test_fake_input(*connection_, isPress ? XCB_KEY_PRESS : XCB_KEY_RELEASE, key, XCB_CURRENT_TIME, XCB_WINDOW_NONE,
                        0, 0, 0);
  }
  // Whenever this process is stopped, the watchdog finds every key on the board that may be down.
  const KeySet before = std::exchange(shownDown_, balance_.emittedDown());
  watchdog_->emittedDown(before | shownDown_);
  xcb_flush(*connection_);
  watchdog_->emittedDown(shownDown_);
}

void TapSession::settle() {
  emit(balance_.settle([this](KeyCode key) { return queue_.contains(key); }));
}

}  // namespace platform::linux_desktop
