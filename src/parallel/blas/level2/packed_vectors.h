// Where a Level 2 tile packs its two strided vectors in the worker's scratch, so that the unit-stride
// kernels can run on them: all of x at the start of the block, the tile's slice of y on the first
// 4096-byte boundary at or after the end of x.
#pragma once

#include <cstdint>

#include "threading/scratch.h"

namespace kovra::parallel::blas {

inline constexpr std::uintptr_t packed_slice_alignment = 4096;

template <typename T> struct packed_vectors {
  T* x;
  T* y;
};

// Whether xlen elements of x and a slice of y fit: the 4096 bytes added pay for rounding the slice's
// start up. Counted in 64 bits, since the element counts of two vectors of 16-byte elements overflow a
// 32-bit size.
template <typename T> bool packed_vectors_fit(int xlen, int slice) {
  const std::uint64_t bytes = (std::uint64_t(xlen) + std::uint64_t(slice)) * sizeof(T) + packed_slice_alignment;
  return bytes < threading::scratch_bytes;
}

template <typename T> packed_vectors<T> place_packed_vectors(threading::scratch* s, int xlen) {
  T* const x = reinterpret_cast<T*>(s->storage);
  const auto x_end = reinterpret_cast<std::uintptr_t>(x + xlen);
  constexpr std::uintptr_t round = packed_slice_alignment - 1;
  return {x, reinterpret_cast<T*>((x_end + round) & ~round)};
}

}  // namespace kovra::parallel::blas
