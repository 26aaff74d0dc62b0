// 32 bytes of float or double as one value of GCC's vector extension, which clang shares: lane-wise code on
// it becomes one AVX register where there is one, and pairs of SSE or NEON registers, or scalars, elsewhere,
// so the serial forms that use it build for every target. Each lane's fused multiply-add is written out as
// std::fma, which keeps the rounding of the scalar loops. Values of these types cross functions by reference
// or inside a struct, never bare by value, which would tie them to a calling convention that differs with
// and without AVX.
#pragma once

#include <cstdint>

namespace kovra::helper {

// lanes: the vector of elements; mask: the integer vector a comparison of two of them gives; bits: its
// unsigned twin; lane_index: each lane's position; count: the lanes in a vector.
template <typename T>
struct vector32;
template <>
struct vector32<float> {
  using lanes [[gnu::vector_size(32)]] = float;
  using mask [[gnu::vector_size(32)]] = std::int32_t;
  using bits [[gnu::vector_size(32)]] = std::uint32_t;
  static constexpr bits lane_index = {0, 1, 2, 3, 4, 5, 6, 7};
  static constexpr int count = 8;
};
template <>
struct vector32<double> {
  using lanes [[gnu::vector_size(32)]] = double;
  using mask [[gnu::vector_size(32)]] = std::int64_t;
  using bits [[gnu::vector_size(32)]] = std::uint64_t;
  static constexpr bits lane_index = {0, 1, 2, 3};
  static constexpr int count = 4;
};

}  // namespace kovra::helper
