// The Level 1 reduction cases: DDOT, DNRM2, DASUM and IDAMAX on unit-stride vectors, in GB/s of the
// bytes each call must read, with a peer's routine beside ours. The _BOUND cases time the summation
// order our dots and norms keep (one accumulator running through a tile) with nothing around it: the
// loop of one worker's share, the first and longest tile, run alone on the calling thread and rated
// on the whole call's bytes. No call of ours in that order can be faster, so "ours / bound / peer" tells
// the launch and fold cost apart from the cost of the order itself.
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>

#include <vesk/runtime.h>

#include "bench_case.h"
#include "kernels/get_kernel.h"
#include "kovra/cblas.h"
#include "parallel/blas/level1/asum.h"
#include "parallel/blas/level1/dot.h"
#include "parallel/blas/level1/nrm2.h"
#include "threading/split.h"
#include "vector_pair.h"

namespace kovra::bench {
namespace {

const std::vector<int> reduction_sizes = {100000, 10000000};
const std::vector<int> reduction_default_sizes = {10000000};

// A result checked against the reference: its value and the size that scales its rounding (for a sum,
// the sum of the terms' magnitudes). A position has no rounding: magnitude 0 asks for equality.
struct reduction_value {
  double value;
  double magnitude;
};

// Sums of many terms, each library in its own order: a few eps per sqrt(n) of the terms' magnitude.
double sum_rounding(int n) { return 16 * std::sqrt(static_cast<double>(n)) * std::numeric_limits<double>::epsilon(); }

// Logical elements [0, length) of a plain reference, in long double.
reduction_value reference_dot(const double* x, const double* y, int length) {
  long double sum = 0, magnitude = 0;
  for (int i = 0; i < length; ++i) {
    sum += static_cast<long double>(x[i]) * y[i];
    magnitude += std::fabs(static_cast<long double>(x[i]) * y[i]);
  }
  return {static_cast<double>(sum), static_cast<double>(magnitude)};
}

reduction_value reference_asum(const double* x, int length) {
  long double sum = 0;
  for (int i = 0; i < length; ++i) sum += std::fabs(x[i]);
  return {static_cast<double>(sum), static_cast<double>(sum)};
}

reduction_value reference_nrm2(const double* x, int length) {
  long double squares = 0;
  for (int i = 0; i < length; ++i) squares += static_cast<long double>(x[i]) * x[i];
  const double norm = static_cast<double>(std::sqrt(squares));
  return {norm, norm};
}

reduction_value reference_idamax(const double* x, int length) {
  int pos = 0;
  for (int i = 1; i < length; ++i)
    if (std::fabs(x[pos]) < std::fabs(x[i])) pos = i;
  return {static_cast<double>(pos), 0};
}

// Binds a reduction to fresh vectors of n elements. `call(f, v)` runs the routine through the entry f
// (ours, or the peer's of the same name) and returns its result; `reference(v)` gives the expected one.
template <typename Fn, typename Call, typename Reference>
workload reduction_workload(int n, const peer_library* peer, const char* symbol, Fn ours, Call call,
                            Reference reference, double rounding) {
  auto v = std::make_shared<vector_pair<double>>(n);
  auto last = std::make_shared<double>(0);
  workload w;
  w.reset = [v, last] {
    v->reset();
    *last = std::numeric_limits<double>::quiet_NaN();
  };
  w.ours = [v, last, ours, call] { *last = call(ours, *v); };
  if (peer != nullptr && symbol != nullptr) {
    if (const Fn theirs = peer->find<Fn>(symbol)) w.peer = [v, last, theirs, call] { *last = call(theirs, *v); };
  }
  w.expected = [v, reference] {
    const reduction_value r = reference(*v);
    return std::vector<operand_checksum>{{"result", {r.value, r.magnitude}}};
  };
  w.sums = [last] { return std::vector<operand_checksum>{{"result", {*last, std::fabs(*last)}}}; };
  w.rounding = rounding;
  return w;
}

// `vectors_read` full vectors of doubles per call.
template <typename Fn, typename Call, typename Reference>
bench_case reduction_case(const char* name, const char* symbol, Fn ours, int vectors_read, Call call,
                          Reference reference, bool exact) {
  return bench_case{
      .name = name,
      .family = "REDUCTION",
      .unit = gigabytes_per_second,
      .work = [vectors_read](int n) { return static_cast<double>(vectors_read) * sizeof(double) * n; },
      .sizes = reduction_sizes,
      .default_run_sizes = reduction_default_sizes,
      .make =
          [=](int n, const peer_library* peer) {
            return reduction_workload(n, peer, symbol, ours, call, reference, exact ? 0.0 : sum_rounding(n));
          }};
}

// The length of the first tile that a reduction of n elements is cut into on the running workers: the
// longest one, whose loop sets the call's critical path.
int first_tile_length(int n) {
  threading::grid_split split(n, kernels::get_kernel<double>()->tile_m, 1, 1, vesk_worker_count());
  threading::tile_range tile{};
  return split.next(tile) ? tile.m_end - tile.m_begin : 0;
}

// A bound case: `loop(v, length)` is the library's own tile loop over logical elements [0, length) of the
// routine `of`.
template <typename Loop, typename Reference>
bench_case bound_case(const char* name, const std::string& of, int vectors_read, Loop loop, Reference reference) {
  using loop_fn = double (*)(vector_pair<double>&, int);
  const loop_fn bound = loop;
  bench_case c = reduction_case(
      name, nullptr, bound, vectors_read,
      [](loop_fn f, vector_pair<double>& v) { return f(v, first_tile_length(v.n())); },
      [reference](vector_pair<double>& v) { return reference(v, first_tile_length(v.n())); }, false);
  c.default_run_sizes.clear();  // a measuring aid, run when asked for
  c.bound = "our " + of + "'s ceiling: its longest tile's loop alone on one thread, rated on the whole call's bytes";
  return c;
}

}  // namespace

std::vector<bench_case> reduction_cases() {
  using namespace parallel::blas;
  return {
      reduction_case(
          "DDOT", "cblas_ddot", &cblas_ddot, 2,
          [](auto ddot, vector_pair<double>& v) { return ddot(v.n(), v.x(), 1, v.y(), 1); },
          [](vector_pair<double>& v) { return reference_dot(v.x(), v.y(), v.n()); }, false),
      bound_case(
          "DDOT_BOUND", "DDOT", 2,
          [](vector_pair<double>& v, int length) { return dot_range<false>(0.0, v.n(), v.x(), 1, v.y(), 1, 0, length); },
          [](vector_pair<double>& v, int length) { return reference_dot(v.x(), v.y(), length); }),
      reduction_case(
          "DNRM2", "cblas_dnrm2", &cblas_dnrm2, 1,
          [](auto dnrm2, vector_pair<double>& v) { return dnrm2(v.n(), v.x(), 1); },
          [](vector_pair<double>& v) { return reference_nrm2(v.x(), v.n()); }, false),
      bound_case(
          "DNRM2_BOUND", "DNRM2", 1, [](vector_pair<double>& v, int length) { return nrm2_serial(length, v.x(), 1); },
          [](vector_pair<double>& v, int length) { return reference_nrm2(v.x(), length); }),
      reduction_case(
          "DASUM", "cblas_dasum", &cblas_dasum, 1,
          [](auto dasum, vector_pair<double>& v) { return dasum(v.n(), v.x(), 1); },
          [](vector_pair<double>& v) { return reference_asum(v.x(), v.n()); }, false),
      bound_case(
          "DASUM_BOUND", "DASUM", 1, [](vector_pair<double>& v, int length) { return asum_serial(length, v.x(), 1); },
          [](vector_pair<double>& v, int length) { return reference_asum(v.x(), length); }),
      reduction_case(
          "IDAMAX", "cblas_idamax", &cblas_idamax, 1,
          [](auto idamax, vector_pair<double>& v) { return static_cast<double>(idamax(v.n(), v.x(), 1)); },
          [](vector_pair<double>& v) { return reference_idamax(v.x(), v.n()); }, true),
  };
}

}  // namespace kovra::bench
