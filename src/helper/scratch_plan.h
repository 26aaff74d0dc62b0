// The scratch plan: how a worker's one scratch block is divided, in one place. The block's size and
// alignment live here, with the two layouts that tile bodies carve out of it: the packed blocks and
// edge tile of the matrix products, and the packed vectors of the Level 2 tiles. Pure arithmetic, so
// the kernel layer checks its blocking tables against it at compile time without reaching the
// launchers, and the frame sizes the block from the same numbers.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kovra::helper {

// One block per worker: 1 MiB, on a 4096-byte boundary (a page, and the alignment that the packed
// slices below round up to).
inline constexpr std::size_t scratch_bytes = 1048576;
inline constexpr std::size_t scratch_alignment = 4096;

// The matrix products' layout, as byte offsets from the start of the block:
//
//   0          b_offset                       edge_offset (next 4096 boundary)    end
//   | packed A | slack | packed B            |   ...   | edge tile |
//     block_k*block_m     block_k*block_n                  tile_m*tile_n elements
struct block_layout {
  std::size_t a_offset;
  std::size_t b_offset;
  std::size_t edge_offset;
  std::size_t end;
};

constexpr block_layout plan_blocks(int block_m, int block_n, int block_k, int tile_m, int tile_n, int a_block_slack,
                                   std::size_t element_size) {
  using std::size_t;
  const size_t b_offset = (size_t(a_block_slack) + size_t(block_k) * size_t(block_m)) * element_size;
  const size_t b_end = b_offset + size_t(block_k) * size_t(block_n) * element_size;
  const size_t edge_offset = (b_end + scratch_alignment - 1) / scratch_alignment * scratch_alignment;
  return {0, b_offset, edge_offset, edge_offset + size_t(tile_m) * size_t(tile_n) * element_size};
}

constexpr bool fits_scratch(const block_layout& layout) { return layout.end <= scratch_bytes; }

// The Level 2 layout: all of x at the start of the block, the tile's slice of y on the first 4096-byte
// boundary at or after the end of x, so that the unit-stride kernels run on both.
template <typename T> struct packed_vectors {
  T* x;
  T* y;
};

// Whether xlen elements of x and a slice of y fit: the 4096 bytes added pay for rounding the slice's
// start up. Counted in 64 bits, since the element counts of two vectors of 16-byte elements overflow a
// 32-bit size.
template <typename T> bool packed_vectors_fit(int xlen, int slice) {
  const std::uint64_t bytes = (std::uint64_t(xlen) + std::uint64_t(slice)) * sizeof(T) + scratch_alignment;
  return bytes < scratch_bytes;
}

// `storage` is the start of the worker's block.
template <typename T> packed_vectors<T> place_packed_vectors(void* storage, int xlen) {
  T* const x = static_cast<T*>(storage);
  const auto x_end = reinterpret_cast<std::uintptr_t>(x + xlen);
  constexpr std::uintptr_t round = scratch_alignment - 1;
  return {x, reinterpret_cast<T*>((x_end + round) & ~round)};
}

}  // namespace kovra::helper
