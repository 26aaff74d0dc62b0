// The blocking numbers of a kernel, the table of the plain kernel, and the compile-time check that a
// table holds whole panels and that its blocks fit a worker's scratch as the scratch plan lays it out.
#pragma once

#include <complex>
#include <cstddef>

#include "helper/scratch_plan.h"

namespace kovra::kernels {

struct kernel_blocking {
  int block_m;
  int block_n;
  int block_k;
  int tile_m;
  int tile_n;
  int reserved_hint;
  int a_block_slack;
};

// Numbers of the plain kernel_object<T>, the portable path. Tiles are 8 by 4 for every type; block_k
// shrinks as the element grows so that the packed A block stays at 512 KiB, which leaves the other half
// of the 1 MiB scratch for the B block and the edge tile (512 by 256 elements of A alone would fill the
// whole block for 8-byte elements and overrun it for 16-byte ones).
template <typename T> struct plain_blocking;
template <> struct plain_blocking<float> { static constexpr kernel_blocking value{512, 16, 256, 8, 4, 0, 0}; };
template <> struct plain_blocking<double> { static constexpr kernel_blocking value{512, 16, 128, 8, 4, 0, 0}; };
template <> struct plain_blocking<std::complex<float>> {
  static constexpr kernel_blocking value{512, 16, 128, 8, 4, 0, 0};
};
template <> struct plain_blocking<std::complex<double>> {
  static constexpr kernel_blocking value{512, 16, 64, 8, 4, 0, 0};
};

// Packed A and B blocks hold whole panels (the zero padding of a last panel must stay inside its block,
// or packing B would overwrite it), and the three pieces of the split stay inside the scratch.
template <typename T> constexpr helper::block_layout plan_blocks(const kernel_blocking& b) {
  return helper::plan_blocks(b.block_m, b.block_n, b.block_k, b.tile_m, b.tile_n, b.a_block_slack, sizeof(T));
}

template <typename T> constexpr bool sound_blocking(const kernel_blocking& b) {
  return b.tile_m > 0 && b.tile_n > 0 && b.block_m % b.tile_m == 0 && b.block_n % b.tile_n == 0 &&
         helper::fits_scratch(plan_blocks<T>(b));
}
static_assert(sound_blocking<float>(plain_blocking<float>::value));
static_assert(sound_blocking<double>(plain_blocking<double>::value));
static_assert(sound_blocking<std::complex<float>>(plain_blocking<std::complex<float>>::value));
static_assert(sound_blocking<std::complex<double>>(plain_blocking<std::complex<double>>::value));

}  // namespace kovra::kernels
