// The Level 2 cases: GEMV in both transposes and GBMV, in GB/s of the bytes a call must move (A once, x
// once, y read and written), and the bounds that GEMV's column-at-a-time orders set.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <vector>

#include "bench_case.h"
#include "kernels/get_kernel.h"
#include "kovra/cblas.h"
#include "operand_buffer.h"
#include "threading/launch.h"

namespace kovra::bench {
namespace {

const std::string level2_family = "LEVEL2";
const std::vector<int> gemv_sizes = {4000};
const std::vector<int> gbmv_sizes = {100000};
constexpr int gbmv_half_band = 8;  // kl = ku

// |beta| < 1 keeps y bounded over repeated calls; neither scalar is one a library may skip.
constexpr double level2_alpha = 0.5;
constexpr double level2_beta = 0.5;

// y = alpha op(A) x + beta y on an n by n A, or on a band A of n columns with kl = ku = half_band
// (half_band < 0: full storage). Column-major, no padding between columns.
template <typename T>
class matvec_operands {
 public:
  matvec_operands(bool transpose, int n, int half_band)
      : transpose_(transpose), n_(n), half_band_(half_band), lda_(half_band < 0 ? n : 2 * half_band + 1),
        a_(std::size_t(lda_) * n, 1), x_(std::size_t(n), 2), y_(std::size_t(n), 3) {}

  void reset() {
    a_.fill();
    x_.fill();
    y_.fill();
  }

  int n() const { return n_; }
  int lda() const { return lda_; }
  const T* a() const { return a_.data(); }
  const T* x() const { return x_.data(); }
  T* y() { return y_.data(); }
  CBLAS_TRANSPOSE trans() const { return transpose_ ? CblasTrans : CblasNoTrans; }

  // The element of A at (i, j), zero outside a band.
  T element(int i, int j) const {
    if (half_band_ < 0) return a_.data()[i + std::size_t(lda_) * j];
    if (i - j > half_band_ || j - i > half_band_) return T(0);
    return a_.data()[half_band_ + i - j + std::size_t(lda_) * j];
  }

  // y as a right call leaves it, by a plain loop in long double over the band or the whole matrix.
  std::vector<operand_checksum> expected() const {
    std::vector<T> y(n_);
    for (int r = 0; r < n_; ++r) {
      const int from = half_band_ < 0 ? 0 : std::max(0, r - half_band_);
      const int to = half_band_ < 0 ? n_ : std::min(n_, r + half_band_ + 1);
      long double sum = 0;
      for (int l = from; l < to; ++l) sum += (long double)(transpose_ ? element(l, r) : element(r, l)) * x_.data()[l];
      y[r] = T(level2_alpha * sum + (long double)level2_beta * y_.data()[r]);
    }
    return {{"y", weighted_checksum(y.data(), y.size())}};
  }

  std::vector<operand_checksum> sums() const { return {{"y", y_.sum()}}; }

  // A read once, x read once, y read and written.
  static double bytes(int n, int half_band) {
    const double stored = half_band < 0 ? double(n) * n : double(2 * half_band + 1) * n;
    return (stored + 3.0 * n) * sizeof(T);
  }

 private:
  bool transpose_;
  int n_, half_band_, lda_;
  operand_buffer<T> a_, x_, y_;
};

template <typename T>
double level2_rounding(int depth) {
  return 16 * std::numeric_limits<T>::epsilon() * std::sqrt(double(depth));
}

// Binds ours and the peer's entry of the same type to the operands; `call(f, operands)` runs one.
template <typename T, typename Fn, typename Call>
workload matvec_workload(std::shared_ptr<matvec_operands<T>> v, int depth, const peer_library* peer,
                         const char* symbol, Fn ours, Call call) {
  workload w;
  w.reset = [v] { v->reset(); };
  w.ours = [v, ours, call] { call(ours, *v); };
  if (peer != nullptr) {
    if (const Fn theirs = peer->find<Fn>(symbol)) w.peer = [v, theirs, call] { call(theirs, *v); };
  }
  w.expected = [v] { return v->expected(); };
  w.sums = [v] { return v->sums(); };
  w.rounding = level2_rounding<T>(depth);
  return w;
}

template <typename T>
auto gemv_call() {
  return [](auto gemv, matvec_operands<T>& v) {
    gemv(CblasColMajor, v.trans(), v.n(), v.n(), T(level2_alpha), v.a(), v.lda(), v.x(), 1, T(level2_beta), v.y(),
         1);
  };
}

template <typename T, typename Fn>
bench_case gemv_case(const char* name, const char* symbol, Fn ours, bool transpose) {
  return bench_case{
      .name = name,
      .family = level2_family,
      .unit = gigabytes_per_second,
      .work = [](int n) { return matvec_operands<T>::bytes(n, -1); },
      .sizes = gemv_sizes,
      .default_run_sizes = gemv_sizes,
      .make =
          [=](int n, const peer_library* peer) {
            return matvec_workload(std::make_shared<matvec_operands<T>>(transpose, n, -1), n, peer, symbol, ours,
                                   gemv_call<T>());
          }};
}

// The bounds that GEMV's prescribed order sets, each run over the same split of the same matrix with no
// primitive, kernel fetch or strides around the loop. 'T' sums each column with one accumulator, in
// order, so a column costs one fused multiply-add latency per element. 'N' adds one column at a time
// into the tile's rows of y, so y is read and written once per column.
struct dot_bound_object {
  int m, n;
  const double* a;
  int lda;
  const double* x;
  double* y;

