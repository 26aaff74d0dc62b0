// trsm<T>: argument checks, quick returns, the serial path, the split by right-hand sides and the tile body
// that walks A's diagonal; the four element types.
#include "parallel/blas/level3/trsm.h"

#include "error/error.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level3/gemm.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

// Each diagonal block is solved with what earlier blocks left in B, so the walk starts at the end of A's
// triangle that has nothing to eliminate: forward for side 'L' when only one of upper and 'N' holds, for side
// 'R' when both or neither do.
template <typename T>
void trsm_object<T>::run_tile(threading::scratch*, int i0, int i1, int j0, int j1) const {
  const bool left = helper::fold_letter(side) == 'L', nt = helper::fold_letter(transa) == 'N';
  const bool upper = helper::fold_letter(uplo) == 'U', forward = left ? upper != nt : upper == nt;
  const int rows = i1 - i0, cols = j1 - j0, extent = left ? m : n;
  const int bs = 4 * (left ? kernel->tile_n : kernel->tile_m);
  const auto A = [&](int i, int j) { return a + i + std::ptrdiff_t{j} * lda; };
  const auto B = [&](int i, int j) { return b + i + std::ptrdiff_t{j} * ldb; };
  walk_diagonal(extent, bs, forward, [&](int p, int w, int q, int far) {
    if (left) {
      small_trsm(side, uplo, transa, diag, w, cols, alpha, A(p, p), lda, B(p, j0), ldb);
      if (far > 0)
        gemm<T>(transa, 'N', far, cols, w, T(-1), nt ? A(q, p) : A(p, q), lda, B(p, j0), ldb, T(1), B(q, j0), ldb);
    } else {
      small_trsm(side, uplo, transa, diag, rows, w, alpha, A(p, p), lda, B(i0, p), ldb);
      if (far > 0)
        gemm<T>('N', transa, rows, far, w, T(-1), B(i0, p), ldb, nt ? A(p, q) : A(q, p), lda, T(1), B(i0, q), ldb);
    }
  });
}

// Tasks are independent: with side 'L' every column of B is its own right-hand side, with 'R' every row, so a
// task owns whole columns (in multiples of tile_n) or whole rows (in multiples of tile_m) and all of them read A.
template <typename T>
void trsm(char side, char uplo, char transa, char diag, int m, int n, T alpha, const T* a, int lda, T* b, int ldb) {
  if (error::bad_argument("TRSM ", triangular_bad_argument(side, uplo, transa, diag, m, n, lda, ldb))) return;
  if (m == 0 || n == 0) return;
  if (helper::is_zero(alpha)) return clear_columns(m, n, b, ldb);
  if (m <= serial_cutoff && n <= serial_cutoff)
    return small_trsm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
  auto kernel = kernels::get_kernel<T>();
  const int tile_m = kernel->tile_m, tile_n = kernel->tile_n;
  const trsm_object<T> record{side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb, std::move(kernel)};
  if (helper::fold_letter(side) == 'L')
    threading::launch_grid(m, m, n, tile_n, &record);
  else
    threading::launch_grid(m, tile_m, n, n, &record);
}

template void trsm<float>(char, char, char, char, int, int, float, const float*, int, float*, int);
template void trsm<double>(char, char, char, char, int, int, double, const double*, int, double*, int);
template void trsm<std::complex<float>>(char, char, char, char, int, int, std::complex<float>,
                                        const std::complex<float>*, int, std::complex<float>*, int);
template void trsm<std::complex<double>>(char, char, char, char, int, int, std::complex<double>,
                                         const std::complex<double>*, int, std::complex<double>*, int);

}  // namespace kovra::parallel::blas
