// Measures one case at one size: checks KOVRA's and the peer's results against the reference, then times
// the two libraries in turns.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bench_case.h"
#include "peer_library.h"

namespace kovra::bench {

// How our library is named in tables, sample files and plots; the peer goes by its file name.
inline const std::string ours_name = "KOVRA";

enum class verdict { agrees, differs, not_run };

// One library's timed samples in the order they were taken: seconds per call and the rate in the case's unit.
struct sample_set {
  std::vector<double> seconds;
  std::vector<double> rates;

  double median_rate() const;
  double min_rate() const;
  double max_rate() const;
  double median_seconds() const;
};

struct case_result {
  std::string name;
  std::string family;
  std::string unit;
  std::string bound;  // the case's bound text, empty for a routine
  int n;
  sample_set ours;
  std::optional<sample_set> peer;  // none without a peer, or if the peer lacks the routine
  verdict ours_check;
  verdict peer_check;
  std::string note;  // the case's note, empty if it has none

  // KOVRA's median rate over the peer's; only with a peer.
  double ratio() const { return ours.median_rate() / peer->median_rate(); }
};

// `samples` timed samples per library. Differences from the reference are also reported on standard
// error as they are found.
case_result measure_case(const bench_case& c, int n, const peer_library* peer, int samples);

// With a peer loaded, pauses until the idle threads of both libraries have stopped spinning after their
// last call, so that they take no processor time from the measurement that follows.
void let_threads_settle(const peer_library* peer);

}  // namespace kovra::bench
