// The runtime's life as the BLAS entries see it: a thousand stop/start cycles with parallel calls between them
// and no growth of memory, parallel calls in a child of fork(), and allocation failures injected into a launch's
// task memory and into a worker's first scratch block, each followed by a call that must work again.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vesk/exceptions.h>
#include <vesk/runtime.h>
#include <vesk/task.h>
#include <vesk/testing.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <new>
#include <string>
#include <thread>
#include <vector>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// The sanitizers' count of heap bytes in use; g++ ships no header that declares it.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#define KOVRA_TEST_SANITIZED 1
#else
#include <malloc.h>
#define KOVRA_TEST_SANITIZED 0
#endif

#include "kovra/cblas.h"
#include "support/fork_child_threads.h"
#include "support/values.h"
#include "support/worker_scope.h"

namespace kovra_test {
namespace {

// What the process holds: heap bytes in use (the sanitizers replace malloc, so their own count is asked there)
// and threads (a worker never joined stays). Taken with the runtime stopped, when no worker holds a scratch
// block: a running worker holds one only if it has run a task. The mapped size is left out: the C library
// reserves 64 MiB for each further thread arena whenever it decides to make one, which says nothing of leaks.
struct footprint {
  std::size_t heap = 0;
  int threads = 0;

  static footprint now() {
    EXPECT_EQ(vesk_worker_count(), 0);
    footprint f;
#if KOVRA_TEST_SANITIZED
    f.heap = __sanitizer_get_current_allocated_bytes();
#elif defined(__ANDROID__)
    f.heap = mallinfo().uordblks;  // Bionic's fields are already size_t and it has no mallinfo2
#else
    const struct mallinfo2 info = mallinfo2();
    f.heap = info.uordblks + info.hblkhd;
#endif
    // The fewest threads over 200 ms: a stopped worker may still be on its way out (slowly under an emulator).
    f.threads = INT_MAX;
    for (int i = 0; i < 20; ++i, std::this_thread::sleep_for(std::chrono::milliseconds(10))) {
      const std::filesystem::directory_iterator tasks("/proc/self/task");
      f.threads = std::min(f.threads, static_cast<int>(std::distance(begin(tasks), end(tasks))));
    }
    return f;
  }
};

// Growth from `early` to `late` within the tolerance: no thread, and 32 KiB of heap, which leaves room for the
// task memory caches settling (they grow by a few KiB at most once warm) while a task block of 144 bytes lost
// per failed call (320 of them after `early`), or anything of 34 bytes or more lost per cycle, exceeds it.
// ThreadSanitizer keeps state of its own for every thread that ever ran (each start makes new workers) and counts it
// as heap in use, so there only the threads are compared; the other builds measure the heap.
::testing::AssertionResult no_growth(const footprint& early, const footprint& late) {
#if defined(__SANITIZE_THREAD__)
  constexpr long heap_slack = LONG_MAX;
#else
  constexpr long heap_slack = 32 << 10;
#endif
  if (long(late.heap) - long(early.heap) > heap_slack || late.threads != early.threads)
    return ::testing::AssertionFailure() << "heap " << early.heap << " -> " << late.heap << " bytes, threads "
                                         << early.threads << " -> " << late.threads;
  return ::testing::AssertionSuccess();
}

// One parallel call through its CBLAS entry, on small integers so that every result is exact whatever the split
// and the order of the sums. `before` is the output as given, `want` as a correct call leaves it. With
// `tiles_independent` every output element comes from one tile only, so a tile that fails leaves its own
// elements as given and nothing else; TRSM's later steps read what its earlier ones wrote.
struct parallel_call {
  const char* name;
  std::vector<double> before, want;
  std::function<void(double*)> run;
  bool tiles_independent;

