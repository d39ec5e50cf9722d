#include "platform/linux/x11/WindowOwners.h"

#include <unistd.h>
#include <xcb/res.h>

#include <algorithm>
#include <array>
#include <climits>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/x11/WindowManager.h"
#include "platform/linux/x11/WindowProperties.h"

namespace platform::linux_desktop {
namespace {

// Bounds on what windows can make us ask: their trees and chains are whatever their clients made them.
constexpr std::size_t deepestWindow = 64;
constexpr std::size_t mostFrameDescendants = 64;
constexpr std::size_t longestTransientChain = 16;
constexpr std::size_t mostKnownWindows = 4096;

constexpr std::array<std::string_view, 9> typesOfNobody{
    "_NET_WM_WINDOW_TYPE_DOCK",       "_NET_WM_WINDOW_TYPE_DESKTOP", "_NET_WM_WINDOW_TYPE_NOTIFICATION",
    "_NET_WM_WINDOW_TYPE_TOOLTIP",    "_NET_WM_WINDOW_TYPE_MENU",    "_NET_WM_WINDOW_TYPE_DROPDOWN_MENU",
    "_NET_WM_WINDOW_TYPE_POPUP_MENU", "_NET_WM_WINDOW_TYPE_COMBO",   "_NET_WM_WINDOW_TYPE_DND",
};

bool contains(const std::vector<xcb_window_t>& windows, xcb_window_t window) {
  return std::find(windows.begin(), windows.end(), window) != windows.end();
}

// Where the input focus can be without being in a window.
bool isNoWindow(XcbConnection& connection, xcb_window_t window) {
  return window == XCB_WINDOW_NONE || window == XCB_INPUT_FOCUS_POINTER_ROOT || window == connection.root();
}

bool isOverrideRedirect(XcbConnection& connection, xcb_window_t window) {
  const auto attributes =
      replyTo(connection, xcb_get_window_attributes_reply, xcb_get_window_attributes(connection, window));
  return !attributes || attributes->override_redirect;
}

bool isOfNobodysType(XcbConnection& connection, xcb_window_t window) {
  const auto types = numbersOf(connection, window, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, 16);
  if (!types || types->empty()) return false;
  // The first type is the one that the client prefers; the others are for window managers that do not know it.
  return std::any_of(typesOfNobody.begin(), typesOfNobody.end(),
                     [&](std::string_view name) { return connection.atom(name) == types->front(); });
}

// The client window inside a frame, or none. Frames have few windows inside; what has more is not searched to its end.
xcb_window_t clientInside(XcbConnection& connection, xcb_window_t frame, const std::vector<xcb_window_t>& clients) {
  std::vector<xcb_window_t> waiting{frame};
  for (std::size_t i = 0; i < waiting.size(); ++i) {
    const auto tree = replyTo(connection, xcb_query_tree_reply, xcb_query_tree(connection, waiting[i]));
    if (!tree) continue;
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    for (int child = 0; child < xcb_query_tree_children_length(tree.get()); ++child) {
      if (contains(clients, children[child])) return children[child];
      if (waiting.size() <= mostFrameDescendants) waiting.push_back(children[child]);
    }
  }
  return XCB_WINDOW_NONE;
}

std::optional<pid_t> processNamedByServer(XcbConnection& connection, xcb_window_t window) {
  const auto* extension = xcb_get_extension_data(connection, &xcb_res_id);
  if (!extension || !extension->present) return std::nullopt;
  const xcb_res_client_id_spec_t wanted{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
  const auto reply =
      replyTo(connection, xcb_res_query_client_ids_reply, xcb_res_query_client_ids(connection, 1, &wanted));
  if (!reply) return std::nullopt;
  for (auto ids = xcb_res_query_client_ids_ids_iterator(reply.get()); ids.rem > 0; xcb_res_client_id_value_next(&ids)) {
    if ((ids.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) == 0) continue;
    if (xcb_res_client_id_value_value_length(ids.data) < 1) continue;
    const auto process = static_cast<pid_t>(*xcb_res_client_id_value_value(ids.data));
    if (process > 0) return process;
  }
  return std::nullopt;
}

std::optional<pid_t> processNamedByClient(XcbConnection& connection, xcb_window_t window) {
  const auto process = numberOf(connection, window, "_NET_WM_PID", XCB_ATOM_CARDINAL);
  if (!process || *process == 0 || *process > INT_MAX) return std::nullopt;
  std::array<char, HOST_NAME_MAX + 1> host{};
  if (gethostname(host.data(), host.size() - 1) != 0) return std::nullopt;
  const auto machine = textOf(connection, window, "WM_CLIENT_MACHINE");
  if (!machine || machine->c_str() != std::string_view(host.data())) return std::nullopt;
  return static_cast<pid_t>(*process);
}

std::optional<pid_t> processOf(XcbConnection& connection, xcb_window_t window) {
  const auto process = processNamedByServer(connection, window);
  return process ? process : processNamedByClient(connection, window);
}

// The outermost of the windows around `path.front()` that is of the same process: what is further out is the frame that
// a window manager put around it. None for the window manager's own windows and for override-redirect ones.
xcb_window_t topLevelOf(XcbConnection& connection, const std::vector<xcb_window_t>& path) {
  const auto process = processOf(connection, path.front());
  const auto outermost = std::find_if(path.rbegin(), path.rend(),
                                      [&](xcb_window_t outer) { return processOf(connection, outer) == process; });
  if (!process || outermost == path.rend()) return XCB_WINDOW_NONE;
  const xcb_window_t windowManager = windowManagerCheckWindow(connection);
  if (windowManager != XCB_WINDOW_NONE && processOf(connection, windowManager) == process) return XCB_WINDOW_NONE;
  return isOverrideRedirect(connection, *outermost) ? xcb_window_t{XCB_WINDOW_NONE} : *outermost;
}

// The application's top-level window that `window` is, is inside of, or is the frame of; none where there is no such
// window. Absent if windows vanished while we looked.
std::optional<xcb_window_t> clientOf(XcbConnection& connection, xcb_window_t window) {
  const auto clients = clientWindows(connection);
  std::vector<xcb_window_t> path{window};
  while (path.size() < deepestWindow) {
    if (contains(clients, path.back())) return path.back();
    const auto tree = replyTo(connection, xcb_query_tree_reply, xcb_query_tree(connection, path.back()));
    if (!tree) return std::nullopt;
    if (tree->parent == tree->root || tree->parent == XCB_WINDOW_NONE) break;
    path.push_back(tree->parent);
  }
  if (const xcb_window_t client = clientInside(connection, path.back(), clients)) return client;
  // Nobody manages it, or its manager has not listed it yet.
  return topLevelOf(connection, path);
}

// The window at the end of the chain of WM_TRANSIENT_FOR that starts at `window`. A transient of the root is one of its
// group, that is of its own application. A chain that leads in a circle, or to a window that is nobody's, leads
// nowhere.
xcb_window_t mainWindowOf(XcbConnection& connection, xcb_window_t window) {
  std::vector<xcb_window_t> chain{window};
  while (chain.size() < longestTransientChain) {
    const auto next = numberOf(connection, chain.back(), "WM_TRANSIENT_FOR", XCB_ATOM_WINDOW);
    if (!next || *next == XCB_WINDOW_NONE || *next == connection.root()) return chain.back();
    if (contains(chain, *next)) return window;
    if (isOverrideRedirect(connection, *next) || isOfNobodysType(connection, *next)) return chain.back();
    chain.push_back(*next);
  }
  return window;
}

}  // namespace

xcb_window_t WindowOwners::clientWindowOf(xcb_window_t window) {
  if (isNoWindow(connection_, window)) return XCB_WINDOW_NONE;
  return clientOf(connection_, window).value_or(XCB_WINDOW_NONE);
}

std::optional<pid_t> WindowOwners::ownerOf(xcb_window_t window) {
  if (isNoWindow(connection_, window)) return std::nullopt;
  const auto known = known_.find(window);
  if (known != known_.end()) return known->second;

  const auto client = clientOf(connection_, window);
  if (!client) return std::nullopt;
  std::optional<pid_t> owner;
  if (*client != XCB_WINDOW_NONE && !isOfNobodysType(connection_, *client)) {
    const xcb_window_t mainWindow = mainWindowOf(connection_, *client);
    owner = processOf(connection_, mainWindow);
    // The main window may be gone by now.
    if (!owner && mainWindow != *client) owner = processOf(connection_, *client);
  }
  if (known_.size() >= mostKnownWindows) known_.clear();
  known_.emplace(window, owner);
  return owner;
}

}  // namespace platform::linux_desktop
