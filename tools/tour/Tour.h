// A walk through the program's windows, with a picture of each.
#pragma once

#include <filesystem>

#include "tools/stage/Typist.h"
#include "tools/stage/VirtualDesktop.h"

namespace demo {

// Pictures go to the folder, which must exist.
class Tour {
 public:
  Tour(const stage::VirtualDesktop& desktop, std::filesystem::path program, std::filesystem::path folder);

  // The whole desktop as it is.
  void take(const char* picture) const;
  // By keyboard alone: popover, paused, settings, log. The program must run.
  void walkThroughWindows(stage::Typist& typist) const;

 private:
  void openPopover() const;
  void choose(stage::Typist& typist, int button) const;

  const stage::VirtualDesktop& desktop_;
  const std::filesystem::path program_;
  const std::filesystem::path folder_;
};

// The welcome of a desktop that lacks what the program needs, on a desktop of its own.
void takeOnboarding(const std::filesystem::path& program, const std::filesystem::path& folder);

}  // namespace demo
