// The case table of kovra-bench: a case is one routine, with how much work a call does at size n and how
// to run it in KOVRA, in a peer library and as a plain reference.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "checksum.h"
#include "peer_library.h"

namespace kovra::bench {

// One case made ready at one size: operands allocated, every runner bound to them.
struct workload {
  std::function<void()> reset;  // refills the operands, with the same values every time
  std::function<void()> ours;   // one call of KOVRA's routine
  std::function<void()> peer;   // one call of the peer's routine; empty without a peer or entry
  // The checksums that a right call leaves, found from operands just reset: by a plain loop with the
  // routine's meaning run on them, or by cheaper sums of the same values. It may change the operands.
  std::function<std::vector<operand_checksum>()> expected;
  std::function<std::vector<operand_checksum>()> sums;  // checksums of every operand the routine may write
  double rounding;  // relative checksum difference that rounding alone can explain
};

// How rates print: `work` counts what a call does in the unit's own terms (bytes, flops, calls), and a
// rate is that count per second divided by `scale`.
struct rate_unit {
  std::string name;
  double scale;
};

inline const rate_unit gigabytes_per_second{"GB/s", 1e9};
inline const rate_unit gigaflops{"GFLOPS", 1e9};
inline const rate_unit kilocalls_per_second{"kcall/s", 1e3};

struct bench_case {
  std::string name;                    // as printed; --cases matches it in any letter case
  std::string family;                  // --cases may name it to run every case of the family
  rate_unit unit;
  std::function<double(int n)> work;   // bytes that one call must move, flops it must do, or 1 call
  std::vector<int> sizes;              // the sizes run when --n is not given
  std::vector<int> default_run_sizes;  // the sizes run without --cases; empty: not in that run
  std::function<workload(int n, const peer_library* peer)> make;
  // Optional text at the end of a row, from the size and the median seconds per call of KOVRA and of the peer
  // (none when it did not run): for cases whose size stands for a shape that the rate alone does not tell.
  std::function<std::string(int n, double ours_seconds, std::optional<double> peer_seconds)> note = {};
  // Empty for a routine. A bound case times no routine but the fastest that one of ours can be in the order
  // it keeps; this line says what it runs, for --help and for the legend under a table that shows it.
  std::string bound = {};
};

std::vector<bench_case> level1_cases();
std::vector<bench_case> reduction_cases();
std::vector<bench_case> level2_cases();
std::vector<bench_case> triangular_vector_cases();
std::vector<bench_case> symmetric_vector_cases();
std::vector<bench_case> level3_cases();
std::vector<bench_case> fma_peak_cases();
std::vector<bench_case> triangular_cases();
std::vector<bench_case> symmetric_cases();
std::vector<bench_case> rank_update_cases();
std::vector<bench_case> convolution_cases();

// Every case, in table order.
std::vector<bench_case> all_cases();

}  // namespace kovra::bench
