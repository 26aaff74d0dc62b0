// Panels two to a row under a header that explains the markers: in each panel the plot area with its axes,
// and on its right the legend of its cases. Lengths are SVG user units, pixels at 100%.
#include "plot_svg.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <limits>
#include <sstream>

namespace kovra::bench {
namespace {

constexpr double panel_width = 640;
constexpr double plot_left = 70;  // room for the rate labels and the unit beside them
constexpr double plot_width = 370;
constexpr double legend_left = plot_left + plot_width + 22;
constexpr double plot_top = 34;  // room for the panel's title
constexpr double plot_height = 240;
constexpr double plot_bottom = 50;  // room for the size labels and the axis title
constexpr double panel_height = plot_top + plot_height + plot_bottom;
constexpr double legend_line = 16;
constexpr double header_height = 92;
constexpr int panels_per_row = 2;
// The cases that measured one size share its slot, side by side, this far apart at most; within a case,
// KOVRA's marker and bar sit left of the peer's by up to twice library_gap, so that neither hides the other.
constexpr double max_case_gap = 18;
constexpr double library_gap = 3;
// Medians that span more than this factor are drawn on a log scale: calls per second of small products
// fall by decades as n grows.
constexpr double log_rate_span = 30;

// Distinct colours, one per case of a panel; a family with more cases gets more panels.
const char* const palette[] = {"#1f77b4", "#d62728", "#2ca02c", "#ff7f0e", "#9467bd",
                               "#8c564b", "#e377c2", "#17becf", "#7f7f7f", "#bcbd22"};
constexpr std::size_t cases_per_panel = sizeof(palette) / sizeof(palette[0]);

struct point {
  double n, median, low, high;
};

struct series {
  std::string case_name;
  std::string library;
  std::vector<point> points;
};

struct panel {
  std::string title;
  std::string family;
  std::string unit;
  int workers;
  std::vector<std::string> cases;  // in table order; a case's colour is its place here
  std::vector<series> lines;
};

// A range of rates on pixels [from, to], on a log or a linear scale, with the values that get a tick.
struct axis {
  double lo, hi;
  bool log;
  std::vector<double> ticks = {};

  double at(double v, double from, double to) const {
    const double f = log ? std::log(v / lo) / std::log(hi / lo) : (v - lo) / (hi - lo);
    return from + f * (to - from);
  }
};

std::string escaped(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c == '&') out += "&amp;";
    else if (c == '<') out += "&lt;";
    else if (c == '>') out += "&gt;";
    else if (c == '"') out += "&quot;";
    else out += c;
  }
  return out;
}

// Three significant digits at most, and no exponent for the values a rate or a size takes.
std::string number_text(double v) {
  std::ostringstream text;
  if (v >= 1000 || v == std::floor(v)) text << std::fixed << std::setprecision(0);
  else text << std::setprecision(3);
  text << v;
  return text.str();
}

std::string size_text(double n) {
  if (n >= 1e6 && std::fmod(n, 1e6) == 0) return number_text(n / 1e6) + "M";
  if (n >= 1e4 && std::fmod(n, 1e3) == 0) return number_text(n / 1e3) + "k";
  return number_text(n);
}

std::string workers_text(int workers) { return std::to_string(workers) + (workers == 1 ? " worker" : " workers"); }

// From zero on a linear scale, so that heights compare as ratios do, unless the medians span decades; then
// at 1, 2 and 5 times the powers of ten, only the powers over more than three decades.
axis rate_axis(double low, double high, double median_span) {
  if (median_span > log_rate_span) {
    const double lo = std::pow(10, std::floor(std::log10(low))), hi = std::pow(10, std::ceil(std::log10(high)));
    axis a{lo, hi, true};
    for (double decade = lo; decade <= hi; decade *= 10)
      for (const double step : {1.0, 2.0, 5.0})
        if (step * decade <= hi && (hi / lo <= 1e3 || step == 1)) a.ticks.push_back(step * decade);
    return a;
  }
  // About five steps of 1, 2 or 5 times a power of ten.
  const double decade = std::pow(10, std::floor(std::log10(high / 5)));
  double step = 10 * decade;
  for (const double m : {5.0, 2.0, 1.0})
    if (m * decade >= high / 5) step = m * decade;
  axis a{0, std::ceil(high / step) * step, false};
  for (double v = 0; v <= a.hi * (1 + 1e-9); v += step) a.ticks.push_back(v);
  return a;
}

