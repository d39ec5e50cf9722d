#include "Windows.h"

#include <QApplication>
#include <QFont>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <cstdio>
#include <functional>

namespace demo {
namespace {

void report(const QString& line) {
  std::printf("%s\n", qPrintable(line));
  std::fflush(stdout);
}

// Sees every key and every activation of the application.
class Watcher : public QObject {
 public:
  bool eventFilter(QObject* /*watched*/, QEvent* event) override {
    if (event->type() == QEvent::WindowActivate) report(QStringLiteral("focus in"));
    // A key is offered to one object after another, but as a new event only to the window.
    if (event->type() == QEvent::KeyPress && event->spontaneous()) report(QStringLiteral("key"));
    return false;
  }
};

}  // namespace

int runEditor(int count, char** arguments) {
  QApplication application(count, arguments);
  QApplication::setApplicationName(QStringLiteral("Letter Editor"));
  QPlainTextEdit editor;
  editor.setWindowTitle(QStringLiteral("Letter to Ada"));
  editor.setFont(QFont(QStringLiteral("DejaVu Sans"), 18));
  editor.setGeometry(60, 60, 820, 240);
  QObject::connect(&editor, &QPlainTextEdit::textChanged,
                   [&] { report(QStringLiteral("text ") + editor.toPlainText()); });
  editor.show();
  report(QStringLiteral("window %1").arg(editor.winId()));
  return QApplication::exec();
}

int runUpdater(int count, char** arguments) {
  QApplication application(count, arguments);
  QApplication::setApplicationName(QStringLiteral("Updater"));
  QWidget window;
  window.setWindowTitle(QStringLiteral("Updater"));
  QVBoxLayout column(&window);
  QLabel question(QStringLiteral("Updates are ready. Restart now?"));
  question.setFont(QFont(QStringLiteral("DejaVu Sans"), 14));
  column.addWidget(&question);
  QHBoxLayout row;
  QPushButton restart(QStringLiteral("Restart now"));
  QPushButton later(QStringLiteral("Later"));
  row.addWidget(&restart);
  row.addWidget(&later);
  column.addLayout(&row);
  window.setGeometry(420, 380, 420, 140);
  Watcher watcher;
  window.installEventFilter(&watcher);
  restart.installEventFilter(&watcher);
  later.installEventFilter(&watcher);
  window.show();
  report(QStringLiteral("window %1").arg(window.winId()));
  return QApplication::exec();
}

}  // namespace demo
