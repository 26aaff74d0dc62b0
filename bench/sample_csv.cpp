// Comma-separated values with a header line, as spreadsheets and plotting tools read them.
#include "sample_csv.h"

#include <stdexcept>

#include "selection.h"

namespace kovra::bench {
namespace {

// A field that holds a comma, a quote or a line break goes in quotes, its quotes doubled.
std::string field(const std::string& text) {
  if (text.find_first_of(",\"\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

}  // namespace

sample_csv::sample_csv(const std::string& path) : path_(path), out_(path) {
  // Enough digits that the rate column can be recomputed from the seconds.
  out_.precision(9);
  out_ << "workers,case,family,n,library,sample,seconds_per_call,rate,unit\n" << std::flush;
  if (!out_) throw std::runtime_error("cannot write " + path);
}

void sample_csv::add(int workers, const case_result& row, const std::string& peer_name) {
  add(workers, row.name, row.family, row.n, ours_name, row.ours, row.unit);
  if (row.peer) add(workers, row.name, row.family, row.n, peer_name, *row.peer, row.unit);
  out_.flush();
  if (!out_) throw std::runtime_error("cannot write " + path_);
}

void sample_csv::add(const launch_latency& latency) {
  sample_set samples;
  for (const double us : latency.samples_us) {
    samples.seconds.push_back(us * 1e-6);
    samples.rates.push_back(1e3 / us);  // thousands of launches per second
  }
  add(latency.workers, launch_probe, launch_probe, latency.workers, ours_name, samples, kilocalls_per_second.name);
  out_.flush();
  if (!out_) throw std::runtime_error("cannot write " + path_);
}

void sample_csv::add(int workers, const std::string& name, const std::string& family, int n,
                     const std::string& library, const sample_set& samples, const std::string& unit) {
  for (std::size_t i = 0; i < samples.seconds.size(); ++i)
    out_ << workers << ',' << field(name) << ',' << field(family) << ',' << n << ',' << field(library) << ','
         << i + 1 << ',' << samples.seconds[i] << ',' << samples.rates[i] << ',' << field(unit) << '\n';
}

}  // namespace kovra::bench
