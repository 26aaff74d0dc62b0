/* The CBLAS form of KOVRA: the enumerations and the cblas_ entries. Usable from C and C++.
 *
 * Counts and increments are int by value. Real scalars are by value; complex scalars are const void*
 * pointing at (real part, imaginary part). Complex arrays are void* to interleaved pairs. */
#ifndef KOVRA_CBLAS_H
#define KOVRA_CBLAS_H

#ifdef __cplusplus
extern "C" {
#endif

/* Only CblasColMajor is tested for: any other Order value means row-major. */
enum CBLAS_ORDER { CblasRowMajor = 101, CblasColMajor = 102 };
enum CBLAS_TRANSPOSE { CblasNoTrans = 111, CblasTrans = 112, CblasConjTrans = 113 };
enum CBLAS_UPLO { CblasUpper = 121, CblasLower = 122 };
enum CBLAS_DIAG { CblasNonUnit = 131, CblasUnit = 132 };
enum CBLAS_SIDE { CblasLeft = 141, CblasRight = 142 };

typedef enum CBLAS_ORDER CBLAS_ORDER;
typedef enum CBLAS_ORDER CBLAS_LAYOUT;
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

/* |Re z| + |Im z| of the complex value at z */
float cblas_scabs1(const void* z);
double cblas_dcabs1(const void* z);

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

/* ---- Level 3 ---- */

void cblas_sgemm(CBLAS_ORDER order, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k, float alpha,
                 const float* a, int lda, const float* b, int ldb, float beta, float* c, int ldc);
void cblas_dgemm(CBLAS_ORDER order, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k, double alpha,
                 const double* a, int lda, const double* b, int ldb, double beta, double* c, int ldc);
void cblas_cgemm(CBLAS_ORDER order, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k,
                 const void* alpha, const void* a, int lda, const void* b, int ldb, const void* beta, void* c, int ldc);
void cblas_zgemm(CBLAS_ORDER order, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k,
                 const void* alpha, const void* a, int lda, const void* b, int ldb, const void* beta, void* c, int ldc);

#ifdef __cplusplus
}
#endif

#endif
