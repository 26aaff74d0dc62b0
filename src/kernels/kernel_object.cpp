// Default bodies of kernel_object<T>: the portable path, written as plain loops, and the reference that
// every faster subclass must reproduce.
#include "kernels/kernel_object.h"

#include <cmath>
#include <cstring>

#include "helper/complex_arith.h"
#include "helper/helper.h"

namespace kovra::kernels {
namespace {

// Conjugation as the conjugating packers apply it: through CONJG for the real types, where it is the
// identity, inline for the complex ones.
template <typename T> inline T conjugated(const T& v) {
  if constexpr (is_complex_v<T>) return T(v.real(), -v.imag());
  else return helper::CONJG<T>(true, v);
}

// Byte-wise clear: all-zero bytes are +0 in every part, and nothing is read, so NaN and infinity there
// are gone afterwards.
template <typename T> inline void clear_elements(T* x, int n) {
  std::memset(static_cast<void*>(x), 0, static_cast<std::size_t>(n) * sizeof(T));
}

using helper::multiply_add;

// count elements from src to dst, byte for byte. The plain object's tile widths (8 and 4) get copies of a fixed
// size, which the compiler inlines as a few vector moves instead of a library call per row.
template <typename T> inline void copy_row(T* dst, const T* src, int count) {
  if (count == 4)
    std::memcpy(static_cast<void*>(dst), src, 4 * sizeof(T));
  else if (count == 8)
    std::memcpy(static_cast<void*>(dst), src, 8 * sizeof(T));
  else
    std::memcpy(static_cast<void*>(dst), src, count * sizeof(T));
}

}  // namespace

template <typename T>
kernel_object<T>::kernel_object(int block_m, int block_n, int block_k, int tile_m, int tile_n, int reserved_hint)
    : block_m(block_m),
      block_n(block_n),
      block_k(block_k),
      tile_m(tile_m),
      tile_n(tile_n),
      tile_size(tile_m * tile_n),
      reserved_hint(reserved_hint) {}

template <typename T>
kernel_object<T>::kernel_object(const kernel_blocking& b)
    : kernel_object(b.block_m, b.block_n, b.block_k, b.tile_m, b.tile_n, b.reserved_hint) {
  a_block_slack = b.a_block_slack;
}

template <typename T> void kernel_object<T>::pack_a(const T* src, int ld, T* dst) const {
  const int mr = tile_m, nr = tile_n;
  for (int j = 0; j < nr; ++j) copy_row(dst + j * mr, src + j * ld, mr);
}

template <typename T> void kernel_object<T>::pack_a_trans(const T* src, int ld, T* dst) const {
  const int mr = tile_m, nr = tile_n;
  for (int j = 0; j < nr; ++j)
    for (int i = 0; i < mr; ++i) dst[j * mr + i] = src[j + i * ld];
}

template <typename T> void kernel_object<T>::pack_a_conj_trans(const T* src, int ld, T* dst) const {
  const int mr = tile_m, nr = tile_n;
  for (int j = 0; j < nr; ++j)
    for (int i = 0; i < mr; ++i) dst[j * mr + i] = conjugated(src[j + i * ld]);
}

template <typename T> void kernel_object<T>::pack_b_trans(const T* src, int ld, T* dst) const {
  const int mr = tile_m, nr = tile_n;
  for (int i = 0; i < mr; ++i) copy_row(dst + i * nr, src + i * ld, nr);
}

template <typename T> void kernel_object<T>::pack_b_conj_trans(const T* src, int ld, T* dst) const {
  const int mr = tile_m, nr = tile_n;
  for (int i = 0; i < mr; ++i)
    for (int j = 0; j < nr; ++j) dst[i * nr + j] = conjugated(src[j + i * ld]);
}

template <typename T> void kernel_object<T>::pack_b(const T* src, int ld, T* dst) const {
  const int mr = tile_m, nr = tile_n;
  for (int i = 0; i < mr; ++i)
    for (int j = 0; j < nr; ++j) dst[i * nr + j] = src[i + j * ld];
}

namespace {

// The default tile product for a tile shape known at compile time: the same sequence of operations on
// every element of C as the general loop in micro_kernel, but the tile is computed in passes of rows that
// fill one 256-bit register, each pass in local accumulators that the compiler keeps in registers, and
// C is read once (never with clear) and written once. Each element still sees, in order of p,
// c = fma(alpha*a, b, c) (complex: c + (alpha*a)*b), and a cleared element starts from +0 exactly as the
// byte-wise clear leaves it, so the results are bit for bit those of the general loop.
template <typename T, int MR, int NR>
void fixed_tile_product(T alpha, int k, const T* a, const T* b, T* c, int ldc, bool clear) {
  constexpr int register_bytes = 32;
  constexpr int rows = register_bytes / sizeof(T) < MR ? register_bytes / sizeof(T) : MR;
  static_assert(MR % rows == 0, "passes cover the tile");
  for (int h = 0; h < MR; h += rows) {
    T acc[NR][rows];
    for (int j = 0; j < NR; ++j)
      for (int i = 0; i < rows; ++i) acc[j][i] = clear ? T{} : c[h + i + j * ldc];
    for (int p = 0; p < k; ++p) {
      T scaled[rows];
      for (int i = 0; i < rows; ++i) scaled[i] = helper::mul(alpha, a[p * MR + h + i]);
      for (int j = 0; j < NR; ++j)
        for (int i = 0; i < rows; ++i) acc[j][i] = multiply_add(scaled[i], b[p * NR + j], acc[j][i]);
    }
    for (int j = 0; j < NR; ++j)
      for (int i = 0; i < rows; ++i) c[h + i + j * ldc] = acc[j][i];
  }
}

// micro_kernel_t's register-resident form for the real types: the passes of micro_kernel with alpha 1 on a
// column-major copy of the tile, which is read from and written back to C's rows. 1*a is a exactly and
// fma(a, b, c) is fma(b, a, c), so each element sees c = fma(b, a, c) in order of p, from +0 when cleared, as in
// the general loop. (Written straight into C's rows, the compiler vectorises the passes along the rows of the
// store, at a third of the speed.)
template <typename T, int MR, int NR>
void fixed_tile_product_t(int k, const T* a, const T* b, T* c, int ldc, bool clear) {
  static_assert(!is_complex_v<T>, "a complex a*1 is not a in every case");
  T tile[MR * NR];
  if (!clear)
    for (int i = 0; i < MR; ++i)
      for (int j = 0; j < NR; ++j) tile[i + j * MR] = c[j + i * ldc];
  fixed_tile_product<T, MR, NR>(T(1), k, a, b, tile, MR, clear);
  T rows[MR][NR];
  for (int i = 0; i < MR; ++i)
    for (int j = 0; j < NR; ++j) rows[i][j] = tile[i + j * MR];
  for (int i = 0; i < MR; ++i) std::memcpy(static_cast<void*>(c + i * ldc), rows[i], sizeof rows[i]);
}

}  // namespace

template <typename T>
void kernel_object<T>::micro_kernel(const T* alpha, int k, const T* a, const T* b, T* c, int ldc, bool clear) const {
  const int mr = tile_m, nr = tile_n;
  const T al = *alpha;
  // The plain object's own 8 by 4 tile takes the register-resident form; other shapes (test kernels, a
  // subclass that keeps this body) run the general loop.
  if (mr == 8 && nr == 4 && k >= 1) {
    fixed_tile_product<T, 8, 4>(al, k, a, b, c, ldc, clear);
    return;
  }
  if (clear)
    for (int j = 0; j < nr; ++j) clear_elements(c + j * ldc, mr);
  if (k < 1) return;
  for (int p = 0; p < k; ++p) {
    const T* ap = a + p * mr;
    const T* bp = b + p * nr;
    for (int j = 0; j < nr; ++j) {
      T* cj = c + j * ldc;
      for (int i = 0; i < mr; ++i) {
        // alpha scales the element of A as it is read, rounded on its own before it meets b.
        const T t = helper::mul(al, ap[i]);
        cj[i] = multiply_add(t, bp[j], cj[i]);
      }
    }
  }
}

template <typename T>
void kernel_object<T>::micro_kernel_t(int k, const T* a, const T* b, T* c, int ldc, bool clear) const {
  const int mr = tile_m, nr = tile_n;
  if constexpr (!is_complex_v<T>) {
    if (mr == 8 && nr == 4 && k >= 1) {
      fixed_tile_product_t<T, 8, 4>(k, a, b, c, ldc, clear);
      return;
    }
  }
  if (clear)
    for (int i = 0; i < mr; ++i) clear_elements(c + i * ldc, nr);
  if (k < 1) return;
  for (int p = 0; p < k; ++p) {
    const T* ap = a + p * mr;
    const T* bp = b + p * nr;
    for (int i = 0; i < mr; ++i) {
      T* ci = c + i * ldc;
      for (int j = 0; j < nr; ++j) ci[j] = multiply_add(bp[j], ap[i], ci[j]);
    }
  }
}

template <typename T> void kernel_object<T>::axpy_kernel(int n, const T* alpha, const T* x, T* y) const {
  const T al = *alpha;
  // Long vectors stream from memory: a hint for both streams a few blocks ahead keeps more loads in
  // flight than the hardware prefetcher alone (about 7% on two streaming cores). Each element is still
  // one multiply-add, in ascending order.
  constexpr int block = 512 / sizeof(T);
  constexpr int distance = 8 * block;
  int i = 0;
  for (; i + block <= n; i += block) {
    if (i + distance < n) {
      __builtin_prefetch(x + i + distance);
      __builtin_prefetch(y + i + distance, 1);
    }
    for (int j = i; j < i + block; ++j) y[j] = multiply_add(al, x[j], y[j]);
  }
  for (; i < n; ++i) y[i] = multiply_add(al, x[i], y[i]);
}

template <typename T> void kernel_object<T>::scal_kernel(int n, const T* alpha, T* x) const {
  if (n < 1) return;
  const T al = *alpha;
  if (helper::is_zero(al)) {
    clear_elements(x, n);
    return;
  }
  for (int i = 0; i < n; ++i) {
    if constexpr (is_complex_v<T>) x[i] = helper::cmul(al, x[i]);
    else x[i] = x[i] * al;
  }
}

template <typename T>
std::shared_ptr<image_kernel_object<T>> kernel_object<T>::make_image_kernel(int image_width, int image_height,
                                                                           int output_width, int output_height,
                                                                           int stride, int pad_left, int pad_top,
                                                                           int channels, int filter_x, int filter_y) {
  if (!image) image = new_image_kernel();
  image->set_shape(tile_m, tile_n, image_width, image_height, output_width, output_height, stride, pad_left, pad_top,
                   channels, filter_x, filter_y);
  return image;
}

template <typename T> std::shared_ptr<image_kernel_object<T>> kernel_object<T>::new_image_kernel() const {
  return std::make_shared<image_kernel_object<T>>();
}

template class kernel_object<float>;
template class kernel_object<double>;
template class kernel_object<std::complex<float>>;
template class kernel_object<std::complex<double>>;

}  // namespace kovra::kernels
