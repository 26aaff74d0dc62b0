// The symmetric and Hermitian rank updates SSYR, DSYR, CHER, ZHER, SSPR to ZHPR, SSYR2 to ZHER2 and SSPR2 to
// ZHPR2: the Fortran names (three per routine) and the cblas_ forms. A row-major call updates A^T, stored as A
// is: the other triangle of the same symmetric matrix, or of conj(A) when A is Hermitian.
#include <complex>
#include <cstdlib>

#include "interface/entry.h"
#include "interface/enums.h"
#include "kovra/cblas.h"
#include "kovra/fortran.h"
#include "parallel/blas/level2/syr.h"
#include "parallel/blas/row_major.h"

namespace {

using kovra::interface::load_scalar;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

namespace blas = kovra::parallel::blas;

// The routines by storage of A, full (A, lda) or packed (AP). S is the type of alpha: T, or the real type of T
// for HER and HPR called by their Fortran names.
template <typename T, typename S>
using rank_one_routine = void (*)(char, int, S, const T*, int, T*, int);
template <typename T, typename S>
using packed_rank_one_routine = void (*)(char, int, S, const T*, int, T*);
template <typename T>
using rank_two_routine = void (*)(char, int, T, const T*, int, const T*, int, T*, int);
template <typename T>
using packed_rank_two_routine = void (*)(char, int, T, const T*, int, const T*, int, T*);

// Calls run(uplo, x, incx) with the arguments of a cblas_ call as the column-major routine takes them.
// Row-major, the symmetric A^T is A with the other triangle stored. The Hermitian A^T is conj(A), and
// conj(A + alpha x x^H) = conj(A) + alpha conj(x) conj(x)^H for a real alpha: the update runs on a contiguous
// conjugated copy of x with increment 1 (so an increment of 0 is not refused here), released in either case.
template <typename T, typename Run>
void one_vector_from_cblas(int order, int uplo, int n, const T* x, int incx, Run run) {
  using namespace kovra::interface;
  const char u = uplo_char(uplo);
  if (is_col_major(order)) return run(u, x, incx);
  if constexpr (kovra::is_complex_v<T>) {
    T* const conj_x = blas::conjugated_copy(n, x, incx);
    run(blas::flip_uplo(u), static_cast<const T*>(conj_x), 1);
    std::free(conj_x);
  } else {
    run(blas::flip_uplo(u), x, incx);
  }
}

// Calls run(uplo, x, incx, y, incy) in the same way. For the Hermitian A^T = conj(A),
// conj(alpha x y^H + conj(alpha) y x^H) = alpha conj(y) conj(x)^H + conj(alpha) conj(x) conj(y)^H: the update
// runs with alpha as given on the conjugated copies, conj(y) in the place of x and conj(x) in that of y.
template <typename T, typename Run>
void two_vectors_from_cblas(int order, int uplo, int n, const T* x, int incx, const T* y, int incy, Run run) {
  using namespace kovra::interface;
  const char u = uplo_char(uplo);
  if (is_col_major(order)) return run(u, x, incx, y, incy);
  if constexpr (kovra::is_complex_v<T>) {
    T* const conj_x = blas::conjugated_copy(n, x, incx);
    T* const conj_y = blas::conjugated_copy(n, y, incy);
    run(blas::flip_uplo(u), static_cast<const T*>(conj_y), 1, static_cast<const T*>(conj_x), 1);
    std::free(conj_x);
    std::free(conj_y);
  } else {
    run(blas::flip_uplo(u), x, incx, y, incy);
  }
}

template <typename T, typename S, rank_one_routine<T, S> routine>
void rank_one_by_reference(const char* uplo, const int* n, const void* alpha, const void* x, const int* incx, void* a,
                           const int* lda) {
  routine(*uplo, *n, load_scalar<S>(alpha), static_cast<const T*>(x), *incx, static_cast<T*>(a), *lda);
}

// alpha is real in every cblas_ form; the Hermitian routines take it as a complex scalar with imaginary part 0.
template <typename T, rank_one_routine<T, T> routine>
void rank_one_from_cblas(int order, int uplo, int n, kovra::real_t<T> alpha, const void* x, int incx, void* a,
                         int lda) {
  const T scale(alpha);
  T* const matrix = static_cast<T*>(a);
  one_vector_from_cblas(order, uplo, n, static_cast<const T*>(x), incx,
                        [&](char u, const T* xs, int x_step) { routine(u, n, scale, xs, x_step, matrix, lda); });
}

template <typename T, typename S, packed_rank_one_routine<T, S> routine>
void packed_rank_one_by_reference(const char* uplo, const int* n, const void* alpha, const void* x, const int* incx,
                                  void* ap) {
  routine(*uplo, *n, load_scalar<S>(alpha), static_cast<const T*>(x), *incx, static_cast<T*>(ap));
}

template <typename T, packed_rank_one_routine<T, T> routine>
void packed_rank_one_from_cblas(int order, int uplo, int n, kovra::real_t<T> alpha, const void* x, int incx, void* ap) {
  const T scale(alpha);
  T* const matrix = static_cast<T*>(ap);
  one_vector_from_cblas(order, uplo, n, static_cast<const T*>(x), incx,
                        [&](char u, const T* xs, int x_step) { routine(u, n, scale, xs, x_step, matrix); });
}

template <typename T, rank_two_routine<T> routine>
void rank_two_by_reference(const char* uplo, const int* n, const void* alpha, const void* x, const int* incx,
                           const void* y, const int* incy, void* a, const int* lda) {
  routine(*uplo, *n, load_scalar<T>(alpha), static_cast<const T*>(x), *incx, static_cast<const T*>(y), *incy,
          static_cast<T*>(a), *lda);
}

template <typename T, rank_two_routine<T> routine>
void rank_two_from_cblas(int order, int uplo, int n, const void* alpha, const void* x, int incx, const void* y,
                         int incy, void* a, int lda) {
  const T scale = load_scalar<T>(alpha);
  T* const matrix = static_cast<T*>(a);
  two_vectors_from_cblas(order, uplo, n, static_cast<const T*>(x), incx, static_cast<const T*>(y), incy,
                         [&](char u, const T* xs, int x_step, const T* ys, int y_step) {
                           routine(u, n, scale, xs, x_step, ys, y_step, matrix, lda);
                         });
}

template <typename T, packed_rank_two_routine<T> routine>
void packed_rank_two_by_reference(const char* uplo, const int* n, const void* alpha, const void* x, const int* incx,
                                  const void* y, const int* incy, void* ap) {
  routine(*uplo, *n, load_scalar<T>(alpha), static_cast<const T*>(x), *incx, static_cast<const T*>(y), *incy,
          static_cast<T*>(ap));
}

template <typename T, packed_rank_two_routine<T> routine>
void packed_rank_two_from_cblas(int order, int uplo, int n, const void* alpha, const void* x, int incx, const void* y,
                                int incy, void* ap) {
  const T scale = load_scalar<T>(alpha);
  T* const matrix = static_cast<T*>(ap);
  two_vectors_from_cblas(order, uplo, n, static_cast<const T*>(x), incx, static_cast<const T*>(y), incy,
                         [&](char u, const T* xs, int x_step, const T* ys, int y_step) {
                           routine(u, n, scale, xs, x_step, ys, y_step, matrix);
                         });
}

}  // namespace

