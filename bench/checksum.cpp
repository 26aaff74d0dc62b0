// Compensated weighted sums: the sum's own rounding stays far below the rounding it is meant to detect.
#include "checksum.h"

#include <algorithm>
#include <cmath>

namespace kovra::bench {
namespace {

// Index weights 1..8: small integers keep every product exact for float data.
constexpr std::size_t weight_period = 8;

// Neumaier's summation: the running compensation holds the low parts that each addition drops.
class compensated_sum {
 public:
  void add(double term) {
    const double t = sum_ + term;
    compensation_ += std::fabs(sum_) >= std::fabs(term) ? (sum_ - t) + term : (term - t) + sum_;
    sum_ = t;
  }
  double value() const { return sum_ + compensation_; }

 private:
  double sum_ = 0;
  double compensation_ = 0;
};

template <typename R>
checksum weighted(const R* v, std::size_t count) {
  compensated_sum value;
  compensated_sum magnitude;
  for (std::size_t i = 0; i < count; ++i) {
    const double term = static_cast<double>(1 + i % weight_period) * static_cast<double>(v[i]);
    value.add(term);
    magnitude.add(std::fabs(term));
  }
  return {value.value(), magnitude.value()};
}

}  // namespace

checksum weighted_checksum(const float* v, std::size_t count) { return weighted(v, count); }
checksum weighted_checksum(const double* v, std::size_t count) { return weighted(v, count); }

bool agree(const checksum& a, const checksum& b, double rounding) {
  const double scale = std::max(a.magnitude, b.magnitude);
  return std::fabs(a.value - b.value) <= rounding * scale;
}

}  // namespace kovra::bench
