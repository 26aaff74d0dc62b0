// Concurrency under load: many application threads calling the library at once, and library calls made from the
// application's own tasks, each result with the bits of the same call made alone on the same worker count. The
// calls come from a seeded generator over every family (Level 1, 2, 3 and the convolution, all element types),
// with sizes below, at and above the serial cut-off and long enough for several tiles per worker.
#include <gtest/gtest.h>
#include <kovra/cblas.h>
#include <kovra/convolution.h>
#include <vesk/task.h>
#include <vesk/testing.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <complex>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <latch>
#include <new>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/cases.h"
#include "support/values.h"
#include "watchdog.h"

namespace kovra_test {
namespace {

#if defined(__SANITIZE_THREAD__)
constexpr bool under_tsan = true;
#elif defined(__has_feature)
constexpr bool under_tsan = __has_feature(thread_sanitizer);
#else
constexpr bool under_tsan = false;
#endif

// ThreadSanitizer makes every call some twenty times slower, and so does the emulator that runs the 32-bit ARM
// build here: fewer calls per thread there, as many threads.
#if defined(__arm__)
constexpr bool slow_build = true;
#else
constexpr bool slow_build = under_tsan;
#endif
constexpr int threads = 64, calls_per_thread = slow_build ? 30 : 300, distinct_calls = slow_build ? 130 : 260;
// Far beyond what the tests take, even on a loaded machine.
constexpr std::chrono::seconds time_limit(slow_build ? 480 : 120);

// FNV-1a over the bytes a call wrote and returned: equal bits give equal digests.
struct digest {
  std::uint64_t value = 14695981039346656037ull;
  template <typename V>
  digest& add(const V& v) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&v);
    for (std::size_t i = 0; i < sizeof v; ++i) value = (value ^ bytes[i]) * 1099511628211ull;
    return *this;
  }
  template <typename T>
  digest& add(const std::vector<T>& v) {
    for (const T& e : v) add(e);
    return *this;
  }
};

// One generated call: it makes its own operands from its seed, calls the routine and digests what it wrote.
struct stress_case {
  std::string name;
  std::function<std::uint64_t()> run;
};

template <typename E>
E any_of(std::mt19937& rng, std::initializer_list<E> options) {
  return options.begin()[rng() % options.size()];
}

// Below the cut-off, at it and just past it, a few tiles, or enough for several tiles on every worker.
int extent(std::mt19937& rng) {
  switch (rng() % 4) {
    case 0:
      return 1 + int(rng() % 8);
    case 1:
      return 8 + int(rng() % 2);
    case 2:
      return 10 + int(rng() % 40);
    default:
      return 50 + int(rng() % 110);
  }
}

template <typename T, typename... Args>
std::string call_name(const char* routine, Args... args) {
  std::ostringstream text;
  text << routine << "<" << element_type_names::GetName<T>(0) << ">";
  ((text << " " << args), ...);
  return text.str();
}

// A ld by ld matrix; a solvable one has small entries off a diagonal of about 1, so solves stay finite.
template <typename T>
std::vector<T> matrix(int ld, unsigned seed, bool solvable) {
  auto a = random_values<T>(ld * ld, seed);
  if (solvable)
    for (int i = 0; i < ld * ld; ++i)
      a[i] = i % (ld + 1) == 0 ? plain_add(a[i], make<T>(2)) : a[i] * real_t<T>(1.0 / ld);
  return a;
}

// The unconjugated dot product, which CBLAS returns for real types and writes for complex ones.
template <typename T>
T dotu(int n, const T* x, int incx, const T* y, int incy) {
  T dot;
  if constexpr (is_complex_v<T>)
    pick<T>(nullptr, nullptr, cblas_cdotu_sub, cblas_zdotu_sub)(n, x, incx, y, incy, &dot);
  else
    dot = pick<T>(cblas_sdot, cblas_ddot, nullptr, nullptr)(n, x, incx, y, incy);
  return dot;
}

