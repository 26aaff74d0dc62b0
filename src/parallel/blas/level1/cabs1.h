// |Re z| + |Im z|: the one magnitude of Level 1 (SCABS1, DCABS1 and the sums of ASUM and the index
// searches), written through REAL, IMAG and ABS so that it reads the same for real and complex elements.
#pragma once

#include "helper/helper.h"

namespace kovra::parallel::blas {

template <typename T>
inline real_t<T> cabs1(const T& z) {
  return helper::ABS(helper::REAL(z)) + helper::ABS(helper::IMAG(z));
}

}  // namespace kovra::parallel::blas
