#include <X11/keysym.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "Varnolet/PopoverView.h"
#include "Varnolet/RelativeTime.h"
#include "Views.h"
#include "platform/ui/NSColor.h"
#include "platform/ui/PopoverKeyboard.h"

namespace varnolet {
namespace {

using namespace std::chrono_literals;
using platform::ui::NSColor;
using testing::ElementsAre;

class PopoverViewTest : public testing::Test {
 protected:
  // The shown lines of the header and the status, and how a screen reader says them.
  QStringList lines() const { return shownTexts(*view); }
  QStringList spoken() const {
    QStringList names;
    for (const auto* label : view->findChildren<QLabel*>()) {
      if (label->isVisibleTo(view.get())) names << label->accessibleName();
    }
    return names;
  }

  platform::simulated::SimulatedDesktop desktop;
  std::shared_ptr<varnoletKit::FocusGuardState> state = std::make_shared<varnoletKit::FocusGuardState>();
  std::shared_ptr<varnoletKit::SettingsManager> settings =
      std::make_shared<varnoletKit::SettingsManager>(platform::UserDefaults::standard());
  std::shared_ptr<PauseManager> pauseManager = PauseManager::create(state);
  std::unique_ptr<PopoverView> view =
      std::make_unique<PopoverView>(state, settings, pauseManager, PopoverView::Callbacks());
};

TEST_F(PopoverViewTest, ShowsWhatThereIsAndFollowsIt) {
  EXPECT_EQ(view->width(), 290);
  EXPECT_THAT(lines(), ElementsAre("Varnolet — Active", "Blocked today: 0"));
  state->setBlessedApp(desktop.launch({.localizedName = "<b>Editor</b>"}));
  state->setLastBlockedApp("Chat");
  state->setBlockedToday(2);
  EXPECT_THAT(lines(), ElementsAre("Varnolet — Active", "Protecting: <b>Editor</b>", "Blocked today: 2"))
      << "a block without a time is not shown";
  state->setLastBlockedTime(platform::dateNow() - 125s);
  EXPECT_EQ(lines().at(2), "Last blocked: Chat (2 min ago)");
  EXPECT_THAT(spoken(), ElementsAre("Varnolet Active", "Currently protecting <b>Editor</b>",
                                    "Last blocked Chat 2 min ago", "2 focus thefts blocked today"));
  state->setBlessedApp(desktop.launch({}));
  EXPECT_EQ(lines().at(1), "Last blocked: Chat (2 min ago)") << "an application without a name";
  for (const auto* label : view->findChildren<QLabel*>()) EXPECT_EQ(label->textFormat(), Qt::PlainText);
}

TEST_F(PopoverViewTest, ThePauseSwapsItsButtonsAndTheHeaderSaysWhetherItProtects) {
  auto& header = *view->findChild<QLabel*>();
  const auto expectHeader = [&](const char* word, bool isPaused, bool isGreen) {
    EXPECT_EQ(lines().first(), "Varnolet — " + QString(word));
    EXPECT_EQ(find(*view, "Resume focus protection")->isVisibleTo(view.get()), isPaused);
    EXPECT_EQ(find(*view, "Pause focus protection for one hour")->isVisibleTo(view.get()), !isPaused);
    EXPECT_EQ(draws(header, NSColor::greenText(view->palette())), isGreen);
    EXPECT_EQ(draws(header, NSColor::grayText(view->palette())), !isGreen);
  };
  expectHeader("Active", false, true);
  click(*view, "Pause focus protection until manually re-enabled");
  desktop.advance(2h);
  state->setIsEnabled(true);
  expectHeader("Paused", true, false);
  click(*view, "Resume focus protection");
  click(*view, "Pause focus protection for one hour");
  desktop.advance(1h);
  expectHeader("Active", false, true);
  state->setIsEnabled(false);
  expectHeader("Disabled", false, false);
}

TEST_F(PopoverViewTest, NamesNobodyWhoIsNotProtected) {
  const auto editor = desktop.launch({.localizedName = "Editor"});
  const auto isNamed = [this] { return lines().contains("Protecting: Editor"); };
  state->setBlessedApp(editor);
  EXPECT_TRUE(isNamed());
  pauseManager->pauseIndefinitely();
  EXPECT_FALSE(isNamed());
  pauseManager->resume();
  EXPECT_TRUE(isNamed());
  desktop.quit(editor);
  EXPECT_FALSE(isNamed());
  view.reset();
  desktop.quit(desktop.launch({}));  // of which the view is not told any more
}

// Whoever names an application decides neither how large the popover is nor how it looks.
TEST_F(PopoverViewTest, AnyNameFitsInItsLine) {
  state->setLastBlockedTime(platform::dateNow());
  state->setLastBlockedApp("Chat");
  view->adjustSize();
  const QSize size = view->size();
  for (const auto& name :
       {std::string(5000, 'W'), "Chat" + std::string(300, '\n'), std::string("\u202EtahC<br><br>")}) {
    state->setLastBlockedApp(name);
    view->adjustSize();
    EXPECT_EQ(std::pair(view->width(), view->height()), std::pair(size.width(), size.height())) << name.substr(0, 9);
    EXPECT_EQ(lines().at(1), QString::fromStdString("Last blocked: " + name + " (just now)"));
  }
}

TEST(PopoverKeyboard, IsForWhatOperatesThePopover) {
  constexpr platform::ui::KeyState none = 0;
  constexpr platform::ui::KeyState shift = 1;
  constexpr platform::ui::KeyState control = 4;
  constexpr platform::ui::KeyState alt = 8;
  const struct {
    std::uint32_t keysym;
    platform::ui::KeyState state;
    bool isForPopover;
    bool isOnControl = false;
  } cases[] = {{XK_Shift_L, none, true},       {XK_ISO_Level3_Shift, shift, true},
               {XK_Alt_L, none, false},        {XK_Super_R, none, false},
               {XK_Tab, shift, true},          {XK_Tab, alt, false},
               {XK_Escape, none, true},        {XK_Left, none, true},
               {XK_comma, control, true},      {XK_comma, none, false},
               {XK_s, control, false},         {XK_a, none, false, true},
               {XK_BackSpace, none, false},    {XK_space, none, false},
               {XK_space, none, true, true},   {XK_Return, none, false},
               {XK_KP_Enter, none, true, true}};
  for (const auto& [keysym, state, isForPopover, isOnControl] : cases) {
    EXPECT_EQ(platform::ui::isForPopover(keysym, state, isOnControl), isForPopover) << keysym << " with " << state;
  }
}

TEST(RelativeTime, ChangesItsWordsAtItsThresholds) {
  const platform::Date then = platform::Date(1'000'000s);
  const auto after = [then](std::chrono::milliseconds time) { return relativeTime(then, then + time); };
  EXPECT_EQ(after(-1h) + ", " + after(59'999ms), "just now, just now");
  EXPECT_EQ(after(60s) + ", " + after(119s), "1 min ago, 1 min ago");
  EXPECT_EQ(after(120s) + ", " + after(3599s), "2 min ago, 59 min ago");
  EXPECT_EQ(after(3600s) + ", " + after(7199s), "1 hr ago, 1 hr ago");
  EXPECT_EQ(after(7200s) + ", " + after(72h), "2 hrs ago, 72 hrs ago");
}

}  // namespace
}  // namespace varnolet
