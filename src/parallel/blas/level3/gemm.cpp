// gemm<T>: argument checks, quick returns, the serial path and the parallel split; the four element types.
#include "parallel/blas/level3/gemm.h"

#include "error/error.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level3/gemm_tile.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {
namespace {

// The position of the first bad argument in the Fortran list (TRANSA, TRANSB, M, N, K, ALPHA, A, LDA, B,
// LDB, BETA, C, LDC), or 0.
int gemm_bad_argument(char transa, char transb, int m, int n, int k, int lda, int ldb, int ldc) {
  const char ta = helper::fold_letter(transa), tb = helper::fold_letter(transb);
  if (!helper::valid_trans(ta)) return 1;
  if (!helper::valid_trans(tb)) return 2;
  if (m < 0) return 3;
  if (n < 0) return 4;
  if (k < 0) return 5;
  if (helper::MAX(1, ta == 'N' ? m : k) > lda) return 8;
  if (helper::MAX(1, tb == 'N' ? k : n) > ldb) return 10;
  if (helper::MAX(1, m) > ldc) return 13;
  return 0;
}

}  // namespace

template <typename T>
void gemm(char transa, char transb, int m, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb, T beta,
          T* c, int ldc) {
  if (error::bad_argument("GEMM ", gemm_bad_argument(transa, transb, m, n, k, lda, ldb, ldc))) return;
  if (m == 0 || n == 0) return;
  if ((k == 0 || helper::is_zero(alpha)) && helper::is_one(beta)) return;
  if (m <= serial_cutoff && n <= serial_cutoff && k <= serial_cutoff) {
    small_gemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }

  gemm_tasks(kernels::get_kernel<T>(), transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

template <typename T>
void gemm_tasks(std::shared_ptr<kernels::kernel_object<T>> kernel, char transa, char transb, int m, int n, int k,
                T alpha, const T* a, int lda, const T* b, int ldb, T beta, T* c, int ldc) {
  const char ta = helper::fold_letter(transa), tb = helper::fold_letter(transb);
  const int tile_m = kernel->tile_m, tile_n = kernel->tile_n;
  const gemm_object<T> record{transa,    transb,    m,         n,         k,   alpha,  a,
                              lda,       b,         ldb,       beta,      c,   ldc,    ta == 'N',
                              tb == 'N', ta == 'C', tb == 'C', std::move(kernel)};
  // Split one dimension only, so no two tasks touch the same element of C: few rows split the columns.
  if (m <= 4 * tile_m) threading::launch_grid(m, m, n, tile_n, &record);
  else threading::launch_grid(m, tile_m, n, n, &record);
}

template void gemm<float>(char, char, int, int, int, float, const float*, int, const float*, int, float, float*, int);
template void gemm<double>(char, char, int, int, int, double, const double*, int, const double*, int, double,
                           double*, int);
template void gemm<std::complex<float>>(char, char, int, int, int, std::complex<float>, const std::complex<float>*,
                                        int, const std::complex<float>*, int, std::complex<float>,
                                        std::complex<float>*, int);
template void gemm<std::complex<double>>(char, char, int, int, int, std::complex<double>,
                                         const std::complex<double>*, int, const std::complex<double>*, int,
                                         std::complex<double>, std::complex<double>*, int);

template void gemm_tasks<float>(std::shared_ptr<kernels::kernel_object<float>>, char, char, int, int, int, float,
                                const float*, int, const float*, int, float, float*, int);
template void gemm_tasks<double>(std::shared_ptr<kernels::kernel_object<double>>, char, char, int, int, int, double,
                                 const double*, int, const double*, int, double, double*, int);
template void gemm_tasks<std::complex<float>>(std::shared_ptr<kernels::kernel_object<std::complex<float>>>, char,
                                              char, int, int, int, std::complex<float>, const std::complex<float>*,
                                              int, const std::complex<float>*, int, std::complex<float>,
                                              std::complex<float>*, int);
template void gemm_tasks<std::complex<double>>(std::shared_ptr<kernels::kernel_object<std::complex<double>>>, char,
                                               char, int, int, int, std::complex<double>,
                                               const std::complex<double>*, int, const std::complex<double>*, int,
                                               std::complex<double>, std::complex<double>*, int);

}  // namespace kovra::parallel::blas
