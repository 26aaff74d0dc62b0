/* The CBLAS form of KOVRA: the enumerations and the cblas_ entries. Usable from C and C++.
 *
 * Counts and increments are int by value. Real scalars are by value; complex scalars are const void*
 * pointing at (real part, imaginary part). Complex arrays are void* to interleaved pairs. */
#ifndef KOVRA_CBLAS_H
#define KOVRA_CBLAS_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* In C++ the enumerations are of the fixed type int, as a C enumeration is an int: a C caller may pass any int, and
 * the entries must be able to hold it to report it as a bad argument (without a fixed type, a C++ enumeration
 * holds only the values of its enumerators' bit range). */
#if defined(__cplusplus) && __cplusplus >= 201103L
#define KOVRA_CBLAS_ENUM(name) enum name : int
#else
#define KOVRA_CBLAS_ENUM(name) enum name
#endif

/* Only CblasColMajor is tested for: any other Order value means row-major. */
KOVRA_CBLAS_ENUM(CBLAS_ORDER) { CblasRowMajor = 101, CblasColMajor = 102 };
KOVRA_CBLAS_ENUM(CBLAS_TRANSPOSE) { CblasNoTrans = 111, CblasTrans = 112, CblasConjTrans = 113 };
KOVRA_CBLAS_ENUM(CBLAS_UPLO) { CblasUpper = 121, CblasLower = 122 };
KOVRA_CBLAS_ENUM(CBLAS_DIAG) { CblasNonUnit = 131, CblasUnit = 132 };
KOVRA_CBLAS_ENUM(CBLAS_SIDE) { CblasLeft = 141, CblasRight = 142 };
#undef KOVRA_CBLAS_ENUM

typedef enum CBLAS_ORDER CBLAS_ORDER;

/* The names other CBLAS headers use for the same things, so that programs written for them compile unchanged:
 * the order under its newer name (also as enum CBLAS_LAYOUT), and the type such programs keep an index result in
 * (cblas_isamax and its kin return int). */
#define CBLAS_LAYOUT CBLAS_ORDER
#ifndef CBLAS_INDEX
#define CBLAS_INDEX size_t
#endif
typedef enum CBLAS_TRANSPOSE CBLAS_TRANSPOSE;
typedef enum CBLAS_UPLO CBLAS_UPLO;
typedef enum CBLAS_DIAG CBLAS_DIAG;
typedef enum CBLAS_SIDE CBLAS_SIDE;

/* ---- Level 1: vector updates ---- */

/* y := alpha*x + y */
void cblas_saxpy(int n, float alpha, const float* x, int incx, float* y, int incy);
void cblas_daxpy(int n, double alpha, const double* x, int incx, double* y, int incy);
void cblas_caxpy(int n, const void* alpha, const void* x, int incx, void* y, int incy);
void cblas_zaxpy(int n, const void* alpha, const void* x, int incx, void* y, int incy);

/* y := alpha*x + beta*y */
void cblas_saxpby(int n, float alpha, const float* x, int incx, float beta, float* y, int incy);
void cblas_daxpby(int n, double alpha, const double* x, int incx, double beta, double* y, int incy);
void cblas_caxpby(int n, const void* alpha, const void* x, int incx, const void* beta, void* y, int incy);
void cblas_zaxpby(int n, const void* alpha, const void* x, int incx, const void* beta, void* y, int incy);

/* x := alpha*x. Nothing happens for incx < 1. A vector of at most 8 elements is scaled twice and
 * ends as alpha*alpha*x. */
void cblas_sscal(int n, float alpha, float* x, int incx);
void cblas_dscal(int n, double alpha, double* x, int incx);
void cblas_cscal(int n, const void* alpha, void* x, int incx);
void cblas_zscal(int n, const void* alpha, void* x, int incx);
void cblas_csscal(int n, float alpha, void* x, int incx);
void cblas_zdscal(int n, double alpha, void* x, int incx);

/* y := x */
void cblas_scopy(int n, const float* x, int incx, float* y, int incy);
void cblas_dcopy(int n, const double* x, int incx, double* y, int incy);
void cblas_ccopy(int n, const void* x, int incx, void* y, int incy);
void cblas_zcopy(int n, const void* x, int incx, void* y, int incy);

/* x <-> y */
void cblas_sswap(int n, float* x, int incx, float* y, int incy);
void cblas_dswap(int n, double* x, int incx, double* y, int incy);
void cblas_cswap(int n, void* x, int incx, void* y, int incy);
void cblas_zswap(int n, void* x, int incx, void* y, int incy);

/* ---- Level 1: rotations ---- */

/* Generate a plane rotation: a := r, b := z, and c, s. CROTG and ZROTG measure with |Re v| throughout
 * and leave cb as it was. */
void cblas_srotg(float* a, float* b, float* c, float* s);
void cblas_drotg(double* a, double* b, double* c, double* s);
void cblas_crotg(void* ca, void* cb, float* c, void* s);
void cblas_zrotg(void* ca, void* cb, double* c, void* s);

/* Generate a modified rotation into param = (flag, h11, h21, h12, h22); y1 by value. */
void cblas_srotmg(float* d1, float* d2, float* x1, float y1, float* param);
void cblas_drotmg(double* d1, double* d2, double* x1, double y1, double* param);

/* (x, y) := (c*x + s*y, c*y - s*x), c and s real */
void cblas_srot(int n, float* x, int incx, float* y, int incy, float c, float s);
void cblas_drot(int n, double* x, int incx, double* y, int incy, double c, double s);
void cblas_csrot(int n, void* x, int incx, void* y, int incy, float c, float s);
void cblas_zdrot(int n, void* x, int incx, void* y, int incy, double c, double s);

/* (x, y) := H (x, y), H given by param as ROTMG leaves it */
void cblas_srotm(int n, float* x, int incx, float* y, int incy, const float* param);
void cblas_drotm(int n, double* x, int incx, double* y, int incy, const double* param);

/* |Re z| + |Im z| of the complex value at z */
float cblas_scabs1(const void* z);
double cblas_dcabs1(const void* z);

/* ---- Level 1: reductions ---- */

/* x^T y; the complex forms store x^T y (dotu) or conj(x)^T y (dotc) through `result` */
float cblas_sdot(int n, const float* x, int incx, const float* y, int incy);
double cblas_ddot(int n, const double* x, int incx, const double* y, int incy);
void cblas_cdotu_sub(int n, const void* x, int incx, const void* y, int incy, void* result);
void cblas_zdotu_sub(int n, const void* x, int incx, const void* y, int incy, void* result);
void cblas_cdotc_sub(int n, const void* x, int incx, const void* y, int incy, void* result);
void cblas_zdotc_sub(int n, const void* x, int incx, const void* y, int incy, void* result);

/* float vectors, products summed in double; sdsdot adds sb (once per parallel tile and once more) */
double cblas_dsdot(int n, const float* x, int incx, const float* y, int incy);
float cblas_sdsdot(int n, float sb, const float* x, int incx, const float* y, int incy);

/* sum of |Re x[i]| + |Im x[i]| */
float cblas_sasum(int n, const float* x, int incx);
double cblas_dasum(int n, const double* x, int incx);
float cblas_scasum(int n, const void* x, int incx);
double cblas_dzasum(int n, const void* x, int incx);

/* Euclidean norm by scaled squares; the complex forms size both terms of an element by its real part */
float cblas_snrm2(int n, const float* x, int incx);
double cblas_dnrm2(int n, const double* x, int incx);
float cblas_scnrm2(int n, const void* x, int incx);
double cblas_dznrm2(int n, const void* x, int incx);

/* 0-based position of the first element of largest (amax) or smallest (amin) |Re| + |Im| */
int cblas_isamax(int n, const float* x, int incx);
int cblas_idamax(int n, const double* x, int incx);
int cblas_icamax(int n, const void* x, int incx);
int cblas_izamax(int n, const void* x, int incx);
int cblas_isamin(int n, const float* x, int incx);
int cblas_idamin(int n, const double* x, int incx);
int cblas_icamin(int n, const void* x, int incx);
int cblas_izamin(int n, const void* x, int incx);

/* ---- Level 2: general matrix-vector products ---- */

/* y := alpha*op(A)*x + beta*y, op one of NoTrans, Trans, ConjTrans */
void cblas_sgemv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, float alpha, const float* a, int lda,
                 const float* x, int incx, float beta, float* y, int incy);
