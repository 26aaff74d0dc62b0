// A column-major matrix as BLAS routines see it: rows by cols with leading dimension ld, inside a buffer
// with guard zones before and after. The padding rows of every column (beyond `rows` in each ld stride)
// and the guards hold the sentinel, and guards_intact() tells whether a call left all of them alone.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <vector>

#include "values.h"

namespace kovra_test {

template <typename T>
class padded_matrix {
 public:
  static constexpr int guard = 32;

  padded_matrix(int rows, int cols, int ld) : rows_(rows), cols_(cols), ld_(ld) {
    buffer_.assign(std::size_t(ld) * (cols > 0 ? cols : 0) + 2 * guard, sentinel<T>());
  }

  // Fills the matrix with uniform values in [-1, 1) (both parts for complex types).
  padded_matrix& random(unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    for (int j = 0; j < cols_; ++j)
      for (int i = 0; i < rows_; ++i) {
        const double re = dist(gen), im = dist(gen);
        at(i, j) = make<T>(re, im);
      }
    return *this;
  }

  padded_matrix& fill(const T& v) {
    for (int j = 0; j < cols_; ++j)
      for (int i = 0; i < rows_; ++i) at(i, j) = v;
    return *this;
  }

  T* data() { return buffer_.data() + guard; }
  const T* data() const { return buffer_.data() + guard; }
  int ld() const { return ld_; }
  int rows() const { return rows_; }
  int cols() const { return cols_; }
  T& at(int i, int j) { return buffer_[guard + i + std::size_t(j) * ld_]; }
  const T& at(int i, int j) const { return buffer_[guard + i + std::size_t(j) * ld_]; }

  ::testing::AssertionResult guards_intact() const {
    for (std::size_t p = 0; p < buffer_.size(); ++p) {
      const std::ptrdiff_t offset = std::ptrdiff_t(p) - guard;
      const bool inside = offset >= 0 && offset < std::ptrdiff_t(ld_) * cols_ && offset % ld_ < rows_;
      if (!inside && !same_bits(buffer_[p], sentinel<T>()))
        return ::testing::AssertionFailure() << "padding at offset " << offset << " was written";
    }
    return ::testing::AssertionSuccess();
  }

  // Bit-for-bit equality of the matrix part (not the padding).
  ::testing::AssertionResult same_as(const padded_matrix& other) const {
    for (int j = 0; j < cols_; ++j)
      for (int i = 0; i < rows_; ++i)
        if (!same_bits(at(i, j), other.at(i, j)))
          return ::testing::AssertionFailure() << "element (" << i << ", " << j << ") differs";
    return ::testing::AssertionSuccess();
  }

 private:
  int rows_, cols_, ld_;
  std::vector<T> buffer_;
};

}  // namespace kovra_test
