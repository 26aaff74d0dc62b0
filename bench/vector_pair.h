// The operands of a Level 1 case: two unit-stride vectors x and y of n elements, refilled with the same
// values before every measurement.
#pragma once

#include <cstddef>
#include <vector>

#include "checksum.h"
#include "operand_buffer.h"

namespace kovra::bench {

template <typename T>
class vector_pair {
 public:
  explicit vector_pair(int n) : n_(n), x_(length(n), 1), y_(length(n), 2) {}

  int n() const { return n_; }
  T* x() { return x_.data(); }
  T* y() { return y_.data(); }

  void reset() {
    x_.fill();
    y_.fill();
  }

  std::vector<operand_checksum> sums() const { return {{"x", x_.sum()}, {"y", y_.sum()}}; }

 private:
  static std::size_t length(int n) { return static_cast<std::size_t>(n < 0 ? 0 : n); }

  int n_;
  operand_buffer<T> x_;
  operand_buffer<T> y_;
};

}  // namespace kovra::bench
