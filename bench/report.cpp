// Plain fixed-width text tables, one line per row, easy to read and to paste.
#include "report.h"

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <utility>

namespace kovra::bench {
namespace {

std::string fixed(double value, int decimals) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(decimals) << value;
  return text.str();
}

std::string check_text(const case_result& row) {
  if (row.ours_check == verdict::differs) return "KOVRA WRONG";
  if (row.peer_check == verdict::differs) return "peer wrong";
  return "ok";
}

}  // namespace

rate_table::rate_table(std::ostream& out, std::string peer_name, int samples, std::size_t longest_name)
    : out_(out),
      name_width_(static_cast<int>(longest_name) + 2),
      peer_name_(std::move(peer_name)),
      peer_width_(std::max<int>(10, static_cast<int>(peer_name_.size()) + 2)) {
  out_ << "Rates, best of " << samples
       << " samples, fewer for long calls (GB/s: bytes a call must move; GFLOPS: flops it must do;\n"
       << "kcall/s: thousands of calls per second)\n";
  out_ << std::left << std::setw(name_width_) << "case" << std::right << std::setw(9) << "n" << std::setw(9) << "unit"
       << std::setw(10) << "KOVRA";
  if (!peer_name_.empty()) out_ << std::setw(peer_width_) << peer_name_ << std::setw(12) << "KOVRA/peer";
  out_ << "  check" << std::endl;
}

void rate_table::add(const case_result& row) {
  out_ << std::left << std::setw(name_width_) << row.name << std::right << std::setw(9) << row.n << std::setw(9)
       << row.unit << std::setw(10) << fixed(row.ours_rate, 2);
  if (!peer_name_.empty()) {
    out_ << std::setw(peer_width_) << (row.peer_rate ? fixed(*row.peer_rate, 2) : "-") << std::setw(12)
         << (row.peer_rate ? fixed(row.ours_rate / *row.peer_rate, 2) : "-");
  }
  out_ << "  " << check_text(row);
  if (!row.note.empty()) out_ << "  " << row.note;
  out_ << std::endl;
}

void print_launch_latency(std::ostream& out, const launch_latency& latency) {
  out << "Launch latency: launch_grid with one empty tile per worker, " << latency.workers
      << (latency.workers == 1 ? " worker, " : " workers, ") << latency.launches << " launches\n"
      << "  median " << fixed(latency.median_us, 2) << " us   p90 " << fixed(latency.p90_us, 2)
      << " us   best " << fixed(latency.best_us, 2) << " us\n";
}

}  // namespace kovra::bench
