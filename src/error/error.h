// The library's two reporters on standard error: bad arguments of Levels 2 and 3 (xerbla) and system
// failures (kovra_error). Both only print and return; the caller goes on.
#pragma once

#include <string>

namespace kovra::error {

// "** KOVRA Error!  On Entry to <routine> parameter number <position> had an illegal value!\n"
void xerbla(std::string routine, int position);

// "** KOVRA SYSTEM ERROR! <message>\n", flushed.
void kovra_error(std::string message);

}  // namespace kovra::error