extern "C" KOVRA_EXPORT void ssyr_(const char* uplo, const int* n, const float* alpha, const float* x, const int* incx,
                                   float* a, const int* lda) {
  rank_one_by_reference<float, float, blas::syr_front<float>>(uplo, n, alpha, x, incx, a, lda);
}
KOVRA_FORTRAN_ALIASES(ssyr, SSYR);

extern "C" KOVRA_EXPORT void dsyr_(const char* uplo, const int* n, const double* alpha, const double* x,
                                   const int* incx, double* a, const int* lda) {
  rank_one_by_reference<double, double, blas::syr_front<double>>(uplo, n, alpha, x, incx, a, lda);
}
KOVRA_FORTRAN_ALIASES(dsyr, DSYR);

extern "C" KOVRA_EXPORT void cher_(const char* uplo, const int* n, const float* alpha, const void* x, const int* incx,
                                   void* a, const int* lda) {
  rank_one_by_reference<c32, float, blas::her_front<c32, float>>(uplo, n, alpha, x, incx, a, lda);
}
KOVRA_FORTRAN_ALIASES(cher, CHER);

extern "C" KOVRA_EXPORT void zher_(const char* uplo, const int* n, const double* alpha, const void* x, const int* incx,
                                   void* a, const int* lda) {
  rank_one_by_reference<c64, double, blas::her_front<c64, double>>(uplo, n, alpha, x, incx, a, lda);
}
KOVRA_FORTRAN_ALIASES(zher, ZHER);

