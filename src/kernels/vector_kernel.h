// vector_kernel<T, Tile, RegisterBytes>: the kernel_object<T> of an instruction set with vector registers of
// RegisterBytes bytes, the x86 sets and AArch64 alike. Its tile packers, micro kernels and vector kernels forward to
// vector_ops<T, Tile>, whose bodies (vector_kernel_bodies.h) only the files of the set include and instantiate; Tile
// names the set's tile product and needs no definition here. The conjugating packers stay portable.
//
// So building the class, its virtual table and its destructor takes nothing of the set: where a set needs its own
// compiler flags (the x86 ones), nothing built with them runs before the selection has made such a kernel on a
// processor that reports the set.
#pragma once

#include "helper/helper.h"
#include "kernels/blocking.h"
#include "kernels/kernel_object.h"

namespace kovra::kernels {

// The bodies over the set's registers, for element type T and the set's tile of real_t<T>.
template <typename T, typename Tile> struct vector_ops {
  static void micro_kernel(T alpha, int k, const T* a, const T* b, T* c, int ldc, bool clear);
  static void micro_kernel_t(int k, const T* a, const T* b, T* c, int ldc, bool clear);
  static void axpy(int n, T alpha, const T* x, T* y);
  static void scal(int n, T alpha, T* x);
  // The complex vector kernels run whole registers from the start and return how many elements they did: they
  // stop short of a register whose product has a NaN, which the portable body must recompute.
  static int complex_axpy(int n, T alpha, const T* x, T* y);
  static int complex_scal(int n, T alpha, T* x);
  static void pack_a(const T* src, int ld, T* dst);
  static void pack_a_trans(const T* src, int ld, T* dst);
  static void pack_b(const T* src, int ld, T* dst);
  static void pack_b_trans(const T* src, int ld, T* dst);
};

template <typename T, typename Tile, int RegisterBytes> class vector_kernel : public kernel_object<T> {
  using ops = vector_ops<T, Tile>;
  static constexpr int complex_lanes = RegisterBytes / int(sizeof(T));  // elements of T in one register

 public:
  explicit vector_kernel(const kernel_blocking& blocking) : kernel_object<T>(blocking) {}

  void pack_a(const T* src, int ld, T* dst) const override { ops::pack_a(src, ld, dst); }
  void pack_a_trans(const T* src, int ld, T* dst) const override { ops::pack_a_trans(src, ld, dst); }
  void pack_b(const T* src, int ld, T* dst) const override { ops::pack_b(src, ld, dst); }
  void pack_b_trans(const T* src, int ld, T* dst) const override { ops::pack_b_trans(src, ld, dst); }
  void micro_kernel(const T* alpha, int k, const T* a, const T* b, T* c, int ldc, bool clear) const override {
    ops::micro_kernel(*alpha, k, a, b, c, ldc, clear);
  }
  void micro_kernel_t(int k, const T* a, const T* b, T* c, int ldc, bool clear) const override {
    ops::micro_kernel_t(k, a, b, c, ldc, clear);
  }
  void axpy_kernel(int n, const T* alpha, const T* x, T* y) const override {
    if constexpr (is_complex_v<T>) {
      for (int i = 0; i < n;) {  // the vector body, then the portable one for one register or the tail
        i += ops::complex_axpy(n - i, *alpha, x + i, y + i);
        const int rest = helper::MIN(n - i, complex_lanes);
        kernel_object<T>::axpy_kernel(rest, alpha, x + i, y + i);
        i += rest;
      }
    } else {
      ops::axpy(n, *alpha, x, y);
    }
  }
  void scal_kernel(int n, const T* alpha, T* x) const override {
    if constexpr (is_complex_v<T>) {
      if (helper::is_zero(*alpha)) return kernel_object<T>::scal_kernel(n, alpha, x);  // clears, x unread
      for (int i = 0; i < n;) {
        i += ops::complex_scal(n - i, *alpha, x + i);
        const int rest = helper::MIN(n - i, complex_lanes);
        kernel_object<T>::scal_kernel(rest, alpha, x + i);
        i += rest;
      }
    } else {
      ops::scal(n, *alpha, x);
    }
  }
};

}  // namespace kovra::kernels
