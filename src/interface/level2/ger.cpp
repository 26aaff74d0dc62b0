// SGER, DGER, CGERU, ZGERU, CGERC, ZGERC: the Fortran names (three per routine) and the cblas_ forms. A
// row-major call updates the column-major transpose: x and y change places, and so do M and N.
#include <complex>

#include "interface/entry.h"
#include "interface/enums.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level2/ger.h"

namespace {

using kovra::interface::load_scalar;
using kovra::parallel::blas::ger_front;
using kovra::parallel::blas::gerc_front;
using kovra::parallel::blas::geru_front;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

// ger_front<T>, geru_front<T> or gerc_front<T>.
template <typename T>
using rank_one_routine = void (*)(int, int, T, const T*, int, const T*, int, T*, int);

// Every scalar is read at the entry, before anything is tested.
template <typename T>
void ger_by_reference(rank_one_routine<T> routine, const int* m, const int* n, const void* alpha, const void* x,
                      const int* incx, const void* y, const int* incy, void* a, const int* lda) {
  const int rows = *m, cols = *n;
  const T scale = load_scalar<T>(alpha);
  const int x_step = *incx, y_step = *incy, ld = *lda;
  routine(rows, cols, scale, static_cast<const T*>(x), x_step, static_cast<const T*>(y), y_step, static_cast<T*>(a),
          ld);
}

// GER and GERU: a row-major A is the column-major A^T, and A^T += alpha*y*x^T.
template <typename T>
void ger_cblas(rank_one_routine<T> routine, int order, int m, int n, T alpha, const T* x, int incx, const T* y,
               int incy, T* a, int lda) {
  if (kovra::interface::is_col_major(order)) routine(m, n, alpha, x, incx, y, incy, a, lda);
  else routine(n, m, alpha, y, incy, x, incx, a, lda);
}

template <typename T>
void gerc_cblas(int order, int m, int n, T alpha, const T* x, int incx, const T* y, int incy, T* a, int lda) {
  if (kovra::interface::is_col_major(order)) gerc_front(m, n, alpha, x, incx, y, incy, a, lda);
  else kovra::parallel::blas::gerc_row_major(m, n, alpha, x, incx, y, incy, a, lda);
}

}  // namespace

extern "C" KOVRA_EXPORT void sger_(const int* m, const int* n, const float* alpha, const float* x, const int* incx,
                                   const float* y, const int* incy, float* a, const int* lda) {
  ger_by_reference<float>(ger_front<float>, m, n, alpha, x, incx, y, incy, a, lda);
}
KOVRA_FORTRAN_ALIASES(sger, SGER);

extern "C" KOVRA_EXPORT void dger_(const int* m, const int* n, const double* alpha, const double* x, const int* incx,
                                   const double* y, const int* incy, double* a, const int* lda) {
  ger_by_reference<double>(ger_front<double>, m, n, alpha, x, incx, y, incy, a, lda);
}
KOVRA_FORTRAN_ALIASES(dger, DGER);

extern "C" KOVRA_EXPORT void cgeru_(const int* m, const int* n, const void* alpha, const void* x, const int* incx,
                                    const void* y, const int* incy, void* a, const int* lda) {
  ger_by_reference<c32>(geru_front<c32>, m, n, alpha, x, incx, y, incy, a, lda);
}
KOVRA_FORTRAN_ALIASES(cgeru, CGERU);

extern "C" KOVRA_EXPORT void zgeru_(const int* m, const int* n, const void* alpha, const void* x, const int* incx,
                                    const void* y, const int* incy, void* a, const int* lda) {
  ger_by_reference<c64>(geru_front<c64>, m, n, alpha, x, incx, y, incy, a, lda);
}
KOVRA_FORTRAN_ALIASES(zgeru, ZGERU);

extern "C" KOVRA_EXPORT void cgerc_(const int* m, const int* n, const void* alpha, const void* x, const int* incx,
                                    const void* y, const int* incy, void* a, const int* lda) {
  ger_by_reference<c32>(gerc_front<c32>, m, n, alpha, x, incx, y, incy, a, lda);
}
KOVRA_FORTRAN_ALIASES(cgerc, CGERC);

extern "C" KOVRA_EXPORT void zgerc_(const int* m, const int* n, const void* alpha, const void* x, const int* incx,
                                    const void* y, const int* incy, void* a, const int* lda) {
  ger_by_reference<c64>(gerc_front<c64>, m, n, alpha, x, incx, y, incy, a, lda);
}
KOVRA_FORTRAN_ALIASES(zgerc, ZGERC);

extern "C" KOVRA_EXPORT void cblas_sger(CBLAS_ORDER order, int m, int n, float alpha, const float* x, int incx,
                                        const float* y, int incy, float* a, int lda) {
  ger_cblas<float>(ger_front<float>, order, m, n, alpha, x, incx, y, incy, a, lda);
}

extern "C" KOVRA_EXPORT void cblas_dger(CBLAS_ORDER order, int m, int n, double alpha, const double* x, int incx,
                                        const double* y, int incy, double* a, int lda) {
  ger_cblas<double>(ger_front<double>, order, m, n, alpha, x, incx, y, incy, a, lda);
}

extern "C" KOVRA_EXPORT void cblas_cgeru(CBLAS_ORDER order, int m, int n, const void* alpha, const void* x, int incx,
                                         const void* y, int incy, void* a, int lda) {
  ger_cblas<c32>(geru_front<c32>, order, m, n, load_scalar<c32>(alpha), static_cast<const c32*>(x), incx,
                                 static_cast<const c32*>(y), incy, static_cast<c32*>(a), lda);
}

extern "C" KOVRA_EXPORT void cblas_zgeru(CBLAS_ORDER order, int m, int n, const void* alpha, const void* x, int incx,
                                         const void* y, int incy, void* a, int lda) {
  ger_cblas<c64>(geru_front<c64>, order, m, n, load_scalar<c64>(alpha), static_cast<const c64*>(x), incx,
                                 static_cast<const c64*>(y), incy, static_cast<c64*>(a), lda);
}

extern "C" KOVRA_EXPORT void cblas_cgerc(CBLAS_ORDER order, int m, int n, const void* alpha, const void* x, int incx,
                                         const void* y, int incy, void* a, int lda) {
  gerc_cblas<c32>(order, m, n, load_scalar<c32>(alpha), static_cast<const c32*>(x), incx, static_cast<const c32*>(y),
                  incy, static_cast<c32*>(a), lda);
}

extern "C" KOVRA_EXPORT void cblas_zgerc(CBLAS_ORDER order, int m, int n, const void* alpha, const void* x, int incx,
                                         const void* y, int incy, void* a, int lda) {
  gerc_cblas<c64>(order, m, n, load_scalar<c64>(alpha), static_cast<const c64*>(x), incx, static_cast<const c64*>(y),
                  incy, static_cast<c64*>(a), lda);
}