void cblas_dgemv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, double alpha, const double* a, int lda,
                 const double* x, int incx, double beta, double* y, int incy);
void cblas_cgemv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, const void* alpha, const void* a, int lda,
                 const void* x, int incx, const void* beta, void* y, int incy);
void cblas_zgemv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, const void* alpha, const void* a, int lda,
                 const void* x, int incx, const void* beta, void* y, int incy);

/* The same with A in band storage: kl subdiagonals, ku superdiagonals, lda at least kl + ku + 1 */
void cblas_sgbmv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, int kl, int ku, float alpha, const float* a,
                 int lda, const float* x, int incx, float beta, float* y, int incy);
void cblas_dgbmv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, int kl, int ku, double alpha,
                 const double* a, int lda, const double* x, int incx, double beta, double* y, int incy);
void cblas_cgbmv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, int kl, int ku, const void* alpha,
                 const void* a, int lda, const void* x, int incx, const void* beta, void* y, int incy);
void cblas_zgbmv(CBLAS_ORDER order, CBLAS_TRANSPOSE trans, int m, int n, int kl, int ku, const void* alpha,
                 const void* a, int lda, const void* x, int incx, const void* beta, void* y, int incy);

/* ---- Level 2: rank-one updates ---- */

/* A := alpha*x*y^T + A (GER, GERU) and A := alpha*x*y^H + A (GERC) */
void cblas_sger(CBLAS_ORDER order, int m, int n, float alpha, const float* x, int incx, const float* y, int incy,
                float* a, int lda);