  std::vector<double> output() const {
    std::vector<double> out = before;
    run(out.data());
    return out;
  }
};

double small_int(int i, int period) { return double(i % period - period / 2); }

std::vector<parallel_call> make_calls() {
  std::vector<parallel_call> calls;
  constexpr int n = 1000, m = 120, k = 90, order = 40, rhs = 12;
  std::vector<double> x(n), y(n);
  for (int i = 0; i < n; ++i) x[i] = small_int(i, 7) + 4, y[i] = small_int(i, 11);  // x has no zero
  std::vector<double> y_want = y;
  for (int i = 0; i < n; ++i) y_want[i] += 2 * x[i];
  calls.push_back({"DAXPY", y, y_want, [x](double* out) { cblas_daxpy(n, 2.0, x.data(), 1, out, 1); }, true});

  std::vector<double> a(m * k), v(k), w(m);
  for (int i = 0; i < m * k; ++i) a[i] = small_int(i * i / 7 + i, 5);  // no row of A*v sums to 0
  for (int j = 0; j < k; ++j) v[j] = small_int(j, 3) + 2;
  for (int i = 0; i < m; ++i) w[i] = small_int(i, 9);
  std::vector<double> w_want = w;
  for (int j = 0; j < k; ++j)
    for (int i = 0; i < m; ++i) w_want[i] += a[i + m * j] * v[j];
  calls.push_back({"DGEMV", w, w_want, [a, v](double* out) {
                     cblas_dgemv(CblasColMajor, CblasNoTrans, m, k, 1.0, a.data(), m, v.data(), 1, 1.0, out, 1);
                   }, true});

  std::vector<double> p(order * order), q(order * order), pq(order * order, 0.0);
  for (int i = 0; i < order * order; ++i) p[i] = small_int(i, 7), q[i] = small_int(5 * i, 6);
  for (int j = 0; j < order; ++j)
    for (int l = 0; l < order; ++l)
      for (int i = 0; i < order; ++i) pq[i + order * j] += p[i + order * l] * q[l + order * j];
  // beta 0: C is not read, so it is given as the sentinel.
  calls.push_back({"DGEMM", std::vector<double>(order * order, sentinel<double>()), pq, [p, q](double* out) {
                     cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, order, order, order, 1.0, p.data(), order,
                                 q.data(), order, 0.0, out, order);
                   }, true});

