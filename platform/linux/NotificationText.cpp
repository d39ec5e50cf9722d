#include "platform/linux/NotificationText.h"

namespace platform::linux_desktop {
namespace {

// In UTF-16 units. The body has two names and a sentence about the keys, which comes last.
constexpr qsizetype longestTitle = 80;
constexpr qsizetype longestBody = 240;
const QChar ellipsis(0x2026);

bool changesDirection(char16_t character) {
  return character == 0x061C || character == 0x200E || character == 0x200F ||
         (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

QString singleLine(const QString& text) {
  QString line;
  line.reserve(text.size());
  for (const QChar character : text) {
    if (changesDirection(character.unicode())) continue;
    const bool breaksLine = character.category() == QChar::Other_Control ||
                            character.category() == QChar::Separator_Line ||
                            character.category() == QChar::Separator_Paragraph;
    line += breaksLine ? QLatin1Char(' ') : character;
  }
  return line;
}

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
  return shortened(singleLine(QString::fromStdString(text)), longestTitle);
}

QString bodyText(const std::string& text) {
  return shortened(singleLine(QString::fromStdString(text)), longestBody);
}

QString escapedForMarkup(const QString& text) {
  QString escaped = text;
  escaped.replace(QLatin1Char('&'), QStringLiteral("&amp;"));
  escaped.replace(QLatin1Char('<'), QStringLiteral("&lt;"));
  escaped.replace(QLatin1Char('>'), QStringLiteral("&gt;"));
  return escaped;
}

}  // namespace platform::linux_desktop