template <typename T>
stress_case level1(std::mt19937& rng, bool) {
  const int n = rng() % 2 ? extent(rng) : 40 * extent(rng), routine = int(rng() % 5);
  const int incx = any_of(rng, {1, 2, -1}), incy = any_of(rng, {1, -3});
  const T alpha = random_values<T>(1, rng())[0];
  const unsigned seed = rng();
  return {call_name<T>(std::array{"axpy", "scal", "dotu", "nrm2", "iamax"}[routine], n, incx, incy), [=] {
            auto x = random_values<T>(1 + (n - 1) * std::abs(incx), seed);
            auto y = random_values<T>(1 + (n - 1) * std::abs(incy), seed + 1);
            digest d;
            if (routine == 0)
              pick<T>(cblas_saxpy, cblas_daxpy, cblas_caxpy, cblas_zaxpy)(n, scalar(alpha), x.data(), incx, y.data(),
                                                                          incy);
            else if (routine == 1)
              pick<T>(cblas_sscal, cblas_dscal, cblas_cscal, cblas_zscal)(n, scalar(alpha), x.data(), std::abs(incx));
            else if (routine == 2)
              d.add(dotu(n, x.data(), incx, y.data(), incy));
            else if (routine == 3)
              d.add(pick<T>(cblas_snrm2, cblas_dnrm2, cblas_scnrm2, cblas_dznrm2)(n, x.data(), incx));
            else
              d.add(pick<T>(cblas_isamax, cblas_idamax, cblas_icamax, cblas_izamax)(n, x.data(), incx));
            return d.add(x).add(y).value;
          }};
}

template <typename T>
stress_case level2(std::mt19937& rng, bool) {
  const int m = extent(rng), n = extent(rng), routine = int(rng() % 4), ld = std::max(m, n) + 3;
  const int incx = any_of(rng, {1, 2, -1}), incy = any_of(rng, {1, -2});
  const auto order = any_of(rng, {CblasColMajor, CblasRowMajor});
  const auto trans = any_of(rng, {CblasNoTrans, CblasTrans, CblasConjTrans});
  const auto uplo = any_of(rng, {CblasUpper, CblasLower});
  const auto diag = any_of(rng, {CblasNonUnit, CblasUnit});
  const auto scalars = random_values<T>(2, rng());
  const unsigned seed = rng();
  return {call_name<T>(std::array{"gemv", "geru", "trsv", "symv/hemv"}[routine], order, trans, uplo, diag, m, n, incx,
                       incy),
          [=] {
            auto a = matrix<T>(ld, seed, routine == 2);
            auto x = random_values<T>(1 + (ld - 1) * std::abs(incx), seed + 1);
            auto y = random_values<T>(1 + (ld - 1) * std::abs(incy), seed + 2);
            const auto alpha = scalar(scalars[0]), beta = scalar(scalars[1]);
            if (routine == 0)
              pick<T>(cblas_sgemv, cblas_dgemv, cblas_cgemv, cblas_zgemv)(order, trans, m, n, alpha, a.data(), ld,
                                                                          x.data(), incx, beta, y.data(), incy);
            else if (routine == 1)
              pick<T>(cblas_sger, cblas_dger, cblas_cgeru, cblas_zgeru)(order, m, n, alpha, x.data(), incx, y.data(),
                                                                        incy, a.data(), ld);
            else if (routine == 2)
              pick<T>(cblas_strsv, cblas_dtrsv, cblas_ctrsv, cblas_ztrsv)(order, uplo, trans, diag, n, a.data(), ld,
                                                                          x.data(), incx);
            else
              pick<T>(cblas_ssymv, cblas_dsymv, cblas_chemv, cblas_zhemv)(order, uplo, n, alpha, a.data(), ld, x.data(),
                                                                          incx, beta, y.data(), incy);
            return digest().add(a).add(x).add(y).value;
          }};
}

