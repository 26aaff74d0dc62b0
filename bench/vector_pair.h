// The operands of a Level 1 case: two unit-stride vectors x and y of n elements, 64-byte aligned, refilled
// with the same values before every measurement.
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

#include "checksum.h"

namespace kovra::bench {

template <typename T>
struct real_of {
  using type = T;
};
template <typename R>
struct real_of<std::complex<R>> {
  using type = R;
};
template <typename T>
using real_t = typename real_of<T>::type;

template <typename T>
inline constexpr bool is_complex_v = !std::is_same_v<T, real_t<T>>;

// A value in [-1, 1) that depends only on (stream, index): every reset and every library sees the same data.
inline double fill_value(std::uint64_t stream, std::uint64_t index) {
  std::uint64_t z = stream * 0x9e3779b97f4a7c15ull + index;
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
  z ^= z >> 31;
  return static_cast<double>(z >> 11) * 0x1.0p-52 - 1.0;
}

template <typename T>
class vector_pair {
 public:
  // Alignment of both vectors: a cache line, as an application's allocator would likely give.
  static constexpr std::size_t alignment = 64;
  static constexpr std::size_t reals_per_element = is_complex_v<T> ? 2 : 1;

  explicit vector_pair(int n) : n_(n), x_(allocate(n)), y_(allocate(n)) {}

  int n() const { return n_; }
  T* x() { return x_.get(); }
  T* y() { return y_.get(); }

  void reset() {
    fill(x_.get(), 1);
    fill(y_.get(), 2);
  }

  std::vector<operand_checksum> sums() const { return {{"x", sum_of(x_.get())}, {"y", sum_of(y_.get())}}; }

 private:
  struct release {
    void operator()(T* p) const { std::free(p); }
  };
  using buffer = std::unique_ptr<T[], release>;

  std::size_t reals() const { return static_cast<std::size_t>(n_) * reals_per_element; }

  static buffer allocate(int n) {
    const std::size_t bytes = static_cast<std::size_t>(n < 1 ? 1 : n) * sizeof(T);
    const std::size_t rounded = (bytes + alignment - 1) / alignment * alignment;
    T* p = static_cast<T*>(std::aligned_alloc(alignment, rounded));
    if (p == nullptr) throw std::bad_alloc();
    return buffer(p);
  }

  void fill(T* v, std::uint64_t stream) {
    auto* r = reinterpret_cast<real_t<T>*>(v);
    for (std::size_t i = 0; i < reals(); ++i) r[i] = static_cast<real_t<T>>(fill_value(stream, i));
  }

  checksum sum_of(const T* v) const {
    return weighted_checksum(reinterpret_cast<const real_t<T>*>(v), reals());
  }

  int n_;
  buffer x_;
  buffer y_;
};

}  // namespace kovra::bench
