// Element types, test data and aligned storage for the operands of every case: each buffer is refilled
// from its own data stream, so every reset and every library sees the same values.
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

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

// A value in [-1, 1) that depends only on (stream, index).
inline double fill_value(std::uint64_t stream, std::uint64_t index) {
  std::uint64_t z = stream * 0x9e3779b97f4a7c15ull + index;
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
  z ^= z >> 31;
  return static_cast<double>(z >> 11) * 0x1.0p-52 - 1.0;
}

// `count` elements filled from `stream`, a complex element taking two consecutive values.
template <typename T>
class operand_buffer {
 public:
  // A cache line, as an application's allocator would likely give.
  static constexpr std::size_t alignment = 64;
  static constexpr std::size_t reals_per_element = is_complex_v<T> ? 2 : 1;

  operand_buffer(std::size_t count, std::uint64_t stream) : count_(count), stream_(stream), data_(allocate(count)) {}

  T* data() { return data_.get(); }
  const T* data() const { return data_.get(); }

  void fill() {
    auto* r = reinterpret_cast<real_t<T>*>(data_.get());
    for (std::size_t i = 0; i < reals(); ++i) r[i] = static_cast<real_t<T>>(fill_value(stream_, i));
  }

  checksum sum() const { return weighted_checksum(reinterpret_cast<const real_t<T>*>(data_.get()), reals()); }

 private:
  struct release {
    void operator()(T* p) const { std::free(p); }
  };
  using storage = std::unique_ptr<T[], release>;

  std::size_t reals() const { return count_ * reals_per_element; }

  static storage allocate(std::size_t count) {
    const std::size_t bytes = (count < 1 ? 1 : count) * sizeof(T);
    const std::size_t rounded = (bytes + alignment - 1) / alignment * alignment;
    T* p = static_cast<T*>(std::aligned_alloc(alignment, rounded));
    if (p == nullptr) throw std::bad_alloc();
    return storage(p);
  }

  std::size_t count_;
  std::uint64_t stream_;
  storage data_;
};

}  // namespace kovra::bench
