#include "platform/linux/stores/AutostartEntry.h"

#include <glib.h>

#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/linux/base/ProgramName.h"
#include "platform/linux/base/UserFolders.h"
#include "platform/linux/stores/LinuxFileManager.h"

namespace platform::linux_desktop {
namespace {

struct FreeKeyFile {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
};

const NSError noFolder{"the user has no configuration folder"};

// As one quoted argument of an Exec key: first the rules of quoting and of field codes, then those of any string in a
// desktop entry, under which each backslash is doubled once more.
std::string execArgument(std::string_view path) {
  std::string argument = "\"";
  for (const char character : path) {
    switch (character) {
      case '"':
      case '`':
      case '$':
        argument += R"(\\)";
        argument += character;
        break;
      case '\\':
        argument += R"(\\\\)";
        break;
      case '%':
        argument += "%%";
        break;
      case '\n':
        argument += R"(\n)";
        break;
      case '\r':
        argument += R"(\r)";
        break;
      case '\t':
        argument += R"(\t)";
        break;
      default:
        argument += character;
    }
  }
  return argument + '"';
}

}  // namespace

AutostartEntry::AutostartEntry(std::string applicationIdentifier, std::filesystem::path executable)
    : applicationIdentifier_(std::move(applicationIdentifier)), executable_(std::move(executable)) {}

std::optional<std::filesystem::path> AutostartEntry::file() const {
  const auto folder = configFolder();
  if (!folder) return std::nullopt;
  return *folder / "autostart" / (applicationIdentifier_ + ".desktop");
}

std::string AutostartEntry::contents() const {
  return "[Desktop Entry]\nType=Application\nName=" + programNameOf(applicationIdentifier_) +
         "\nExec=" + execArgument(executable_.string()) + "\nIcon=" + applicationIdentifier_ +
         "\nTerminal=false\nStartupNotify=false\n";
}

SMAppServiceStatus AutostartEntry::status() {
  const auto entry = file();
  if (!entry) return SMAppServiceStatus::notRegistered;
  const auto contents = LinuxFileManager().contents(*entry);
  const auto* bytes = std::get_if<std::string>(&contents);
  if (!bytes) return SMAppServiceStatus::notRegistered;
  const std::unique_ptr<GKeyFile, FreeKeyFile> keys(g_key_file_new());
  const bool isEntry = g_key_file_load_from_data(keys.get(), bytes->data(), bytes->size(), G_KEY_FILE_NONE, nullptr) &&
                       g_key_file_has_group(keys.get(), G_KEY_FILE_DESKTOP_GROUP);
  if (!isEntry) return SMAppServiceStatus::notRegistered;
  const auto says = [&keys](const char* key, bool value) {
    return g_key_file_has_key(keys.get(), G_KEY_FILE_DESKTOP_GROUP, key, nullptr) &&
           (g_key_file_get_boolean(keys.get(), G_KEY_FILE_DESKTOP_GROUP, key, nullptr) != 0) == value;
  };
  // Desktops switch an entry off in one way or the other.
  const bool isOff = says(G_KEY_FILE_DESKTOP_KEY_HIDDEN, true) || says("X-GNOME-Autostart-enabled", false);
  return isOff ? SMAppServiceStatus::notRegistered : SMAppServiceStatus::enabled;
}

std::optional<NSError> AutostartEntry::registerService() {
  const auto entry = file();
  if (!entry) return noFolder;
  LinuxFileManager files;
  if (auto error = files.createDirectory(entry->parent_path())) return error;
  return files.writeAtomically(*entry, contents());
}

std::optional<NSError> AutostartEntry::unregisterService() {
  const auto entry = file();
  if (!entry) return noFolder;
  std::error_code error;
  std::filesystem::remove(*entry, error);
  if (!error) return std::nullopt;
  return NSError{"cannot remove " + entry->string() + ": " + error.message()};
}

}  // namespace platform::linux_desktop
