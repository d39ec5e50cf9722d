#include "tools/stage/VirtualDesktop.h"

#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <stdexcept>

#include "tools/stage/Waiting.h"

namespace stage {
namespace {

// A session's, which also lets in whom the guard is started as.
constexpr char busConfiguration[] = R"(<busconfig>
  <include>/usr/share/dbus-1/session.conf</include>
  <policy context="default"><allow user="*"/></policy>
</busconfig>
)";

}  // namespace

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "varnolet-stage-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

VirtualDesktop::VirtualDesktop(WindowManager manager, const std::string& screen,
                               const std::vector<std::string>& serverOptions, FocusModel model)
    : environment_(bareEnvironment()) {
  environment_["HOME"] = home();
  environment_["PATH"] = (home() / "bin").string() + ':' + environment_["PATH"];
  const std::array<std::pair<const char*, const char*>, 5> folders{{{"XDG_CONFIG_HOME", "config"},
                                                                    {"XDG_DATA_HOME", "data"},
                                                                    {"XDG_STATE_HOME", "state"},
                                                                    {"XDG_CACHE_HOME", "cache"},
                                                                    {"XDG_RUNTIME_DIR", "run"}}};
  for (const auto& [variable, folder] : folders) {
    const auto path = home() / folder;
    std::filesystem::create_directory(path);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    environment_[variable] = path;
  }
  startServer(screen, serverOptions);
  startBus();
  connection_ = std::make_unique<XConnection>(display_);
  replaceWindowManager(manager, model);
}

void VirtualDesktop::startServer(const std::string& screen, const std::vector<std::string>& serverOptions) {
  ChildProcess::Options options;
  options.environment = environment_;
  options.readOutput = true;
  std::vector<std::string> command{"Xvfb", "-displayfd", "1", "-noreset", "-nolisten", "tcp", "-screen", "0", screen};
  command.insert(command.end(), serverOptions.begin(), serverOptions.end());
  server_ = std::make_unique<ChildProcess>(command, options);
  const auto number = server_->output().waitFor("");
  if (!number) throw std::runtime_error("Xvfb does not start");
  display_ = ':' + *number;
  environment_["DISPLAY"] = display_;
}

void VirtualDesktop::startBus() {
  ChildProcess::Options options;
  options.environment = environment_;
  options.readOutput = true;
  const auto configuration = home() / "bus.conf";
  std::ofstream(configuration) << busConfiguration;
  bus_ =
      std::make_unique<ChildProcess>(std::vector<std::string>{"dbus-daemon", "--config-file=" + configuration.string(),
                                                              "--nofork", "--print-address=1"},
                                     options);
  const auto address = bus_->output().waitFor("unix:");
  if (!address) throw std::runtime_error("dbus-daemon does not start");
  environment_["DBUS_SESSION_BUS_ADDRESS"] = *address;
}

void VirtualDesktop::giveFoldersTo(unsigned user) const {
  const auto give = [user](const std::filesystem::path& path) {
    if (::lchown(path.c_str(), user, user) != 0) throw std::runtime_error("a folder cannot be given away");
  };
  give(home());
  for (const auto& entry : std::filesystem::recursive_directory_iterator(home())) give(entry.path());
}

void VirtualDesktop::replaceWindowManager(WindowManager manager, FocusModel model) {
  const auto before = managersWindow();
  const auto start = startOf(manager, model, environment_.at("XDG_CONFIG_HOME"));
  ChildProcess::Options options{environment_};
  options.environment.insert(start.besides.begin(), start.besides.end());
  auto started = std::make_unique<ChildProcess>(start.command, options);
  // The one that does not know the question manages once it shows its window.
  const bool canBeAsked = manager != WindowManager::kwin;
  const bool manages = eventually([&] {
    const auto now = managersWindow();
    return now != 0 && now != before && (!canBeAsked || windowManagerAnswers());
  });
  if (!manages) throw std::runtime_error(nameOf(manager) + " does not take over");
  windowManager_ = std::move(started);
}

void VirtualDesktop::killServer() {
  server_.reset();
}

xcb_window_t VirtualDesktop::managersWindow() const {
  const auto window = connection_->value(connection_->root(), "_NET_SUPPORTING_WM_CHECK");
  // A window manager that is gone leaves the property behind, but not the window.
  return window != 0 && connection_->value(window, "_NET_SUPPORTING_WM_CHECK") == window ? window : 0;
}

// Its window is there before it listens: openbox even forgets, until the next event, what came in between.
bool VirtualDesktop::windowManagerAnswers() const {
  const auto probe = xcb_generate_id(*connection_);
  xcb_create_window(*connection_, XCB_COPY_FROM_PARENT, probe, connection_->root(), 0, 0, 1, 1, 0,
                    XCB_WINDOW_CLASS_COPY_FROM_PARENT, XCB_COPY_FROM_PARENT, 0, nullptr);
  constexpr std::chrono::milliseconds promptly(50);
  send("_NET_REQUEST_FRAME_EXTENTS", probe, 0);
  const bool answers = eventually([&] { return connection_->has(probe, "_NET_FRAME_EXTENTS"); }, promptly);
  xcb_destroy_window(*connection_, probe);
  return answers;
}

Environment VirtualDesktop::environmentByLauncher() const {
  // The X server's clock is this one, if less exact.
  const auto now = std::chrono::steady_clock::now().time_since_epoch() - std::chrono::milliseconds(100);
  const auto time = static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
  Environment launched = environment_;
  launched["DESKTOP_STARTUP_ID"] = "stage-launcher_TIME" + std::to_string(time);
  return launched;
}

xcb_window_t VirtualDesktop::activeWindow() const {
  return connection_->value(connection_->root(), "_NET_ACTIVE_WINDOW");
}

void VirtualDesktop::activate(xcb_window_t window) const {
  if (!eventually([&] { return connection_->value(window, "WM_STATE") != 0; })) {
    throw std::runtime_error("a window is not managed");
  }
  constexpr std::uint32_t asPager = 2;
  send("_NET_ACTIVE_WINDOW", window, asPager);
  if (!eventually([&] { return activeWindow() == window; })) throw std::runtime_error("a window stays inactive");
}

void VirtualDesktop::send(const char* message, xcb_window_t window, std::uint32_t value) const {
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = window;
  event.type = connection_->atom(message);
  event.data.data32[0] = value;
  xcb_send_event(*connection_, 0, connection_->root(),
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&event));
  xcb_flush(*connection_);
}

bool VirtualDesktop::run(const std::vector<std::string>& command) const {
  ChildProcess process(command, ChildProcess::Options{environment_});
  const auto ending = process.ending();
  return ending && ending->exitCode == 0;
}

}  // namespace stage
