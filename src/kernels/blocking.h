// The blocking numbers of a kernel and the split of a worker's scratch that they imply. The matrix
// product takes its offsets from split_scratch, and the table of the plain kernel is checked against
// the scratch size here, at compile time.
#pragma once

#include <complex>
#include <cstddef>

#include "threading/scratch.h"

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

// Byte offsets into the scratch block (which is scratch_alignment-aligned), in the order they are laid
// out:
//
//   0          b_offset                       edge_offset (next 4096 boundary)    end
//   | packed A | slack | packed B            |   ...   | edge tile |
//     block_k*block_m     block_k*block_n                  tile_m*tile_n elements
struct scratch_layout {
  std::size_t a_offset;
  std::size_t b_offset;
  std::size_t edge_offset;
  std::size_t end;
};

constexpr scratch_layout split_scratch(int block_m, int block_n, int block_k, int tile_m, int tile_n,
                                       int a_block_slack, std::size_t element_size) {
  using std::size_t;
  const size_t b_offset = (size_t(a_block_slack) + size_t(block_k) * size_t(block_m)) * element_size;
  const size_t b_end = b_offset + size_t(block_k) * size_t(block_n) * element_size;
  constexpr size_t page = threading::scratch_alignment;
  const size_t edge_offset = (b_end + page - 1) / page * page;
  return {0, b_offset, edge_offset, edge_offset + size_t(tile_m) * size_t(tile_n) * element_size};
}

constexpr scratch_layout split_scratch(const kernel_blocking& b, std::size_t element_size) {
  return split_scratch(b.block_m, b.block_n, b.block_k, b.tile_m, b.tile_n, b.a_block_slack, element_size);
}

constexpr bool fits_scratch(const scratch_layout& layout) { return layout.end <= threading::scratch_bytes; }

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
template <typename T> constexpr bool sound_blocking(const kernel_blocking& b) {
  return b.tile_m > 0 && b.tile_n > 0 && b.block_m % b.tile_m == 0 && b.block_n % b.tile_n == 0 &&
         fits_scratch(split_scratch(b, sizeof(T)));
}
static_assert(sound_blocking<float>(plain_blocking<float>::value));
static_assert(sound_blocking<double>(plain_blocking<double>::value));
static_assert(sound_blocking<std::complex<float>>(plain_blocking<std::complex<float>>::value));
static_assert(sound_blocking<std::complex<double>>(plain_blocking<std::complex<double>>::value));

}  // namespace kovra::kernels
