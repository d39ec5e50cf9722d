#include "platform/linux/ReadableText.h"

namespace platform::linux_desktop {
namespace {

constexpr qsizetype longest = 200;  // in UTF-16 units

}  // namespace

bool isControl(QChar character) {
  switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
      return true;
    default:
      return false;
  }
}

bool changesDirection(QChar character) {
  const char16_t code = character.unicode();
  return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069);
}

QString onOneLine(const QString& text) {
  QString line;
  line.reserve(text.size());
  for (const QChar character : text) {
    if (!changesDirection(character)) line += isControl(character) ? QLatin1Char(' ') : character;
  }
  return line;
}

std::string readableIdentifier(const std::string& text) {
  QString identifier = QString::fromStdString(text).left(longest);
  for (QChar& character : identifier) {
    if (isControl(character) || changesDirection(character)) character = QChar::ReplacementCharacter;
  }
  return identifier.toStdString();
}

std::string readableName(const std::string& text) {
  return onOneLine(QString::fromStdString(text).left(longest)).toStdString();
}

}  // namespace platform::linux_desktop
