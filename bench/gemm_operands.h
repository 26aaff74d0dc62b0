// The operands of a GEMM case: column-major A, B and C of a square product of size n, with no padding
// between columns, refilled with the same values before every measurement.
#pragma once

#include <cstddef>
#include <vector>

#include "checksum.h"
#include "gemm_reference.h"
#include "kovra/cblas.h"
#include "operand_buffer.h"

namespace kovra::bench {

template <typename T>
class gemm_operands {
 public:
  // C = alpha op(A) B + beta C, with op(A) = A^T when `transa` is CblasTrans.
  gemm_operands(CBLAS_TRANSPOSE transa, int n, T alpha, T beta)
      : transa_(transa), n_(n), alpha_(alpha), beta_(beta), a_(area(n), 1), b_(area(n), 2), c_(area(n), 3) {}

  void reset() {
    a_.fill();
    b_.fill();
    c_.fill();
  }

  // One call through `gemm`, KOVRA's cblas_?gemm or the peer's entry of the same type.
  template <typename Fn>
  void call(Fn gemm) {
    if constexpr (is_complex_v<T>)
      gemm(CblasColMajor, transa_, CblasNoTrans, n_, n_, n_, &alpha_, a_.data(), n_, b_.data(), n_, &beta_, c_.data(),
           n_);
    else
      gemm(CblasColMajor, transa_, CblasNoTrans, n_, n_, n_, alpha_, a_.data(), n_, b_.data(), n_, beta_, c_.data(),
           n_);
  }

  std::vector<operand_checksum> expected_sums() const {
    return expected_gemm_sums(
        gemm_view<T>{transa_ == CblasTrans, n_, n_, n_, alpha_, a_.data(), n_, b_.data(), n_, beta_, c_.data(), n_});
  }

  std::vector<operand_checksum> sums() const { return gemm_result_sums(n_, n_, c_.data(), n_); }

 private:
  static std::size_t area(int n) { return static_cast<std::size_t>(n) * static_cast<std::size_t>(n); }

  CBLAS_TRANSPOSE transa_;
  int n_;
  T alpha_;
  T beta_;
  operand_buffer<T> a_;
  operand_buffer<T> b_;
  operand_buffer<T> c_;
};

}  // namespace kovra::bench
