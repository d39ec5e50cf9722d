// What the program is called before the user.
#pragma once

#include <string>

namespace platform::linux_desktop {

// The last part of an application identifier: "Varnolet" of "app.varnolet.Varnolet".
inline std::string programNameOf(const std::string& applicationIdentifier) {
  return applicationIdentifier.substr(applicationIdentifier.rfind('.') + 1);
}

}  // namespace platform::linux_desktop