  void run_tile(threading::scratch*, int, int, int n_begin, int n_end) const {
    for (int j = n_begin; j < n_end; ++j) {
      const double* column = a + std::size_t(lda) * j;
      double sum = 0;
      for (int i = 0; i < m; ++i) sum = std::fma(column[i], x[i], sum);
      y[j] = std::fma(level2_alpha, sum, level2_beta * y[j]);
    }
  }
};

struct axpy_bound_object {
  int m, n;
  const double* a;
  int lda;
  const double* x;
  double* y;

  void run_tile(threading::scratch*, int m_begin, int m_end, int, int) const {
    for (int i = m_begin; i < m_end; ++i) y[i] *= level2_beta;
    for (int j = 0; j < n; ++j) {
      const double* column = a + std::size_t(lda) * j;
      const double t = level2_alpha * x[j];
      for (int i = m_begin; i < m_end; ++i) y[i] = std::fma(t, column[i], y[i]);
    }
  }
};

// The peer's column is its own GEMV on the same operands. `bound` says what the case runs.
template <typename Body>
bench_case gemv_bound_case(const char* name, bool transpose, const char* bound) {
  return bench_case{
      .name = name,
      .family = level2_family,
      .unit = gigabytes_per_second,
      .work = [](int n) { return matvec_operands<double>::bytes(n, -1); },
      .sizes = gemv_sizes,
      .default_run_sizes = gemv_sizes,
      .make =
          [transpose](int n, const peer_library* peer) {
            auto v = std::make_shared<matvec_operands<double>>(transpose, n, -1);
            workload w = matvec_workload(v, n, peer, "cblas_dgemv", &cblas_dgemv, gemv_call<double>());
            w.ours = [v, transpose] {
              const Body body{v->n(), v->n(), v->a(), v->lda(), v->x(), v->y()};
              const auto kernel = kernels::get_kernel<double>();
              if (transpose) threading::launch_grid(v->n(), v->n(), v->n(), kernel->tile_n, &body);
              else threading::launch_grid(v->n(), kernel->tile_m, v->n(), v->n(), &body);
            };
            return w;
          },
      .bound = bound};
}

template <typename T, typename Fn>
bench_case gbmv_case(const char* name, const char* symbol, Fn ours) {
  return bench_case{
      .name = name,
      .family = level2_family,
      .unit = gigabytes_per_second,
      .work = [](int n) { return matvec_operands<T>::bytes(n, gbmv_half_band); },
      .sizes = gbmv_sizes,
      .default_run_sizes = gbmv_sizes,
      .make =
          [=](int n, const peer_library* peer) {
            return matvec_workload(std::make_shared<matvec_operands<T>>(false, n, gbmv_half_band),
                                   2 * gbmv_half_band + 1, peer, symbol, ours, [](auto gbmv, matvec_operands<T>& v) {
                                     gbmv(CblasColMajor, CblasNoTrans, v.n(), v.n(), gbmv_half_band, gbmv_half_band,
                                          T(level2_alpha), v.a(), v.lda(), v.x(), 1, T(level2_beta), v.y(), 1);
                                   });
          }};
}

}  // namespace

std::vector<bench_case> level2_cases() {
  return {
      gemv_case<double>("DGEMV_N", "cblas_dgemv", &cblas_dgemv, false),
      gemv_bound_case<axpy_bound_object>(
          "DGEMV_N_AXPY_BOUND", false,
          "our DGEMV_N's ceiling: its split, y updated one column at a time in a bare loop; peer: its DGEMV_N"),
      gemv_case<double>("DGEMV_T", "cblas_dgemv", &cblas_dgemv, true),
      gemv_bound_case<dot_bound_object>(
          "DGEMV_T_DOT_BOUND", true,
          "our DGEMV_T's ceiling: its split, one multiply-add chain per column, bare loop; peer: its DGEMV_T"),
      gemv_case<float>("SGEMV_N", "cblas_sgemv", &cblas_sgemv, false),
      gemv_case<float>("SGEMV_T", "cblas_sgemv", &cblas_sgemv, true),
      gbmv_case<double>("DGBMV", "cblas_dgbmv", &cblas_dgbmv),
  };
}

}  // namespace kovra::bench
