// The GEMM cases: square products of size n in GFLOPS, and calls per second at the small sizes where the
// cost of a call, not of its arithmetic, decides the rate.
#include <complex>
#include <memory>

#include "bench_case.h"
#include "gemm_operands.h"
#include "gemm_reference.h"
#include "kovra/cblas.h"

namespace kovra::bench {
namespace {

using complex_float = std::complex<float>;
using complex_double = std::complex<double>;

const std::string gemm_family = "GEMM";

// From products that fit the caches to products that outgrow them.
const std::vector<int> gemm_sizes = {64, 128, 256, 512, 1000, 2000};
// The run without --cases takes one size of each kind, which keeps that run near a minute on two cores.
const std::vector<int> gemm_default_run_sizes = {256, 1000};
// Sizes where the fixed cost of a call shows; 8 and 9 meet the serial cut-off of 8 from both sides.
const std::vector<int> small_gemm_sizes = {4, 8, 9, 16, 32};

// |beta| < 1 keeps C bounded over thousands of repeated calls (it tends to alpha A B / (1 - beta)), and
// neither scalar is a value (0 or 1) that a library may skip or special-case.
template <typename T>
T gemm_alpha() {
  if constexpr (is_complex_v<T>)
    return {0.5, -0.25};
  else
    return 0.5;
}

template <typename T>
T gemm_beta() {
  if constexpr (is_complex_v<T>)
    return {0.5, 0.25};
  else
    return 0.5;
}

// A complex multiply-add is four real multiplications and four real additions.
template <typename T>
constexpr double flops_per_multiply_add = is_complex_v<T> ? 8 : 2;

// Binds the runners of a GEMM case to fresh operands of size n. `ours` is KOVRA's entry; the peer's entry
// named `symbol` is called through the same type.
template <typename T, typename Fn>
workload gemm_workload(CBLAS_TRANSPOSE transa, int n, const peer_library* peer, const char* symbol, Fn ours) {
  auto g = std::make_shared<gemm_operands<T>>(transa, n, gemm_alpha<T>(), gemm_beta<T>());
  workload w;
  w.reset = [g] { g->reset(); };
  w.ours = [g, ours] { g->call(ours); };
  if (peer != nullptr) {
    if (const Fn theirs = peer->find<Fn>(symbol)) w.peer = [g, theirs] { g->call(theirs); };
  }
  w.expected = [g] { return g->expected_sums(); };
  w.sums = [g] { return g->sums(); };
  w.rounding = gemm_rounding<T>(n);
  return w;
}

template <typename T, typename Fn>
bench_case gemm_case(const char* name, const char* symbol, Fn ours, CBLAS_TRANSPOSE transa,
                     const std::vector<int>& default_run_sizes) {
  return bench_case{
      .name = name,
      .family = gemm_family,
      .unit = gigaflops,
      .work = [](int n) { return flops_per_multiply_add<T> * n * n * static_cast<double>(n); },
      .sizes = gemm_sizes,
      .default_run_sizes = default_run_sizes,
      .make = [=](int n, const peer_library* peer) { return gemm_workload<T>(transa, n, peer, symbol, ours); }};
}

// Calls per second of the plain product at small sizes.
template <typename T, typename Fn>
bench_case small_gemm_case(const char* name, const char* symbol, Fn ours) {
  return bench_case{
      .name = name,
      .family = gemm_family,
      .unit = kilocalls_per_second,
      .work = [](int) { return 1.0; },
      .sizes = small_gemm_sizes,
      .default_run_sizes = small_gemm_sizes,
      .make = [=](int n, const peer_library* peer) { return gemm_workload<T>(CblasNoTrans, n, peer, symbol, ours); }};
}

}  // namespace

std::vector<bench_case> level3_cases() {
  return {
      gemm_case<double>("DGEMM", "cblas_dgemm", &cblas_dgemm, CblasNoTrans, gemm_default_run_sizes),
      gemm_case<float>("SGEMM", "cblas_sgemm", &cblas_sgemm, CblasNoTrans, gemm_default_run_sizes),
      gemm_case<complex_double>("ZGEMM", "cblas_zgemm", &cblas_zgemm, CblasNoTrans, {}),
      gemm_case<complex_float>("CGEMM", "cblas_cgemm", &cblas_cgemm, CblasNoTrans, {}),
      gemm_case<double>("DGEMM_TN", "cblas_dgemm", &cblas_dgemm, CblasTrans, {}),
      gemm_case<float>("SGEMM_TN", "cblas_sgemm", &cblas_sgemm, CblasTrans, {}),
      small_gemm_case<double>("DGEMM_CALLS", "cblas_dgemm", &cblas_dgemm),
      small_gemm_case<float>("SGEMM_CALLS", "cblas_sgemm", &cblas_sgemm),
  };
}

}  // namespace kovra::bench
