// The text styles of the user interface, relative to the font that the user chose for the desktop.
#pragma once

#include <QFont>

namespace platform::ui {

enum class TextStyle { title, title3, headline, body, subheadline, caption, smallCaption };

// Main thread, once the application object is there.
QFont fontOf(TextStyle style);
// With digits of equal width, so that numbers neither dance while they change nor stand askew in a column.
QFont monospacedDigits(const QFont& font);

}  // namespace platform::ui