  // Unit upper triangle with entries of -1 to 1, B = U * X: the solve gives X back exactly. The diagonal and
  // the lower part, which the call must not read, hold the sentinel.
  std::vector<double> u(order * order, sentinel<double>()), solution(order * rhs), b(order * rhs, 0.0);
  for (int j = 0; j < order; ++j)
    for (int i = 0; i < j; ++i) u[i + order * j] = small_int(i + 2 * j, 3);
  for (int i = 0; i < order * rhs; ++i) solution[i] = small_int(i, 5);
  for (int j = 0; j < rhs; ++j)
    for (int i = 0; i < order; ++i) {
      b[i + order * j] = solution[i + order * j];
      for (int l = i + 1; l < order; ++l) b[i + order * j] += u[i + order * l] * solution[l + order * j];
    }
  calls.push_back({"DTRSM", b, solution, [u](double* out) {
                     cblas_dtrsm(CblasColMajor, CblasLeft, CblasUpper, CblasNoTrans, CblasUnit, order, rhs, 1.0,
                                 u.data(), order, out, order);
                   }, false});
  return calls;
}

::testing::AssertionResult right(const parallel_call& call) { return all_same_bits(call.output(), call.want); }

// Each cycle stops the runtime, where a parallel call throws and leaves its output alone while a call below the
// cut-off works, then starts it with 1 to 3 workers and checks every call. The first cycles make what lives
// until exit (kernels, task memory caches, the allocator's arenas); memory is measured at the stop of cycle 21
// and after the last cycle.
TEST(Lifecycle, ThousandStopStartCyclesKeepResultsAndMemory) {
  const auto calls = make_calls();
  const parallel_call& axpy = calls.front();
  worker_scope restore(1);  // gives the default runtime back at the end
  footprint early;
  for (int cycle = 1; cycle <= 1000; ++cycle) {
    ASSERT_EQ(vesk_stop(), 0);
    if (cycle == 21) early = footprint::now();
    std::vector<double> y = axpy.before;
    ASSERT_THROW(axpy.run(y.data()), vesk::api_exception) << "cycle " << cycle;
    ASSERT_TRUE(all_same_bits(y, axpy.before)) << "cycle " << cycle;
    std::vector<double> few(8, 1.0);
    cblas_daxpy(8, 2.0, few.data(), 1, few.data(), 1);
    ASSERT_EQ(few, std::vector<double>(8, 3.0)) << "cycle " << cycle;

    const int workers = 1 + cycle % 3;
    ASSERT_EQ(vesk_start(workers), 0);
    ASSERT_EQ(vesk_worker_count(), workers);
    for (const auto& call : calls) ASSERT_TRUE(right(call)) << call.name << " in cycle " << cycle;
  }
  vesk_stop();
  EXPECT_TRUE(no_growth(early, footprint::now()));
}

// The child of fork() has only the forking thread. The runtime's fork handlers leave it running, with the
// parent's worker count and no workers yet: its first launch makes them. So the child calls the BLAS as the
// parent does, with nothing to restart; a child that wants another count stops and starts as anywhere else.
TEST(Lifecycle, ParallelCallsInAChildOfFork) {
  if (!threads_in_fork_child_supported()) GTEST_SKIP() << "this host cannot run threads in a child of fork()";
  const auto calls = make_calls();
  const auto all_right = [&] {
    for (const auto& call : calls)
      if (!right(call)) return false;
    return true;
  };
  worker_scope scope(2);
  ASSERT_TRUE(all_right()) << "the parent, whose workers then exist";
  const pid_t child = fork();
  ASSERT_NE(child, -1);
  if (child == 0) {
    alarm(30);  // a hang ends the child by the signal, which the parent sees
    int status = vesk_worker_count() == 2 ? 0 : 1;
    if (!all_right()) status |= 2;
    if (vesk_stop() != 0 || vesk_start(3) != 0 || !all_right()) status |= 4;
    if (vesk_stop() != 0) status |= 8;
    _exit(status);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "the child ended by signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0) << "1: worker count, 2: results, 4: results after a restart, 8: stop";
  EXPECT_TRUE(all_right()) << "the parent after the fork";
}

// The lowest free group id is 0 again once every group of the calls has gone; a group left referenced keeps it
// (the pool's groups are static, so neither the heap nor the leak checker would see one). The last task's
// release of its group may trail the caller's return by a moment, hence the tries.
bool groups_all_released() {
  for (int tries = 0; tries < 100000; ++tries) {
    if (vesk::internal::group_ptr::create()->id() == 0) return true;
    std::this_thread::yield();
  }
  return false;
}

// A refused task allocation drops its tile without a report and the call returns; a refused scratch block
// raises std::bad_alloc in its task, which reaches the caller after the other tiles ran. Either way only the
// failed tile's elements stay as given. Scratch blocks are made at a worker's first task, so every row starts
// a fresh runtime.
struct fault {
  const char* what;
  bool scratch;
  std::uint64_t mask;
  int workers;
};
constexpr fault faults[] = {
    {"the first task of a launch", false, 0b1, 3},
    {"the second task of a launch", false, 0b10, 3},
    {"the first scratch block", true, 0b1, 2},
    {"every scratch block", true, ~std::uint64_t{0}, 3},
};

void inject(const fault& f, std::uint64_t mask) {
  if (f.scratch)
    vesk::testing::fail_aligned_allocations(mask);
  else
    vesk::testing::fail_task_allocations(mask);
}

void check_fault(const fault& f, const parallel_call& call) {
  SCOPED_TRACE(::testing::Message() << call.name << ", failure of " << f.what);
  worker_scope scope(f.workers);
  std::vector<double> out = call.before;
  inject(f, f.mask);
  bool raised = false;
  try {
    call.run(out.data());
  } catch (const std::bad_alloc&) {
    raised = true;
  }
  inject(f, 0);
  EXPECT_EQ(raised, f.scratch);
  if (f.mask == ~std::uint64_t{0}) {
    EXPECT_TRUE(all_same_bits(out, call.before)) << "no tile could run";
  } else if (call.tiles_independent) {
    int as_given = 0, changed = 0, wrong = 0;
    for (std::size_t i = 0; i < out.size(); ++i) {
      const bool kept = same_bits(out[i], call.before[i]);
      as_given += kept;
      changed += !kept;
      wrong += !kept && !same_bits(out[i], call.want[i]);
    }
    EXPECT_TRUE(wrong == 0 && as_given > 0 && changed > 0)
        << wrong << " elements wrong, " << as_given << " as given, " << changed << " changed";
  }
  EXPECT_TRUE(groups_all_released());
  EXPECT_TRUE(right(call)) << "the next call";
}

// Every fault on every call, then the same rounds again with the memory measured: failures that leaked a task,
// a group or a block would grow it round after round.
TEST(Lifecycle, InjectedAllocationFailuresReachTheCallerAndLeaveNothingBehind) {
  const auto calls = make_calls();
  const auto round = [&] {
    for (const auto& f : faults)
      for (const auto& call : calls) check_fault(f, call);
  };
  round();
  if (::testing::Test::HasFailure()) return;
  round();
  vesk_stop();
  const footprint early = footprint::now();
  for (int r = 0; r < 20 && !::testing::Test::HasFailure(); ++r) round();
  vesk_stop();
  EXPECT_TRUE(no_growth(early, footprint::now()));
  vesk_start(0);
}

}  // namespace
}  // namespace kovra_test