extern "C" KOVRA_EXPORT void cblas_ssyr(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const float* x,
                                        int incx, float* a, int lda) {
  rank_one_from_cblas<float, blas::syr_front<float>>(order, uplo, n, alpha, x, incx, a, lda);
}

extern "C" KOVRA_EXPORT void cblas_dsyr(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const double* x,
                                        int incx, double* a, int lda) {
  rank_one_from_cblas<double, blas::syr_front<double>>(order, uplo, n, alpha, x, incx, a, lda);
}

extern "C" KOVRA_EXPORT void cblas_cher(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const void* x, int incx,
                                        void* a, int lda) {
  rank_one_from_cblas<c32, blas::her_front<c32, c32>>(order, uplo, n, alpha, x, incx, a, lda);
}

extern "C" KOVRA_EXPORT void cblas_zher(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const void* x,
                                        int incx, void* a, int lda) {
  rank_one_from_cblas<c64, blas::her_front<c64, c64>>(order, uplo, n, alpha, x, incx, a, lda);
}

extern "C" KOVRA_EXPORT void sspr_(const char* uplo, const int* n, const float* alpha, const float* x, const int* incx,
                                   float* ap) {
  packed_rank_one_by_reference<float, float, blas::spr_front<float>>(uplo, n, alpha, x, incx, ap);
}
KOVRA_FORTRAN_ALIASES(sspr, SSPR);

extern "C" KOVRA_EXPORT void dspr_(const char* uplo, const int* n, const double* alpha, const double* x,
                                   const int* incx, double* ap) {
  packed_rank_one_by_reference<double, double, blas::spr_front<double>>(uplo, n, alpha, x, incx, ap);
}
KOVRA_FORTRAN_ALIASES(dspr, DSPR);

extern "C" KOVRA_EXPORT void chpr_(const char* uplo, const int* n, const float* alpha, const void* x, const int* incx,
                                   void* ap) {
  packed_rank_one_by_reference<c32, float, blas::hpr_front<c32, float>>(uplo, n, alpha, x, incx, ap);
}
KOVRA_FORTRAN_ALIASES(chpr, CHPR);

extern "C" KOVRA_EXPORT void zhpr_(const char* uplo, const int* n, const double* alpha, const void* x, const int* incx,
                                   void* ap) {
  packed_rank_one_by_reference<c64, double, blas::hpr_front<c64, double>>(uplo, n, alpha, x, incx, ap);
}
KOVRA_FORTRAN_ALIASES(zhpr, ZHPR);

extern "C" KOVRA_EXPORT void cblas_sspr(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const float* x,
                                        int incx, float* ap) {
  packed_rank_one_from_cblas<float, blas::spr_front<float>>(order, uplo, n, alpha, x, incx, ap);
}

extern "C" KOVRA_EXPORT void cblas_dspr(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const double* x,
                                        int incx, double* ap) {
  packed_rank_one_from_cblas<double, blas::spr_front<double>>(order, uplo, n, alpha, x, incx, ap);
}

extern "C" KOVRA_EXPORT void cblas_chpr(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const void* x, int incx,
                                        void* ap) {
  packed_rank_one_from_cblas<c32, blas::hpr_front<c32, c32>>(order, uplo, n, alpha, x, incx, ap);
}

extern "C" KOVRA_EXPORT void cblas_zhpr(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const void* x,
                                        int incx, void* ap) {
  packed_rank_one_from_cblas<c64, blas::hpr_front<c64, c64>>(order, uplo, n, alpha, x, incx, ap);
}

extern "C" KOVRA_EXPORT void ssyr2_(const char* uplo, const int* n, const float* alpha, const float* x, const int* incx,
                                    const float* y, const int* incy, float* a, const int* lda) {
  rank_two_by_reference<float, blas::syr2_front<float>>(uplo, n, alpha, x, incx, y, incy, a, lda);
}
KOVRA_FORTRAN_ALIASES(ssyr2, SSYR2);

extern "C" KOVRA_EXPORT void dsyr2_(const char* uplo, const int* n, const double* alpha, const double* x,
                                    const int* incx, const double* y, const int* incy, double* a, const int* lda) {
  rank_two_by_reference<double, blas::syr2_front<double>>(uplo, n, alpha, x, incx, y, incy, a, lda);
}
KOVRA_FORTRAN_ALIASES(dsyr2, DSYR2);

extern "C" KOVRA_EXPORT void cher2_(const char* uplo, const int* n, const void* alpha, const void* x, const int* incx,
                                    const void* y, const int* incy, void* a, const int* lda) {
  rank_two_by_reference<c32, blas::her2_front<c32>>(uplo, n, alpha, x, incx, y, incy, a, lda);
}
KOVRA_FORTRAN_ALIASES(cher2, CHER2);

