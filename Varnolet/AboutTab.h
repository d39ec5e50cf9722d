// Settings: what this program is.
#pragma once

#include <QWidget>

namespace varnolet {

// The notification that the user wants updates looked for; posted on the default notification centre.
inline constexpr char checkForUpdatesNotification[] = "CheckForUpdates";

// Main thread only.
class AboutTab : public QWidget {
 public:
  AboutTab();
};

}  // namespace varnolet
