// Measures one case at one size: checks KOVRA's and the peer's results against the reference, then times
// each library.
#pragma once

#include <optional>
#include <string>

#include "bench_case.h"
#include "peer_library.h"

namespace kovra::bench {

enum class verdict { agrees, differs, not_run };

struct case_result {
  std::string name;
  std::string unit;
  int n;
  double ours_rate;                 // best sample, in the case's unit
  std::optional<double> peer_rate;  // none without a peer, or if the peer lacks the routine
  verdict ours_check;
  verdict peer_check;
  std::string note;  // the case's note, empty if it has none
};

// `samples` timed samples per library. Differences from the reference are also reported on standard
// error as they are found.
case_result measure_case(const bench_case& c, int n, const peer_library* peer, int samples);

// With a peer loaded, pauses until the idle threads of both libraries have stopped spinning after their
// last call, so that they take no processor time from the measurement that follows.
void let_threads_settle(const peer_library* peer);

}  // namespace kovra::bench