void cblas_dger(CBLAS_ORDER order, int m, int n, double alpha, const double* x, int incx, const double* y, int incy,
                double* a, int lda);
void cblas_cgeru(CBLAS_ORDER order, int m, int n, const void* alpha, const void* x, int incx, const void* y, int incy,
                 void* a, int lda);
void cblas_zgeru(CBLAS_ORDER order, int m, int n, const void* alpha, const void* x, int incx, const void* y, int incy,
                 void* a, int lda);
void cblas_cgerc(CBLAS_ORDER order, int m, int n, const void* alpha, const void* x, int incx, const void* y, int incy,
                 void* a, int lda);
void cblas_zgerc(CBLAS_ORDER order, int m, int n, const void* alpha, const void* x, int incx, const void* y, int incy,
                 void* a, int lda);

/* ---- Level 2: triangular solves and products ---- */

/* x := inv(op(A))*x: solves op(A) x = b for a triangular A, b given in x; op one of NoTrans, Trans, ConjTrans */
void cblas_strsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const float* a,
                 int lda, float* x, int incx);
void cblas_dtrsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const double* a,
                 int lda, double* x, int incx);
void cblas_ctrsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const void* a,
                 int lda, void* x, int incx);
void cblas_ztrsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const void* a,
                 int lda, void* x, int incx);

/* The same with A in band storage: k off-diagonals, lda at least k + 1 */
void cblas_stbsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, int k,
                 const float* a, int lda, float* x, int incx);
void cblas_dtbsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, int k,
                 const double* a, int lda, double* x, int incx);
void cblas_ctbsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, int k,
                 const void* a, int lda, void* x, int incx);
void cblas_ztbsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, int k,
                 const void* a, int lda, void* x, int incx);

/* The same with the triangle packed column by column in ap, n(n+1)/2 elements */
void cblas_stpsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const float* ap,
                 float* x, int incx);
void cblas_dtpsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const double* ap,
                 double* x, int incx);
void cblas_ctpsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const void* ap,
                 void* x, int incx);
void cblas_ztpsv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const void* ap,
                 void* x, int incx);

/* x := op(A)*x for a triangular A */
void cblas_strmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const float* a,
                 int lda, float* x, int incx);
void cblas_dtrmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const double* a,
                 int lda, double* x, int incx);
void cblas_ctrmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const void* a,
                 int lda, void* x, int incx);
void cblas_ztrmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const void* a,
                 int lda, void* x, int incx);

/* The same with A in band storage: k off-diagonals, lda at least k + 1 */
void cblas_stbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, int k,
                 const float* a, int lda, float* x, int incx);
void cblas_dtbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, int k,
                 const double* a, int lda, double* x, int incx);
void cblas_ctbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, int k,
                 const void* a, int lda, void* x, int incx);
void cblas_ztbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, int k,
                 const void* a, int lda, void* x, int incx);

