// Text of others, made fit to be shown and stored.
#pragma once

#include <QChar>
#include <QString>
#include <string>

namespace platform::linux_desktop {

// The characters that would reach beyond the text that they stand in: by ending its line or being obeyed by a terminal,
// and by turning the direction of what is written around them.
bool isControl(QChar character);
bool changesDirection(QChar character);

// `text` with spaces for control characters and without changes of writing direction.
QString onOneLine(const QString& text);

// Both are valid UTF-8 of bounded length on one line, whatever the bytes are, and empty where nobody would see
// anything: of spaces and characters without width alone. An identifier has U+FFFD for each character that it must not
// have or that cannot be seen, lest it pass for another one.
std::string readableIdentifier(const std::string& text);
std::string readableName(const std::string& text);

}  // namespace platform::linux_desktop
