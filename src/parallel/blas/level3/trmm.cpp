// trmm<T>: argument checks, quick returns, the serial path, the split by right-hand sides and the tile body
// that walks A's diagonal; the four element types.
#include "parallel/blas/level3/trmm.h"

#include "parallel/blas/level3/gemm.h"
#include "parallel/blas/level3/triangular_front.h"

namespace kovra::parallel::blas {

// Each diagonal block adds the rows or columns of B that are not processed yet, so the walk goes the other way
// to TRSM's: forward for side 'L' when both or neither of upper and 'N' hold, for side 'R' when only one does.
template <typename T>
void trmm_object<T>::run_tile(threading::scratch*, int i0, int i1, int j0, int j1) const {
  const triangular_call<T>& c = *this;
  const bool left = helper::fold_letter(c.side) == 'L', nt = helper::fold_letter(c.transa) == 'N';
  const bool upper = helper::fold_letter(c.uplo) == 'U', forward = left ? upper == nt : upper != nt;
  const int rows = i1 - i0, cols = j1 - j0, extent = left ? c.m : c.n;
  const int bs = 4 * (left ? c.kernel->tile_n : c.kernel->tile_m);
  const auto A = [&](int i, int j) { return c.a + i + std::ptrdiff_t{j} * c.lda; };
  const auto B = [&](int i, int j) { return c.b + i + std::ptrdiff_t{j} * c.ldb; };
  walk_diagonal(extent, bs, forward, [&](int p, int w, int q, int far) {
    if (left) {
      small_trmm(c.side, c.uplo, c.transa, c.diag, w, cols, c.alpha, A(p, p), c.lda, B(p, j0), c.ldb);
      if (far > 0)
        gemm<T>(c.transa, 'N', w, cols, far, T(1), nt ? A(p, q) : A(q, p), c.lda, B(q, j0), c.ldb, T(1), B(p, j0),
                c.ldb);
    } else {
      small_trmm(c.side, c.uplo, c.transa, c.diag, rows, w, c.alpha, A(p, p), c.lda, B(i0, p), c.ldb);
      if (far > 0)
        gemm<T>('N', c.transa, rows, w, far, T(1), B(i0, q), c.ldb, nt ? A(q, p) : A(p, q), c.lda, T(1), B(i0, p),
                c.ldb);
    }
  });
}

template <typename T>
void trmm(char side, char uplo, char transa, char diag, int m, int n, T alpha, const T* a, int lda, T* b, int ldb) {
  triangular_front<trmm_object<T>>("TRMM ", small_trmm<T>, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

template void trmm<float>(char, char, char, char, int, int, float, const float*, int, float*, int);
template void trmm<double>(char, char, char, char, int, int, double, const double*, int, double*, int);
template void trmm<std::complex<float>>(char, char, char, char, int, int, std::complex<float>,
                                        const std::complex<float>*, int, std::complex<float>*, int);
template void trmm<std::complex<double>>(char, char, char, char, int, int, std::complex<double>,
                                         const std::complex<double>*, int, std::complex<double>*, int);

}  // namespace kovra::parallel::blas
