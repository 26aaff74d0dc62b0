// The triangular Level 2 cases: DTRSV and DTRMV of a lower triangle of order n in both transposes, and DTBSV of a
// lower band, in GB/s of the bytes a call must move (the stored triangle or band once, x read and written).
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <type_traits>

#include "bench_case.h"
#include "kovra/cblas.h"
#include "operand_buffer.h"

namespace kovra::bench {
namespace {

const std::string triangular_vector_family = "LEVEL2";
const std::vector<int> full_sizes = {4000};
const std::vector<int> band_sizes = {100000};
constexpr int band_width = 8;  // k, the off-diagonals of DTBSV's band

using full_entry = decltype(&cblas_dtrsv);  // cblas_dtrmv has the same type
using band_entry = decltype(&cblas_dtbsv);

// A lower-triangular A of order n, full (lda = n) or a band of k off-diagonals (lda = k + 1, the diagonal in row
// 0), and x, refilled before every measurement. A is 1/(n + 1) times a triangle of diagonal n + 1 with the fill
// below it (for the band 1/4 times a diagonal of 4 with the fill divided by k below), so the solve is as well
// conditioned as that. Scaled so, every eigenvalue is 1 or -1, and repeated calls change x's magnitude only
// slowly (by under 4% a call for the band, far less for the full triangle), where a diagonal of n + 1 would divide
// or multiply x by about n + 1 at each call. The diagonal's alternating sign makes a unit-diagonal reading wrong.
class triangular_vector_operands {
 public:
  triangular_vector_operands(bool solve, bool transpose, int n, int k)
      : solve_(solve), transpose_(transpose), band_(k >= 0), n_(n), k_(band_ ? k : n - 1), lda_(band_ ? k + 1 : n),
        a_(std::size_t(lda_) * n, 1), x_(std::size_t(n), 2) {}

  void reset() {
    a_.fill();
    const double scale = band_ ? 1.0 / (4.0 * k_) : 1.0 / (n_ + 1.0);
    for (int j = 0; j < n_; ++j) {
      double* column = diagonal(j);
      column[0] = j % 2 == 0 ? 1.0 : -1.0;
      for (int i = 1; i < below(j) + 1; ++i) column[i] *= scale;
    }
    x_.fill();
  }

  // One call through KOVRA's entry or the peer's.
  void call(full_entry f) { f(CblasColMajor, CblasLower, trans(), CblasNonUnit, n_, a_.data(), lda_, x_.data(), 1); }
  void call(band_entry f) {
    f(CblasColMajor, CblasLower, trans(), CblasNonUnit, n_, k_, a_.data(), lda_, x_.data(), 1);
  }

  // x as a right call leaves it, by a plain loop in double down the stored columns. A product takes the columns
  // in the order that leaves each x_j unchanged until its last use, as a solve takes them in the order of its
  // recurrence.
  std::vector<operand_checksum> expected() const {
    std::vector<double> x(x_.data(), x_.data() + n_);
    for (int s = 0; s < n_; ++s) {
      const int j = solve_ == transpose_ ? n_ - 1 - s : s;  // the 'N' solve and the 'T' product go forwards
      const double* column = diagonal(j);
      if (solve_ && !transpose_) {
        x[j] /= column[0];
        for (int i = 1; i <= below(j); ++i) x[j + i] -= column[i] * x[j];
      } else if (!transpose_) {
        for (int i = 1; i <= below(j); ++i) x[j + i] += column[i] * x[j];
        x[j] *= column[0];
      } else {
        double sum = 0;
        for (int i = 1; i <= below(j); ++i) sum += column[i] * x[j + i];
        x[j] = solve_ ? (x[j] - sum) / column[0] : column[0] * x[j] + sum;
      }
    }
    return {{"x", weighted_checksum(x.data(), x.size())}};
  }

  std::vector<operand_checksum> sums() const { return {{"x", x_.sum()}}; }

  // The stored triangle or band (with the unused corner of the band array) read once, x read and written.
  static double bytes(int n, int k) {
    const double stored = k < 0 ? double(n) * (n + 1) / 2 : double(k + 1) * n;
    return (stored + 2.0 * n) * sizeof(double);
  }

 private:
  CBLAS_TRANSPOSE trans() const { return transpose_ ? CblasTrans : CblasNoTrans; }
  // Column j from its diagonal element down; it stores below(j) elements under the diagonal.
  double* diagonal(int j) { return a_.data() + (band_ ? 0 : j) + std::size_t(lda_) * j; }
  const double* diagonal(int j) const { return a_.data() + (band_ ? 0 : j) + std::size_t(lda_) * j; }
  int below(int j) const { return std::min(k_, n_ - 1 - j); }

  bool solve_, transpose_, band_;
  int n_, k_, lda_;
  operand_buffer<double> a_, x_;
};

// `Entry` is full_entry or band_entry, which also picks the storage. A solve's error grows with the length of
// its sums, as a product's does, and the well-conditioned A adds little to it.
template <typename Entry>
bench_case triangular_vector_case(const char* name, const char* symbol, Entry ours, bool solve, bool transpose,
                                  bool default_run) {
  constexpr bool band = std::is_same_v<Entry, band_entry>;
  constexpr int k = band ? band_width : -1;
  const std::vector<int>& sizes = band ? band_sizes : full_sizes;
  return bench_case{
      .name = name,
      .family = triangular_vector_family,
      .unit = gigabytes_per_second,
      .work = [](int n) { return triangular_vector_operands::bytes(n, k); },
      .sizes = sizes,
      .default_run_sizes = default_run ? sizes : std::vector<int>{},
      .make =
          [=](int n, const peer_library* peer) {
            auto o = std::make_shared<triangular_vector_operands>(solve, transpose, n, k);
            workload w;
            w.reset = [o] { o->reset(); };
            w.ours = [o, ours] { o->call(ours); };
            if (peer != nullptr)
              if (const Entry theirs = peer->find<Entry>(symbol)) w.peer = [o, theirs] { o->call(theirs); };
            w.expected = [o] { return o->expected(); };
            w.sums = [o] { return o->sums(); };
            w.rounding = 16 * std::numeric_limits<double>::epsilon() * std::sqrt(double(band ? k + 1 : n));
            return w;
          }};
}

}  // namespace

std::vector<bench_case> triangular_vector_cases() {
  return {
      triangular_vector_case("DTRSV_N", "cblas_dtrsv", &cblas_dtrsv, true, false, true),
      triangular_vector_case("DTRSV_T", "cblas_dtrsv", &cblas_dtrsv, true, true, false),
      triangular_vector_case("DTRMV_N", "cblas_dtrmv", &cblas_dtrmv, false, false, true),
      triangular_vector_case("DTRMV_T", "cblas_dtrmv", &cblas_dtrmv, false, true, false),
      triangular_vector_case("DTBSV", "cblas_dtbsv", &cblas_dtbsv, true, false, true),
  };
}

}  // namespace kovra::bench
