// The whole case table: the families in the order their tables print.
#include "bench_case.h"

namespace kovra::bench {

std::vector<bench_case> all_cases() { return level1_cases(); }

}  // namespace kovra::bench
