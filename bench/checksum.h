// Weighted checksums of operands, so that a run whose results are wrong is flagged next to its speed.
#pragma once

#include <cstddef>
#include <string>

namespace kovra::bench {

// The sum of weight(i) * v[i] over an operand, and the sum of the absolute values of its terms, which
// scales what rounding alone can change in it.
struct checksum {
  double value = 0;
  double magnitude = 0;
};

// The checksum of one operand of a routine, or of a part of one, by name ("x", "y", "C", "C(3,5)").
struct operand_checksum {
  std::string operand;
  checksum sum;
};

// Over `count` reals (a complex operand passes its parts as 2n reals). Weights vary with the index,
// so exchanged or shifted elements change the value, not only wrong ones.
checksum weighted_checksum(const float* v, std::size_t count);
checksum weighted_checksum(const double* v, std::size_t count);

// True when the two checksums differ by no more than `rounding` times the larger magnitude; false on NaN.
bool agree(const checksum& a, const checksum& b, double rounding);

}  // namespace kovra::bench
