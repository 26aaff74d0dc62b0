// kovra-bench: rates of KOVRA's routines, optionally side by side with another BLAS loaded at run time,
// and the launch latency of its parallel frame.
#include <algorithm>
#include <iostream>
#include <memory>
#include <stdexcept>

#include "bench_case.h"
#include "vesk/runtime.h"
#include "launch_latency.h"
#include "options.h"
#include "peer_library.h"
#include "report.h"
#include "runner.h"
#include "selection.h"

namespace kovra::bench {
namespace {

// Restarts the runtime with `workers` workers and asks the peer for as many threads. Returns false if
// the peer has no thread-count call that we know.
bool use_workers(int workers, const peer_library* peer) {
  vesk_stop();
  if (vesk_start(workers) != 0)
    throw std::runtime_error("the runtime did not start with " + std::to_string(workers) + " workers");
  return peer == nullptr || peer->set_threads(workers);
}

void print_setup(std::ostream& out, const peer_library* peer, bool peer_threads_set) {
  const int workers = vesk_worker_count();
  out << "KOVRA: " << workers << (workers == 1 ? " worker\n" : " workers\n");
  if (peer == nullptr) return;
  out << "peer: " << peer->path();
  if (!peer_threads_set)
    out << ", threads not set";
  else if (const auto threads = peer->threads())
    out << ", " << *threads << (*threads == 1 ? " thread" : " threads");
  if (const auto target = peer->kernel_target()) out << ", kernels for " << *target;
  out << "\n";
}

// Returns the exit status: 1 if any of KOVRA's results was wrong.
int run(const options& opts, const std::vector<bench_case>& all) {
  const selection chosen = select_cases(all, opts.cases, opts.sizes);
  std::unique_ptr<peer_library> peer;
  if (opts.peer) peer = std::make_unique<peer_library>(*opts.peer);
  // 0 stands for the runtime as it runs, with the count it chose itself.
  const std::vector<int> worker_counts = opts.workers.empty() ? std::vector<int>{0} : opts.workers;

  int status = 0;
  for (const int workers : worker_counts) {
    const bool peer_threads_set = workers < 1 || use_workers(workers, peer.get());
    print_setup(std::cout, peer.get(), peer_threads_set);
    if (!chosen.cases.empty()) {
      std::size_t longest_name = 0;
      for (const planned_case& planned : chosen.cases) longest_name = std::max(longest_name, planned.c->name.size());
      rate_table table(std::cout, peer ? peer->short_name() : std::string(), opts.samples, longest_name);
      for (const planned_case& planned : chosen.cases) {
        for (const int n : planned.sizes) {
          const case_result row = measure_case(*planned.c, n, peer.get(), opts.samples);
          if (row.ours_check == verdict::differs) status = 1;
          table.add(row);
        }
      }
    }
    if (chosen.launch) {
      let_threads_settle(peer.get());
      print_launch_latency(std::cout, measure_launch_latency(opts.launches));
    }
    std::cout << "\n";
  }
  return status;
}

}  // namespace
}  // namespace kovra::bench

int main(int argc, char** argv) {
  using namespace kovra::bench;
  const std::vector<bench_case> all = all_cases();
  try {
    const options opts = parse_options(std::vector<std::string>(argv + 1, argv + argc));
    if (opts.help) {
      std::cout << usage(describe_cases(all));
      return 0;
    }
    return run(opts, all);
  } catch (const std::invalid_argument& e) {
    std::cerr << "kovra-bench: " << e.what() << " (see --help)\n";
    return 2;
  } catch (const std::exception& e) {
    std::cerr << "kovra-bench: " << e.what() << "\n";
    return 2;
  }
}
