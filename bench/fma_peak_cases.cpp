// The machine's multiply-add peak, the ceiling of the matrix products on x86-64: DGEMM_PEAK and SGEMM_PEAK
// time nothing but fused multiply-adds on registers, as many as DGEMM or SGEMM of size n must do, split evenly
// over the running workers by the library's own launcher, on the vectors of the kernel that was selected
// (512 bits for "AVX-512", 256 for "AVX2 FMA"). Twelve independent chains per worker cover the latency of
// the multiply-adds on every processor with two pipes for them. Other processors and kernels get no such case.
#include <immintrin.h>

#include <cstring>
#include <memory>

#include "bench_case.h"
#include "kernels/get_kernel.h"
#include "threading/launch.h"
#include "vesk/runtime.h"

namespace kovra::bench {
namespace {

#if defined(__x86_64__)

constexpr int chains = 12;

// acc = acc * 0.999 + 0.001 tends to 1, so the chains stay finite for any number of steps; the sum is
// returned so that the loop cannot be left out.
template <typename R>
__attribute__((target("avx2,fma"))) R chains_256(long steps) {
  if constexpr (sizeof(R) == 8) {
    __m256d acc[chains];
    for (int j = 0; j < chains; ++j) acc[j] = _mm256_set1_pd(j);
    const __m256d x = _mm256_set1_pd(0.999), y = _mm256_set1_pd(0.001);
    for (long s = 0; s < steps; ++s)
      for (int j = 0; j < chains; ++j) acc[j] = _mm256_fmadd_pd(acc[j], x, y);
    for (int j = 1; j < chains; ++j) acc[0] = _mm256_add_pd(acc[0], acc[j]);
    return _mm256_cvtsd_f64(acc[0]);
  } else {
    __m256 acc[chains];
    for (int j = 0; j < chains; ++j) acc[j] = _mm256_set1_ps(float(j));
    const __m256 x = _mm256_set1_ps(0.999f), y = _mm256_set1_ps(0.001f);
    for (long s = 0; s < steps; ++s)
      for (int j = 0; j < chains; ++j) acc[j] = _mm256_fmadd_ps(acc[j], x, y);
    for (int j = 1; j < chains; ++j) acc[0] = _mm256_add_ps(acc[0], acc[j]);
    return _mm256_cvtss_f32(acc[0]);
  }
}

template <typename R>
__attribute__((target("avx512f"))) R chains_512(long steps) {
  if constexpr (sizeof(R) == 8) {
    __m512d acc[chains];
    for (int j = 0; j < chains; ++j) acc[j] = _mm512_set1_pd(j);
    const __m512d x = _mm512_set1_pd(0.999), y = _mm512_set1_pd(0.001);
    for (long s = 0; s < steps; ++s)
      for (int j = 0; j < chains; ++j) acc[j] = _mm512_fmadd_pd(acc[j], x, y);
    for (int j = 1; j < chains; ++j) acc[0] = _mm512_add_pd(acc[0], acc[j]);
    alignas(64) double lanes[8];
    _mm512_store_pd(lanes, acc[0]);
    return lanes[0];
  } else {
    __m512 acc[chains];
    for (int j = 0; j < chains; ++j) acc[j] = _mm512_set1_ps(float(j));
    const __m512 x = _mm512_set1_ps(0.999f), y = _mm512_set1_ps(0.001f);
    for (long s = 0; s < steps; ++s)
      for (int j = 0; j < chains; ++j) acc[j] = _mm512_fmadd_ps(acc[j], x, y);
    for (int j = 1; j < chains; ++j) acc[0] = _mm512_add_ps(acc[0], acc[j]);
    alignas(64) float lanes[16];
    _mm512_store_ps(lanes, acc[0]);
    return lanes[0];
  }
}

// One tile per worker, each with its share of the multiply-adds; `sink` keeps every tile's result.
template <typename R>
struct peak_object {
  double multiply_adds;
  int tiles;
  bool wide;
  R* sink;

  void run_tile(threading::scratch*, int, int, int tile, int) const {
    const int lanes = (wide ? 64 : 32) / int(sizeof(R));
    const long steps = long(multiply_adds / tiles / (chains * lanes));
    sink[tile] = wide ? chains_512<R>(steps) : chains_256<R>(steps);
  }
};

template <typename R>
bench_case peak_case(const char* name, const char* routine) {
  return bench_case{
      .name = name,
      .family = "GEMM",
      .unit = gigaflops,
      .work = [](int n) { return 2.0 * n * n * static_cast<double>(n); },
      .sizes = {2000},
      .default_run_sizes = {},
      .make =
          [](int n, const peer_library*) {
            kernels::get_kernel<R>();
            const bool wide = std::strcmp(kernels::kernel_name.load(), "AVX-512") == 0;
            auto sink = std::make_shared<std::vector<R>>(64);
            workload w;
            w.reset = [] {};
            w.ours = [n, wide, sink] {
              const int workers = vesk_worker_count();
              const peak_object<R> body{2.0 * n * n * static_cast<double>(n) / 2, workers, wide, sink->data()};
              threading::launch_tiles(workers, 1, &body);
            };
            w.expected = [] { return std::vector<operand_checksum>{}; };
            w.sums = [] { return std::vector<operand_checksum>{}; };
            w.rounding = 0;
            return w;
          },
      .bound = std::string("the multiply-add peak under our ") + routine +
               ": its multiply-adds alone, on registers, split over the workers, on the selected kernel's vectors"};
}

#endif

}  // namespace

std::vector<bench_case> fma_peak_cases() {
#if defined(__x86_64__)
  kernels::get_kernel<double>();
  const char* name = kernels::kernel_name.load();
  if (std::strcmp(name, "AVX-512") == 0 || std::strcmp(name, "AVX2 FMA") == 0)
    return {peak_case<double>("DGEMM_PEAK", "DGEMM"), peak_case<float>("SGEMM_PEAK", "SGEMM")};
#endif
  return {};
}

}  // namespace kovra::bench