extern "C" KOVRA_EXPORT void zher2_(const char* uplo, const int* n, const void* alpha, const void* x, const int* incx,
                                    const void* y, const int* incy, void* a, const int* lda) {
  rank_two_by_reference<c64, blas::her2_front<c64>>(uplo, n, alpha, x, incx, y, incy, a, lda);
}
KOVRA_FORTRAN_ALIASES(zher2, ZHER2);

extern "C" KOVRA_EXPORT void cblas_ssyr2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const float* x,
                                         int incx, const float* y, int incy, float* a, int lda) {
  rank_two_from_cblas<float, blas::syr2_front<float>>(order, uplo, n, &alpha, x, incx, y, incy, a, lda);
}

extern "C" KOVRA_EXPORT void cblas_dsyr2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const double* x,
                                         int incx, const double* y, int incy, double* a, int lda) {
  rank_two_from_cblas<double, blas::syr2_front<double>>(order, uplo, n, &alpha, x, incx, y, incy, a, lda);
}

extern "C" KOVRA_EXPORT void cblas_cher2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* x,
                                         int incx, const void* y, int incy, void* a, int lda) {
  rank_two_from_cblas<c32, blas::her2_front<c32>>(order, uplo, n, alpha, x, incx, y, incy, a, lda);
}

extern "C" KOVRA_EXPORT void cblas_zher2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* x,
                                         int incx, const void* y, int incy, void* a, int lda) {
  rank_two_from_cblas<c64, blas::her2_front<c64>>(order, uplo, n, alpha, x, incx, y, incy, a, lda);
}

extern "C" KOVRA_EXPORT void sspr2_(const char* uplo, const int* n, const float* alpha, const float* x, const int* incx,
                                    const float* y, const int* incy, float* ap) {
  packed_rank_two_by_reference<float, blas::spr2_front<float>>(uplo, n, alpha, x, incx, y, incy, ap);
}
KOVRA_FORTRAN_ALIASES(sspr2, SSPR2);

extern "C" KOVRA_EXPORT void dspr2_(const char* uplo, const int* n, const double* alpha, const double* x,
                                    const int* incx, const double* y, const int* incy, double* ap) {
  packed_rank_two_by_reference<double, blas::spr2_front<double>>(uplo, n, alpha, x, incx, y, incy, ap);
}
KOVRA_FORTRAN_ALIASES(dspr2, DSPR2);

extern "C" KOVRA_EXPORT void chpr2_(const char* uplo, const int* n, const void* alpha, const void* x, const int* incx,
                                    const void* y, const int* incy, void* ap) {
  packed_rank_two_by_reference<c32, blas::hpr2_front<c32>>(uplo, n, alpha, x, incx, y, incy, ap);
}
KOVRA_FORTRAN_ALIASES(chpr2, CHPR2);

extern "C" KOVRA_EXPORT void zhpr2_(const char* uplo, const int* n, const void* alpha, const void* x, const int* incx,
                                    const void* y, const int* incy, void* ap) {
  packed_rank_two_by_reference<c64, blas::hpr2_front<c64>>(uplo, n, alpha, x, incx, y, incy, ap);
}
KOVRA_FORTRAN_ALIASES(zhpr2, ZHPR2);

extern "C" KOVRA_EXPORT void cblas_sspr2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const float* x,
                                         int incx, const float* y, int incy, float* ap) {
  packed_rank_two_from_cblas<float, blas::spr2_front<float>>(order, uplo, n, &alpha, x, incx, y, incy, ap);
}

extern "C" KOVRA_EXPORT void cblas_dspr2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const double* x,
                                         int incx, const double* y, int incy, double* ap) {
  packed_rank_two_from_cblas<double, blas::spr2_front<double>>(order, uplo, n, &alpha, x, incx, y, incy, ap);
}

extern "C" KOVRA_EXPORT void cblas_chpr2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* x,
                                         int incx, const void* y, int incy, void* ap) {
  packed_rank_two_from_cblas<c32, blas::hpr2_front<c32>>(order, uplo, n, alpha, x, incx, y, incy, ap);
}

extern "C" KOVRA_EXPORT void cblas_zhpr2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* x,
                                         int incx, const void* y, int incy, void* ap) {
  packed_rank_two_from_cblas<c64, blas::hpr2_front<c64>>(order, uplo, n, alpha, x, incx, y, incy, ap);
}
