#include "platform/linux/base/NotificationText.h"

#include "platform/linux/base/ReadableText.h"

namespace platform::linux_desktop {
namespace {

// In UTF-16 units. The body has two names and a sentence about the keys, which comes last.
constexpr qsizetype longestTitle = 80;
constexpr qsizetype longestBody = 240;
const QChar ellipsis(0x2026);

// At most `length` units, no character of two units cut in half.
QString shortened(const QString& text, qsizetype length) {
  if (text.size() <= length) return text;
  qsizetype head = (length - 1) / 2;
  qsizetype tail = length - 1 - head;
  if (text.at(head).isLowSurrogate()) --head;
  if (text.at(text.size() - tail).isLowSurrogate()) --tail;
  return text.first(head) + ellipsis + text.last(tail);
}

}  // namespace

QString titleText(const std::string& text) {
  return shortened(onOneLine(QString::fromStdString(text)), longestTitle);
}

QString bodyText(const std::string& text) {
  return shortened(onOneLine(QString::fromStdString(text)), longestBody);
}

QString escapedForMarkup(const QString& text) {
  QString escaped = text;
  escaped.replace(QLatin1Char('&'), QStringLiteral("&amp;"));
  escaped.replace(QLatin1Char('<'), QStringLiteral("&lt;"));
  escaped.replace(QLatin1Char('>'), QStringLiteral("&gt;"));
  return escaped;
}

}  // namespace platform::linux_desktop
