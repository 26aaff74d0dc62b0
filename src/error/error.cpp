// The two reporters. std::cerr is unit-buffered, so each report reaches the standard error descriptor
// before the call returns, even when the program ends abruptly afterwards.
#include "error/error.h"

#include <iostream>

namespace kovra::error {

void xerbla(std::string routine, int position) {
  std::cerr << "** KOVRA Error!  On Entry to " << routine << " parameter number " << position
            << " had an illegal value!\n";
}

bool bad_argument(const char* family, int position) {
  if (position == 0) return false;
  xerbla(family, position);
  return true;
}

void kovra_error(std::string message) {
  std::cerr << "** KOVRA SYSTEM ERROR! " << message << std::endl;
}

}  // namespace kovra::error
