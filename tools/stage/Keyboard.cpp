#include "tools/stage/Keyboard.h"

#include <xcb/xinput.h>

#include <array>
#include <stdexcept>
#include <string_view>

#include "tools/stage/Xkb.h"

namespace stage {
namespace {

KeySet keysIn(const std::uint8_t* bits, std::size_t size) {
  KeySet keys;
  for (std::size_t key = 0; key < size * 8 && key < keys.size(); ++key) {
    keys[key] = (bits[key / 8] >> (key % 8) & 1) != 0;
  }
  return keys;
}

Owned<xcb_input_xi_query_device_reply_t> devices(xcb_connection_t* connection, DeviceId device) {
  auto reply = answer(connection, xcb_input_xi_query_device_reply, xcb_input_xi_query_device(connection, device));
  if (!reply) throw std::runtime_error("the X server names no devices");
  return reply;
}

}  // namespace

Keyboard::Keyboard(const XConnection& connection) : connection_(connection) {
  answer(connection, xcb_input_xi_query_version_reply, xcb_input_xi_query_version(connection, 2, 2));
  answer(connection, xcb_xkb_use_extension_reply, xcb_xkb_use_extension(connection, 1, 0));
  const auto all = devices(connection, XCB_INPUT_DEVICE_ALL);
  for (auto info = xcb_input_xi_query_device_infos_iterator(all.get()); info.rem != 0;
       xcb_input_xi_device_info_next(&info)) {
    const std::string_view name(xcb_input_xi_device_info_name(info.data), info.data->name_len);
    const bool isKeyboard = info.data->type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD ||
                            info.data->type == XCB_INPUT_DEVICE_TYPE_FLOATING_SLAVE;
    if (!isKeyboard || name.find("eyboard") == std::string_view::npos) continue;
    (name.find("XTEST") == std::string_view::npos ? hardware_ : xtest_) = static_cast<DeviceId>(info.data->deviceid);
  }
  if (hardware_ == 0 || xtest_ == 0) throw std::runtime_error("the X server has no hardware keyboard");
}

bool Keyboard::isFloating() const {
  const auto reply = devices(connection_, hardware_);
  return xcb_input_xi_query_device_infos_iterator(reply.get()).data->type == XCB_INPUT_DEVICE_TYPE_FLOATING_SLAVE;
}

KeySet Keyboard::keysDown() const {
  const auto reply = answer(connection_, xcb_query_keymap_reply, xcb_query_keymap(connection_));
  return reply ? keysIn(reply->keys, sizeof reply->keys) : KeySet{};
}

ModifierState Keyboard::modifiers() const {
  const auto reply =
      answer(connection_, xcb_xkb_get_state_reply, xcb_xkb_get_state(connection_, XCB_XKB_ID_USE_CORE_KBD));
  if (!reply) return {};
  return {reply->baseMods, reply->latchedMods, reply->lockedMods, reply->group};
}

KeySet Keyboard::keysDownOn(DeviceId device) const {
  const auto reply =
      answer(connection_, xcb_input_query_device_state_reply, xcb_input_query_device_state(connection_, device));
  if (!reply) return {};
  for (auto part = xcb_input_query_device_state_classes_iterator(reply.get()); part.rem != 0;
       xcb_input_input_state_next(&part)) {
    if (part.data->class_id != XCB_INPUT_INPUT_CLASS_KEY) continue;
    const auto* keys = reinterpret_cast<const xcb_input_key_state_t*>(part.data);
    return keysIn(keys->keys, sizeof keys->keys);
  }
  return {};
}

void Keyboard::setEnabled(bool enabled) const {
  const std::uint8_t value = enabled ? 1 : 0;
  const xcb_input_xi_change_property_items_t items{const_cast<std::uint8_t*>(&value), nullptr, nullptr};
  xcb_input_xi_change_property_aux(connection_, hardware_, XCB_PROP_MODE_REPLACE, XCB_INPUT_PROPERTY_FORMAT_8_BITS,
                                   connection_.atom("Device Enabled"), XCB_ATOM_INTEGER, 1, &items);
  connection_.sync();
}

void Keyboard::setAttached(bool attached) const {
  const auto master = xcb_input_xi_query_device_infos_iterator(devices(connection_, xtest_).get()).data->attachment;
  const xcb_input_attach_slave_t attach{XCB_INPUT_HIERARCHY_CHANGE_TYPE_ATTACH_SLAVE, 2, hardware_, master};
  const xcb_input_detach_slave_t detach{XCB_INPUT_HIERARCHY_CHANGE_TYPE_DETACH_SLAVE, 2, hardware_, {}};
  const void* change = attached ? static_cast<const void*>(&attach) : &detach;
  xcb_input_xi_change_hierarchy(connection_, 1, static_cast<const xcb_input_hierarchy_change_t*>(change));
  connection_.sync();
}

bool Keyboard::isFree() const {
  const std::uint32_t nothing = 0;
  const auto grab =
      answer(connection_, xcb_input_xi_grab_device_reply,
             xcb_input_xi_grab_device(connection_, connection_.root(), XCB_CURRENT_TIME, XCB_CURSOR_NONE, hardware_,
                                      XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_MODE_22_ASYNC,
                                      XCB_INPUT_GRAB_OWNER_NO_OWNER, 1, &nothing));
  xcb_input_xi_ungrab_device(connection_, XCB_CURRENT_TIME, hardware_);
  connection_.sync();
  return grab && grab->status == XCB_GRAB_STATUS_SUCCESS;
}

void Keyboard::setRepeat(std::uint16_t delayMs, std::uint16_t intervalMs) const {
  constexpr std::size_t perKeyBytes = 32;
  const std::array<std::uint8_t, perKeyBytes> unused{};
  constexpr std::uint32_t repeatKeys = XCB_XKB_BOOL_CTRL_REPEAT_KEYS;
  // Of the many controls only those of the repetition change; the zeros stand for the others.
  xcb_xkb_set_controls(connection_, hardware_, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, repeatKeys, repeatKeys, repeatKeys,
                       delayMs, intervalMs, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, unused.data());
  connection_.sync();
}

void Keyboard::lockGroup(std::uint8_t group) const {
  xcb_xkb_latch_lock_state(connection_, XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, group, 0, 0, 0);
  connection_.sync();
}

std::string listOf(const KeySet& keys) {
  std::string list;
  for (std::size_t key = 0; key < keys.size(); ++key) {
    if (!keys[key]) continue;
    if (!list.empty()) list += ' ';
    list += std::to_string(key);
  }
  return list.empty() ? "none" : list;
}

}  // namespace stage
