// The case table of kovra-bench: a case is one routine, with how much work a call does at size n and how
// to run it in KOVRA, in a peer library and as a plain reference loop.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "checksum.h"
#include "peer_library.h"

namespace kovra::bench {

// One case made ready at one size: operands allocated, every runner bound to them.
struct workload {
  std::function<void()> reset;      // refills the operands, with the same values every time
  std::function<void()> ours;       // one call of KOVRA's routine
  std::function<void()> peer;       // one call of the peer's routine; empty without a peer or entry
  std::function<void()> reference;  // a plain loop with the routine's meaning
  std::function<std::vector<operand_checksum>()> sums;  // checksums of every operand the routine may write
  double rounding;  // relative checksum difference that rounding alone can explain
};

struct bench_case {
  std::string name;                   // as printed; --cases matches it in any letter case
  std::string unit;                   // "GB/s" or "GFLOPS"
  std::function<double(int n)> work;  // bytes that one call must move, or flops it must do
  std::vector<int> default_sizes;     // the sizes run when --n is not given
  bool by_default;                    // part of the set run without --cases
  std::function<workload(int n, const peer_library* peer)> make;
};

std::vector<bench_case> level1_cases();

// Every case, in table order.
std::vector<bench_case> all_cases();

}  // namespace kovra::bench
