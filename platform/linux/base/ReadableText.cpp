#include "platform/linux/base/ReadableText.h"

#include <QList>
#include <algorithm>
#include <array>
#include <utility>

namespace platform::linux_desktop {
namespace {

constexpr qsizetype longest = 200;  // in UTF-16 units
constexpr char32_t replacement = QChar::ReplacementCharacter;

// Takes no room and draws nothing. Letters, symbols and unassigned characters may be blank too: Hangul fillers, the
// empty Braille pattern, selectors of variants and what Unicode keeps to be ignored.
bool isUnseen(char32_t code) {
  switch (QChar::category(code)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
      return true;
    default:
      break;
  }
  constexpr std::array<std::pair<char32_t, char32_t>, 11> blank{{{0x034F, 0x034F},
                                                                 {0x115F, 0x1160},
                                                                 {0x17B4, 0x17B5},
                                                                 {0x180B, 0x180F},
                                                                 {0x2065, 0x2065},
                                                                 {0x2800, 0x2800},
                                                                 {0x3164, 0x3164},
                                                                 {0xFE00, 0xFE0F},
                                                                 {0xFFA0, 0xFFA0},
                                                                 {0xFFF0, 0xFFF8},
                                                                 {0xE0000, 0xE0FFF}}};
  return std::ranges::any_of(blank, [code](auto range) { return code >= range.first && code <= range.second; });
}

// A mark shows only on what it stands on.
bool isVisible(const QString& text) {
  return std::ranges::any_of(text.toUcs4(), [](char32_t code) {
    const auto category = QChar::category(code);
    const bool isMark = category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing;
    return !isMark && !QChar::isSpace(code) && !isUnseen(code);
  });
}

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
  const QString given = QString::fromStdString(text).left(longest);
  if (!isVisible(given)) return {};
  QString identifier;
  for (const char32_t code : given.toUcs4()) {
    const bool isFit = QChar::isSpace(code) ? code == U' ' : !isUnseen(code);
    identifier += QString::fromUcs4(isFit ? &code : &replacement, 1);
  }
  return identifier.toStdString();
}

std::string readableName(const std::string& text) {
  const QString name = onOneLine(QString::fromStdString(text).left(longest));
  return isVisible(name) ? name.toStdString() : std::string();
}

}  // namespace platform::linux_desktop
