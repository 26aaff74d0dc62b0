// Operands as BLAS routines see them, inside buffers whose every position that is not an element holds
// the sentinel: guard zones before and after, the gaps between strided vector elements, and the rows
// beyond `rows` in every leading-dimension stride. intact() tells whether a call left all of them alone.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <vector>

#include "values.h"

namespace kovra_test {

// The buffer positions of a padded operand that are not elements must still hold the sentinel.
template <typename T, typename IsElement>
::testing::AssertionResult padding_intact(const std::vector<T>& buffer, std::ptrdiff_t guard, IsElement is_element) {
  for (std::size_t p = 0; p < buffer.size(); ++p)
    if (!is_element(std::ptrdiff_t(p) - guard) && !same_bits(buffer[p], sentinel<T>()))
      return ::testing::AssertionFailure() << "padding at offset " << std::ptrdiff_t(p) - guard << " was written";
  return ::testing::AssertionSuccess();
}

// n logical elements at increment inc: element i lies at i*inc for inc > 0 and at (n - 1 - i)*|inc| for
// inc < 0; with inc == 0 every logical element is the one array element.
template <typename T>
class strided_vector {
 public:
  static constexpr int guard = 16;

  strided_vector(int n, int inc, const std::vector<T>& values) : n_(n < 0 ? 0 : n), inc_(inc) {
    buffer_.assign((n_ == 0 ? 0 : 1 + std::ptrdiff_t(n_ - 1) * std::abs(inc_)) + 2 * guard, sentinel<T>());
    for (int i = 0; i < n_; ++i) (*this)[i] = values.at(i);
  }

  T* data() { return buffer_.data() + guard; }  // array element 0, as the routine is given it
  T& operator[](int i) { return buffer_[guard + position(i)]; }
  std::vector<T> logical() const {
    std::vector<T> values;
    for (int i = 0; i < n_; ++i) values.push_back(buffer_[guard + position(i)]);
    return values;
  }
  ::testing::AssertionResult intact() const {
    return padding_intact(buffer_, guard, [&](std::ptrdiff_t p) {
      return p >= 0 && (inc_ == 0 ? p == 0 : p % std::abs(inc_) == 0 && p / std::abs(inc_) < n_);
    });
  }

 private:
  std::ptrdiff_t position(int i) const { return std::ptrdiff_t(inc_ >= 0 ? i : n_ - 1 - i) * std::abs(inc_); }
  int n_, inc_;
  std::vector<T> buffer_;
};

// A column-major rows by cols matrix with leading dimension ld.
template <typename T>
class padded_matrix {
 public:
  static constexpr int guard = 32;

  padded_matrix(int rows, int cols, int ld) : rows_(rows), cols_(cols), ld_(ld) {
    buffer_.assign(std::size_t(ld) * (cols > 0 ? cols : 0) + 2 * guard, sentinel<T>());
  }
  padded_matrix& random(unsigned seed) {
    const auto values = random_values<T>(rows_ * cols_, seed);
    for (int j = 0; j < cols_; ++j)
      for (int i = 0; i < rows_; ++i) at(i, j) = values[i + std::size_t(j) * rows_];
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
  std::vector<T> elements() const {  // column by column
    std::vector<T> values;
    for (int j = 0; j < cols_; ++j)
      for (int i = 0; i < rows_; ++i) values.push_back(at(i, j));
    return values;
  }
  ::testing::AssertionResult intact() const {
    return padding_intact(
        buffer_, guard, [&](std::ptrdiff_t p) { return p >= 0 && p < std::ptrdiff_t(ld_) * cols_ && p % ld_ < rows_; });
  }

 private:
  int rows_, cols_, ld_;
  std::vector<T> buffer_;
};

}  // namespace kovra_test
