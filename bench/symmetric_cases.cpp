// The symmetric and Hermitian Level 3 cases: SYRK, SYR2K and HERK on the lower triangle of C with n = k, and
// SYMM from the left with a lower-stored A and m = n, in GFLOPS. alpha = 1 and beta = 0.5, so that C is read
// and every library computes the same update.
#include <complex>
#include <memory>
#include <type_traits>

#include "bench_case.h"
#include "gemm_reference.h"
#include "kovra/cblas.h"
#include "operand_buffer.h"

namespace kovra::bench {
namespace {

const std::string symmetric_family = "SYMMETRIC";
const std::vector<int> symmetric_sizes = {256, 1000, 2000};
// ZHERK stops at 1000: its plain loop in complex double does four times the real one's work.
const std::vector<int> hermitian_sizes = {256, 1000};

// Neither 0 nor 1, so that C is read and scaled; repeated calls keep C bounded by twice the update.
constexpr double symmetric_beta = 0.5;

enum class symmetric_routine { syrk, herk, syr2k, symm };

// The rank-k entries of real and complex data: alpha and beta are real for DSYRK and ZHERK alike.
template <typename T>
using stored_t = std::conditional_t<is_complex_v<T>, void, T>;
template <typename T>
using rank_k_entry = void (*)(CBLAS_ORDER, CBLAS_UPLO, CBLAS_TRANSPOSE, int, int, real_t<T>, const stored_t<T>*, int,
                              real_t<T>, stored_t<T>*, int);
using rank_2k_entry = decltype(&cblas_dsyr2k);
using symm_entry = decltype(&cblas_dsymm);

template <typename T>
using wide_t = std::conditional_t<is_complex_v<T>, std::complex<double>, double>;

// acc + x y, the complex product written out in its parts.
inline double multiply_add(double x, double y, double acc) { return acc + x * y; }
inline std::complex<double> multiply_add(std::complex<double> x, std::complex<double> y, std::complex<double> acc) {
  return {acc.real() + x.real() * y.real() - x.imag() * y.imag(),
          acc.imag() + x.real() * y.imag() + x.imag() * y.real()};
}

// The checksum of C's lower triangle column by column, or of all of C when `whole`: a rank update leaves the
// other triangle as it found it, and what is there does not count.
template <typename R>
checksum lower_triangle_sum(const R* c, std::size_t reals_per_element, int n, bool whole) {
  std::vector<R> kept;
  kept.reserve(reals_per_element * (whole ? std::size_t(n) * n : std::size_t(n) * (n + 1) / 2));
  for (int j = 0; j < n; ++j) {
    const R* column = c + reals_per_element * std::size_t(j) * n;
    kept.insert(kept.end(), column + reals_per_element * (whole ? 0 : j), column + reals_per_element * n);
  }
  return weighted_checksum(kept.data(), kept.size());
}

// A, B (for SYR2K and SYMM) and C, square of size n, refilled before every measurement. Only the lower triangle
// of SYMM's A is read; its upper one keeps its fill, which no library may use.
template <typename T, symmetric_routine R>
class symmetric_operands {
 public:
  explicit symmetric_operands(int n)
      : n_(n), a_(area(), 1), b_(R == symmetric_routine::syr2k || R == symmetric_routine::symm ? area() : 0, 2),
        c_(area(), 3) {}