// nested: only the routines whose tasks call GEMM, each large enough to do so (several runs of 64 rows, several
// diagonal blocks).
template <typename T>
stress_case level3(std::mt19937& rng, bool nested) {
  const int routine = nested ? 1 + int(rng() % 4) : int(rng() % 5);
  const int m = nested ? 128 + int(rng() % 40) : extent(rng), n = nested ? 128 + int(rng() % 40) : extent(rng);
  const int k = extent(rng), ld = std::max({m, n, k}) + 2;
  const auto order = any_of(rng, {CblasColMajor, CblasRowMajor});
  const auto side = any_of(rng, {CblasLeft, CblasRight});
  const auto uplo = any_of(rng, {CblasUpper, CblasLower});
  const auto transa = any_of(rng, {CblasNoTrans, CblasTrans, CblasConjTrans});
  const auto transb = any_of(rng, {CblasNoTrans, CblasTrans, CblasConjTrans});
  const auto diag = any_of(rng, {CblasNonUnit, CblasUnit});
  const auto scalars = random_values<T>(2, rng());
  const unsigned seed = rng();
  return {call_name<T>(std::array{"gemm", "symm", "syrk", "trmm", "trsm"}[routine], order, side, uplo, transa, transb,
                       diag, m, n, k),
          [=] {
            auto a = matrix<T>(ld, seed, routine == 4), b = matrix<T>(ld, seed + 1, false);
            auto c = matrix<T>(ld, seed + 2, false);
            const auto alpha = scalar(scalars[0]), beta = scalar(scalars[1]);
            if (routine == 0)
              pick<T>(cblas_sgemm, cblas_dgemm, cblas_cgemm, cblas_zgemm)(
                  order, transa, transb, m, n, k, alpha, a.data(), ld, b.data(), ld, beta, c.data(), ld);
            else if (routine == 1)
              pick<T>(cblas_ssymm, cblas_dsymm, cblas_csymm, cblas_zsymm)(order, side, uplo, m, n, alpha, a.data(), ld,
                                                                          b.data(), ld, beta, c.data(), ld);
            else if (routine == 2)  // the symmetric update takes no conjugate transpose for complex types
              pick<T>(cblas_ssyrk, cblas_dsyrk, cblas_csyrk, cblas_zsyrk)(
                  order, uplo, transa == CblasNoTrans ? CblasNoTrans : CblasTrans, n, k, alpha, a.data(), ld, beta,
                  c.data(), ld);
            else
              pick<T>(routine == 3 ? cblas_strmm : cblas_strsm, routine == 3 ? cblas_dtrmm : cblas_dtrsm,
                      routine == 3 ? cblas_ctrmm : cblas_ctrsm, routine == 3 ? cblas_ztrmm : cblas_ztrsm)(
                  order, side, uplo, transa, diag, m, n, alpha, a.data(), ld, b.data(), ld);
            return digest().add(b).add(c).value;
          }};
}

stress_case convolution(std::mt19937& rng, bool) {
  const int width = 4 + int(rng() % 20), height = 4 + int(rng() % 20), channels = 1 + int(rng() % 4);
  const int filters = 1 + int(rng() % 20), size = 1 + int(rng() % std::min(5, std::min(width, height)));
  const int pad = int(rng() % 3), stride = 1 + int(rng() % 2);
  const unsigned input_format = rng() % 2, output_format = rng() % 2, accumulate = rng() % 2, seed = rng();
  const int out_width = (width + 2 * pad - size) / stride + 1, out_height = (height + 2 * pad - size) / stride + 1;
  return {call_name<float>("convolution_mm", input_format, output_format, accumulate, width, height, channels, filters,
                           size, pad, stride),
          [=] {
            const auto image = random_values<float>(width * height * channels, seed);
            const auto bank = random_values<float>(filters * size * size * channels, seed + 1);
            auto out = random_values<float>(out_width * out_height * filters, seed + 2);
            convolution_mm(input_format, output_format, accumulate, image.data(), width, height, channels, bank.data(),
                           filters, size, pad, stride, out.data(), out_width, out_height);
            return digest().add(out).value;
          }};
}

using maker = stress_case (*)(std::mt19937&, bool);
constexpr maker makers[] = {level1<float>, level1<double>, level1<std::complex<float>>, level1<std::complex<double>>,
                            level2<float>, level2<double>, level2<std::complex<float>>, level2<std::complex<double>>,
                            level3<float>, level3<double>, level3<std::complex<float>>, level3<std::complex<double>>,
                            convolution};

