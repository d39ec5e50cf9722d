// The scene of most tests: a desktop on which an editor is in front, the guard watches, and a thief waits.
#pragma once

#include <gtest/gtest.h>

#include "tests/desktop/stage/Actors.h"
#include "tests/desktop/stage/Guard.h"
#include "tests/desktop/stage/Keyboard.h"
#include "tests/desktop/stage/Transcript.h"
#include "tests/desktop/stage/Typist.h"
#include "tests/desktop/stage/VirtualDesktop.h"

namespace stage {

struct Scene {
  explicit Scene(WindowManager manager) : desktop(manager) {
    desktop.activate(editor.window());
    guard.emplace(desktop);
  }

  // True once the editor was given as many keys as were pressed. On to the test to see which.
  bool editorGotAll() {
    return eventually([this] { return editor.pressCount() >= typist.pressed().size(); });
  }
  Difference lostAndDoubled() { return difference(typist.pressed(), editor.presses()); }

  VirtualDesktop desktop;
  Keyboard keyboard{desktop.connection()};
  Typist typist{desktop.display()};
  Actor thief{desktop, "thief"};
  Actor editor{desktop, "editor"};
  std::optional<Guard> guard;
};

inline std::string nameOfParameter(const testing::TestParamInfo<WindowManager>& info) {
  return nameOf(info.param);
}

// One test suite, run under each window manager.
class UnderWindowManager : public testing::TestWithParam<WindowManager> {
 protected:
  Scene scene{GetParam()};
};

}  // namespace stage
