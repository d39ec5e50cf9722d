#include "Tour.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <thread>
#include <utility>

#include "Shell.h"
#include "tools/stage/ChildProcess.h"
#include "tools/stage/Waiting.h"

namespace demo {
namespace {

using namespace stage;

// The popover's buttons, by how often Tab is pressed to come to them.
enum PopoverButton { pauseForOneHour = 1, viewLog = 3, settings = 5 };

// For people to look at: windows, and what animates, have come to rest.
void letItDraw() {
  std::this_thread::sleep_for(std::chrono::milliseconds(700));
}

}  // namespace

Tour::Tour(const VirtualDesktop& desktop, std::filesystem::path program, std::filesystem::path folder)
    : desktop_(desktop), program_(std::move(program)), folder_(std::move(folder)) {}

void Tour::take(const char* picture) const {
  if (!desktop_.run({"import", "-window", "root", (folder_ / picture).string()})) {
    std::fputs("no screenshot: is ImageMagick there?\n", stderr);
  }
}

// A second start tells the program that runs.
void Tour::openPopover() const {
  ChildProcess({program_.string()}, ChildProcess::Options{desktop_.environmentByLauncher()}).ending();
  letItDraw();
}

void Tour::choose(Typist& typist, int button) const {
  openPopover();
  for (int i = 0; i < button; ++i) typist.tap(keyTab);
  typist.tap(keyReturn);
  letItDraw();
}

void Tour::walkThroughWindows(Typist& typist) const {
  openPopover();
  take("popover.png");
  for (int i = 0; i < pauseForOneHour; ++i) typist.tap(keyTab);
  typist.tap(keyReturn);
  letItDraw();
  take("paused.png");
  typist.tap(keyReturn);  // resumes
  typist.tap(keyEscape);

  choose(typist, settings);
  for (const char* picture :
       {"settings-general.png", "settings-whitelist.png", "settings-advanced.png", "settings-about.png"}) {
    take(picture);
    typist.tapWithControl(keyTab);
    letItDraw();
  }
  typist.tapWithControl(keyW);
  choose(typist, viewLog);
  take("log.png");
  typist.tapWithControl(keyW);
}

void takeOnboarding(const std::filesystem::path& program, const std::filesystem::path& folder) {
  const VirtualDesktop desktop(WindowManager::openbox, "1000x640x24", {"-extension", "XTEST"});
  const Shell shell(desktop);
  const ChildProcess varnolet({program.string()}, ChildProcess::Options{desktop.environment()});
  (void)eventually([&] { return desktop.activeWindow() != 0; });
  letItDraw();
  Tour(desktop, program, folder).take("onboarding.png");
}

}  // namespace demo
