#include "platform/linux/keyboard/TapSession.h"

#include <xcb/xinput.h>

#include <algorithm>

#include "platform/Log.h"
#include "platform/linux/keyboard/Gestures.h"
#include "platform/linux/x11/FrontmostOnThread.h"
#include "platform/linux/x11/ServerGrab.h"

namespace platform::linux_desktop {
namespace {

constexpr Logger gestureLog(LogCategory::gesture);

// While the gate is closed the watchdog wants to hear from us well within its patience.
constexpr std::chrono::milliseconds beatInterval{100};
constexpr std::chrono::milliseconds sameGrab{100};

}  // namespace

std::unique_ptr<TapSession> TapSession::open(Decide decide, std::shared_ptr<WatchdogLink> watchdog,
                                             std::shared_ptr<ActivationDesk> desk) {
  auto connection = XcbConnection::open();
  if (!connection) return nullptr;
  auto session = std::unique_ptr<TapSession>(
      new TapSession(std::move(connection), std::move(decide), std::move(watchdog), std::move(desk)));
  if (!session->devices_.isSupported()) return nullptr;
  session->begin();
  return session->isLost() ? nullptr : std::move(session);
}

TapSession::TapSession(std::unique_ptr<XcbConnection> connection, Decide decide, std::shared_ptr<WatchdogLink> watchdog,
                       std::shared_ptr<ActivationDesk> desk)
    : connection_(std::move(connection)),
      decide_(std::move(decide)),
      watchdog_(std::move(watchdog)),
      desk_(std::move(desk)),
      devices_(*connection_),
      focus_(*connection_),
      intent_(*connection_, devices_),
      gate_(*connection_),
      keymaps_(*connection_),
      emitter_(*connection_, devices_, watchdog_),
      passage_(*connection_, balance_, emitter_, *this) {}

TapSession::~TapSession() {
  desk_->close();
  passage_.close();
  passage_.settle();
  passage_.emit(balance_.releaseEmitted());
  emitter_.flush();
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
  intent_.begin();
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
  passage_.settle();
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
  descriptors.push_back({passage_.fileDescriptor(), POLLIN, 0});
  descriptors.push_back({desk_->fileDescriptor(), POLLIN, 0});
}

std::optional<TapSession::Clock::time_point> TapSession::deadline() const {
  if (!gate_.isClosed()) return std::nullopt;
  const auto beat = Clock::now() + beatInterval;
  return std::min(beat, passage_.nextDue().value_or(beat));
}

bool TapSession::perform() {
  if (!std::exchange(isDeskOpen_, true)) desk_->open();
  watchdog_->beat();
  keymaps_.noteEndOfCopies();
  if (passage_.takePosted() || handleActivations() || passage_.takeDue() || passage_.takeEndOfGrab()) return true;
  if (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(*connection_)}) {
    take(*event);
    return true;
  }
  return openIfQuiet();
}

// All that the server sent before an activation has come in when it answers a question that is asked now.
bool TapSession::handleActivations() {
  auto waiting = desk_->takeAll();
  if (waiting.empty()) return false;
  replyTo(*connection_, xcb_get_input_focus_reply, xcb_get_input_focus(*connection_));
  takeQueued();
  for (auto& [activation, release] : waiting) {
    if (activation) tell(intent_.commandBehind(std::move(*activation)));
    desk_->sendBack(std::move(release));
  }
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
    intent_.handle(event);
    noteFocus(focus_.handle(event));
  }
}

void TapSession::handleInput(const xcb_ge_generic_event_t& event) {
  switch (event.event_type) {
    case XCB_INPUT_RAW_KEY_PRESS:
    case XCB_INPUT_RAW_KEY_RELEASE:
      handleRawKey(reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event));
      return;
    case XCB_INPUT_RAW_BUTTON_PRESS:
    case XCB_INPUT_RAW_BUTTON_RELEASE:
      handleButton(reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event));
      return;
    case XCB_INPUT_FOCUS_OUT: {
      const auto command = intent_.focusLeft(reinterpret_cast<const xcb_input_focus_out_event_t&>(event));
      if (command == Command::shortcut) isGrabInvited_ = true;
      tell(command);
      return;
    }
    case XCB_INPUT_ENTER: {
      const auto& entry = reinterpret_cast<const xcb_input_enter_event_t&>(event);
      pointer_ = {static_cast<double>(entry.root_x >> 16), static_cast<double>(entry.root_y >> 16)};
      intent_.pointerEntered(entry);
      return;
    }
    case XCB_INPUT_HIERARCHY:
      handleHierarchy(reinterpret_cast<const xcb_input_hierarchy_event_t&>(event));
      return;
    default:
      return;
  }
}

