#include <gtest/gtest.h>

#include <memory>

#include "Varnolet/MenuBarController.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "platform/ui/NSColor.h"

namespace varnolet {
namespace {

using namespace std::chrono_literals;
using platform::ui::NSColor;
using platform::ui::NSImage;
using platform::ui::NSStatusItem;

class MenuBarControllerTest : public testing::Test {
 protected:
  const NSImage& image() const { return *item->button()->image(); }
  QColor color() const { return image().color(); }

  platform::simulated::SimulatedDesktop desktop;
  std::shared_ptr<NSStatusItem> item = std::make_shared<NSStatusItem>(platform::ui::NSSquareStatusItemLength);
  std::shared_ptr<varnoletKit::FocusGuardState> state = std::make_shared<varnoletKit::FocusGuardState>();
  std::shared_ptr<PauseManager> pauseManager = PauseManager::create(state);
  std::unique_ptr<MenuBarController> controller = std::make_unique<MenuBarController>(item, state, pauseManager);
};

TEST_F(MenuBarControllerTest, DrawsTheShieldInOneColourAndNothingAroundIt) {
  EXPECT_EQ(image().name(), "shield.checkered");
  EXPECT_EQ(image().accessibilityDescription(), "Varnolet status");
  EXPECT_EQ(image().pointSize(), 18);
  EXPECT_FALSE(image().isTemplate());
  const QImage picture = image().pixmap(2).toImage();
  ASSERT_EQ(picture.size(), QSize(36, 36));
  int opaque = 0;
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      if (qAlpha(picture.pixel(x, y)) < 255) continue;
      ++opaque;
      EXPECT_EQ(QColor(picture.pixel(x, y)), NSColor::systemGreen());
    }
  }
  EXPECT_GT(opaque, 100);
  EXPECT_EQ(qAlpha(picture.pixel(0, 0)), 0);
}

TEST_F(MenuBarControllerTest, FollowsTheProtectionAndThePause) {
  EXPECT_EQ(color(), NSColor::systemGreen());
  pauseManager->pauseForOneHour();
  EXPECT_EQ(color(), NSColor::systemGray());
  state->setIsEnabled(true);
  EXPECT_EQ(color(), NSColor::systemGray()) << "still paused";
  pauseManager->resume();
  EXPECT_EQ(color(), NSColor::systemGreen());
  state->setIsEnabled(false);
  EXPECT_EQ(color(), NSColor::systemGray());
}

TEST_F(MenuBarControllerTest, AFlashLastsHalfASecondFromTheLastBlock) {
  controller->flash();
  EXPECT_EQ(color(), NSColor::systemOrange());
  desktop.advance(300ms);
  controller->flash();
  desktop.advance(499ms);
  EXPECT_EQ(color(), NSColor::systemOrange());
  desktop.advance(1ms);
  EXPECT_EQ(color(), NSColor::systemGreen());
}

TEST_F(MenuBarControllerTest, WhatChangesDuringAFlashIsShownAtItsEnd) {
  controller->flash();
  pauseManager->pauseIndefinitely();
  state->setIsIntercepting(true);
  EXPECT_EQ(color(), NSColor::systemOrange());
  desktop.advance(500ms);
  EXPECT_EQ(color(), NSColor::systemGray());
  controller->flash();
  EXPECT_EQ(color(), NSColor::systemOrange()) << "also while paused";
}

TEST_F(MenuBarControllerTest, AfterItsEndNothingDraws) {
  controller->flash();
  controller.reset();
  desktop.advance(1s);
  state->setIsEnabled(false);
  EXPECT_EQ(color(), NSColor::systemOrange());
}

}  // namespace
}  // namespace varnolet
