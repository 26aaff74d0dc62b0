// A vector as BLAS routines see it: n logical elements at increment inc, inside a buffer with guard
// zones before and after. Every position that is not a logical element (the guards, and the gaps
// between elements when |inc| > 1) holds the sentinel, and guards_intact() tells whether a call left
// all of them alone.
//
// Logical element i lies at i*inc for inc > 0 and at (n - 1 - i)*|inc| for inc < 0; with inc == 0
// every logical element is the one array element, so the last value stored there wins.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <vector>

#include "values.h"

namespace kovra_test {

template <typename T>
class strided_vector {
 public:
  static constexpr int guard = 16;

  strided_vector(int n, int inc, const std::vector<T>& values) : n_(n < 0 ? 0 : n), inc_(inc) {
    const std::ptrdiff_t span = n_ == 0 ? 0 : 1 + std::ptrdiff_t(n_ - 1) * std::abs(inc_);
    buffer_.assign(span + 2 * guard, sentinel<T>());
    for (int i = 0; i < n_; ++i) (*this)[i] = values.at(i);
  }

  // What the routine is given: the address of array element 0.
  T* data() { return buffer_.data() + guard; }

  T& operator[](int i) { return buffer_[guard + position(i)]; }

  std::vector<T> logical() const {
    std::vector<T> values;
    for (int i = 0; i < n_; ++i) values.push_back(buffer_[guard + position(i)]);
    return values;
  }

  ::testing::AssertionResult guards_intact() const {
    std::vector<bool> element(buffer_.size(), false);
    for (int i = 0; i < n_; ++i) element[guard + position(i)] = true;
    for (std::size_t p = 0; p < buffer_.size(); ++p)
      if (!element[p] && !same_bits(buffer_[p], sentinel<T>()))
        return ::testing::AssertionFailure() << "buffer position " << std::ptrdiff_t(p) - guard
                                             << " (relative to element 0) was written: " << describe(buffer_[p]);
    return ::testing::AssertionSuccess();
  }

 private:
  std::ptrdiff_t position(int i) const {
    if (inc_ >= 0) return std::ptrdiff_t(i) * inc_;
    return std::ptrdiff_t(n_ - 1 - i) * -inc_;
  }

  int n_;
  int inc_;
  std::vector<T> buffer_;
};

}  // namespace kovra_test
