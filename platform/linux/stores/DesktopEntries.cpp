#include "platform/linux/stores/DesktopEntries.h"

#include <gio/gdesktopappinfo.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace platform::linux_desktop {
namespace {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using GOwned = std::unique_ptr<T, Unref>;

constexpr std::string_view suffix = ".desktop";

std::string withoutSuffix(std::string id) {
  if (id.size() > suffix.size() && id.ends_with(suffix)) id.resize(id.size() - suffix.size());
  return id;
}

std::string textOrNothing(const char* text) {
  return text ? text : "";
}

// As the files of all applications are told apart: by the way from the applications' folder, with '-' for '/'.
std::string idOf(const std::filesystem::path& file) {
  std::vector<std::filesystem::path> folders{g_get_user_data_dir()};
  for (const char* const* folder = g_get_system_data_dirs(); *folder; ++folder) folders.emplace_back(*folder);
  for (const auto& folder : folders) {
    const auto below = file.lexically_relative((folder / "applications").lexically_normal());
    if (below.empty() || *below.begin() == "..") continue;
    std::string id = withoutSuffix(below.string());
    std::replace(id.begin(), id.end(), '/', '-');
    return id;
  }
  return {};
}

std::string iconOf(GDesktopAppInfo* info) {
  GIcon* icon = g_app_info_get_icon(G_APP_INFO(info));
  if (icon && G_IS_THEMED_ICON(icon)) return textOrNothing(g_themed_icon_get_names(G_THEMED_ICON(icon))[0]);
  if (icon && G_IS_FILE_ICON(icon)) return textOrNothing(g_file_peek_path(g_file_icon_get_file(G_FILE_ICON(icon))));
  return {};
}

DesktopEntry entryFrom(GDesktopAppInfo* info, std::string id) {
  DesktopEntry entry;
  entry.id = std::move(id);
  entry.name = textOrNothing(g_app_info_get_display_name(G_APP_INFO(info)));
  entry.program = std::filesystem::path(textOrNothing(g_app_info_get_executable(G_APP_INFO(info)))).filename().string();
  entry.icon = iconOf(info);
  entry.file = textOrNothing(g_desktop_app_info_get_filename(info));
  return entry;
}

}  // namespace

// A file that is chosen may be anything: a pipe would keep its reader waiting, and what is large is no entry.
std::optional<DesktopEntry> desktopEntryAt(const std::filesystem::path& file) {
  constexpr std::uintmax_t longestEntry = 1U << 20U;
  std::error_code error;
  if (file.extension() != suffix || !std::filesystem::is_regular_file(file, error)) return std::nullopt;
  if (std::filesystem::file_size(file, error) > longestEntry) return std::nullopt;
  const auto absolute = std::filesystem::absolute(file, error).lexically_normal();
  const GOwned<GDesktopAppInfo> info(g_desktop_app_info_new_from_filename(absolute.c_str()));
  if (!info || g_desktop_app_info_get_is_hidden(info.get())) return std::nullopt;
  return entryFrom(info.get(), idOf(absolute));
}

bool isHandled(const std::string& scheme) {
  return GOwned<GAppInfo>(g_app_info_get_default_for_uri_scheme(scheme.c_str())) != nullptr;
}

// Forgets what was read when GLib says that it is no longer true.
class DesktopEntries::Monitor {
 public:
  explicit Monitor(DesktopEntries& entries)
      : monitor_(g_app_info_monitor_get()),
        handler_(g_signal_connect(monitor_.get(), "changed", G_CALLBACK(+[](GAppInfoMonitor*, DesktopEntries* changed) {
                                    changed->idsByStartupClass_.reset();
                                    changed->entriesToShow_.reset();
                                  }),
                                  &entries)) {}
  Monitor(const Monitor&) = delete;
  Monitor& operator=(const Monitor&) = delete;
  ~Monitor() { g_signal_handler_disconnect(monitor_.get(), handler_); }

 private:
  GOwned<GAppInfoMonitor> monitor_;
  gulong handler_;
};

DesktopEntries::DesktopEntries() : monitor_(std::make_unique<Monitor>(*this)) {}
DesktopEntries::~DesktopEntries() = default;

std::optional<DesktopEntry> DesktopEntries::entryWithId(const std::string& id) const {
  if (id.empty() || id.find('/') != std::string::npos) return std::nullopt;
  const GOwned<GDesktopAppInfo> info(g_desktop_app_info_new((id + std::string(suffix)).c_str()));
  if (!info) return std::nullopt;
  return entryFrom(info.get(), id);
}

std::optional<DesktopEntry> DesktopEntries::entryWithStartupClass(const std::string& windowClass) {
  if (windowClass.empty()) return std::nullopt;
  if (!idsByStartupClass_) {
    idsByStartupClass_.emplace();
    GList* all = g_app_info_get_all();
    for (const GList* item = all; item; item = item->next) {
      auto* info = G_DESKTOP_APP_INFO(item->data);
      const char* id = g_app_info_get_id(G_APP_INFO(info));
      const char* startupClass = g_desktop_app_info_get_startup_wm_class(info);
      if (id && startupClass) idsByStartupClass_->emplace(startupClass, withoutSuffix(id));
    }
    g_list_free_full(all, g_object_unref);
  }
  const auto found = idsByStartupClass_->find(windowClass);
  return found == idsByStartupClass_->end() ? std::nullopt : entryWithId(found->second);
}

const std::vector<DesktopEntry>& DesktopEntries::entriesToShow() {
  if (entriesToShow_) return *entriesToShow_;
  auto& entries = entriesToShow_.emplace();
  GList* all = g_app_info_get_all();
  for (const GList* item = all; item; item = item->next) {
    auto* info = G_DESKTOP_APP_INFO(item->data);
    if (!g_app_info_should_show(G_APP_INFO(info)) || !g_desktop_app_info_get_filename(info)) continue;
    entries.push_back(entryFrom(info, withoutSuffix(textOrNothing(g_app_info_get_id(G_APP_INFO(info))))));
  }
  g_list_free_full(all, g_object_unref);
  return entries;
}

}  // namespace platform::linux_desktop