// One panel per (worker count when several, family, unit), in table order; a series per case and library.
// A panel with more cases than colours is cut into parts.
std::vector<panel> panels_of(const std::vector<plotted_table>& tables, const std::string& peer_name) {
  std::vector<panel> panels;
  for (const plotted_table& table : tables) {
    for (const case_result& row : table.rows) {
      auto p = std::find_if(panels.begin(), panels.end(), [&](const panel& q) {
        return q.family == row.family && q.unit == row.unit && q.workers == table.workers;
      });
      if (p == panels.end()) {
        std::string title = row.family + " (" + row.unit + ")";
        if (tables.size() > 1) title += ", " + workers_text(table.workers);
        p = panels.insert(panels.end(), panel{title, row.family, row.unit, table.workers, {}, {}});
      }
      if (std::find(p->cases.begin(), p->cases.end(), row.name) == p->cases.end()) p->cases.push_back(row.name);
      auto add = [&](const std::string& library, const sample_set& s) {
        auto line = std::find_if(p->lines.begin(), p->lines.end(), [&](const series& l) {
          return l.case_name == row.name && l.library == library;
        });
        if (line == p->lines.end()) line = p->lines.insert(p->lines.end(), series{row.name, library, {}});
        line->points.push_back({double(row.n), s.median_rate(), s.min_rate(), s.max_rate()});
      };
      add(ours_name, row.ours);
      if (row.peer) add(peer_name, *row.peer);
    }
  }
  std::vector<panel> split;
  for (const panel& p : panels) {
    const std::size_t parts = (p.cases.size() + cases_per_panel - 1) / cases_per_panel;
    const std::size_t per_part = (p.cases.size() + parts - 1) / parts;
    for (std::size_t part = 0; part < parts; ++part) {
      panel q = p;
      const auto first = p.cases.begin() + static_cast<std::ptrdiff_t>(part * per_part);
      q.cases.assign(first, first + static_cast<std::ptrdiff_t>(std::min(per_part, p.cases.size() - part * per_part)));
      std::erase_if(q.lines, [&](const series& l) {
        return std::find(q.cases.begin(), q.cases.end(), l.case_name) == q.cases.end();
      });
      if (parts > 1) q.title += ", part " + std::to_string(part + 1) + " of " + std::to_string(parts);
      split.push_back(std::move(q));
    }
  }
  for (panel& p : split)
    for (series& l : p.lines)
      std::sort(l.points.begin(), l.points.end(), [](const point& a, const point& b) { return a.n < b.n; });
  return split;
}

// A library's marker centred at (x, y): KOVRA's a filled circle, the peer's a hollow square.
void marker(std::ostream& svg, bool ours, double x, double y, const std::string& colour, const std::string& tip) {
  if (ours)
    svg << "<circle class=\"point\" cx=\"" << x << "\" cy=\"" << y << "\" r=\"3.5\" fill=\"" << colour << "\">";
  else
    svg << "<rect class=\"point\" x=\"" << x - 3.5 << "\" y=\"" << y - 3.5
        << "\" width=\"7\" height=\"7\" fill=\"white\" stroke-width=\"1.5\">";
  svg << "<title>" << escaped(tip) << "</title>" << (ours ? "</circle>\n" : "</rect>\n");
}

