// Why a record could not be turned into bytes, or bytes into a record.
#pragma once

#include <string>

namespace varnoletKit {

// In words for a log; holds nothing of the contents.
struct CodingError {
  std::string description;
};

}  // namespace varnoletKit
