// Plain fixed-width text tables, one line per row, easy to read and to paste, with their legend.
#include "report.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>
#include <utility>

namespace kovra::bench {
namespace {

// Widths of the rate columns: a median, then two spaces and its range "(min-max)".
constexpr int median_width = 10;
constexpr int range_width = 14;

std::string fixed(double value, int decimals) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(decimals) << value;
  return text.str();
}

// About three significant digits: more would be noise on a shared machine, fewer would hide a 1% step. The
// thresholds sit half a last digit low, so that 9.996 prints as 10.0, not 10.00.
std::string rate_text(double rate) {
  return fixed(rate, rate >= 99.95 ? 0 : rate >= 9.995 ? 1 : rate >= 0.9995 ? 2 : 3);
}

std::string range_text(const sample_set& s) {
  std::ostringstream text;
  text << '(' << rate_text(s.min_rate()) << '-' << rate_text(s.max_rate()) << ')';
  return text.str();
}

std::string check_text(const case_result& row) {
  if (row.ours_check == verdict::differs) return "KOVRA WRONG";
  if (row.peer_check == verdict::differs) return "peer wrong";
  return "ok";
}

// The geometric mean of a family's ratios: a case twice as fast and one half as fast even out, as they should.
struct family_mean {
  std::string family;
  double log_sum = 0;
  int rows = 0;
};

// Per family in table order, then over all of them; bound rows time no routine, so they stay out.
std::vector<family_mean> family_means(const std::vector<case_result>& rows) {
  std::vector<family_mean> means;
  family_mean all{"all"};
  for (const case_result& row : rows) {
    if (!row.peer || !row.bound.empty()) continue;
    auto mean = std::find_if(means.begin(), means.end(), [&](const family_mean& m) { return m.family == row.family; });
    if (mean == means.end()) mean = means.insert(means.end(), family_mean{row.family});
    for (family_mean* m : {&*mean, &all}) {
      m->log_sum += std::log(row.ratio());
      ++m->rows;
    }
  }
  if (means.size() > 1) means.push_back(all);
  return means;
}

}  // namespace

rate_table::rate_table(std::ostream& out, std::string peer_name, int samples, std::size_t longest_name)
    : out_(out),
      name_width_(static_cast<int>(longest_name) + 2),
      peer_name_(std::move(peer_name)),
      peer_width_(std::max<int>(median_width, static_cast<int>(peer_name_.size()) + 2)) {
  out_ << "Rates in each row's unit, higher is better (GB/s: bytes a call must move; GFLOPS: flops it must do;\n"
       << "kcall/s: thousands of calls per second): the median of " << samples
       << " samples, fewer for long calls, and their (min-max)";
  if (!peer_name_.empty()) out_ << ";\nKOVRA and the peer take turns, one batch of calls each";
  out_ << ".\n";
  out_ << std::left << std::setw(name_width_) << "case" << std::right << std::setw(9) << "n" << std::setw(9) << "unit"
       << std::setw(median_width) << ours_name << "  " << std::left << std::setw(range_width) << "(min-max)"
       << std::right;
  if (!peer_name_.empty())
    out_ << std::setw(peer_width_) << peer_name_ << "  " << std::left << std::setw(range_width) << "(min-max)"
         << std::right << std::setw(11) << "KOVRA/peer";
  out_ << "  check" << std::endl;
}

void rate_table::add(const case_result& row) {
  out_ << std::left << std::setw(name_width_) << row.name << std::right << std::setw(9) << row.n << std::setw(9)
       << row.unit << std::setw(median_width) << rate_text(row.ours.median_rate()) << "  " << std::left
       << std::setw(range_width) << range_text(row.ours) << std::right;
  if (!peer_name_.empty()) {
    out_ << std::setw(peer_width_) << (row.peer ? rate_text(row.peer->median_rate()) : "-") << "  " << std::left
         << std::setw(range_width) << (row.peer ? range_text(*row.peer) : "") << std::right << std::setw(11)
         << (row.peer ? fixed(row.ratio(), 2) : "-");
  }
  out_ << "  " << check_text(row);
  if (!row.note.empty()) out_ << "  " << row.note;
  out_ << std::endl;
  rows_.push_back(row);
}

void rate_table::finish() {
  out_ << (peer_name_.empty() ? ours_name : ours_name + ", " + peer_name_)
       << ": the median rate of the samples; (min-max): the slowest and the fastest sample.\n";
  if (!peer_name_.empty())
    out_ << "KOVRA/peer: KOVRA's median rate over the peer's, both in the row's unit; every unit is a rate, so\n"
         << "above 1 KOVRA is faster, below 1 slower.\n";
  std::vector<const case_result*> bounds;
  for (const case_result& row : rows_)
    if (!row.bound.empty() &&
        std::none_of(bounds.begin(), bounds.end(), [&](const case_result* b) { return b->name == row.name; }))
      bounds.push_back(&row);
  if (!bounds.empty()) {
    out_ << "_BOUND rows time no routine but the fastest that ours can be in the order it keeps:\n";
    for (const case_result* b : bounds)
      out_ << "  " << std::left << std::setw(name_width_) << b->name << b->bound << "\n";
  }
  const auto means = family_means(rows_);
  if (!means.empty()) {
    out_ << "Geometric mean of KOVRA/peer per family, over its rows with a peer and without the _BOUND rows:\n";
    for (const family_mean& m : means)
      out_ << "  " << std::left << std::setw(12) << m.family << std::right << std::setw(6)
           << fixed(std::exp(m.log_sum / m.rows), 2) << "  (" << m.rows << (m.rows == 1 ? " row)\n" : " rows)\n");
  }
  out_ << std::right << std::flush;
}

void print_launch_latency(std::ostream& out, const launch_latency& latency) {
  out << "Launch latency: launch_grid with one empty tile per worker, " << latency.workers
      << (latency.workers == 1 ? " worker, " : " workers, ") << latency.launches
      << " launches; a time, lower is better\n"
      << "  median " << fixed(latency.median_us, 2) << " us (min-max " << fixed(latency.best_us, 2) << "-"
      << fixed(latency.worst_us, 2) << ")   p90 " << fixed(latency.p90_us, 2) << " us\n";
}

}  // namespace kovra::bench