std::vector<std::uint64_t> run_alone(const std::vector<stress_case>& cases) {
  std::vector<std::uint64_t> digests;
  for (const auto& c : cases) digests.push_back(c.run());
  return digests;
}

// 64 threads, each calling cases picked at random, against the digests of the same cases called from one thread
// before them and again after them.
TEST(Stress, ConcurrentCallsMatchSerialOnes) {
  const watchdog guard(time_limit, "Stress.ConcurrentCallsMatchSerialOnes");
  std::mt19937 rng(2024);
  std::vector<stress_case> cases;
  for (int i = 0; i < distinct_calls; ++i) cases.push_back(makers[i % std::size(makers)](rng, false));
  for (int workers : slow_build ? std::vector<int>{2} : std::vector<int>{2, 1, 3}) {
    const worker_scope scope(workers);
    const auto alone = run_alone(cases);
    std::vector<std::vector<std::string>> mismatches(threads);
    std::latch start(threads);
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; ++t)
      pool.emplace_back([&, t] {
        std::mt19937 choice(t);
        start.arrive_and_wait();
        for (int call = 0; call < calls_per_thread; ++call) {
          const std::size_t i = choice() % cases.size();
          if (cases[i].run() != alone[i]) mismatches[t].push_back(cases[i].name);
        }
      });
    for (auto& t : pool) t.join();
    for (int t = 0; t < threads; ++t)
      EXPECT_TRUE(mismatches[t].empty()) << mismatches[t].size() << " calls of thread " << t << " on " << workers
                                         << " workers differ from the same calls alone, first " << mismatches[t][0];
    EXPECT_EQ(run_alone(cases), alone) << "calls alone changed after the concurrent ones, " << workers << " workers";
  }
}

// An application task that runs body(index); the application waits for a group of them.
template <typename F>
struct application_task final : vesk::internal::task {
  application_task(vesk::internal::group* g, const F* f, int i) : task(g), body(f), index(i) {}
  void run() override { (*body)(index); }
  const F* body;
  int index;
};

template <typename F>
void run_as_tasks(int count, const F& body) {
  auto group = vesk::internal::group_ptr::create();
  for (int i = 0; i < count; ++i) {
    group->add_task();
    void* memory = vesk::internal::task_allocator::allocate(sizeof(application_task<F>));
    if (memory == nullptr) {
      group->remove_unsent_task();
      ADD_FAILURE() << "no memory for application task " << i;
      continue;
    }
    vesk::internal::send_to_runtime(new (memory) application_task<F>(group.get(), &body, i), nullptr);
  }
  group->wait();
}

// Application tasks that launch application tasks of their own, whose bodies call SYMM, SYRK, TRMM and TRSM,
// whose tasks call GEMM: on one worker the waits stack three deep (the application's inner group, the routine's
// group, the nested GEMM's group), and every result has the bits of the same call made outside tasks.
TEST(Stress, NestedCallsInApplicationTasks) {
  const watchdog guard(time_limit, "Stress.NestedCallsInApplicationTasks");
  constexpr int outer = 4, inner = 4;
  std::mt19937 rng(7);
  std::vector<stress_case> cases;
  for (int i = 0; i < outer * inner; ++i) cases.push_back(makers[8 + i % 4](rng, true));
  for (int workers : {1, 2}) {
    const worker_scope scope(workers);
    const auto alone = run_alone(cases);
    std::vector<std::uint64_t> seen(cases.size());
    vesk::testing::reset_deepest_wait();
    run_as_tasks(outer,
                 [&](int o) { run_as_tasks(inner, [&](int i) { seen[o * inner + i] = cases[o * inner + i].run(); }); });
    const int deepest = vesk::testing::deepest_wait();
    EXPECT_TRUE(workers == 1 ? deepest == 3 : deepest >= 1 && deepest <= 3) << deepest << " on " << workers;
    for (std::size_t i = 0; i < cases.size(); ++i)
      EXPECT_EQ(seen[i], alone[i]) << cases[i].name << " in a task on " << workers << " workers";
  }
}

}  // namespace
}  // namespace kovra_test
