// A set of measured values.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace bench {

class Samples {
 public:
  void add(double value) { values_.push_back(value); }
  void add(const Samples& more) { values_.insert(values_.end(), more.values_.begin(), more.values_.end()); }
  std::size_t count() const { return values_.size(); }
  // The value that `share` (0 to 1) of all are at or below; 0 if there are none.
  double quantile(double share) const {
    if (values_.empty()) return 0;
    std::vector<double> sorted = values_;
    const auto position = static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1));
    std::nth_element(sorted.begin(), sorted.begin() + static_cast<std::ptrdiff_t>(position), sorted.end());
    return sorted[position];
  }
  double median() const { return quantile(0.5); }

 private:
  std::vector<double> values_;
};

}  // namespace bench