// Sizes are slots of equal width in increasing order, so that every size measured is seen and labelled
// however close or far apart they are; the cases that measured a size sit side by side in its slot.
void draw_panel(std::ostream& svg, const panel& p, double x0, double y0) {
  std::vector<double> sizes;
  double low = std::numeric_limits<double>::infinity(), high = 0;
  double low_median = std::numeric_limits<double>::infinity(), high_median = 0;
  for (const series& l : p.lines)
    for (const point& q : l.points) {
      sizes.push_back(q.n);
      low = std::min(low, q.low);
      high = std::max(high, q.high);
      low_median = std::min(low_median, q.median);
      high_median = std::max(high_median, q.median);
    }
  std::sort(sizes.begin(), sizes.end());
  sizes.erase(std::unique(sizes.begin(), sizes.end()), sizes.end());
  const axis ys = rate_axis(low, high, high_median / low_median);
  const double left = x0 + plot_left, right = left + plot_width, top = y0 + plot_top, bottom = top + plot_height;
  const double slot_width = plot_width / static_cast<double>(sizes.size());
  auto slot_of = [&](double n) {
    return static_cast<double>(std::lower_bound(sizes.begin(), sizes.end(), n) - sizes.begin());
  };
  auto y_of = [&](double rate) { return ys.at(rate, bottom, top); };
  const bool both = std::any_of(p.lines.begin(), p.lines.end(), [](const series& l) { return l.library != ours_name; });
  // Where case `name`'s points at size n go: its place among the cases that measured n, then its library's.
  auto x_of = [&](const std::string& name, double n, bool ours) {
    std::vector<std::string> here;
    for (const std::string& c : p.cases)
      for (const series& l : p.lines)
        if (l.case_name == c && l.library == ours_name &&
            std::any_of(l.points.begin(), l.points.end(), [&](const point& q) { return q.n == n; }))
          here.push_back(c);
    const double place = static_cast<double>(std::find(here.begin(), here.end(), name) - here.begin());
    const double gap = std::min(max_case_gap, 0.7 * slot_width / static_cast<double>(here.size()));
    const double shift = both ? std::min(library_gap, gap / 4) * (ours ? -1 : 1) : 0;
    return left + slot_width * (slot_of(n) + 0.5) + gap * (place - (static_cast<double>(here.size()) - 1) / 2) + shift;
  };

  svg << "<g class=\"panel\" data-family=\"" << escaped(p.family) << "\" data-unit=\"" << escaped(p.unit)
      << "\" data-workers=\"" << p.workers << "\">\n<text x=\"" << left << "\" y=\"" << y0 + 20
      << "\" class=\"panel-title\">" << escaped(p.title) << "</text>\n";
  for (const double v : ys.ticks)
    svg << "<line class=\"grid\" x1=\"" << left << "\" x2=\"" << right << "\" y1=\"" << y_of(v) << "\" y2=\""
        << y_of(v) << "\"/><text x=\"" << left - 6 << "\" y=\"" << y_of(v) + 4 << "\" text-anchor=\"end\">"
        << number_text(v) << "</text>\n";
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    const double x = left + slot_width * static_cast<double>(i);
    if (i > 0)
      svg << "<line class=\"grid\" x1=\"" << x << "\" x2=\"" << x << "\" y1=\"" << top << "\" y2=\"" << bottom
          << "\"/>";
    svg << "<text x=\"" << x + slot_width / 2 << "\" y=\"" << bottom + 16 << "\" text-anchor=\"middle\">"
        << size_text(sizes[i]) << "</text>\n";
  }
  svg << "<rect class=\"frame\" x=\"" << left << "\" y=\"" << top << "\" width=\"" << plot_width << "\" height=\""
      << plot_height << "\"/>\n"
      << "<text x=\"" << (left + right) / 2 << "\" y=\"" << bottom + 38
      << "\" text-anchor=\"middle\">size n, one slot per size measured</text>\n"
      << "<text transform=\"translate(" << x0 + 16 << " " << (top + bottom) / 2
      << ") rotate(-90)\" text-anchor=\"middle\">" << escaped(p.unit) << (ys.log ? " (log scale)" : "")
      << "</text>\n";

  for (const series& l : p.lines) {
    const bool ours = l.library == ours_name;
    const auto colour_index = std::find(p.cases.begin(), p.cases.end(), l.case_name) - p.cases.begin();
    const std::string colour = palette[colour_index];
    svg << "<g class=\"series\" data-case=\"" << escaped(l.case_name) << "\" data-library=\"" << escaped(l.library)
        << "\" stroke=\"" << colour << "\" fill=\"none\">\n";
    if (l.points.size() > 1) {
      svg << "<polyline stroke-width=\"1.5\"" << (ours ? "" : " stroke-dasharray=\"5 3\"") << " points=\"";
      for (const point& q : l.points) svg << x_of(l.case_name, q.n, ours) << "," << y_of(q.median) << " ";
      svg << "\"/>\n";
    }
    for (const point& q : l.points) {
      const double x = x_of(l.case_name, q.n, ours);
      svg << "<line x1=\"" << x << "\" x2=\"" << x << "\" y1=\"" << y_of(q.low) << "\" y2=\"" << y_of(q.high)
          << "\"/>\n";
      marker(svg, ours, x, y_of(q.median), colour,
             l.case_name + " n=" + size_text(q.n) + ", " + l.library + ": median " + number_text(q.median) + " " +
                 p.unit + " (" + number_text(q.low) + "-" + number_text(q.high) + ")");
    }
    svg << "</g>\n";
  }

  for (std::size_t i = 0; i < p.cases.size(); ++i) {
    const double y = top + legend_line * (static_cast<double>(i) + 0.5);
    svg << "<line x1=\"" << x0 + legend_left << "\" x2=\"" << x0 + legend_left + 20 << "\" y1=\"" << y << "\" y2=\""
        << y << "\" stroke=\"" << palette[i] << "\" stroke-width=\"3\"/><text x=\"" << x0 + legend_left + 26
        << "\" y=\"" << y + 4 << "\">" << escaped(p.cases[i]) << "</text>\n";
  }
  svg << "</g>\n";
}

