// Whether this desktop has a tray for status items, and of which kind.
#pragma once

#include <QAbstractNativeEventFilter>
#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <cstdint>
#include <functional>

namespace platform::ui {

enum class TrayKind {
  none,
  statusNotifier,  // on the session bus
  embedding,       // windows in a panel's window, of X11
};

// Learns of a tray that comes while this lives. Waits for neither the bus nor the X server. Main thread.
class TrayPresence : public QObject, public QAbstractNativeEventFilter {
  Q_OBJECT

 public:
  // `onAppearance` is called from the event loop, when the first tray is known and whenever another comes. Where both
  // kinds are there from the start, the one on the bus is told.
  explicit TrayPresence(std::function<void(TrayKind)> onAppearance);
  ~TrayPresence() override;

  bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

 private:
  Q_SLOT void askForHost();
  Q_SLOT void thereIsNoBus() { hostAnswered(false); }

  void hostAnswered(bool isThere);
  void watchEmbeddingTray();
  bool hasEmbeddingTray() const;
  Q_SLOT void lookForEmbeddingTray();

  std::function<void(TrayKind)> onAppearance_;
  QDBusConnection bus_;
  QDBusServiceWatcher watcher_;
  std::uint32_t traySelection_ = 0;  // atom; 0 where there is no X server
  std::uint8_t selectionEvent_ = 0;
  bool isBusKnown_ = false;
};

}  // namespace platform::ui