/* The same with the triangle packed column by column in ap, n(n+1)/2 elements */
void cblas_stpmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const float* ap,
                 float* x, int incx);
void cblas_dtpmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const double* ap,
                 double* x, int incx);
void cblas_ctpmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const void* ap,
                 void* x, int incx);
void cblas_ztpmv(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, int n, const void* ap,
                 void* x, int incx);

/* ---- Level 2: symmetric and Hermitian products ---- */

/* y := alpha*A*x + beta*y for a symmetric (SYMV) or Hermitian (HEMV) A, one triangle stored; the imaginary
 * parts of a Hermitian diagonal are not read. Row-major complex calls work on a conjugated copy of x, so an
 * incx of 0 is not refused there. */
void cblas_ssymv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const float* a, int lda, const float* x,
                 int incx, float beta, float* y, int incy);
void cblas_dsymv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const double* a, int lda, const double* x,
                 int incx, double beta, double* y, int incy);
void cblas_chemv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* a, int lda, const void* x,
                 int incx, const void* beta, void* y, int incy);
void cblas_zhemv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* a, int lda, const void* x,
                 int incx, const void* beta, void* y, int incy);

/* The same with A in band storage: k off-diagonals, lda at least k + 1 */
void cblas_ssbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, int k, float alpha, const float* a, int lda,
                 const float* x, int incx, float beta, float* y, int incy);
void cblas_dsbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, int k, double alpha, const double* a, int lda,
                 const double* x, int incx, double beta, double* y, int incy);
void cblas_chbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, int k, const void* alpha, const void* a, int lda,
                 const void* x, int incx, const void* beta, void* y, int incy);
void cblas_zhbmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, int k, const void* alpha, const void* a, int lda,
                 const void* x, int incx, const void* beta, void* y, int incy);

/* The same with the triangle packed column by column in ap, n(n+1)/2 elements */
void cblas_sspmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const float* ap, const float* x, int incx,
                 float beta, float* y, int incy);
void cblas_dspmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const double* ap, const double* x, int incx,
                 double beta, double* y, int incy);
void cblas_chpmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* ap, const void* x, int incx,
                 const void* beta, void* y, int incy);
void cblas_zhpmv(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* ap, const void* x, int incx,
                 const void* beta, void* y, int incy);

/* ---- Level 2: symmetric and Hermitian rank updates ---- */

/* A := alpha*x*x^T + A (SYR) or alpha*x*x^H + A (HER, real alpha) on the stored triangle; HER sets the imaginary
 * parts of the diagonal to 0. Row-major complex calls work on a conjugated copy of x, so an incx of 0 is not
 * refused there; the same holds for x and y in the packed and rank-two forms below. */
void cblas_ssyr(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const float* x, int incx, float* a, int lda);
void cblas_dsyr(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const double* x, int incx, double* a,
                int lda);
void cblas_cher(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const void* x, int incx, void* a, int lda);
void cblas_zher(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const void* x, int incx, void* a, int lda);

/* The same with the triangle packed column by column in ap, n(n+1)/2 elements */
void cblas_sspr(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const float* x, int incx, float* ap);
void cblas_dspr(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const double* x, int incx, double* ap);
void cblas_chpr(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const void* x, int incx, void* ap);
void cblas_zhpr(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const void* x, int incx, void* ap);

/* A := alpha*x*y^T + alpha*y*x^T + A (SYR2) or alpha*x*y^H + conj(alpha)*y*x^H + A (HER2). For n > 8, HER2
 * applies alpha, not conj(alpha), to y*x^H in most off-diagonal elements: the same for a real alpha. */
void cblas_ssyr2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const float* x, int incx, const float* y,
                 int incy, float* a, int lda);
void cblas_dsyr2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const double* x, int incx, const double* y,
                 int incy, double* a, int lda);
void cblas_cher2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* x, int incx, const void* y,
                 int incy, void* a, int lda);
void cblas_zher2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* x, int incx, const void* y,
                 int incy, void* a, int lda);

/* The same with the triangle packed column by column in ap, n(n+1)/2 elements; HPR2 uses conj(alpha) throughout */
void cblas_sspr2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, float alpha, const float* x, int incx, const float* y,
                 int incy, float* ap);
void cblas_dspr2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, double alpha, const double* x, int incx, const double* y,
                 int incy, double* ap);
