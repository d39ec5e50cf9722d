#include "Varnolet/PermissionCard.h"

#include <QPainter>
#include <QVBoxLayout>
#include <algorithm>

#include "platform/ui/NSColor.h"
#include "platform/ui/PushButton.h"
#include "platform/ui/SymbolView.h"

namespace varnolet {
namespace {

using namespace platform::ui;

constexpr int padding = 16;
constexpr int cornerRadius = 12;
constexpr int symbolSide = 28;
constexpr int leastDescriptionHeight = 48;

}  // namespace

PermissionCard::PermissionCard(const Permission& permission, QWidget* parent) : QWidget(parent) {
  // Made from top to bottom, as assistive programs read.
  auto* symbol = new SymbolView(permission.symbol, symbolSide, &NSColor::tint, this);
  auto* title = new Label(permission.title, TextStyle::headline, &NSColor::label, this);
  description_ = new Label(permission.description, TextStyle::caption, &NSColor::secondaryLabel, this);
  description_->setWordWrap(true);
  description_->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
  status_ = new Label({}, TextStyle::caption, &NSColor::label, this);
  auto* button =
      new PushButton(QStringLiteral("Open System Settings"), ButtonStyle::prominent, ButtonRole::normal, this);
  button->setFont(fontOf(TextStyle::subheadline));
  button->setAccessibleName(permission.buttonAccessibleName);
  connect(button, &QPushButton::clicked, this, [open = permission.openSettings] { open(); });

  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(padding, padding, padding, padding);
  column->setSpacing(12);
  column->addWidget(symbol, 0, Qt::AlignHCenter);
  column->addWidget(title, 0, Qt::AlignHCenter);
  column->addWidget(description_);
  column->addWidget(status_, 0, Qt::AlignHCenter);
  column->addWidget(button, 0, Qt::AlignHCenter);
  redrawing_ = varnoletKit::observe(
      [this, name = permission.title, isGranted = permission.isGranted] { showStatus(name, isGranted()); });
}

int PermissionCard::descriptionHeightFor(int cardWidth) const {
  return std::max(leastDescriptionHeight, description_->heightForWidth(cardWidth - 2 * padding));
}

void PermissionCard::showStatus(const QString& title, bool isGranted) {
  const auto color = isGranted ? &NSColor::greenText : &NSColor::orangeText;
  status_->setText(isGranted ? QStringLiteral("Granted") : QStringLiteral("Required"));
  status_->setAccessibleName(isGranted ? QStringLiteral("Permission granted") : QStringLiteral("Permission required"));
  status_->setColor(color);
  status_->setSymbol(
      isGranted ? QStringLiteral("checkmark.circle.fill") : QStringLiteral("exclamationmark.triangle.fill"), color);
  setAccessibleName(title + QStringLiteral(" permission, ") +
                    (isGranted ? QStringLiteral("granted") : QStringLiteral("required")));
}

void PermissionCard::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(NSColor::quaternaryFill(palette()));
  painter.drawRoundedRect(rect(), cornerRadius, cornerRadius);
}

}  // namespace varnolet