  void reset() {
    a_.fill();
    b_.fill();
    c_.fill();
  }
  template <typename Fn>
  void call(Fn f) {
    const real_t<T> one = 1, beta = symmetric_beta;
    if constexpr (R == symmetric_routine::syrk || R == symmetric_routine::herk)
      f(CblasColMajor, CblasLower, CblasNoTrans, n_, n_, one, a_.data(), n_, beta, c_.data(), n_);
    else if constexpr (R == symmetric_routine::syr2k)
      f(CblasColMajor, CblasLower, CblasNoTrans, n_, n_, one, a_.data(), n_, b_.data(), n_, beta, c_.data(), n_);
    else
      f(CblasColMajor, CblasLeft, CblasLower, n_, n_, one, a_.data(), n_, b_.data(), n_, beta, c_.data(), n_);
  }
  // The plain loops, column by column of C, in double. The rank updates add alpha A(i, l) op(A(j, l)) (and
  // B's mirror term) down the triangle; the product adds alpha A(:, l) B(l, j) with A unfolded from its lower
  // triangle first.
  std::vector<operand_checksum> expected() {
    using W = wide_t<T>;
    const auto A = [&](int i, int l) { return W(a_.data()[i + std::size_t(l) * n_]); };
    const auto B = [&](int i, int l) { return W(b_.data()[i + std::size_t(l) * n_]); };
    std::vector<W> x(c_.data(), c_.data() + area());
    std::vector<W> unfolded;
    if constexpr (R == symmetric_routine::symm) {
      unfolded.resize(area());
      for (int l = 0; l < n_; ++l)
        for (int i = 0; i < n_; ++i) unfolded[i + std::size_t(l) * n_] = i >= l ? A(i, l) : A(l, i);
    }
    for (int j = 0; j < n_; ++j) {
      W* cj = x.data() + std::size_t(j) * n_;
      const int i0 = R == symmetric_routine::symm ? 0 : j;  // the first row of the triangle, or of all of C
      for (int i = i0; i < n_; ++i) cj[i] *= symmetric_beta;
      for (int l = 0; l < n_; ++l) {
        if constexpr (R == symmetric_routine::syrk || R == symmetric_routine::herk) {
          W t = A(j, l);
          if constexpr (R == symmetric_routine::herk) t = std::conj(t);
          for (int i = i0; i < n_; ++i) cj[i] = multiply_add(t, A(i, l), cj[i]);
        } else if constexpr (R == symmetric_routine::syr2k) {
          const W ta = A(j, l), tb = B(j, l);
          for (int i = i0; i < n_; ++i) cj[i] = multiply_add(tb, A(i, l), multiply_add(ta, B(i, l), cj[i]));
        } else {
          const W t = B(l, j);
          const W* al = unfolded.data() + std::size_t(l) * n_;
          for (int i = i0; i < n_; ++i) cj[i] = multiply_add(t, al[i], cj[i]);
        }
      }
      // A Hermitian diagonal is real: beta Re C(j, j) plus the squared norm of row j of A.
      if constexpr (R == symmetric_routine::herk) cj[j] = W(cj[j].real(), 0);
    }
    return {{checked_operand(), lower_triangle_sum(reinterpret_cast<const double*>(x.data()),
                                                   operand_buffer<T>::reals_per_element, n_, whole())}};
  }
  std::vector<operand_checksum> sums() const {
    return {{checked_operand(), lower_triangle_sum(reinterpret_cast<const real_t<T>*>(c_.data()),
                                                   operand_buffer<T>::reals_per_element, n_, whole())}};
  }

 private:
  static constexpr bool whole() { return R == symmetric_routine::symm; }
  static std::string checked_operand() { return whole() ? "C" : "C's lower triangle"; }
  std::size_t area() const { return std::size_t(n_) * std::size_t(n_); }
  int n_;
  operand_buffer<T> a_, b_, c_;
};

template <typename T, symmetric_routine R, typename Entry>
bench_case symmetric_case(const char* name, const char* symbol, Entry ours, double flops_per_cube,
                          const std::vector<int>& sizes) {
  return bench_case{.name = name,
                    .family = symmetric_family,
                    .unit = gigaflops,
                    .work = [flops_per_cube](int n) { return flops_per_cube * n * n * n; },
                    .sizes = sizes,
                    .default_run_sizes = {1000},
                    .make =
                        [=](int n, const peer_library* peer) {
                          auto o = std::make_shared<symmetric_operands<T, R>>(n);
                          workload w;
                          w.reset = [o] { o->reset(); };
                          w.ours = [o, ours] { o->call(ours); };
                          if (peer != nullptr)
                            if (const auto theirs = peer->find<Entry>(symbol))
                              w.peer = [o, theirs] { o->call(theirs); };
                          w.expected = [o] { return o->expected(); };
                          w.sums = [o] { return o->sums(); };
                          w.rounding = 64 * gemm_rounding<T>(n);
                          return w;
                        }};
}

}  // namespace

// The flops, with n = k (m = n for SYMM): the n(n+1)/2 k multiply-adds of a rank-k update count as n*n*k
// flops, the diagonal's half dropped as for the triangular cases; SYR2K does twice that; SYMM does m*m*n
// multiply-adds, 2*m*m*n flops; a complex multiply-add is four real ones, so ZHERK counts 4*n*n*k.
std::vector<bench_case> symmetric_cases() {
  using R = symmetric_routine;
  return {
      symmetric_case<double, R::syrk>("DSYRK", "cblas_dsyrk", rank_k_entry<double>{&cblas_dsyrk}, 1, symmetric_sizes),
      symmetric_case<double, R::syr2k>("DSYR2K", "cblas_dsyr2k", rank_2k_entry{&cblas_dsyr2k}, 2, symmetric_sizes),
      symmetric_case<double, R::symm>("DSYMM", "cblas_dsymm", symm_entry{&cblas_dsymm}, 2, symmetric_sizes),
      symmetric_case<std::complex<double>, R::herk>("ZHERK", "cblas_zherk",
                                                    rank_k_entry<std::complex<double>>{&cblas_zherk}, 4,
                                                    hermitian_sizes),
  };
}

}  // namespace kovra::bench
