// varnolet_gallery: draws every view of the program into pictures, in light and dark, at one and two device pixels a
// point. Needs no display: the views are drawn over a simulated desktop.
#include <QApplication>
#include <QIcon>
#include <QPainter>
#include <QStyleFactory>
#include <QTabWidget>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "Varnolet/LogViewerView.h"
#include "Varnolet/OnboardingView.h"
#include "Varnolet/PauseManager.h"
#include "Varnolet/PopoverView.h"
#include "Varnolet/SettingsView.h"
#include "platform/UUID.h"
#include "platform/simulated/SimulatedDesktop.h"
#include "platform/ui/NSColor.h"
#include "platform/ui/NSImage.h"
#include "platform/ui/NSWindow.h"

namespace {

using namespace std::chrono_literals;
using namespace platform;
using namespace platform::ui;
using namespace varnolet;
using namespace varnoletKit;

QPalette darkPalette() {
  QPalette palette(QColor(0x2b, 0x2d, 0x30), QColor(0x2b, 0x2d, 0x30));
  palette.setColor(QPalette::Base, QColor(0x1e, 0x1f, 0x22));
  palette.setColor(QPalette::AlternateBase, QColor(0x26, 0x28, 0x2b));
  palette.setColor(QPalette::Highlight, QColor(0x2f, 0x65, 0xca));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::Link, QColor(0x6c, 0xb0, 0xff));
  palette.setColor(QPalette::PlaceholderText, QColor(0x90, 0x90, 0x96));
  return palette;
}

class Gallery {
 public:
  explicit Gallery(QString prefix) : prefix_(std::move(prefix)) {}

  void save(QWidget& widget, const QString& name) {
    widget.show();
    QCoreApplication::processEvents();
    desktop.settle();
    QCoreApplication::processEvents();
    const QString file = prefix_ + name + QStringLiteral(".png");
    if (!widget.grab().save(file)) std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
  }

  void drawPopovers();
  void drawSettings();
  void drawLog();
  void drawOnboarding();
  void drawSymbols();

  simulated::SimulatedDesktop desktop;

 private:
  QString prefix_;
};

void Gallery::drawPopovers() {
  const auto state = std::make_shared<FocusGuardState>();
  const auto settings = std::make_shared<SettingsManager>(std::string("gallery"));
  const auto pause = PauseManager::create(state);
  const auto picture = [&](const char* name) {
    PopoverView view(state, settings, pause, {});
    view.setMinimumHeight(340);
    save(view, QString::fromLatin1(name));
  };
  picture("popover-new");
  state->setBlessedApp(desktop.launch({.localizedName = "Text Editor"}));
  state->setLastBlockedApp("Software Updater");
  state->setLastBlockedTime(dateNow() - 5min);
  state->setBlockedToday(3);
  picture("popover-active");
  pause->pauseForOneHour();
  picture("popover-paused");
  state->setLastBlockedApp("An <b>Application</b> With a Name That No Window Title Would Hold");
  pause->resume();
  state->setIsEnabled(false);
  picture("popover-disabled");
}

void Gallery::drawSettings() {
  desktop.install({"/apps/org.example.Notes.desktop", "org.example.Notes", "Notes", ""});
  const auto settings = std::make_shared<SettingsManager>(std::string("gallery"));
  for (const auto* id : {"org.example.Notes", "org.example.Gone"}) settings->addToWhitelist(id);
  settings->resetWhitelistToDefaults();
  NSWindow window(QStringLiteral("Varnolet Settings"), titled | closable | resizable, {560, 480},
                  new SettingsView(settings, std::make_shared<FocusGuardState>(), std::make_shared<EventLogManager>()));
  auto* tabs = window.findChild<QTabWidget*>();
  for (int tab = 0; tab < tabs->count(); ++tab) {
    tabs->setCurrentIndex(tab);
    save(window, QStringLiteral("settings-") + tabs->tabText(tab).toLower());
  }
}

void Gallery::drawLog() {
  const auto log = std::make_shared<EventLogManager>();
  const auto picture = [&](const char* name) {
    NSWindow window(QStringLiteral("Blocked Events Log"), titled | closable | resizable, {620, 420},
                    new LogViewerView(log));
    save(window, QString::fromLatin1(name));
  };
  picture("log-empty");
  for (int i = 0; i < 120; ++i) {
    log->append({newUUID(), dateNow() - i * 47min, "org.example.Updater", i % 3 ? "Software Updater" : "Chat",
                 "org.example.Editor", "Text Editor", i % 17, 104 + i % 90});
  }
  picture("log-cut");
}

void Gallery::drawOnboarding() {
  const auto picture = [&](const char* name) {
    NSWindow window(QStringLiteral("Welcome to Varnolet"), titled | closable, {520, 440},
                    new OnboardingView(std::make_shared<PermissionsManager>(), [] {}));
    save(window, QString::fromLatin1(name));
  };
  picture("onboarding-granted");
  desktop.grantInputMonitoring(false);
  picture("onboarding-required");
}

void Gallery::drawSymbols() {
  class Sheet : public QWidget {
   public:
    Sheet() { resize(3 * 60, 90); }

   protected:
    void paintEvent(QPaintEvent*) override {
      QPainter painter(this);
      const std::array colors{NSColor::systemGreen(), NSColor::systemOrange(), NSColor::systemGray()};
      int left = 10;
      for (const auto& color : colors) {
        const QIcon icon = symbolIcon(QStringLiteral("shield.checkered"), color);
        icon.paint(&painter, QRect(left, 10, 18, 18));
        icon.paint(&painter, QRect(left, 36, 40, 40));
        left += 60;
      }
    }
  };
  Sheet sheet;
  save(sheet, QStringLiteral("icon"));
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) {
    std::fputs("usage: varnolet_gallery FOLDER [dark]\n", stderr);
    return 2;
  }
  setenv("QT_QPA_PLATFORM", "offscreen", 1);  // NOLINT(concurrency-mt-unsafe): no other thread yet
  const QApplication application(count, arguments);
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  const bool isDark = count > 2;
  if (isDark) QApplication::setPalette(darkPalette());
  QApplication::setWindowIcon(QIcon(QStringLiteral(":/varnolet/icon.svg")));
  const int pixels = qRound(qApp->devicePixelRatio());
  Gallery gallery(QStringLiteral("%1/%2-%3x-")
                      .arg(QString::fromLocal8Bit(arguments[1]),
                           isDark ? QStringLiteral("dark") : QStringLiteral("light"), QString::number(pixels)));
  gallery.drawPopovers();
  gallery.drawSettings();
  gallery.drawLog();
  gallery.drawOnboarding();
  gallery.drawSymbols();
  return 0;
}