void TapSession::handleHierarchy(const xcb_input_hierarchy_event_t& event) {
  for (const DeviceId device : InputDevices::goneWith(event)) forget(device);
  // Others moved a keyboard that we hold: one that they attached types past the gate, and one that they made float the
  // end of our grab would attach again.
  for (const auto& [keyboard, isAttached] : InputDevices::movedWith(event)) {
    if (!gate_.isGrabbed(keyboard)) continue;
    const ServerGrab grab(*connection_);
    gate_.release(keyboard);
    if (!isAttached) devices_.detach(keyboard);
  }
  refreshDevices();
}

void TapSession::handleRawKey(const xcb_input_raw_key_press_event_t& event) {
  const auto key = static_cast<KeyCode>(event.detail);
  const bool isPress = event.event_type == XCB_INPUT_RAW_KEY_PRESS;
  if (event.deviceid == devices_.xtestKeyboard()) {
    if (isPress && emitter_.mayHavePressed(key)) intent_.pressArrived(event);
    return;
  }
  const auto& keyboards = devices_.keyboards();
  const bool isRepeat = (event.flags & XCB_INPUT_KEY_EVENT_FLAGS_KEY_REPEAT) != 0;
  if (isRepeat || std::find(keyboards.begin(), keyboards.end(), event.deviceid) == keyboards.end()) return;
  // Our own doing: see InputDevices::makeSource().
  if (!isPress && key == devices_.idleKey() && !balance_.fingers()[key]) return;
  if (isPress && !gate_.holds(event.deviceid)) intent_.pressArrived(event);
  typeOn(event.deviceid);
  // Before the key goes: a launcher may be gone once it has it.
  const auto intent = intentOf(key, isPress);
  handleKey(event.deviceid, key, isPress, intent_.timeOf(event));
  tell(intent_.keyMoved(intent, event));
}

void TapSession::typeOn(DeviceId keyboard) {
  if (keyboard == typist_) return;
  typist_ = keyboard;
  roles_.load(*connection_, keyboard);
  keymaps_.keyboardTypes(keyboard);
}

void TapSession::handleKey(DeviceId keyboard, KeyCode key, bool isPress, Clock::time_point when) {
  balance_.fingerMoved(keyboard, key, isPress);
  const KeyStroke stroke{key, isPress, roles_.typeOf(key, isPress), roles_.flagsOf(key, balance_.fingers()), {}};
  if (!gate_.holds(keyboard)) {
    passage_.emit(balance_.delivered(key, isPress));
    decideDelivered(stroke);
  } else if (isGrabbedElsewhere_ && !passage_.isPacing()) {
    // The program that grabbed the keyboard gets every key at once, whatever else is going on.
    passage_.emit(balance_.emit(key, isPress));
    decideDelivered(stroke);
  } else {
    passage_.admit(stroke, when);
  }
  passage_.settle();
}

// Told before anything is asked of the server: the place is where the pointer was seen last.
void TapSession::handleButton(const xcb_input_raw_button_press_event_t& event) {
  const auto type = typeOfButton(event.detail);
  if (!type) return;
  if (event.event_type == XCB_INPUT_RAW_BUTTON_PRESS) {
    TapEvent press(roles_.flagsOf(0, balance_.fingers()), pointer_);
    decide(*type, press, std::nullopt);
  }
  tell(intent_.buttonMoved(event));
}

UserIntent::Key TapSession::intentOf(KeyCode key, bool isPress) {
  const auto kind = roles_.kindOf(key);
  const KeySet down = balance_.fingers();
  UserIntent::Key intent{.kind = kind, .isPress = isPress, .isGrabbed = isGrabbedElsewhere_};
  intent.isCommand = !roles_.isModifier(key) && (roles_.flagsOf(key, down) & kCGEventFlagMaskCommand) != 0;
  intent.isUnderModifier = (KeySet(down).reset(key) & roles_.modifiers()).any();
  if (kind == UserIntent::KeyKind::enter && isPress) {
    const auto front = knownFront();
    intent.isForLauncher = front && desk_->isLauncher(*front);
  }
  return intent;
}

// It goes to nobody, so it moves no focus.
void TapSession::tell(std::optional<Command> command) {
  if (!command) return;
  gestureLog.debug("command: %s", describe(*command));
  TapEvent event(kCGEventFlagMaskCommand, pointer_);
  decide(kCGEventKeyDown, event, std::nullopt);
}

