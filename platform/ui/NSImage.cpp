#include "platform/ui/NSImage.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QSvgRenderer>
#include <array>
#include <cassert>
#include <memory>
#include <utility>

#include "platform/ui/NSColor.h"

// Resources of a static library are known only once this ran; it must be called from outside any namespace.
static void makeSymbolsKnown() {
  Q_INIT_RESOURCE(symbols);
}

namespace platform::ui {
namespace {

QString fileOf(const QString& name) {
  return QStringLiteral(":/varnolet/symbols/%1.svg").arg(name);
}

QPixmap drawn(const QString& name, const QSize& pixels, const QColor& color) {
  QPixmap pixmap(pixels);
  pixmap.fill(Qt::transparent);
  QSvgRenderer drawing(fileOf(name));
  drawing.setAspectRatioMode(Qt::KeepAspectRatio);
  QPainter painter(&pixmap);
  drawing.render(&painter);
  painter.setCompositionMode(QPainter::CompositionMode_SourceAtop);
  painter.fillRect(pixmap.rect(), color);
  return pixmap;
}

// Draws the symbol anew for each size that is asked for.
class SymbolEngine : public QIconEngine {
 public:
  SymbolEngine(QString name, const QColor& color) : name_(std::move(name)), color_(color) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
    const qreal ratio = painter->device()->devicePixelRatioF();
    QPixmap picture = pixmap((QSizeF(rect.size()) * ratio).toSize(), mode, state);
    picture.setDevicePixelRatio(ratio);
    painter->drawPixmap(rect.topLeft(), picture);
  }
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override {
    QColor color = color_;
    if (mode == QIcon::Disabled) color.setAlphaF(0.4F);
    const int side = std::min(size.width(), size.height());
    return drawn(name_, QSize(side, side), color);
  }
  // What the panels of today ask for; a tray takes all of them over at once.
  QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
    QList<QSize> sizes;
    for (const int side : std::array{16, 18, 22, 24, 32, 36, 44, 48, 64}) sizes << QSize(side, side);
    return sizes;
  }
  QString key() const override { return QStringLiteral("VarnoletSymbol"); }
  QIconEngine* clone() const override { return std::make_unique<SymbolEngine>(*this).release(); }

 private:
  QString name_;
  QColor color_;
};

}  // namespace

std::optional<NSImage> NSImage::imageWithSystemSymbolName(const QString& name,
                                                          const QString& accessibilityDescription) {
  makeSymbolsKnown();
  if (!QFile::exists(fileOf(name))) return std::nullopt;
  return NSImage(name, accessibilityDescription);
}

NSImage::NSImage(QString name, QString accessibilityDescription)
    : name_(std::move(name)), accessibilityDescription_(std::move(accessibilityDescription)) {}

NSImage NSImage::imageWithSymbolConfiguration(const NSImageSymbolConfiguration& configuration) const {
  NSImage image = *this;
  image.pointSize_ = configuration.pointSize;
  return image;
}

NSImage NSImage::filledWith(const QColor& color) const {
  NSImage image = *this;
  image.fill_ = color;
  return image;
}

QColor NSImage::color() const {
  return isTemplate_ ? NSColor::label(QGuiApplication::palette()) : fill_;
}

QPixmap NSImage::pixmap(qreal devicePixelRatio) const {
  const QSize pixels = (QSizeF(pointSize_, pointSize_) * devicePixelRatio).toSize();
  QPixmap pixmap = drawn(name_, pixels, color());
  pixmap.setDevicePixelRatio(devicePixelRatio);
  return pixmap;
}

QIcon NSImage::icon() const {
  return QIcon(std::make_unique<SymbolEngine>(name_, color()).release());
}

QIcon symbolIcon(const QString& name, const QColor& color) {
  const auto image = NSImage::imageWithSystemSymbolName(name);
  assert(image);
  NSImage filled = image->filledWith(color);
  filled.setTemplate(false);
  return filled.icon();
}

}  // namespace platform::ui
