// The file of --csv: every timed sample on a line of its own, for a closer look than the tables give.
#pragma once

#include <fstream>
#include <string>

#include "launch_latency.h"
#include "runner.h"

namespace kovra::bench {

// Lines are written as rows come, so that a run stopped early keeps what it measured. Columns:
// workers, case, family, n, library, sample (from 1, in the order taken), seconds per call, rate, unit.
class sample_csv {
 public:
  // Creates the file and writes the header line; throws std::runtime_error if it cannot.
  explicit sample_csv(const std::string& path);
  void add(int workers, const case_result& row, const std::string& peer_name);
  // The launch probe's launches, as case LAUNCH with n the tile count (one per worker), in kcall/s.
  void add(const launch_latency& latency);

 private:
  void add(int workers, const std::string& name, const std::string& family, int n, const std::string& library,
           const sample_set& samples, const std::string& unit);

  std::string path_;
  std::ofstream out_;
};

}  // namespace kovra::bench
