#include "platform/linux/ApplicationNames.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include "platform/linux/AgentRoles.h"
#include "platform/linux/ReadableText.h"
#include "platform/linux/WindowProperties.h"

namespace platform::linux_desktop {
namespace {

std::optional<std::string> identifierIn(const std::string& text) {
  if (text.empty()) return std::nullopt;
  return readableIdentifier(text);
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

// From "id", "id.desktop" or the path of a desktop entry.
std::optional<std::string> desktopIdIn(const std::optional<std::string>& text) {
  if (!text) return std::nullopt;
  std::string id = firstPart(*text);
  if (const auto slash = id.rfind('/'); slash != std::string::npos) id.erase(0, slash + 1);
  if (id.ends_with(".desktop")) id.resize(id.size() - std::string_view(".desktop").size());
  if (id.empty()) return std::nullopt;
  return id;
}

bool isInterpreter(std::string_view program) {
  constexpr std::array<std::string_view, 7> interpreters{"python", "perl", "ruby", "node", "gjs", "bash", "dash"};
  return std::any_of(interpreters.begin(), interpreters.end(), [&](std::string_view name) {
    // Also with a version, as in python3.11.
    return program.starts_with(name) &&
           std::all_of(program.begin() + static_cast<std::ptrdiff_t>(name.size()), program.end(),
                       [](unsigned char c) { return std::isdigit(c) || c == '.'; });
  });
}

// The first argument that is no option.
std::string scriptOf(const std::string& processFolder) {
  std::ifstream commandLine(processFolder + "/cmdline", std::ios::binary);
  std::string argument;
  std::getline(commandLine, argument, '\0');
  while (std::getline(commandLine, argument, '\0')) {
    if (!argument.starts_with('-')) return std::filesystem::path(argument).filename().string();
  }
  return {};
}

// The name of the program that the process runs; empty if it cannot be known.
std::string programOf(pid_t process) {
  const std::string folder = "/proc/" + std::to_string(process);
  std::error_code error;
  std::string program = std::filesystem::read_symlink(folder + "/exe", error).filename().string();
  constexpr std::string_view replaced = " (deleted)";  // since the process was started
  if (program.ends_with(replaced)) program.resize(program.size() - replaced.size());
  if (program.empty()) {
    std::ifstream commandName(folder + "/comm");
    std::getline(commandName, program);
  }
  if (!isInterpreter(program)) return program;
  const std::string script = scriptOf(folder);
  return script.empty() ? program : script;
}

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

}  // namespace

std::optional<std::string> bundleIdentifierOf(const DesktopEntry& entry) {
  if (auto role = agentRoleOf(entry.program)) return role;
  return identifierIn(entry.id);
}

ApplicationNaming::ApplicationNaming(XcbConnection& connection, std::string applicationIdentifier)
    : connection_(connection), applicationIdentifier_(std::move(applicationIdentifier)) {}

ApplicationNames ApplicationNaming::namesOf(pid_t process, xcb_window_t window) {
  const Hints hints = hintsOf(process, window);
  const auto entry = entryOf(hints);
  ApplicationNames names;
  for (const auto& name : {entry ? entry->name : std::string(), hints.windowClass, hints.program}) {
    if (!names.localizedName) names.localizedName = nameIn(name);
  }
  if (process == getpid()) {
    names.bundleIdentifier = applicationIdentifier_;
  } else if (const auto role = agentRoleOf(hints.program)) {
    names.bundleIdentifier = role;
  } else if (entry) {
    names.bundleIdentifier = identifierIn(entry->id);
  } else {
    for (const auto& id : {hints.desktopId.value_or(std::string()), hints.windowClass, hints.program}) {
      if (!names.bundleIdentifier) names.bundleIdentifier = identifierIn(id);
    }
  }
  return names;
}

ApplicationNaming::Hints ApplicationNaming::hintsOf(pid_t process, xcb_window_t window) {
  Hints hints;
  hints.program = programOf(process);
  if (window == XCB_WINDOW_NONE) return hints;
  for (const char* property : {"_GTK_APPLICATION_ID", "_KDE_NET_WM_DESKTOP_FILE", "_BAMF_DESKTOP_FILE_HINT"}) {
    if (!hints.desktopId) hints.desktopId = desktopIdIn(textOf(connection_, window, property));
  }
  // Two texts, each with a NUL at its end.
  const std::string instanceAndClass = textOf(connection_, window, "WM_CLASS").value_or(std::string());
  hints.windowInstance = firstPart(instanceAndClass);
  if (hints.windowInstance.size() < instanceAndClass.size()) {
    hints.windowClass = firstPart(instanceAndClass.substr(hints.windowInstance.size() + 1));
  }
  return hints;
}

std::optional<DesktopEntry> ApplicationNaming::entryOf(const Hints& hints) {
  if (hints.desktopId) return entries_.entryWithId(*hints.desktopId);
  for (const auto& name : {hints.windowClass, hints.windowInstance}) {
    if (auto entry = entries_.entryWithStartupClass(name)) return entry;
  }
  for (const auto& name : {hints.windowClass, lowerCase(hints.windowClass), hints.windowInstance, hints.program}) {
    if (auto entry = entries_.entryWithId(name)) return entry;
  }
  return std::nullopt;
}

}  // namespace platform::linux_desktop
