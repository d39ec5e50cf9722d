#include "platform/linux/LogText.h"

#include <QString>

namespace platform::linux_desktop {
namespace {

constexpr std::size_t longestText = 2000;

bool changesDirection(char16_t character) {
  return (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

bool breaksLine(QChar character) {
  switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
      return true;
    default:
      return changesDirection(character.unicode());
  }
}

}  // namespace

std::string singleLine(std::string_view text) {
  const bool tooLong = text.size() > longestText;
  const auto given = QString::fromUtf8(text.data(), static_cast<qsizetype>(tooLong ? longestText : text.size()));
  QString line;
  line.reserve(given.size());
  for (const QChar character : given) {
    if (!breaksLine(character)) {
      line += character;
    } else if (character.unicode() < 0x100) {
      line += QStringLiteral("\\x%1").arg(character.unicode(), 2, 16, QLatin1Char('0'));
    } else {
      line += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
    }
  }
  if (tooLong) line += QStringLiteral("...");
  return line.toStdString();
}

}  // namespace platform::linux_desktop
