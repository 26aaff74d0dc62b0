// The rank-one update cases: DGER on a square column-major matrix of size n, in GB/s of the traffic a
// call must make (A read and written, x and y read once).
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>

#include "bench_case.h"
#include "kovra/cblas.h"
#include "operand_buffer.h"

namespace kovra::bench {
namespace {

// Repeated calls add alpha x y^T again and again: with |x|, |y| < 1 and this alpha A grows by at most
// 0.5 per element and call, which stays far from overflow over any run.
constexpr double dger_alpha = 0.5;

const std::vector<int> rank_update_sizes = {500, 2000};

// An element is one fused multiply-add away from A, after rounding alpha*y_j (or alpha*x_i) once, and
// the weighted checksum adds its own small error.
constexpr double dger_rounding = 8 * std::numeric_limits<double>::epsilon();

class ger_operands {
 public:
  explicit ger_operands(int n) : n_(n), a_(area(n), 1), x_(std::size_t(n), 2), y_(std::size_t(n), 3) {}

  void reset() {
    a_.fill();
    x_.fill();
    y_.fill();
  }

  // One call through `dger`, KOVRA's cblas_dger or the peer's.
  template <typename Fn>
  void call(Fn dger) {
    dger(CblasColMajor, n_, n_, dger_alpha, x_.data(), 1, y_.data(), 1, a_.data(), n_);
  }

  // A(i, j) += (alpha y_j) x_i, as a plain loop on operands just reset.
  std::vector<operand_checksum> expected_sums() {
    double* a = a_.data();
    const double* x = x_.data();
    const double* y = y_.data();
    for (int j = 0; j < n_; ++j) {
      const double t = dger_alpha * y[j];
      for (int i = 0; i < n_; ++i) a[i + std::size_t(j) * n_] = std::fma(t, x[i], a[i + std::size_t(j) * n_]);
    }
    return sums();
  }

  std::vector<operand_checksum> sums() const { return {{"A", a_.sum()}}; }

 private:
  static std::size_t area(int n) { return std::size_t(n) * std::size_t(n); }

  int n_;
  operand_buffer<double> a_;
  operand_buffer<double> x_;
  operand_buffer<double> y_;
};

workload dger_workload(int n, const peer_library* peer) {
  using dger_entry = decltype(&cblas_dger);
  auto g = std::make_shared<ger_operands>(n);
  workload w;
  w.reset = [g] { g->reset(); };
  w.ours = [g] { g->call(&cblas_dger); };
  if (peer != nullptr) {
    if (const dger_entry theirs = peer->find<dger_entry>("cblas_dger")) w.peer = [g, theirs] { g->call(theirs); };
  }
  w.expected = [g] { return g->expected_sums(); };
  w.sums = [g] { return g->sums(); };
  w.rounding = dger_rounding;
  return w;
}

}  // namespace

std::vector<bench_case> rank_update_cases() {
  return {bench_case{.name = "DGER",
                     .family = "LEVEL2",
                     .unit = gigabytes_per_second,
                     .work = [](int n) { return (2.0 * n * n + 2.0 * n) * sizeof(double); },
                     .sizes = rank_update_sizes,
                     .default_run_sizes = {2000},
                     .make = dger_workload}};
}

}  // namespace kovra::bench
