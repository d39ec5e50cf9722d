#include "Table.h"

#include <array>
#include <cstdio>

namespace bench {

std::string formatted(double value, const std::string& unit) {
  std::array<char, 64> text{};
  const int decimals = value != 0 && value < 10 ? 2 : value < 100 ? 1 : 0;
  std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
  return unit.empty() ? text.data() : std::string(text.data()) + ' ' + unit;
}

std::string tableOf(const std::vector<Row>& rows) {
  std::string table = "| What | Measured | Compared with | Ratio | At most | |\n|---|---|---|---|---|---|\n";
  for (const auto& row : rows) {
    table += "| " + row.what + " | " + row.measured + " | " + row.reference + " | " +
             (row.ratio ? formatted(*row.ratio, "") : "") + " | " + (row.limit ? formatted(*row.limit, "") : "") +
             " | " + (row.limit ? row.isMet ? "ok" : "MISSED" : "") + " |\n";
  }
  return table;
}

}  // namespace bench
