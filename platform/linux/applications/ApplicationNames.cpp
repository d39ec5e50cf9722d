#include "platform/linux/applications/ApplicationNames.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <string_view>
#include <utility>

#include "platform/linux/applications/AgentRoles.h"
#include "platform/linux/base/ReadableText.h"
#include "platform/linux/x11/WindowProperties.h"

namespace platform::linux_desktop {
namespace {

std::optional<std::string> identifierIn(const std::string& text) {
  std::string identifier = readableIdentifier(text);
  if (identifier.empty() || isKeptForAgents(identifier)) return std::nullopt;
  return identifier;
}

std::optional<std::string> nameIn(const std::string& text) {
  std::string name = readableName(text);
  if (name.empty()) return std::nullopt;
  return name;
}

// `text` up to its first NUL.
std::string firstPart(const std::string& text) {
  return text.substr(0, text.find('\0'));
}

// For want of a better name.
std::string commandNameOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/comm");
  std::string name;
  std::getline(file, name);
  return name;
}

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

}  // namespace

std::optional<std::string> desktopIdIn(const std::optional<std::string>& text) {
  if (!text) return std::nullopt;
  std::string id = firstPart(*text);
  if (const auto slash = id.rfind('/'); slash != std::string::npos) id.erase(0, slash + 1);
  if (id.ends_with(".desktop")) id.resize(id.size() - std::string_view(".desktop").size());
  if (id.empty()) return std::nullopt;
  return id;
}

std::optional<std::string> bundleIdentifierOf(const DesktopEntry& entry) {
  if (auto role = agentRoleOfFile(entry.program)) return role;
  if (auto id = identifierIn(entry.id)) return id;
  return entry.id.empty() ? std::nullopt : identifierIn(entry.program);
}

ApplicationNaming::ApplicationNaming(XcbConnection& connection, std::string applicationIdentifier)
    : connection_(connection), applicationIdentifier_(std::move(applicationIdentifier)) {}

ApplicationNames ApplicationNaming::namesOf(pid_t process, xcb_window_t window) {
  const ProcessProgram program = programOf(process);
  const Hints hints = hintsOf(process, program, window);
  const auto entry = entryOf(process, hints);
  ApplicationNames names;
  for (const auto& name : {entry ? entry->name : std::string(), hints.windowClass, hints.program}) {
    if (!names.localizedName) names.localizedName = nameIn(name);
  }
  if (process == getpid()) {
    names.bundleIdentifier = applicationIdentifier_;
  } else if (const auto role = agentRoleOf(program)) {
    names.bundleIdentifier = role;
  } else if (entry) {
    names.bundleIdentifier = identifierIn(entry->id);
  } else {
    for (const auto& id : {hints.desktopId.value_or(std::string()), hints.windowClass, hints.program}) {
      if (!names.bundleIdentifier) names.bundleIdentifier = identifierIn(id);
    }
  }
  if (!names.localizedName) names.localizedName = names.bundleIdentifier;
  return names;
}

// Looked at as it would be read: what sanitising leaves out must not make another identifier of it.
bool ApplicationNaming::mayBeCalled(pid_t process, const std::string& id) const {
  if (process == getpid()) return true;
  const std::string identifier = readableIdentifier(id);
  return identifier != applicationIdentifier_ && !isKeptForAgents(identifier);
}

ApplicationNaming::Hints ApplicationNaming::hintsOf(pid_t process, const ProcessProgram& program, xcb_window_t window) {
  const auto permitted = [&](std::string id) { return mayBeCalled(process, id) ? std::move(id) : std::string(); };
  Hints hints;
  const std::string& file = program.script.empty() ? program.executable : program.script;
  hints.program = permitted(file.empty() ? commandNameOf(process) : file);
  if (window == XCB_WINDOW_NONE) return hints;
  for (const char* property : {"_GTK_APPLICATION_ID", "_KDE_NET_WM_DESKTOP_FILE", "_BAMF_DESKTOP_FILE_HINT"}) {
    if (!hints.desktopId) hints.desktopId = desktopIdIn(textOf(connection_, window, property));
    if (hints.desktopId && !mayBeCalled(process, *hints.desktopId)) hints.desktopId.reset();
  }
  // Two texts, each with a NUL at its end.
  const std::string instanceAndClass = textOf(connection_, window, "WM_CLASS").value_or(std::string());
  const std::string instance = firstPart(instanceAndClass);
  hints.windowInstance = permitted(instance);
  if (instance.size() < instanceAndClass.size()) {
    hints.windowClass = permitted(firstPart(instanceAndClass.substr(instance.size() + 1)));
  }
  return hints;
}

std::optional<DesktopEntry> ApplicationNaming::entryOf(pid_t process, const Hints& hints) {
  const auto permitted = [&](const std::optional<DesktopEntry>& entry) {
    return entry && mayBeCalled(process, entry->id);
  };
  if (hints.desktopId) {
    auto entry = entries_.entryWithId(*hints.desktopId);
    return permitted(entry) ? std::move(entry) : std::nullopt;
  }
  for (const auto& name : {hints.windowClass, hints.windowInstance}) {
    if (auto entry = entries_.entryWithStartupClass(name); permitted(entry)) return entry;
  }
  for (const auto& name : {hints.windowClass, lowerCase(hints.windowClass), hints.windowInstance, hints.program}) {
    if (auto entry = entries_.entryWithId(name); permitted(entry)) return entry;
  }
  return std::nullopt;
}

}  // namespace platform::linux_desktop
