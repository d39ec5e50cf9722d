// System symbols: drawings of ours that take any size and colour.
#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>
#include <optional>

namespace platform::ui {

enum class NSFontWeight { medium };  // the drawings have one

struct NSImageSymbolConfiguration {
  // The side of the square, in device-independent pixels. Where an icon is asked for, as by a tray, who draws it
  // decides.
  double pointSize = 16;
  NSFontWeight weight = NSFontWeight::medium;
};

// A value; main thread, once the application object is there.
class NSImage {
 public:
  // Absent if there is no symbol of that name.
  static std::optional<NSImage> imageWithSystemSymbolName(const QString& name,
                                                          const QString& accessibilityDescription = {});
  NSImage imageWithSymbolConfiguration(const NSImageSymbolConfiguration& configuration) const;

  // A copy whose own pixels alone take the colour.
  NSImage filledWith(const QColor& color) const;
  // A template is shown in the colour of the palette's text, whatever its own. Every symbol begins as one.
  void setTemplate(bool isTemplate) { isTemplate_ = isTemplate; }
  bool isTemplate() const { return isTemplate_; }

  double pointSize() const { return pointSize_; }
  const QString& name() const { return name_; }
  const QString& accessibilityDescription() const { return accessibilityDescription_; }
  // As it is shown now.
  QColor color() const;

  // Sharp at this number of device pixels for each point.
  QPixmap pixmap(qreal devicePixelRatio) const;
  // Sharp at every size.
  QIcon icon() const;

 private:
  NSImage(QString name, QString accessibilityDescription);

  QString name_;
  QString accessibilityDescription_;
  double pointSize_ = NSImageSymbolConfiguration().pointSize;
  QColor fill_ = Qt::black;
  bool isTemplate_ = true;
};

// The symbol as an icon in one colour, for buttons and tabs. The symbol must exist.
QIcon symbolIcon(const QString& name, const QColor& color);

}  // namespace platform::ui
