// Makes text with names from anywhere fit for a notification.
#pragma once

#include <QString>
#include <string>

namespace platform::linux_desktop {

// One line without control characters and changes of writing direction, U+FFFD for bytes that are no UTF-8. Of text
// that is too long the middle is left out: a title keeps its beginning and end, and so does a body.
QString titleText(const std::string& text);
QString bodyText(const std::string& text);

// For a server that takes markup: shows as `text` does without.
QString escapedForMarkup(const QString& text);

}  // namespace platform::linux_desktop
