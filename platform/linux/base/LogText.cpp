#include "platform/linux/base/LogText.h"

#include <QString>

#include "platform/linux/base/ReadableText.h"

namespace platform::linux_desktop {
namespace {

constexpr std::size_t longestText = 2000;

}  // namespace

std::string singleLine(std::string_view text) {
  const bool tooLong = text.size() > longestText;
  const auto given = QString::fromUtf8(text.data(), static_cast<qsizetype>(tooLong ? longestText : text.size()));
  QString line;
  line.reserve(given.size());
  for (const QChar character : given) {
    if (!isControl(character) && !changesDirection(character)) {
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
