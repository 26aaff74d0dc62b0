// The picture of --plot: rates against size as a self-contained SVG document, written without any library.
#pragma once

#include <string>
#include <vector>

#include "runner.h"

namespace kovra::bench {

// The rows of one table, run with `workers` workers.
struct plotted_table {
  int workers;
  std::vector<case_result> rows;
};

// One panel per family and unit (and worker count, when there are several tables), n on a log scale; in it a
// series per case and library (a <g class="series"> with data-case and data-library), with a marker at the
// median rate of each size and a bar from the slowest to the fastest sample. KOVRA's markers are filled on
// solid lines, the peer's (`peer_name`, empty without one) hollow on dashed lines; a case keeps its colour.
std::string plot_svg(const std::vector<plotted_table>& tables, const std::string& peer_name);

}  // namespace kovra::bench
