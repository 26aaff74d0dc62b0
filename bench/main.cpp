// kovra-bench: rates of KOVRA's routines, optionally side by side with another BLAS loaded at run time,
// and the launch latency of its parallel frame.
#include <algorithm>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

#include "bench_case.h"
#include "vesk/runtime.h"
#include "launch_latency.h"
#include "options.h"
#include "peer_library.h"
#include "plot_svg.h"
#include "report.h"
#include "runner.h"
#include "sample_csv.h"
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

// Writes `text` to `path` as its whole content; throws std::runtime_error if it cannot.
void write_file(const std::string& path, const std::string& text) {
  std::ofstream out(path);
  out << text;
  out.close();
  if (!out) throw std::runtime_error("cannot write " + path);
}

// Returns the exit status: 1 if any of KOVRA's results was wrong.
int run(const options& opts, const std::vector<bench_case>& all) {
  const selection chosen = select_cases(all, opts.cases, opts.sizes);
  std::unique_ptr<peer_library> peer;
  if (opts.peer) peer = std::make_unique<peer_library>(*opts.peer);
  const std::string peer_name = peer ? peer->short_name() : std::string();
  // 0 stands for the runtime as it runs, with the count it chose itself.
  const std::vector<int> worker_counts = opts.workers.empty() ? std::vector<int>{0} : opts.workers;
  // Both files are made before the first measurement, so that a path that cannot be written fails at once
  // and not at the end of a long run.
  std::optional<sample_csv> csv;
  if (opts.csv) csv.emplace(*opts.csv);
  std::vector<plotted_table> plotted;
  if (opts.plot) write_file(*opts.plot, plot_svg(plotted, peer_name));

  int status = 0;
  for (const int workers : worker_counts) {
    const bool peer_threads_set = workers < 1 || use_workers(workers, peer.get());
    print_setup(std::cout, peer.get(), peer_threads_set);
    if (!chosen.cases.empty()) {
      std::size_t longest_name = 0;
      for (const planned_case& planned : chosen.cases) longest_name = std::max(longest_name, planned.c->name.size());
      rate_table table(std::cout, peer_name, opts.samples, longest_name);
      plotted.push_back({vesk_worker_count(), {}});
      for (const planned_case& planned : chosen.cases) {
        for (const int n : planned.sizes) {
          const case_result row = measure_case(*planned.c, n, peer.get(), opts.samples);
          if (row.ours_check == verdict::differs) status = 1;
          table.add(row);
          if (csv) csv->add(vesk_worker_count(), row, peer_name);
          plotted.back().rows.push_back(row);
        }
      }
      table.finish();
      // Drawn again after each table, so that a run stopped later keeps the picture of those before.
      if (opts.plot) write_file(*opts.plot, plot_svg(plotted, peer_name));
    }
    if (chosen.launch) {
      let_threads_settle(peer.get());
      const launch_latency latency = measure_launch_latency(opts.launches);
      print_launch_latency(std::cout, latency);
      if (csv) csv->add(latency);
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
      std::cout << usage(describe_cases(all), describe_bounds(all));
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
