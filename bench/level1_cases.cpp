// The Level 1 cases: vector updates on unit-stride vectors, in GB/s of the traffic each call must make.
#include <complex>
#include <limits>
#include <memory>

#include "bench_case.h"
#include "kovra/cblas.h"
#include "level1_reference.h"
#include "vector_pair.h"

namespace kovra::bench {
namespace {

using complex_double = std::complex<double>;

// Scalars that keep values finite and normal over thousands of repeated calls. SCAL's -1 leaves the
// magnitudes as they are and, unlike 1 or 0, is no value a library may skip or special-case.
constexpr float saxpy_alpha = 0.5f;
constexpr double daxpy_alpha = 0.5;
constexpr complex_double zaxpy_alpha{0.5, -0.25};
constexpr double dscal_alpha = -1.0;
constexpr double daxpby_alpha = 0.75;
constexpr double daxpby_beta = 0.5;
// A rotation by an angle whose cosine and sine are both far from 0 and 1, so both products matter;
// c^2 + s^2 is 1 to rounding, so repeated calls keep the magnitudes.
constexpr double drot_c = 0.6;
constexpr double drot_s = 0.8;

const std::vector<int> level1_sizes = {100000, 10000000};

// Per element the libraries may round a few times differently (fused or separate multiply-adds,
// complex products), and the weighted checksum adds its own small error.
template <typename T>
constexpr double level1_rounding = 8 * std::numeric_limits<real_t<T>>::epsilon();

// (x, y) := (c*x + s*y, c*y - s*x), element by element on the values before the step.
void reference_rot(double c, double s, vector_pair<double>& v) {
  double* x = v.x();
  double* y = v.y();
  for (int i = 0; i < v.n(); ++i) {
    const double x0 = x[i], y0 = y[i];
    x[i] = c * x0 + s * y0;
    y[i] = c * y0 - s * x0;
  }
}

// Binds the runners of a vector case to fresh operands of n elements. `call(f, v)` runs the routine
// through the entry f, which is either ours or the peer's entry of the same name and type.
template <typename T, typename Fn, typename Call, typename Reference>
workload vector_workload(int n, const peer_library* peer, const char* symbol, Fn ours, Call call,
                         Reference reference) {
  auto v = std::make_shared<vector_pair<T>>(n);
  workload w;
  w.reset = [v] { v->reset(); };
  w.ours = [v, ours, call] { call(ours, *v); };
  if (peer != nullptr) {
    if (const Fn theirs = peer->find<Fn>(symbol)) w.peer = [v, theirs, call] { call(theirs, *v); };
  }
  w.expected = [v, reference] {
    reference(*v);
    return v->sums();
  };
  w.sums = [v] { return v->sums(); };
  w.rounding = level1_rounding<T>;
  return w;
}

// A case on a vector pair. `vectors_moved` counts the vectors that a call must read or write in full
// (AXPY reads x and y and writes y: 3).
template <typename T, typename Fn, typename Call, typename Reference>
bench_case vector_case(const char* name, const char* symbol, Fn ours, int vectors_moved, Call call,
                       Reference reference) {
  return bench_case{
      .name = name,
      .family = "LEVEL1",
      .unit = gigabytes_per_second,
      .work = [vectors_moved](int n) { return static_cast<double>(vectors_moved) * sizeof(T) * n; },
      .sizes = level1_sizes,
      .default_run_sizes = level1_sizes,
      .make =
          [=](int n, const peer_library* peer) {
            return vector_workload<T>(n, peer, symbol, ours, call, reference);
          }};
}

}  // namespace

std::vector<bench_case> level1_cases() {
  return {
      vector_case<double>(
          "DAXPY", "cblas_daxpy", &cblas_daxpy, 3,
          [](auto daxpy, vector_pair<double>& v) { daxpy(v.n(), daxpy_alpha, v.x(), 1, v.y(), 1); },
          [](vector_pair<double>& v) { reference_axpy(daxpy_alpha, v); }),
      vector_case<float>(
          "SAXPY", "cblas_saxpy", &cblas_saxpy, 3,
          [](auto saxpy, vector_pair<float>& v) { saxpy(v.n(), saxpy_alpha, v.x(), 1, v.y(), 1); },
          [](vector_pair<float>& v) { reference_axpy(saxpy_alpha, v); }),
      vector_case<double>(
          "DSCAL", "cblas_dscal", &cblas_dscal, 2,
          [](auto dscal, vector_pair<double>& v) { dscal(v.n(), dscal_alpha, v.x(), 1); },
          [](vector_pair<double>& v) { reference_scal(dscal_alpha, v); }),
      vector_case<double>(
          "DCOPY", "cblas_dcopy", &cblas_dcopy, 2,
          [](auto dcopy, vector_pair<double>& v) { dcopy(v.n(), v.x(), 1, v.y(), 1); },
          [](vector_pair<double>& v) { reference_copy(v); }),
      vector_case<double>(
          "DSWAP", "cblas_dswap", &cblas_dswap, 4,
          [](auto dswap, vector_pair<double>& v) { dswap(v.n(), v.x(), 1, v.y(), 1); },
          [](vector_pair<double>& v) { reference_swap(v); }),
      vector_case<double>(
          "DAXPBY", "cblas_daxpby", &cblas_daxpby, 3,
          [](auto daxpby, vector_pair<double>& v) {
            daxpby(v.n(), daxpby_alpha, v.x(), 1, daxpby_beta, v.y(), 1);
          },
          [](vector_pair<double>& v) { reference_axpby(daxpby_alpha, daxpby_beta, v); }),
      vector_case<double>(
          "DROT", "cblas_drot", &cblas_drot, 4,
          [](auto drot, vector_pair<double>& v) { drot(v.n(), v.x(), 1, v.y(), 1, drot_c, drot_s); },
          [](vector_pair<double>& v) { reference_rot(drot_c, drot_s, v); }),
      vector_case<complex_double>(
          "ZAXPY", "cblas_zaxpy", &cblas_zaxpy, 3,
          [](auto zaxpy, vector_pair<complex_double>& v) { zaxpy(v.n(), &zaxpy_alpha, v.x(), 1, v.y(), 1); },
          [](vector_pair<complex_double>& v) { reference_axpy(zaxpy_alpha, v); }),
  };
}

}  // namespace kovra::bench
