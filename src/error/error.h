// The library's two reporters on standard error: bad arguments of Levels 2 and 3 (xerbla) and system
// failures (kovra_error). Both only print and return; the caller goes on.
#pragma once

#include <string>

namespace kovra::error {

// "** KOVRA Error!  On Entry to <routine> parameter number <position> had an illegal value!\n"
void xerbla(std::string routine, int position);

// The argument check of every Level 2 and 3 routine: `position` is what its <op>_bad_argument found,
// the one-based position of the first bad argument in the Fortran list, or 0. Reports a bad one under
// the family name (no precision letter, one trailing blank) and returns true: the routine then returns
// with its output untouched.
//
//   if (error::bad_argument("GEMV ", gemv_bad_argument(trans, m, n, lda, incx, incy))) return;
bool bad_argument(const char* family, int position);

// "** KOVRA SYSTEM ERROR! <message>\n", flushed.
void kovra_error(std::string message);

}  // namespace kovra::error
