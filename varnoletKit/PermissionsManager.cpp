#include "varnoletKit/PermissionsManager.h"

#include <cassert>

#include "platform/AXObserver.h"
#include "platform/CGEvent.h"
#include "platform/Log.h"
#include "platform/NSWorkspace.h"
#include "platform/Tasks.h"

namespace varnoletKit {
namespace {

constexpr platform::Logger permissionsLog(platform::LogCategory::permissions);

platform::CGEvent* passUnchanged(platform::CGEventTapProxy, platform::CGEventType, platform::CGEvent& event, void*) {
  return &event;
}

// A throw-away tap tells. It is in no run loop, so no key ever comes to it.
bool canCreateEventTap() {
  constexpr platform::CGEventMask keyDownOnly = platform::CGEventMask{1} << platform::kCGEventKeyDown;
  const auto tap =
      platform::CGEventTapCreate(platform::CGEventTapLocation::session, platform::CGEventTapPlacement::headInsert,
                                 platform::CGEventTapOptions::listenOnly, keyDownOnly, &passUnchanged, nullptr);
  if (!tap) return false;
  platform::CFMachPortInvalidate(tap);
  return true;
}

}  // namespace

PermissionsManager::PermissionsManager() {
  refreshPermissions();
}

void PermissionsManager::refreshPermissions() {
  assert(platform::isMainThread());
  registrar_.write(accessibilityGranted_, platform::AXIsProcessTrusted());
  registrar_.write(inputMonitoringGranted_, canCreateEventTap());
  permissionsLog.standard("Permissions — Accessibility: %{bool}d, Input Monitoring: %{bool}d", accessibilityGranted_,
                          inputMonitoringGranted_);
}

void PermissionsManager::openAccessibilitySettings() {
  assert(platform::isMainThread());
  platform::NSWorkspace::sharedWorkspace().openURL(
      "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility");
}

void PermissionsManager::openInputMonitoringSettings() {
  assert(platform::isMainThread());
  platform::NSWorkspace::sharedWorkspace().openURL(
      "x-apple.systempreferences:com.apple.preference.security?Privacy_ListenEvent");
}

}  // namespace varnoletKit
