// Random identifiers.
#pragma once

#include <string>

namespace platform {

// A new random UUID in its 36-character textual form, upper-case. Any thread.
std::string newUUID();

}  // namespace platform
