// One row of a table: the correctness checks first, then KOVRA's timing, then the peer's.
#include "runner.h"

#include <chrono>
#include <iostream>
#include <thread>
#include <vector>

#include "timing.h"

namespace kovra::bench {
namespace {

// Idle worker threads of a BLAS keep spinning for a while after its last call (OpenBLAS by default for
// about a tenth of a second) and would compete with the other library's timing; this pause outlasts that.
constexpr std::chrono::milliseconds settle_pause{250};

// Differences printed per check; the rest are counted, since a broken routine may spoil every entry.
constexpr std::size_t reported_differences = 3;

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

double rate(const bench_case& c, int n, double seconds) { return c.work(n) / seconds / c.unit.scale; }

}  // namespace

void let_threads_settle(const peer_library* peer) {
  if (peer != nullptr) std::this_thread::sleep_for(settle_pause);
}

case_result measure_case(const bench_case& c, int n, const peer_library* peer, int samples) {
  workload w = c.make(n, peer);
  const std::string what = c.name + " n=" + std::to_string(n);

  w.reset();
  const auto expected = w.expected();
  case_result result{c.name, c.unit.name, n, 0, std::nullopt, verdict::not_run, verdict::not_run, {}};
  result.ours_check = check(w, w.ours, expected, "KOVRA's", what);
  result.peer_check = check(w, w.peer, expected, "the peer's", what);

  let_threads_settle(peer);
  w.reset();
  const double ours_seconds = time_calls(w.ours, samples);
  result.ours_rate = rate(c, n, ours_seconds);
  std::optional<double> peer_seconds;
  if (w.peer) {
    let_threads_settle(peer);
    w.reset();
    peer_seconds = time_calls(w.peer, samples);
    result.peer_rate = rate(c, n, *peer_seconds);
  }
  if (c.note) result.note = c.note(n, ours_seconds, peer_seconds);
  return result;
}

}  // namespace kovra::bench
