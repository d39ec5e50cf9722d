// How long ago something happened, in a few words.
#pragma once

#include <string>

#include "platform/Tasks.h"

namespace varnolet {

// "just now" within the first minute, and for times that are yet to come. Any thread.
std::string relativeTime(platform::Date then, platform::Date now);

}  // namespace varnolet
