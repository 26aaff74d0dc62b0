/* The Fortran form of KOVRA. Every argument is passed by reference; complex scalars and arrays are
 * pointers to interleaved (real part, imaginary part) pairs. Each routine is exported under three names
 * that are one and the same function: lower case with a trailing underscore, lower case, upper case.
 * Usable from C and C++. */
#ifndef KOVRA_FORTRAN_H
#define KOVRA_FORTRAN_H

/* Declares the three names of one routine; undefined again at the end of this header, so that an
 * application that includes it keeps its macro namespace. */
#define KOVRA_FORTRAN_NAMES(result, lower, upper, params) \
  result lower##_ params;                                \
  result lower params;                                   \
  result upper params

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Level 1: vector updates ---- */

/* y := alpha*x + y */
KOVRA_FORTRAN_NAMES(void, saxpy, SAXPY,
                    (const int* n, const float* alpha, const float* x, const int* incx, float* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, daxpy, DAXPY,
                    (const int* n, const double* alpha, const double* x, const int* incx, double* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, caxpy, CAXPY,
                    (const int* n, const void* alpha, const void* x, const int* incx, void* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, zaxpy, ZAXPY,
                    (const int* n, const void* alpha, const void* x, const int* incx, void* y, const int* incy));

/* y := alpha*x + beta*y */
KOVRA_FORTRAN_NAMES(void, saxpby, SAXPBY,
                    (const int* n, const float* alpha, const float* x, const int* incx,
                     const float* beta, float* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, daxpby, DAXPBY,
                    (const int* n, const double* alpha, const double* x, const int* incx,
                     const double* beta, double* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, caxpby, CAXPBY,
                    (const int* n, const void* alpha, const void* x, const int* incx,
                     const void* beta, void* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, zaxpby, ZAXPBY,
                    (const int* n, const void* alpha, const void* x, const int* incx,
                     const void* beta, void* y, const int* incy));

/* x := alpha*x. Nothing happens for incx < 1. A vector of at most 8 elements is scaled twice and
 * ends as alpha*alpha*x. */
KOVRA_FORTRAN_NAMES(void, sscal, SSCAL, (const int* n, const float* alpha, float* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, dscal, DSCAL, (const int* n, const double* alpha, double* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, cscal, CSCAL, (const int* n, const void* alpha, void* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, zscal, ZSCAL, (const int* n, const void* alpha, void* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, csscal, CSSCAL, (const int* n, const float* alpha, void* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, zdscal, ZDSCAL, (const int* n, const double* alpha, void* x, const int* incx));

/* y := x */
KOVRA_FORTRAN_NAMES(void, scopy, SCOPY, (const int* n, const float* x, const int* incx, float* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, dcopy, DCOPY, (const int* n, const double* x, const int* incx, double* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, ccopy, CCOPY, (const int* n, const void* x, const int* incx, void* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, zcopy, ZCOPY, (const int* n, const void* x, const int* incx, void* y, const int* incy));

/* x <-> y */
KOVRA_FORTRAN_NAMES(void, sswap, SSWAP, (const int* n, float* x, const int* incx, float* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, dswap, DSWAP, (const int* n, double* x, const int* incx, double* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, cswap, CSWAP, (const int* n, void* x, const int* incx, void* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, zswap, ZSWAP, (const int* n, void* x, const int* incx, void* y, const int* incy));

/* ---- Level 1: rotations ---- */

/* Generate a plane rotation: a := r, b := z, and c, s. CROTG and ZROTG measure with |Re v| throughout
 * and leave cb as it was. */
KOVRA_FORTRAN_NAMES(void, srotg, SROTG, (float* a, float* b, float* c, float* s));
KOVRA_FORTRAN_NAMES(void, drotg, DROTG, (double* a, double* b, double* c, double* s));
KOVRA_FORTRAN_NAMES(void, crotg, CROTG, (void* ca, void* cb, float* c, void* s));
KOVRA_FORTRAN_NAMES(void, zrotg, ZROTG, (void* ca, void* cb, double* c, void* s));

/* Generate a modified rotation into param = (flag, h11, h21, h12, h22) */
KOVRA_FORTRAN_NAMES(void, srotmg, SROTMG, (float* d1, float* d2, float* x1, const float* y1, float* param));
KOVRA_FORTRAN_NAMES(void, drotmg, DROTMG, (double* d1, double* d2, double* x1, const double* y1, double* param));

/* (x, y) := (c*x + s*y, c*y - s*x), c and s real */
KOVRA_FORTRAN_NAMES(void, srot, SROT,
                    (const int* n, float* x, const int* incx, float* y, const int* incy, const float* c,
                     const float* s));
KOVRA_FORTRAN_NAMES(void, drot, DROT,
                    (const int* n, double* x, const int* incx, double* y, const int* incy, const double* c,
                     const double* s));
KOVRA_FORTRAN_NAMES(void, csrot, CSROT,
                    (const int* n, void* x, const int* incx, void* y, const int* incy, const float* c,
                     const float* s));
KOVRA_FORTRAN_NAMES(void, zdrot, ZDROT,
                    (const int* n, void* x, const int* incx, void* y, const int* incy, const double* c,
                     const double* s));

/* (x, y) := H (x, y), H given by param as ROTMG leaves it */
KOVRA_FORTRAN_NAMES(void, srotm, SROTM,
                    (const int* n, float* x, const int* incx, float* y, const int* incy, const float* param));
KOVRA_FORTRAN_NAMES(void, drotm, DROTM,
                    (const int* n, double* x, const int* incx, double* y, const int* incy, const double* param));

/* |Re z| + |Im z| of the complex value at z */
KOVRA_FORTRAN_NAMES(float, scabs1, SCABS1, (const void* z));
KOVRA_FORTRAN_NAMES(double, dcabs1, DCABS1, (const void* z));

/* ---- Level 1: reductions ---- */

/* x^T y; the complex forms store x^T y (DOTU) or conj(x)^T y (DOTC) through their first argument */
KOVRA_FORTRAN_NAMES(float, sdot, SDOT, (const int* n, const float* x, const int* incx, const float* y, const int* incy));
KOVRA_FORTRAN_NAMES(double, ddot, DDOT, (const int* n, const double* x, const int* incx, const double* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, cdotu, CDOTU,
                    (void* result, const int* n, const void* x, const int* incx, const void* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, zdotu, ZDOTU,
                    (void* result, const int* n, const void* x, const int* incx, const void* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, cdotc, CDOTC,
                    (void* result, const int* n, const void* x, const int* incx, const void* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, zdotc, ZDOTC,
                    (void* result, const int* n, const void* x, const int* incx, const void* y, const int* incy));

/* float vectors, products summed in double; SDSDOT adds sb (once per parallel tile and once more) */
KOVRA_FORTRAN_NAMES(double, dsdot, DSDOT, (const int* n, const float* x, const int* incx, const float* y, const int* incy));
KOVRA_FORTRAN_NAMES(float, sdsdot, SDSDOT,
                    (const int* n, const float* sb, const float* x, const int* incx, const float* y, const int* incy));

/* sum of |Re x[i]| + |Im x[i]| */
KOVRA_FORTRAN_NAMES(float, sasum, SASUM, (const int* n, const float* x, const int* incx));
KOVRA_FORTRAN_NAMES(double, dasum, DASUM, (const int* n, const double* x, const int* incx));
KOVRA_FORTRAN_NAMES(float, scasum, SCASUM, (const int* n, const void* x, const int* incx));
KOVRA_FORTRAN_NAMES(double, dzasum, DZASUM, (const int* n, const void* x, const int* incx));

/* Euclidean norm by scaled squares; the complex forms size both terms of an element by its real part */
KOVRA_FORTRAN_NAMES(float, snrm2, SNRM2, (const int* n, const float* x, const int* incx));
KOVRA_FORTRAN_NAMES(double, dnrm2, DNRM2, (const int* n, const double* x, const int* incx));
KOVRA_FORTRAN_NAMES(float, scnrm2, SCNRM2, (const int* n, const void* x, const int* incx));
KOVRA_FORTRAN_NAMES(double, dznrm2, DZNRM2, (const int* n, const void* x, const int* incx));

/* 0-based position of the first element of largest (AMAX) or smallest (AMIN) |Re| + |Im| */
KOVRA_FORTRAN_NAMES(int, isamax, ISAMAX, (const int* n, const float* x, const int* incx));
KOVRA_FORTRAN_NAMES(int, idamax, IDAMAX, (const int* n, const double* x, const int* incx));
KOVRA_FORTRAN_NAMES(int, icamax, ICAMAX, (const int* n, const void* x, const int* incx));
KOVRA_FORTRAN_NAMES(int, izamax, IZAMAX, (const int* n, const void* x, const int* incx));
KOVRA_FORTRAN_NAMES(int, isamin, ISAMIN, (const int* n, const float* x, const int* incx));
KOVRA_FORTRAN_NAMES(int, idamin, IDAMIN, (const int* n, const double* x, const int* incx));
KOVRA_FORTRAN_NAMES(int, icamin, ICAMIN, (const int* n, const void* x, const int* incx));
KOVRA_FORTRAN_NAMES(int, izamin, IZAMIN, (const int* n, const void* x, const int* incx));

/* ---- Level 2: general matrix-vector products ---- */

/* y := alpha*op(A)*x + beta*y, op one of 'N', 'T', 'C' */
KOVRA_FORTRAN_NAMES(void, sgemv, SGEMV,
                    (const char* trans, const int* m, const int* n, const float* alpha, const float* a,
                     const int* lda, const float* x, const int* incx, const float* beta, float* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, dgemv, DGEMV,
                    (const char* trans, const int* m, const int* n, const double* alpha, const double* a,
                     const int* lda, const double* x, const int* incx, const double* beta, double* y,
                     const int* incy));
KOVRA_FORTRAN_NAMES(void, cgemv, CGEMV,
                    (const char* trans, const int* m, const int* n, const void* alpha, const void* a,
                     const int* lda, const void* x, const int* incx, const void* beta, void* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, zgemv, ZGEMV,
                    (const char* trans, const int* m, const int* n, const void* alpha, const void* a,
                     const int* lda, const void* x, const int* incx, const void* beta, void* y, const int* incy));

/* The same with A in band storage: kl subdiagonals, ku superdiagonals, lda at least kl + ku + 1 */
KOVRA_FORTRAN_NAMES(void, sgbmv, SGBMV,
                    (const char* trans, const int* m, const int* n, const int* kl, const int* ku,
                     const float* alpha, const float* a, const int* lda, const float* x, const int* incx,
                     const float* beta, float* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, dgbmv, DGBMV,
                    (const char* trans, const int* m, const int* n, const int* kl, const int* ku,
                     const double* alpha, const double* a, const int* lda, const double* x, const int* incx,
                     const double* beta, double* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, cgbmv, CGBMV,
                    (const char* trans, const int* m, const int* n, const int* kl, const int* ku,
                     const void* alpha, const void* a, const int* lda, const void* x, const int* incx,
                     const void* beta, void* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, zgbmv, ZGBMV,
                    (const char* trans, const int* m, const int* n, const int* kl, const int* ku,
                     const void* alpha, const void* a, const int* lda, const void* x, const int* incx,
                     const void* beta, void* y, const int* incy));

/* ---- Level 2: rank-one updates ---- */

/* A := alpha*x*y^T + A (GER, GERU) and A := alpha*x*y^H + A (GERC) */
KOVRA_FORTRAN_NAMES(void, sger, SGER,
                    (const int* m, const int* n, const float* alpha, const float* x, const int* incx,
                     const float* y, const int* incy, float* a, const int* lda));
KOVRA_FORTRAN_NAMES(void, dger, DGER,
                    (const int* m, const int* n, const double* alpha, const double* x, const int* incx,
                     const double* y, const int* incy, double* a, const int* lda));
KOVRA_FORTRAN_NAMES(void, cgeru, CGERU,
                    (const int* m, const int* n, const void* alpha, const void* x, const int* incx,
                     const void* y, const int* incy, void* a, const int* lda));
KOVRA_FORTRAN_NAMES(void, zgeru, ZGERU,
                    (const int* m, const int* n, const void* alpha, const void* x, const int* incx,
                     const void* y, const int* incy, void* a, const int* lda));
KOVRA_FORTRAN_NAMES(void, cgerc, CGERC,
                    (const int* m, const int* n, const void* alpha, const void* x, const int* incx,
                     const void* y, const int* incy, void* a, const int* lda));
KOVRA_FORTRAN_NAMES(void, zgerc, ZGERC,
                    (const int* m, const int* n, const void* alpha, const void* x, const int* incx,
                     const void* y, const int* incy, void* a, const int* lda));

/* ---- Level 2: triangular solves and products ---- */

/* x := inv(op(A))*x: solves op(A) x = b for a triangular A, b given in x; op one of 'N', 'T', 'C' */
KOVRA_FORTRAN_NAMES(void, strsv, STRSV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const float* a,
                     const int* lda, float* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, dtrsv, DTRSV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const double* a,
                     const int* lda, double* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, ctrsv, CTRSV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const void* a, const int* lda,
                     void* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, ztrsv, ZTRSV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const void* a, const int* lda,
                     void* x, const int* incx));

/* The same with A in band storage: k off-diagonals, lda at least k + 1 */
KOVRA_FORTRAN_NAMES(void, stbsv, STBSV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const float* a,
                     const int* lda, float* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, dtbsv, DTBSV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const double* a,
                     const int* lda, double* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, ctbsv, CTBSV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const void* a,
                     const int* lda, void* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, ztbsv, ZTBSV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const void* a,
                     const int* lda, void* x, const int* incx));

/* The same with the triangle packed column by column in ap, n(n+1)/2 elements */
KOVRA_FORTRAN_NAMES(void, stpsv, STPSV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const float* ap, float* x,
                     const int* incx));
KOVRA_FORTRAN_NAMES(void, dtpsv, DTPSV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const double* ap, double* x,
                     const int* incx));
KOVRA_FORTRAN_NAMES(void, ctpsv, CTPSV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const void* ap, void* x,
                     const int* incx));
KOVRA_FORTRAN_NAMES(void, ztpsv, ZTPSV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const void* ap, void* x,
                     const int* incx));

/* x := op(A)*x for a triangular A */
KOVRA_FORTRAN_NAMES(void, strmv, STRMV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const float* a,
                     const int* lda, float* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, dtrmv, DTRMV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const double* a,
                     const int* lda, double* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, ctrmv, CTRMV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const void* a, const int* lda,
                     void* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, ztrmv, ZTRMV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const void* a, const int* lda,
                     void* x, const int* incx));

/* The same with A in band storage: k off-diagonals, lda at least k + 1 */
KOVRA_FORTRAN_NAMES(void, stbmv, STBMV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const float* a,
                     const int* lda, float* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, dtbmv, DTBMV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const double* a,
                     const int* lda, double* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, ctbmv, CTBMV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const void* a,
                     const int* lda, void* x, const int* incx));
KOVRA_FORTRAN_NAMES(void, ztbmv, ZTBMV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const int* k, const void* a,
                     const int* lda, void* x, const int* incx));

/* The same with the triangle packed column by column in ap, n(n+1)/2 elements */
KOVRA_FORTRAN_NAMES(void, stpmv, STPMV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const float* ap, float* x,
                     const int* incx));
KOVRA_FORTRAN_NAMES(void, dtpmv, DTPMV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const double* ap, double* x,
                     const int* incx));
KOVRA_FORTRAN_NAMES(void, ctpmv, CTPMV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const void* ap, void* x,
                     const int* incx));
KOVRA_FORTRAN_NAMES(void, ztpmv, ZTPMV,
                    (const char* uplo, const char* trans, const char* diag, const int* n, const void* ap, void* x,
                     const int* incx));

/* ---- Level 2: symmetric and Hermitian products ---- */

/* y := alpha*A*x + beta*y for a symmetric (SYMV) or Hermitian (HEMV) A, one triangle stored; the imaginary
 * parts of a Hermitian diagonal are not read */
KOVRA_FORTRAN_NAMES(void, ssymv, SSYMV,
                    (const char* uplo, const int* n, const float* alpha, const float* a, const int* lda, const float* x,
                     const int* incx, const float* beta, float* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, dsymv, DSYMV,
                    (const char* uplo, const int* n, const double* alpha, const double* a, const int* lda,
                     const double* x, const int* incx, const double* beta, double* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, chemv, CHEMV,
                    (const char* uplo, const int* n, const void* alpha, const void* a, const int* lda, const void* x,
                     const int* incx, const void* beta, void* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, zhemv, ZHEMV,
                    (const char* uplo, const int* n, const void* alpha, const void* a, const int* lda, const void* x,
                     const int* incx, const void* beta, void* y, const int* incy));

/* The same with A in band storage: k off-diagonals, lda at least k + 1 */
KOVRA_FORTRAN_NAMES(void, ssbmv, SSBMV,
                    (const char* uplo, const int* n, const int* k, const float* alpha, const float* a, const int* lda,
                     const float* x, const int* incx, const float* beta, float* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, dsbmv, DSBMV,
                    (const char* uplo, const int* n, const int* k, const double* alpha, const double* a, const int* lda,
                     const double* x, const int* incx, const double* beta, double* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, chbmv, CHBMV,
                    (const char* uplo, const int* n, const int* k, const void* alpha, const void* a, const int* lda,
                     const void* x, const int* incx, const void* beta, void* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, zhbmv, ZHBMV,
                    (const char* uplo, const int* n, const int* k, const void* alpha, const void* a, const int* lda,
                     const void* x, const int* incx, const void* beta, void* y, const int* incy));

/* The same with the triangle packed column by column in ap, n(n+1)/2 elements */
KOVRA_FORTRAN_NAMES(void, sspmv, SSPMV,
                    (const char* uplo, const int* n, const float* alpha, const float* ap, const float* x,
                     const int* incx, const float* beta, float* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, dspmv, DSPMV,
                    (const char* uplo, const int* n, const double* alpha, const double* ap, const double* x,
                     const int* incx, const double* beta, double* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, chpmv, CHPMV,
                    (const char* uplo, const int* n, const void* alpha, const void* ap, const void* x, const int* incx,
                     const void* beta, void* y, const int* incy));
KOVRA_FORTRAN_NAMES(void, zhpmv, ZHPMV,
                    (const char* uplo, const int* n, const void* alpha, const void* ap, const void* x, const int* incx,
                     const void* beta, void* y, const int* incy));

/* ---- Level 2: symmetric and Hermitian rank updates ---- */

/* A := alpha*x*x^T + A (SYR) or alpha*x*x^H + A (HER, alpha real) on the stored triangle; HER sets the imaginary
 * parts of the diagonal to 0 */
KOVRA_FORTRAN_NAMES(void, ssyr, SSYR,
                    (const char* uplo, const int* n, const float* alpha, const float* x, const int* incx, float* a,
                     const int* lda));
KOVRA_FORTRAN_NAMES(void, dsyr, DSYR,
                    (const char* uplo, const int* n, const double* alpha, const double* x, const int* incx, double* a,
                     const int* lda));
KOVRA_FORTRAN_NAMES(void, cher, CHER,
                    (const char* uplo, const int* n, const float* alpha, const void* x, const int* incx, void* a,
                     const int* lda));
KOVRA_FORTRAN_NAMES(void, zher, ZHER,
                    (const char* uplo, const int* n, const double* alpha, const void* x, const int* incx, void* a,
                     const int* lda));

/* The same with the triangle packed column by column in ap, n(n+1)/2 elements */
KOVRA_FORTRAN_NAMES(void, sspr, SSPR,
                    (const char* uplo, const int* n, const float* alpha, const float* x, const int* incx, float* ap));
KOVRA_FORTRAN_NAMES(void, dspr, DSPR,
                    (const char* uplo, const int* n, const double* alpha, const double* x, const int* incx,
                     double* ap));
KOVRA_FORTRAN_NAMES(void, chpr, CHPR,
                    (const char* uplo, const int* n, const float* alpha, const void* x, const int* incx, void* ap));
KOVRA_FORTRAN_NAMES(void, zhpr, ZHPR,
                    (const char* uplo, const int* n, const double* alpha, const void* x, const int* incx, void* ap));

/* A := alpha*x*y^T + alpha*y*x^T + A (SYR2) or alpha*x*y^H + conj(alpha)*y*x^H + A (HER2). For n > 8, HER2
 * applies alpha, not conj(alpha), to y*x^H in most off-diagonal elements: the same for a real alpha. */
KOVRA_FORTRAN_NAMES(void, ssyr2, SSYR2,
                    (const char* uplo, const int* n, const float* alpha, const float* x, const int* incx,
                     const float* y, const int* incy, float* a, const int* lda));
KOVRA_FORTRAN_NAMES(void, dsyr2, DSYR2,
                    (const char* uplo, const int* n, const double* alpha, const double* x, const int* incx,
                     const double* y, const int* incy, double* a, const int* lda));
KOVRA_FORTRAN_NAMES(void, cher2, CHER2,
                    (const char* uplo, const int* n, const void* alpha, const void* x, const int* incx, const void* y,
                     const int* incy, void* a, const int* lda));
KOVRA_FORTRAN_NAMES(void, zher2, ZHER2,
                    (const char* uplo, const int* n, const void* alpha, const void* x, const int* incx, const void* y,
                     const int* incy, void* a, const int* lda));

/* The same with the triangle packed column by column in ap, n(n+1)/2 elements; HPR2 uses conj(alpha) throughout */
KOVRA_FORTRAN_NAMES(void, sspr2, SSPR2,
                    (const char* uplo, const int* n, const float* alpha, const float* x, const int* incx,
                     const float* y, const int* incy, float* ap));
KOVRA_FORTRAN_NAMES(void, dspr2, DSPR2,
                    (const char* uplo, const int* n, const double* alpha, const double* x, const int* incx,
                     const double* y, const int* incy, double* ap));
KOVRA_FORTRAN_NAMES(void, chpr2, CHPR2,
                    (const char* uplo, const int* n, const void* alpha, const void* x, const int* incx, const void* y,
                     const int* incy, void* ap));
KOVRA_FORTRAN_NAMES(void, zhpr2, ZHPR2,
                    (const char* uplo, const int* n, const void* alpha, const void* x, const int* incx, const void* y,
                     const int* incy, void* ap));

/* ---- Level 3 ---- */

/* C := alpha*op(A)*op(B) + beta*C, op one of 'N', 'T', 'C' */
KOVRA_FORTRAN_NAMES(void, sgemm, SGEMM,
                    (const char* transa, const char* transb, const int* m, const int* n, const int* k,
                     const float* alpha, const float* a, const int* lda, const float* b, const int* ldb,
                     const float* beta, float* c, const int* ldc));
KOVRA_FORTRAN_NAMES(void, dgemm, DGEMM,
                    (const char* transa, const char* transb, const int* m, const int* n, const int* k,
                     const double* alpha, const double* a, const int* lda, const double* b, const int* ldb,
                     const double* beta, double* c, const int* ldc));
KOVRA_FORTRAN_NAMES(void, cgemm, CGEMM,
                    (const char* transa, const char* transb, const int* m, const int* n, const int* k,
                     const void* alpha, const void* a, const int* lda, const void* b, const int* ldb,
                     const void* beta, void* c, const int* ldc));
KOVRA_FORTRAN_NAMES(void, zgemm, ZGEMM,
                    (const char* transa, const char* transb, const int* m, const int* n, const int* k,
                     const void* alpha, const void* a, const int* lda, const void* b, const int* ldb,
                     const void* beta, void* c, const int* ldc));

/* op(A) X = alpha B (side 'L') or X op(A) = alpha B (side 'R') for a triangular A; X overwrites B */
KOVRA_FORTRAN_NAMES(void, strsm, STRSM,
                    (const char* side, const char* uplo, const char* transa, const char* diag, const int* m,
                     const int* n, const float* alpha, const float* a, const int* lda, float* b, const int* ldb));
KOVRA_FORTRAN_NAMES(void, dtrsm, DTRSM,
                    (const char* side, const char* uplo, const char* transa, const char* diag, const int* m,
                     const int* n, const double* alpha, const double* a, const int* lda, double* b, const int* ldb));
KOVRA_FORTRAN_NAMES(void, ctrsm, CTRSM,
                    (const char* side, const char* uplo, const char* transa, const char* diag, const int* m,
                     const int* n, const void* alpha, const void* a, const int* lda, void* b, const int* ldb));
KOVRA_FORTRAN_NAMES(void, ztrsm, ZTRSM,
                    (const char* side, const char* uplo, const char* transa, const char* diag, const int* m,
                     const int* n, const void* alpha, const void* a, const int* lda, void* b, const int* ldb));

/* B := alpha op(A) B (side 'L') or alpha B op(A) (side 'R') for a triangular A */
KOVRA_FORTRAN_NAMES(void, strmm, STRMM,
                    (const char* side, const char* uplo, const char* transa, const char* diag, const int* m,
                     const int* n, const float* alpha, const float* a, const int* lda, float* b, const int* ldb));
KOVRA_FORTRAN_NAMES(void, dtrmm, DTRMM,
                    (const char* side, const char* uplo, const char* transa, const char* diag, const int* m,
                     const int* n, const double* alpha, const double* a, const int* lda, double* b, const int* ldb));
KOVRA_FORTRAN_NAMES(void, ctrmm, CTRMM,
                    (const char* side, const char* uplo, const char* transa, const char* diag, const int* m,
                     const int* n, const void* alpha, const void* a, const int* lda, void* b, const int* ldb));
KOVRA_FORTRAN_NAMES(void, ztrmm, ZTRMM,
                    (const char* side, const char* uplo, const char* transa, const char* diag, const int* m,
                     const int* n, const void* alpha, const void* a, const int* lda, void* b, const int* ldb));

/* C := alpha*A*B + beta*C (side 'L') or alpha*B*A + beta*C (side 'R') for a symmetric A, one triangle stored */
KOVRA_FORTRAN_NAMES(void, ssymm, SSYMM,
                    (const char* side, const char* uplo, const int* m, const int* n, const float* alpha,
                     const float* a, const int* lda, const float* b, const int* ldb, const float* beta, float* c,
                     const int* ldc));
KOVRA_FORTRAN_NAMES(void, dsymm, DSYMM,
                    (const char* side, const char* uplo, const int* m, const int* n, const double* alpha,
                     const double* a, const int* lda, const double* b, const int* ldb, const double* beta, double* c,
                     const int* ldc));
KOVRA_FORTRAN_NAMES(void, csymm, CSYMM,
                    (const char* side, const char* uplo, const int* m, const int* n, const void* alpha, const void* a,
                     const int* lda, const void* b, const int* ldb, const void* beta, void* c, const int* ldc));
KOVRA_FORTRAN_NAMES(void, zsymm, ZSYMM,
                    (const char* side, const char* uplo, const int* m, const int* n, const void* alpha, const void* a,
                     const int* lda, const void* b, const int* ldb, const void* beta, void* c, const int* ldc));
/* the same for a Hermitian A */
KOVRA_FORTRAN_NAMES(void, chemm, CHEMM,
                    (const char* side, const char* uplo, const int* m, const int* n, const void* alpha, const void* a,
                     const int* lda, const void* b, const int* ldb, const void* beta, void* c, const int* ldc));
KOVRA_FORTRAN_NAMES(void, zhemm, ZHEMM,
                    (const char* side, const char* uplo, const int* m, const int* n, const void* alpha, const void* a,
                     const int* lda, const void* b, const int* ldb, const void* beta, void* c, const int* ldc));

/* C := alpha*A*A^T + beta*C (trans 'N') or alpha*A^T*A + beta*C on one triangle of a symmetric C */
KOVRA_FORTRAN_NAMES(void, ssyrk, SSYRK,
                    (const char* uplo, const char* trans, const int* n, const int* k, const float* alpha,
                     const float* a, const int* lda, const float* beta, float* c, const int* ldc));
KOVRA_FORTRAN_NAMES(void, dsyrk, DSYRK,
                    (const char* uplo, const char* trans, const int* n, const int* k, const double* alpha,
                     const double* a, const int* lda, const double* beta, double* c, const int* ldc));
KOVRA_FORTRAN_NAMES(void, csyrk, CSYRK,
                    (const char* uplo, const char* trans, const int* n, const int* k, const void* alpha, const void* a,
                     const int* lda, const void* beta, void* c, const int* ldc));
KOVRA_FORTRAN_NAMES(void, zsyrk, ZSYRK,
                    (const char* uplo, const char* trans, const int* n, const int* k, const void* alpha, const void* a,
                     const int* lda, const void* beta, void* c, const int* ldc));
/* C := alpha*A*A^H + beta*C (trans 'N') or alpha*A^H*A + beta*C on one triangle of a Hermitian C; real alpha, beta */
KOVRA_FORTRAN_NAMES(void, cherk, CHERK,
                    (const char* uplo, const char* trans, const int* n, const int* k, const float* alpha,
                     const void* a, const int* lda, const float* beta, void* c, const int* ldc));
KOVRA_FORTRAN_NAMES(void, zherk, ZHERK,
                    (const char* uplo, const char* trans, const int* n, const int* k, const double* alpha,
                     const void* a, const int* lda, const double* beta, void* c, const int* ldc));

/* C := alpha*A*B^T + alpha*B*A^T + beta*C (trans 'N') or with A^T*B and B^T*A, on one triangle of C */
KOVRA_FORTRAN_NAMES(void, ssyr2k, SSYR2K,
                    (const char* uplo, const char* trans, const int* n, const int* k, const float* alpha,
                     const float* a, const int* lda, const float* b, const int* ldb, const float* beta, float* c,
                     const int* ldc));
KOVRA_FORTRAN_NAMES(void, dsyr2k, DSYR2K,
                    (const char* uplo, const char* trans, const int* n, const int* k, const double* alpha,
                     const double* a, const int* lda, const double* b, const int* ldb, const double* beta, double* c,
                     const int* ldc));
KOVRA_FORTRAN_NAMES(void, csyr2k, CSYR2K,
                    (const char* uplo, const char* trans, const int* n, const int* k, const void* alpha, const void* a,
                     const int* lda, const void* b, const int* ldb, const void* beta, void* c, const int* ldc));
KOVRA_FORTRAN_NAMES(void, zsyr2k, ZSYR2K,
                    (const char* uplo, const char* trans, const int* n, const int* k, const void* alpha, const void* a,
                     const int* lda, const void* b, const int* ldb, const void* beta, void* c, const int* ldc));
/* C := alpha*A*B^H + conj(alpha)*B*A^H + beta*C (trans 'N') or with A^H*B and B^H*A; real beta */
KOVRA_FORTRAN_NAMES(void, cher2k, CHER2K,
                    (const char* uplo, const char* trans, const int* n, const int* k, const void* alpha, const void* a,
                     const int* lda, const void* b, const int* ldb, const float* beta, void* c, const int* ldc));
KOVRA_FORTRAN_NAMES(void, zher2k, ZHER2K,
                    (const char* uplo, const char* trans, const int* n, const int* k, const void* alpha, const void* a,
                     const int* lda, const void* b, const int* ldb, const double* beta, void* c, const int* ldc));

#ifdef __cplusplus
}
#endif

#undef KOVRA_FORTRAN_NAMES

#endif
