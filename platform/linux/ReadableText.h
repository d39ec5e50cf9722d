// Text of others, made fit to be shown and stored.
#pragma once

#include <QString>
#include <string>

namespace platform::linux_desktop {

// Valid UTF-8 of bounded length, whatever the bytes are.
inline std::string readable(const std::string& text) {
  constexpr qsizetype longest = 200;
  return QString::fromStdString(text).left(longest).toStdString();
}

}  // namespace platform::linux_desktop