void TapSession::noteFocus(FocusWatch::Sign sign) {
  if (sign == FocusWatch::Sign::none) return;
  front_.reset();
  const auto now = Clock::now();
  // A window manager's shortcut ends with its key, and it goes on with a grab of its own.
  if (sign == FocusWatch::Sign::grabBegan && !isGrabbedElsewhere_ && now - grabEnded_ > sameGrab)
    isGrabInvited_ = false;
  if (sign == FocusWatch::Sign::grabEnded && isGrabbedElsewhere_) grabEnded_ = now;
  isGrabbedElsewhere_ =
      sign == FocusWatch::Sign::grabBegan || (isGrabbedElsewhere_ && sign != FocusWatch::Sign::grabEnded);
  disturb();
}

// The applications have it already: the verdict can only tell that the next ones should be held.
void TapSession::decideDelivered(const KeyStroke& stroke) {
  TapEvent event(stroke.flags, stroke.location);
  if (!decide(stroke.type, event, knownFront())) disturb();
}

bool TapSession::decide(CGEventType type, TapEvent& event, std::optional<pid_t> front) {
  const FrontmostOnThread frontmost(front);
  const bool passes = decide_(type, event);
  // Who decides where to go is not to be brought back.
  if (isGesture(type, event)) desk_->returnUnderWay().end();
  return passes;
}

// While the server is grabbed. Whoever insists on being in front is there again many times before the window manager
// is done with one return: so each key sets the focus by itself.
std::optional<pid_t> TapSession::frontForKey() {
  const auto front = focus_.frontmostProcess();
  const auto goal = desk_->returnUnderWay().goal();
  if (!goal || !front || front != goal->intruder) return front;
  xcb_set_input_focus(*connection_, XCB_INPUT_FOCUS_PARENT, goal->focus, XCB_CURRENT_TIME);
  return focus_.frontmostProcess();
}

std::optional<pid_t> TapSession::knownFront() {
  if (!front_) front_ = focus_.frontmostProcess();
  return *front_;
}

void TapSession::disturb() {
  const bool closes = !gate_.isClosed();
  if (isGrabbedElsewhere_ || (closes && !watchdog_->isAnswering())) return;
  timing_.noteDisturbance(Clock::now());
  // The watchdog first: it has to know of every grab.
  if (closes) watchdog_->gateClosed();
  gate_.close(devices_.keyboards());
}

bool TapSession::wasDisturbedLately() const {
  return timing_.wasDisturbedLately(Clock::now()) && watchdog_->isAnswering();
}

// True if the server was asked something: with its answers events may have come that nothing else would wake us for.
bool TapSession::openIfQuiet() {
  if (!gate_.isClosed() || !passage_.isEmpty() || wasDisturbedLately()) return false;
  if (!timing_.hasSettled(Clock::now())) return false;
  if (emitter_.hasTakenOver() && !GateTiming::isPause(emitter_.lastEmission(), Clock::now())) return false;
  if (balance_.fingers().any()) return recheckFingers();
  if (!keymaps_.isReadyToOpen()) return false;
  // What the user switched while the gate was closed (Caps Lock, the layout) the applications have, but the floating
  // keyboards do not.
  for (const DeviceId keyboard : gate_.grabbed()) keymaps_.copyLocksTo(keyboard);
  // A key that is still on its way through the gate could be overtaken by the next one.
  takeQueued();
  if (!passage_.isEmpty() || balance_.fingers().any() || wasDisturbedLately()) return true;
  if (emitter_.hasTakenOver() && typist_ != 0) {
    // Ahead of the opening: while the gate is closed, shortcuts can wait. The gate is open for nobody meanwhile.
    const ServerGrab grab(*connection_);
    gate_.open();
    emitter_.handBack(typist_);
    timing_.noteHandedBack(Clock::now());
    gate_.close(devices_.keyboards());
  } else {
    openGate();
  }
  return true;
}

// A finger may have gone up unseen, as while another program grabs the keyboard. Looked at now and then only.
bool TapSession::recheckFingers() {
  if (!timing_.isTimeToRecheck(Clock::now())) return false;
  std::vector<std::pair<DeviceId, KeySet>> found;
  for (const DeviceId keyboard : gate_.grabbed()) {
    if (const auto down = devices_.keysDown(keyboard)) found.emplace_back(keyboard, *down);
  }
  // Events that came in with the answers tell themselves what moved, and want to be judged.
  if (takeQueued()) return true;
  for (const auto& [keyboard, down] : found) balance_.setFingers(keyboard, down);
  passage_.settle();
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

}  // namespace platform::linux_desktop
