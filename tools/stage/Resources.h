// What the guard takes of the machine and of its X server.
#pragma once

#include <cstddef>
#include <string>

#include "tools/stage/Guard.h"

namespace stage {

// Of all its processes together.
struct Resources {
  std::size_t residentKiB = 0;
  std::size_t descriptors = 0;
  std::size_t inServer = 0;  // windows, pixmaps, passive grabs and the like
};
Resources resourcesOf(const Guard& guard, const XConnection& connection);
std::string describe(const Resources& resources);

}  // namespace stage
