#include "Varnolet/AboutTab.h"

#include <QApplication>
#include <QIcon>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>
#include <initializer_list>
#include <string_view>

#include "platform/NSBundle.h"
#include "platform/NSNotificationCenter.h"
#include "platform/NSWorkspace.h"
#include "platform/ui/FormSection.h"
#include "platform/ui/Label.h"
#include "platform/ui/NSColor.h"
#include "platform/ui/PushButton.h"

namespace varnolet {
namespace {

using namespace platform::ui;

class ApplicationIconView : public QWidget {
 public:
  explicit ApplicationIconView(QWidget* parent) : QWidget(parent) { setFixedSize(80, 80); }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    QApplication::windowIcon().paint(&painter, rect());
  }
};

QString versionString() {
  const auto bundle = platform::NSBundle::mainBundle();
  const auto text = [&bundle](std::string_view key, const char* otherwise) {
    const auto found = bundle.infoDictionary.find(key);
    return found == bundle.infoDictionary.end() ? QString::fromLatin1(otherwise)
                                                : QString::fromStdString(found->second);
  };
  return QStringLiteral("%1 (%2)").arg(text("CFBundleShortVersionString", "1.0"), text("CFBundleVersion", "1"));
}

QLabel* makeLink(QWidget* parent) {
  const auto address = QStringLiteral(VARNOLET_WEB_SITE);
  auto* link = new QLabel(QStringLiteral("<a href=\"%1\">%1</a>").arg(address.toHtmlEscaped()), parent);
  link->setFont(fontOf(TextStyle::subheadline));
  link->setAccessibleName(address);
  link->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
  QObject::connect(link, &QLabel::linkActivated, link,
                   [](const QString& url) { platform::NSWorkspace::sharedWorkspace().openURL(url.toStdString()); });
  return link;
}

}  // namespace

AboutTab::AboutTab() {
  auto* icon = new ApplicationIconView(this);
  auto* name = new Label(QStringLiteral("Varnolet"), TextStyle::title, &NSColor::label, this);
  auto* version =
      new Label(QStringLiteral("Version ") + versionString(), TextStyle::subheadline, &NSColor::secondaryLabel, this);
  auto* divider = makeDivider(this);
  divider->setFixedWidth(200);
  auto* update = new PushButton(QStringLiteral("Check for Updates"), ButtonStyle::bordered, ButtonRole::normal, this);
  connect(update, &QPushButton::clicked, this, [] {
    platform::NSNotificationCenter::defaultCenter().postNotification({checkForUpdatesNotification, {}});
  });
  auto* link = makeLink(this);
  auto* caption =
      new Label(QStringLiteral("Keeps the focus where you put it."), TextStyle::caption, &NSColor::tertiaryLabel, this);

  auto* column = new QVBoxLayout(this);
  column->setSpacing(12);
  column->addStretch();
  for (QWidget* item : std::initializer_list<QWidget*>{icon, name, version, divider, update, link, caption}) {
    column->addWidget(item, 0, Qt::AlignHCenter);
  }
  column->addStretch();
}

}  // namespace varnolet
