// One row of a table: the correctness checks first, then the two libraries timed in turns.
#include "runner.h"

#include <time.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <thread>
#include <vector>

#include "timing.h"

namespace kovra::bench {
namespace {

// Idle worker threads of a BLAS keep spinning for a while after its last call (OpenBLAS by default for
// about a tenth of a second, our runtime for a tenth of a millisecond) and would compete with the other
// library's timing. While the bench thread sleeps, only such threads spend the process's processor time:
// the pause watches it and ends after a few windows in a row in which they spent almost none.
constexpr std::chrono::milliseconds settle_window{10};
// A spinning thread spends the whole window; a tenth of it is left for timers and other brief wake-ups.
constexpr double quiet_share = 0.1;
// Two windows, so that a spinner which the system kept off the processors for one window is not taken
// for a quiet one.
constexpr int quiet_windows = 2;
// Threads that never stop spinning hold the next batch back no longer than this, some four times as long
// as OpenBLAS's spin.
constexpr std::chrono::milliseconds settle_limit{500};

// Differences printed per check; the rest are counted, since a broken routine may spoil every entry.
constexpr std::size_t reported_differences = 3;

// Processor seconds of all the process's threads (std::clock would wrap after half an hour on 32-bit targets).
double process_seconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

// Runs `routine` on fresh operands and compares every checksum with the expected one.
verdict check(workload& w, const std::function<void()>& routine,
              const std::vector<operand_checksum>& expected, const std::string& who,
              const std::string& what) {
  if (!routine) return verdict::not_run;
  w.reset();
  routine();
  const auto got = w.sums();
  std::size_t differences = 0;
  for (std::size_t i = 0; i < got.size(); ++i) {
    if (agree(got[i].sum, expected[i].sum, w.rounding)) continue;
    if (++differences > reported_differences) continue;
    std::cerr << "warning: " << what << ": " << who << " result differs from the reference beyond rounding"
              << " (checksum of " << got[i].operand << ": " << got[i].sum.value << ", expected "
              << expected[i].sum.value << ")\n";
  }
  if (differences > reported_differences)
    std::cerr << "warning: " << what << ": " << who << " result differs in " << differences - reported_differences
              << " more of its " << got.size() << " checksums\n";
  return differences == 0 ? verdict::agrees : verdict::differs;
}

sample_set samples_of(const bench_case& c, int n, std::vector<double> seconds) {
  sample_set s{std::move(seconds), {}};
  for (const double t : s.seconds) s.rates.push_back(c.work(n) / t / c.unit.scale);
  return s;
}

}  // namespace

double sample_set::median_rate() const { return median(rates); }
double sample_set::min_rate() const { return *std::min_element(rates.begin(), rates.end()); }
double sample_set::max_rate() const { return *std::max_element(rates.begin(), rates.end()); }
double sample_set::median_seconds() const { return median(seconds); }

void let_threads_settle(const peer_library* peer) {
  if (peer == nullptr) return;
  using clock = std::chrono::steady_clock;
  const auto start = clock::now();
  auto window_start = start;
  double spent_before = process_seconds();
  for (int quiet = 0; quiet < quiet_windows && clock::now() - start < settle_limit;) {
    std::this_thread::sleep_for(settle_window);
    const auto now = clock::now();
    const double spent = process_seconds();
    const std::chrono::duration<double> window = now - window_start;
    quiet = spent - spent_before < quiet_share * window.count() ? quiet + 1 : 0;
    window_start = now;
    spent_before = spent;
  }
}

case_result measure_case(const bench_case& c, int n, const peer_library* peer, int samples) {
  workload w = c.make(n, peer);
  const std::string what = c.name + " n=" + std::to_string(n);

  w.reset();
  const auto expected = w.expected();
  case_result result{c.name, c.family, c.unit.name, c.bound, n, {}, std::nullopt, verdict::not_run,
                     verdict::not_run, {}};
  result.ours_check = check(w, w.ours, expected, "KOVRA's", what);
  result.peer_check = check(w, w.peer, expected, "the peer's", what);

  // One reset for both libraries: the operands stay bounded over any number of calls, so each batch may
  // take them up as the batch before it, of either library, left them. Pauses go between the batches only
  // when the peer takes turns; before the first in any case, since the peer's threads may still spin.
  w.reset();
  std::vector<std::function<void()>> calls{w.ours};
  if (w.peer) calls.push_back(w.peer);
  bool first_batch = true;
  const auto seconds = time_in_turns(calls, samples, [&] {
    if (first_batch || w.peer) let_threads_settle(peer);
    first_batch = false;
  });
  result.ours = samples_of(c, n, seconds[0]);
  if (w.peer) result.peer = samples_of(c, n, seconds[1]);
  if (c.note)
    result.note = c.note(n, result.ours.median_seconds(),
                         result.peer ? std::optional<double>(result.peer->median_seconds()) : std::nullopt);
  return result;
}

}  // namespace kovra::bench
