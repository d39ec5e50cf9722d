#include "platform/linux/x11/InputDevices.h"

#include <xcb/xtest.h>

#include <algorithm>

#include "platform/linux/x11/Xkb.h"

namespace platform::linux_desktop {
namespace {

constexpr std::uint16_t requiredMajor = 2;
constexpr std::uint16_t requiredMinor = 2;

}  // namespace

InputDevices::InputDevices(XcbConnection& connection) : connection_(connection) {
  if (const auto* setup = xcb_get_setup(connection)) idleKey_ = setup->max_keycode;
}

bool InputDevices::isSupported() {
  const auto* xinput = xcb_get_extension_data(connection_, &xcb_input_id);
  const auto* xtest = xcb_get_extension_data(connection_, &xcb_test_id);
  const auto* xkb = xcb_get_extension_data(connection_, &xcb_xkb_id);
  if (!xinput || !xinput->present || !xtest || !xtest->present || !xkb || !xkb->present) return false;
  replyTo(connection_, xcb_xkb_use_extension_reply,
          xcb_xkb_use_extension(connection_, XCB_XKB_MAJOR_VERSION, XCB_XKB_MINOR_VERSION));
  const auto version = replyTo(connection_, xcb_input_xi_query_version_reply,
                               xcb_input_xi_query_version(connection_, requiredMajor, requiredMinor));
  return version && (version->major_version > requiredMajor ||
                     (version->major_version == requiredMajor && version->minor_version >= requiredMinor));
}

std::uint8_t InputDevices::xinputOpcode() {
  return xcb_get_extension_data(connection_, &xcb_input_id)->major_opcode;
}

void InputDevices::refresh(const std::vector<DeviceId>& ours) {
  keyboards_.clear();
  pointers_.clear();
  xtestKeyboard_.reset();
  masterKeyboard_.reset();
  const auto reply = replyTo(connection_, xcb_input_xi_query_device_reply,
                             xcb_input_xi_query_device(connection_, XCB_INPUT_DEVICE_ALL));
  if (!reply) return;
  for (auto it = xcb_input_xi_query_device_infos_iterator(reply.get()); it.rem; xcb_input_xi_device_info_next(&it)) {
    const auto& device = *it.data;
    if (!device.enabled) continue;
    const DeviceId id = device.deviceid;
    const bool isOurs = std::find(ours.begin(), ours.end(), id) != ours.end();
    if (device.type == XCB_INPUT_DEVICE_TYPE_MASTER_KEYBOARD) {
      if (!masterKeyboard_) masterKeyboard_ = id;
    } else if (device.type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD || isOurs) {
      // Keyboards of a second master pair belong to somebody else's hands.
      if (!isOurs && masterKeyboard_ && device.attachment != *masterKeyboard_) continue;
      if (isXtest(id)) {
        xtestKeyboard_ = id;
        select(id, XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS);
      } else {
        keyboards_.push_back(id);
        select(id, XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE);
      }
    } else if (device.type == XCB_INPUT_DEVICE_TYPE_SLAVE_POINTER && !isXtest(id)) {
      pointers_.push_back(id);
      select(id, XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE);
    }
  }
}

void InputDevices::watchHierarchy() {
  select(XCB_INPUT_DEVICE_ALL, XCB_INPUT_XI_EVENT_MASK_HIERARCHY);
}

std::vector<DeviceId> InputDevices::goneWith(const xcb_input_hierarchy_event_t& event) {
  constexpr std::uint32_t isGone = XCB_INPUT_HIERARCHY_MASK_SLAVE_REMOVED | XCB_INPUT_HIERARCHY_MASK_DEVICE_DISABLED;
  std::vector<DeviceId> gone;
  for (auto it = xcb_input_hierarchy_infos_iterator(&event); it.rem; xcb_input_hierarchy_info_next(&it)) {
    if (it.data->flags & isGone) gone.push_back(it.data->deviceid);
  }
  return gone;
}

std::vector<std::pair<DeviceId, bool>> InputDevices::movedWith(const xcb_input_hierarchy_event_t& event) {
  constexpr std::uint32_t isMoved = XCB_INPUT_HIERARCHY_MASK_SLAVE_ATTACHED | XCB_INPUT_HIERARCHY_MASK_SLAVE_DETACHED;
  std::vector<std::pair<DeviceId, bool>> moved;
  for (auto it = xcb_input_hierarchy_infos_iterator(&event); it.rem; xcb_input_hierarchy_info_next(&it)) {
    if (!(it.data->flags & isMoved)) continue;
    moved.emplace_back(it.data->deviceid, it.data->flags & XCB_INPUT_HIERARCHY_MASK_SLAVE_ATTACHED);
  }
  return moved;
}

void InputDevices::detach(DeviceId device) {
  struct {
    std::uint16_t type = XCB_INPUT_HIERARCHY_CHANGE_TYPE_DETACH_SLAVE;
    std::uint16_t length = sizeof(xcb_input_detach_slave_t) / 4;
    DeviceId device = 0;
    std::uint16_t unused = 0;
  } change;
  change.device = device;
  xcb_input_xi_change_hierarchy(connection_, 1, reinterpret_cast<const xcb_input_hierarchy_change_t*>(&change));
}

// The server marks its own XTEST devices with a property.
bool InputDevices::isXtest(DeviceId device) {
  const auto property = replyTo(
      connection_, xcb_input_xi_get_property_reply,
      xcb_input_xi_get_property(connection_, device, 0, connection_.atom("XTEST Device"), XCB_ATOM_INTEGER, 0, 1));
  return property && property->num_items > 0;
}

void InputDevices::select(DeviceId device, std::uint32_t mask) {
  struct {
    xcb_input_event_mask_t header;
    std::uint32_t mask;
  } const selection{{device, 1}, mask};
  xcb_input_xi_select_events(connection_, connection_.root(), 1, &selection.header);
}

bool InputDevices::isPointer(DeviceId device) const {
  return std::find(pointers_.begin(), pointers_.end(), device) != pointers_.end();
}

void InputDevices::makeSource(DeviceId keyboard) {
  const auto* xinput = xcb_get_extension_data(connection_, &xcb_input_id);
  if (!xinput) return;  // the connection is lost
  const auto release = static_cast<std::uint8_t>(xinput->first_event + XCB_INPUT_DEVICE_KEY_RELEASE);
  xcb_test_fake_input(connection_, release, idleKey_, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0,
                      static_cast<std::uint8_t>(keyboard));
}

std::optional<KeySet> InputDevices::keysDown(DeviceId device) {
  const auto state = replyTo(connection_, xcb_input_query_device_state_reply,
                             xcb_input_query_device_state(connection_, static_cast<std::uint8_t>(device)));
  if (!state) return std::nullopt;
  for (auto it = xcb_input_query_device_state_classes_iterator(state.get()); it.rem; xcb_input_input_state_next(&it)) {
    if (it.data->class_id != XCB_INPUT_INPUT_CLASS_KEY) continue;
    const auto* keyState = reinterpret_cast<const xcb_input_key_state_t*>(it.data);
    KeySet down;
    for (std::size_t key = 0; key < down.size(); ++key) {
      down.set(key, (keyState->keys[key / 8] >> (key % 8) & 1) != 0);
    }
    return down;
  }
  return std::nullopt;
}

}  // namespace platform::linux_desktop
