// The triangular Level 3 cases: TRSM and TRMM of a lower-triangular A of order n on an n by n B, in GFLOPS,
// with alpha = 1 so that every library computes the same product or solve. A's diagonal is made large
// enough for the solve to stay well conditioned.
#include <cmath>
#include <memory>

#include "bench_case.h"
#include "gemm_reference.h"
#include "kovra/cblas.h"
#include "operand_buffer.h"

namespace kovra::bench {
namespace {

const std::string triangular_family = "TRIANGULAR";
const std::vector<int> triangular_sizes = {256, 1000, 2000};

template <typename T>
using triangular_entry = void (*)(CBLAS_ORDER, CBLAS_SIDE, CBLAS_UPLO, CBLAS_TRANSPOSE, CBLAS_DIAG, int, int, T,
                                  const T*, int, T*, int);

// A (lower, non-unit, diagonal n + 1) and B, square of size n, refilled before every measurement.
template <typename T>
class triangular_operands {
 public:
  triangular_operands(bool solve, CBLAS_SIDE side, int n)
      : solve_(solve), side_(side), n_(n), a_(area(), 1), b_(area(), 2) {}

  void reset() {
    a_.fill();
    for (int i = 0; i < n_; ++i) a_.data()[i + std::size_t(i) * n_] = T(n_ + 1);
    b_.fill();
  }
  void call(triangular_entry<T> f) {
    f(CblasColMajor, side_, CblasLower, CblasNoTrans, CblasNonUnit, n_, n_, T(1), a_.data(), n_, b_.data(), n_);
  }
  // The plain loop, column by column (side 'L') or row by row (side 'R'), in double.
  std::vector<operand_checksum> expected() {
    std::vector<double> x(b_.data(), b_.data() + area());
    const auto A = [&](int i, int j) { return double(a_.data()[i + std::size_t(j) * n_]); };
    const bool left = side_ == CblasLeft;
    for (int r = 0; r < n_; ++r) {  // a right-hand side: column r of B, or row r
      const auto X = [&](int i) -> double& { return left ? x[i + std::size_t(r) * n_] : x[r + std::size_t(i) * n_]; };
      // op(A) with A lower is lower on the left and (for X A) upper in X's index on the right.
      if (solve_ && left)
        for (int i = 0; i < n_; ++i) {
          for (int k = 0; k < i; ++k) X(i) -= A(i, k) * X(k);
          X(i) /= A(i, i);
        }
      else if (solve_)
        for (int j = n_ - 1; j >= 0; --j) {
          for (int k = j + 1; k < n_; ++k) X(j) -= X(k) * A(k, j);
          X(j) /= A(j, j);
        }
      else if (left)
        for (int i = n_ - 1; i >= 0; --i) {
          double s = 0;
          for (int k = 0; k <= i; ++k) s += A(i, k) * X(k);
          X(i) = s;
        }
      else
        for (int j = 0; j < n_; ++j) {
          double s = 0;
          for (int k = j; k < n_; ++k) s += X(k) * A(k, j);
          X(j) = s;
        }
    }
    return {{"B", weighted_checksum(x.data(), x.size())}};
  }
  std::vector<operand_checksum> sums() const { return {{"B", b_.sum()}}; }

 private:
  std::size_t area() const { return std::size_t(n_) * std::size_t(n_); }
  bool solve_;
  CBLAS_SIDE side_;
  int n_;
  operand_buffer<T> a_, b_;
};

template <typename T>
bench_case triangular_case(const char* name, const char* symbol, triangular_entry<T> ours, bool solve, CBLAS_SIDE side,
                           const std::vector<int>& default_run_sizes) {
  return bench_case{.name = name,
                    .family = triangular_family,
                    .unit = gigaflops,
                    .work = [](int n) { return double(n) * n * n; },  // n * n(n+1)/2 multiply-adds of 2 flops
                    .sizes = triangular_sizes,
                    .default_run_sizes = default_run_sizes,
                    .make =
                        [=](int n, const peer_library* peer) {
                          auto o = std::make_shared<triangular_operands<T>>(solve, side, n);
                          workload w;
                          w.reset = [o] { o->reset(); };
                          w.ours = [o, ours] { o->call(ours); };
                          if (peer != nullptr)
                            if (const auto theirs = peer->find<triangular_entry<T>>(symbol))
                              w.peer = [o, theirs] { o->call(theirs); };
                          w.expected = [o] { return o->expected(); };
                          w.sums = [o] { return o->sums(); };
                          w.rounding = 64 * gemm_rounding<T>(n);
                          return w;
                        }};
}

}  // namespace

std::vector<bench_case> triangular_cases() {
  return {
      triangular_case<double>("DTRSM", "cblas_dtrsm", &cblas_dtrsm, true, CblasLeft, {1000}),
      triangular_case<float>("STRSM", "cblas_strsm", &cblas_strsm, true, CblasLeft, {1000}),
      triangular_case<double>("DTRSM_R", "cblas_dtrsm", &cblas_dtrsm, true, CblasRight, {}),
      triangular_case<double>("DTRMM", "cblas_dtrmm", &cblas_dtrmm, false, CblasLeft, {1000}),
  };
}

}  // namespace kovra::bench
