// gemm<T>: C := alpha * op(A) * op(B) + beta * C, the routine behind all of Level 3. Serial form
// (small_gemm.h) for m, n, k <= 8; otherwise one task per share of C's rows or columns, each packing
// blocks of A and B into its worker's scratch and running the kernel's micro kernel over the panels.
// Callable from inside a running task: it then launches a nested grid and waits in it.
#pragma once

#include <memory>

#include "kernels/kernel_object.h"
#include "threading/scratch.h"

namespace kovra::parallel::blas {

// The per-call record shared by the tasks of one call. Transpose characters are kept as given; the
// tile body works only with the four flags.
template <typename T>
struct gemm_object {
  char transa;
  char transb;
  int m;
  int n;
  int k;
  T alpha;
  const T* a;
  int lda;
  const T* b;
  int ldb;
  T beta;
  T* c;
  int ldc;
  bool nota;
  bool notb;
  bool conja;
  bool conjb;
  std::shared_ptr<kernels::kernel_object<T>> kernel;

  // Computes rows [i0, i1) by columns [j0, j1) of C.
  void run_tile(threading::scratch* s, int i0, int i1, int j0, int j1) const;
};

template <typename T>
void gemm(char transa, char transb, int m, int n, int k, T alpha, const T* a, int lda, const T* b, int ldb, T beta,
          T* c, int ldc);

// The task path of gemm<T> on a given kernel, for arguments that passed the checks, the quick returns
// and the serial cut-off: fills the record and splits C over the workers.
template <typename T>
void gemm_tasks(std::shared_ptr<kernels::kernel_object<T>> kernel, char transa, char transb, int m, int n, int k,
                T alpha, const T* a, int lda, const T* b, int ldb, T beta, T* c, int ldc);

extern template void gemm<float>(char, char, int, int, int, float, const float*, int, const float*, int, float,
                                 float*, int);
extern template void gemm<double>(char, char, int, int, int, double, const double*, int, const double*, int, double,
                                  double*, int);
extern template void gemm<std::complex<float>>(char, char, int, int, int, std::complex<float>,
                                               const std::complex<float>*, int, const std::complex<float>*, int,
                                               std::complex<float>, std::complex<float>*, int);
extern template void gemm<std::complex<double>>(char, char, int, int, int, std::complex<double>,
                                                const std::complex<double>*, int, const std::complex<double>*, int,
                                                std::complex<double>, std::complex<double>*, int);

}  // namespace kovra::parallel::blas
