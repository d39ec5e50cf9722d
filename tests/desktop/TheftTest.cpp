// Focus thefts while someone types: nothing typed is lost, and the thief gets none of it.
#include "Scene.h"

namespace {

using namespace stage;

class Thefts : public UnderWindowManager {};

TEST_P(Thefts, LeaveAWordWhole) {
  for (const auto theft : {Theft::byRequest, Theft::byNewWindow, Theft::byRequest, Theft::byNewWindow}) {
    ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(theft, "a word"));
  }
  scene.expectAllKeysUp("afterwards");
}

TEST_P(Thefts, AreLoggedWithTheirNames) {
  ASSERT_NO_FATAL_FAILURE(scene.expectWordSurvives(Theft::byRequest, "a word"));
  for (const auto& names : blockedEvents(scene.desktop, 1)) EXPECT_EQ(names, "stage-thief > stage-editor");
}

INSTANTIATE_UNDER_WINDOW_MANAGERS(Thefts);

}  // namespace