// The title, what a marker and its bar stand for, and the two libraries' styles.
void draw_header(std::ostream& svg, const std::vector<plotted_table>& tables, const std::string& peer_name) {
  std::string ours_label = ours_name;
  if (tables.size() == 1) ours_label += " (" + workers_text(tables.front().workers) + ")";
  svg << "<text x=\"16\" y=\"26\" class=\"title\">kovra-bench: rates against size n</text>\n"
      << "<text x=\"16\" y=\"48\">A marker is the median of the samples at one size, its bar spans the slowest to "
         "the fastest sample; higher is better.</text>\n";
  const double y = 72;
  svg << "<g stroke=\"#333\" fill=\"none\"><line x1=\"16\" x2=\"46\" y1=\"" << y << "\" y2=\"" << y
      << "\" stroke-width=\"1.5\"/>\n";
  marker(svg, true, 31, y, "#333", ours_name);
  svg << "</g><text x=\"54\" y=\"" << y + 4 << "\">" << escaped(ours_label) << "</text>\n";
  if (peer_name.empty()) return;
  const double x = 70 + 7.0 * static_cast<double>(ours_label.size());
  svg << "<g stroke=\"#333\" fill=\"none\"><line x1=\"" << x << "\" x2=\"" << x + 30 << "\" y1=\"" << y
      << "\" y2=\"" << y << "\" stroke-width=\"1.5\" stroke-dasharray=\"5 3\"/>\n";
  marker(svg, false, x + 15, y, "#333", peer_name);
  svg << "</g><text x=\"" << x + 38 << "\" y=\"" << y + 4 << "\">" << escaped(peer_name) << "</text>\n";
}

}  // namespace

std::string plot_svg(const std::vector<plotted_table>& tables, const std::string& peer_name) {
  const std::vector<panel> panels = panels_of(tables, peer_name);
  const int columns = std::clamp(static_cast<int>(panels.size()), 1, panels_per_row);
  const auto rows = static_cast<double>((panels.size() + panels_per_row - 1) / panels_per_row);
  const double width = columns * panel_width, height = header_height + std::max(rows * panel_height, 30.0) + 10;

  std::ostringstream svg;
  svg << std::fixed << std::setprecision(1);
  svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
      << "\" viewBox=\"0 0 " << width << " " << height << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
      << "<style>.title{font-size:18px;font-weight:bold} .panel-title{font-size:14px;font-weight:bold} "
         ".grid{stroke:#e4e4e4} .frame{stroke:#999;fill:none} text{fill:#222}</style>\n"
      << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
  draw_header(svg, tables, peer_name);
  if (panels.empty()) svg << "<text x=\"16\" y=\"" << header_height + 10 << "\">No rates were measured.</text>\n";
  for (std::size_t i = 0; i < panels.size(); ++i)
    draw_panel(svg, panels[i], static_cast<double>(i % panels_per_row) * panel_width,
               header_height + static_cast<double>(i / panels_per_row) * panel_height);
  svg << "</svg>\n";
  return svg.str();
}

}  // namespace kovra::bench