void cblas_chpr2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* x, int incx, const void* y,
                 int incy, void* ap);
void cblas_zhpr2(CBLAS_ORDER order, CBLAS_UPLO uplo, int n, const void* alpha, const void* x, int incx, const void* y,
                 int incy, void* ap);

/* ---- Level 3 ---- */

void cblas_sgemm(CBLAS_ORDER order, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k, float alpha,
                 const float* a, int lda, const float* b, int ldb, float beta, float* c, int ldc);
void cblas_dgemm(CBLAS_ORDER order, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k, double alpha,
                 const double* a, int lda, const double* b, int ldb, double beta, double* c, int ldc);
void cblas_cgemm(CBLAS_ORDER order, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k,
                 const void* alpha, const void* a, int lda, const void* b, int ldb, const void* beta, void* c, int ldc);
void cblas_zgemm(CBLAS_ORDER order, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k,
                 const void* alpha, const void* a, int lda, const void* b, int ldb, const void* beta, void* c, int ldc);

void cblas_strsm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, float alpha, const float* a, int lda, float* b, int ldb);
void cblas_dtrsm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, double alpha, const double* a, int lda, double* b, int ldb);
void cblas_ctrsm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, const void* alpha, const void* a, int lda, void* b, int ldb);
void cblas_ztrsm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, const void* alpha, const void* a, int lda, void* b, int ldb);

void cblas_strmm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, float alpha, const float* a, int lda, float* b, int ldb);
void cblas_dtrmm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, double alpha, const double* a, int lda, double* b, int ldb);
void cblas_ctrmm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, const void* alpha, const void* a, int lda, void* b, int ldb);
void cblas_ztrmm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa, CBLAS_DIAG diag, int m,
                 int n, const void* alpha, const void* a, int lda, void* b, int ldb);

void cblas_ssymm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n, float alpha, const float* a,
                 int lda, const float* b, int ldb, float beta, float* c, int ldc);
void cblas_dsymm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n, double alpha, const double* a,
                 int lda, const double* b, int ldb, double beta, double* c, int ldc);
void cblas_csymm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n, const void* alpha, const void* a,
                 int lda, const void* b, int ldb, const void* beta, void* c, int ldc);
void cblas_zsymm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n, const void* alpha, const void* a,
                 int lda, const void* b, int ldb, const void* beta, void* c, int ldc);
void cblas_chemm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n, const void* alpha, const void* a,
                 int lda, const void* b, int ldb, const void* beta, void* c, int ldc);
void cblas_zhemm(CBLAS_ORDER order, CBLAS_SIDE side, CBLAS_UPLO uplo, int m, int n, const void* alpha, const void* a,
                 int lda, const void* b, int ldb, const void* beta, void* c, int ldc);

void cblas_ssyrk(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, float alpha, const float* a,
                 int lda, float beta, float* c, int ldc);
void cblas_dsyrk(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, double alpha, const double* a,
                 int lda, double beta, double* c, int ldc);
void cblas_csyrk(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, const void* alpha,
                 const void* a, int lda, const void* beta, void* c, int ldc);
void cblas_zsyrk(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, const void* alpha,
                 const void* a, int lda, const void* beta, void* c, int ldc);
void cblas_cherk(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, float alpha, const void* a,
                 int lda, float beta, void* c, int ldc);
void cblas_zherk(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, double alpha, const void* a,
                 int lda, double beta, void* c, int ldc);

void cblas_ssyr2k(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, float alpha, const float* a,
                  int lda, const float* b, int ldb, float beta, float* c, int ldc);
void cblas_dsyr2k(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, double alpha,
                  const double* a, int lda, const double* b, int ldb, double beta, double* c, int ldc);
void cblas_csyr2k(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, const void* alpha,
                  const void* a, int lda, const void* b, int ldb, const void* beta, void* c, int ldc);
void cblas_zsyr2k(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, const void* alpha,
                  const void* a, int lda, const void* b, int ldb, const void* beta, void* c, int ldc);
void cblas_cher2k(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, const void* alpha,
                  const void* a, int lda, const void* b, int ldb, float beta, void* c, int ldc);
void cblas_zher2k(CBLAS_ORDER order, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, int n, int k, const void* alpha,
                  const void* a, int lda, const void* b, int ldb, double beta, void* c, int ldc);

#ifdef __cplusplus
}
#endif

#endif
