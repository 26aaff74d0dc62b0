// The blocking numbers of the NEON kernels. The three families run on one register file and so share
// one set of numbers; each family still has a table of its own name, so that a kernel's header depends
// only on its own arithmetic.
//
//   tiles      8 x 4 float: eight quad accumulators, two per column; 4 x 4 double: sixteen VFP
//              registers. The complex types run the same real loops over interleaved parts, hence
//              4 x 2 complex<float> and 2 x 2 complex<double>.
//   block_n    12 float, 32 double: a multiple of the tile width.
//   block_m    512, with block_k 128 (real) or 64 (complex): block_m * block_k elements of A end on a
//              page, which keeps the B block, and with it every B panel, on a page boundary of the
//              scratch, the alignment that the micro kernels' panel loads rely on.
//   reserved_hint  16 for single, 32 for double precision; no operation consults it.
#pragma once

#include <complex>

#include "kernels/blocking.h"

namespace kovra::kernels {

template <typename T> struct neon_register_blocking;
template <> struct neon_register_blocking<float> {
  static constexpr kernel_blocking value{512, 12, 128, 8, 4, 16, 0};
};
template <> struct neon_register_blocking<double> {
  static constexpr kernel_blocking value{512, 32, 128, 4, 4, 32, 0};
};
template <> struct neon_register_blocking<std::complex<float>> {
  static constexpr kernel_blocking value{512, 12, 64, 4, 2, 16, 0};
};
template <> struct neon_register_blocking<std::complex<double>> {
  static constexpr kernel_blocking value{512, 32, 64, 2, 2, 32, 0};
};
static_assert(sound_blocking<float>(neon_register_blocking<float>::value));
static_assert(sound_blocking<double>(neon_register_blocking<double>::value));
static_assert(sound_blocking<std::complex<float>>(neon_register_blocking<std::complex<float>>::value));
static_assert(sound_blocking<std::complex<double>>(neon_register_blocking<std::complex<double>>::value));

// kernel_neon_fma (float and double), kernel_neon_fma_scalar and kernel_neon_mla (all four types).
template <typename T> struct fma_blocking : neon_register_blocking<T> {};
template <typename T> struct fma_scalar_blocking : neon_register_blocking<T> {};
template <typename T> struct mla_blocking : neon_register_blocking<T> {};

}  // namespace kovra::kernels
