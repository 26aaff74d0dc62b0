// The symmetric Level 2 cases: DSYMV of order n with either triangle stored, DSPMV of a packed lower triangle, and
// the rank updates DSYR and DSYR2 of a lower triangle, in GB/s of the bytes a call must move. The stored triangle
// counts once, n(n+1)/2 elements: a product reads it, an update reads and writes it. A product also reads x and
// reads and writes y; DSYR reads x, DSYR2 x and y.
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <vector>

#include "bench_case.h"
#include "kovra/cblas.h"
#include "operand_buffer.h"

namespace kovra::bench {
namespace {

const std::string symmetric_vector_family = "LEVEL2";
const std::vector<int> symv_sizes = {4000};
const std::vector<int> packed_and_update_sizes = {2000};

// |beta| < 1 keeps y bounded over repeated calls; neither scalar is one a library may skip. The updates add
// alpha x x^T (or its two-vector form) again at every call: with |x|, |y| < 1 an element grows by at most 0.5
// (1 for DSYR2) a call, far from overflow over any run.
constexpr double symmetric_vector_alpha = 0.5;
constexpr double symmetric_vector_beta = 0.5;

enum class symmetric_vector_routine { symv, spmv, syr, syr2 };

using symv_entry = decltype(&cblas_dsymv);
using spmv_entry = decltype(&cblas_dspmv);
using syr_entry = decltype(&cblas_dsyr);
using syr2_entry = decltype(&cblas_dsyr2);

// A symmetric A of order n, one triangle of it stored in full (lda = n) or packed storage, with x and y, refilled
// before every measurement. The full array's other triangle keeps its fill: it is not symmetric to the stored one,
// so a library that reads it gives a wrong product, and one that writes it a wrong A.
template <symmetric_vector_routine R>
class symmetric_vector_operands {
 public:
  static constexpr bool packed = R == symmetric_vector_routine::spmv;
  static constexpr bool product = R == symmetric_vector_routine::symv || R == symmetric_vector_routine::spmv;

  symmetric_vector_operands(bool upper, int n)
      : upper_(upper),
        n_(n),
        a_(packed ? triangle(n) : std::size_t(n) * n, 1),
        x_(std::size_t(n), 2),
        y_(R == symmetric_vector_routine::syr ? 0 : std::size_t(n), 3) {}

  void reset() {
    a_.fill();
    x_.fill();
    y_.fill();
  }

  // One call through KOVRA's entry or the peer's.
  template <typename Fn>
  void call(Fn f) {
    const double alpha = symmetric_vector_alpha, beta = symmetric_vector_beta;
    const CBLAS_UPLO uplo = upper_ ? CblasUpper : CblasLower;
    if constexpr (R == symmetric_vector_routine::symv)
      f(CblasColMajor, uplo, n_, alpha, a_.data(), n_, x_.data(), 1, beta, y_.data(), 1);
    else if constexpr (R == symmetric_vector_routine::spmv)
      f(CblasColMajor, uplo, n_, alpha, a_.data(), x_.data(), 1, beta, y_.data(), 1);
    else if constexpr (R == symmetric_vector_routine::syr)
      f(CblasColMajor, uplo, n_, alpha, x_.data(), 1, a_.data(), n_);
    else
      f(CblasColMajor, uplo, n_, alpha, x_.data(), 1, y_.data(), 1, a_.data(), n_);
  }

  // What a right call leaves, by plain loops over the stored triangle column by column. A product sums in long
  // double, each off-diagonal element adding to its own row and to the mirrored one; an update adds to each stored
  // element with fused multiply-adds in double, on the operands themselves.
  std::vector<operand_checksum> expected() {
    const double alpha = symmetric_vector_alpha;
    const double* x = x_.data();
    if constexpr (product) {
      std::vector<long double> sum(std::size_t(n_), 0);
      for (int j = 0; j < n_; ++j) {
        for (int i = first_row(j); i < end_row(j); ++i) {
          const long double a = *stored(i, j);
          sum[i] += a * x[j];
          if (i != j) sum[j] += a * x[i];
        }
      }
      std::vector<double> y(y_.data(), y_.data() + n_);
      for (int i = 0; i < n_; ++i) y[i] = double(alpha * sum[i] + (long double)symmetric_vector_beta * y[i]);
      return {{"y", weighted_checksum(y.data(), y.size())}};
    } else {
      const double* y = y_.data();
      for (int j = 0; j < n_; ++j) {
        for (int i = first_row(j); i < end_row(j); ++i) {
          double& a = *stored(i, j);
          if constexpr (R == symmetric_vector_routine::syr)
            a = std::fma(alpha * x[j], x[i], a);
          else
            a = std::fma(alpha * x[j], y[i], std::fma(alpha * y[j], x[i], a));
        }
      }
      return sums();
    }
  }

