// The table that a run prints.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace bench {

struct Row {
  std::string what;
  std::string measured;
  std::string reference;        // what it is compared with, measured in the same run; may be empty
  std::optional<double> ratio;  // measured over reference
  std::optional<double> limit;  // of the ratio, or of the value where there is no ratio
  bool isMet = true;
};

// As Markdown.
std::string tableOf(const std::vector<Row>& rows);
std::string formatted(double value, const std::string& unit);

}  // namespace bench
