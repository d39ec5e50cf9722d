#include "platform/linux/DesktopEntries.h"

#include <gio/gdesktopappinfo.h>

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

}  // namespace

// Forgets what was read when GLib says that it is no longer true.
class DesktopEntries::Monitor {
 public:
  explicit Monitor(DesktopEntries& entries)
      : monitor_(g_app_info_monitor_get()),
        handler_(g_signal_connect(monitor_.get(), "changed", G_CALLBACK(+[](GAppInfoMonitor*, DesktopEntries* changed) {
                                    changed->idsByStartupClass_.reset();
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
  return DesktopEntry{id, g_app_info_get_display_name(G_APP_INFO(info.get()))};
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

}  // namespace platform::linux_desktop
