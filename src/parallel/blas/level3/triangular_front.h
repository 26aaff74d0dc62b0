// The path every TRSM and TRMM call takes: the checks under the family's name, the quick returns, the serial
// form when m and n are at most 8, else the split of B by right-hand sides over tasks of the routine's record.
// Tasks are independent: with side 'L' every column of B is its own right-hand side, with 'R' every row, so a
// task owns whole columns (in multiples of tile_n) or whole rows (in multiples of tile_m) and all read A.
#pragma once

#include "error/error.h"
#include "kernels/get_kernel.h"
#include "parallel/blas/level3/triangular.h"
#include "threading/launch.h"

namespace kovra::parallel::blas {

template <typename Record, typename T, typename Small>
void triangular_front(const char* family, Small small, char side, char uplo, char transa, char diag, int m, int n,
                      T alpha, const T* a, int lda, T* b, int ldb) {
  if (error::bad_argument(family, triangular_bad_argument(side, uplo, transa, diag, m, n, lda, ldb))) return;
  if (m == 0 || n == 0) return;
  if (helper::is_zero(alpha)) return clear_columns(m, n, b, ldb);
  if (m <= serial_cutoff && n <= serial_cutoff) return small(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
  auto kernel = kernels::get_kernel<T>();
  const int tile_m = kernel->tile_m, tile_n = kernel->tile_n;
  const Record record{{side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb, std::move(kernel)}};
  if (helper::fold_letter(side) == 'L')
    threading::launch_grid(m, m, n, tile_n, &record);
  else
    threading::launch_grid(m, tile_m, n, n, &record);
}

}  // namespace kovra::parallel::blas
