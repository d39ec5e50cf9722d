// Focus thefts while someone types: nothing typed is lost, and the thief gets none of it.
#include <chrono>
#include <thread>

#include "Scene.h"

namespace {

using namespace stage;
using namespace std::chrono_literals;

class Thefts : public UnderWindowManager {};

TEST_P(Thefts, OneByEachWayLeaveTheSentenceWhole) {
  for (const auto theft : {Theft::byRequest, Theft::byNewWindow, Theft::byRequest, Theft::byNewWindow}) {
    const unsigned before = scene.thief.timesFocused();
    for (int i = 0; i < 20; ++i) {
      if (i == 5) steal(scene.thief, theft);
      scene.typist.tap(characterKeys()[static_cast<std::size_t>(i)]);
      std::this_thread::sleep_for(10ms);
    }
    EXPECT_TRUE(eventually([&] { return scene.thief.timesFocused() > before; })) << nameOf(theft) << " took no focus";
    EXPECT_TRUE(eventually([&] { return scene.editor.isFocused(); })) << "after " << nameOf(theft);
    EXPECT_TRUE(scene.editorGotAll()) << "after " << nameOf(theft);
  }
  EXPECT_TRUE(scene.lostAndDoubled().isNone()) << describe(scene.lostAndDoubled());
  EXPECT_EQ(scene.thief.pressCount(), 0u) << "keys went to the thief";
}

INSTANTIATE_TEST_SUITE_P(On, Thefts, testing::Values(WindowManager::openbox, WindowManager::xfwm4), nameOfParameter);

}  // namespace
