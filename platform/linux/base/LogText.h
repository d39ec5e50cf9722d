// Makes text from anywhere fit for one line of a log on a terminal.
#pragma once

#include <string>
#include <string_view>

namespace platform::linux_desktop {

// `text` with its control characters, line ends and changes of writing direction replaced by escapes such as \x0a and
// \u2028, and U+FFFD for bytes that are no UTF-8. Text too long for a line is cut.
std::string singleLine(std::string_view text);

}  // namespace platform::linux_desktop