  // y for a product; all of A for an update, its other triangle included, which must come back as it was.
  std::vector<operand_checksum> sums() const {
    if constexpr (product)
      return {{"y", y_.sum()}};
    else
      return {{"A", a_.sum()}};
  }

  static double bytes(int n) {
    const double vectors = product ? 3.0 * n : R == symmetric_vector_routine::syr ? 1.0 * n : 2.0 * n;
    return ((product ? 1.0 : 2.0) * double(triangle(n)) + vectors) * sizeof(double);
  }

 private:
  static std::size_t triangle(int n) { return std::size_t(n) * (std::size_t(n) + 1) / 2; }

  // Column j of the triangle holds the rows [first_row(j), end_row(j)).
  int first_row(int j) const { return upper_ ? 0 : j; }
  int end_row(int j) const { return upper_ ? j + 1 : n_; }
  double* stored(int i, int j) {
    const std::size_t I = i, J = j, n = n_;
    if (!packed) return a_.data() + I + J * n;
    return a_.data() + (upper_ ? I + J * (J + 1) / 2 : I - J + J * (2 * n - J + 1) / 2);
  }

  bool upper_;
  int n_;
  operand_buffer<double> a_, x_, y_;
};

// A product's error grows with the length of its sums, as GEMV's does; an updated element is one or two fused
// multiply-adds away from A, after rounding alpha x_j (and alpha y_j) once, as DGER's.
template <symmetric_vector_routine R, typename Entry>
bench_case symmetric_vector_case(const char* name, const char* symbol, Entry ours, bool upper,
                                 const std::vector<int>& sizes, bool default_run) {
  using operands = symmetric_vector_operands<R>;
  return bench_case{.name = name,
                    .family = symmetric_vector_family,
                    .unit = gigabytes_per_second,
                    .work = [](int n) { return operands::bytes(n); },
                    .sizes = sizes,
                    .default_run_sizes = default_run ? sizes : std::vector<int>{},
                    .make =
                        [=](int n, const peer_library* peer) {
                          auto o = std::make_shared<operands>(upper, n);
                          workload w;
                          w.reset = [o] { o->reset(); };
                          w.ours = [o, ours] { o->call(ours); };
                          if (peer != nullptr)
                            if (const Entry theirs = peer->find<Entry>(symbol))
                              w.peer = [o, theirs] { o->call(theirs); };
                          w.expected = [o] { return o->expected(); };
                          w.sums = [o] { return o->sums(); };
                          constexpr double eps = std::numeric_limits<double>::epsilon();
                          w.rounding = operands::product ? 16 * eps * std::sqrt(double(n)) : 8 * eps;
                          return w;
                        }};
}

}  // namespace

std::vector<bench_case> symmetric_vector_cases() {
  using R = symmetric_vector_routine;
  return {
      symmetric_vector_case<R::symv>("DSYMV_L", "cblas_dsymv", symv_entry{&cblas_dsymv}, false, symv_sizes, true),
      symmetric_vector_case<R::symv>("DSYMV_U", "cblas_dsymv", symv_entry{&cblas_dsymv}, true, symv_sizes, false),
      symmetric_vector_case<R::spmv>("DSPMV", "cblas_dspmv", spmv_entry{&cblas_dspmv}, false, packed_and_update_sizes,
                                     true),
      symmetric_vector_case<R::syr>("DSYR", "cblas_dsyr", syr_entry{&cblas_dsyr}, false, packed_and_update_sizes, true),
      symmetric_vector_case<R::syr2>("DSYR2", "cblas_dsyr2", syr2_entry{&cblas_dsyr2}, false, packed_and_update_sizes,
                                     true),
  };
}

}  // namespace kovra::bench
