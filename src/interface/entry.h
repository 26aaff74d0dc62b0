// What the exported entries share: the alias pair that gives a Fortran routine its other two names, and
// the reading of scalars passed by address.
#pragma once

#include <complex>

#include "helper/helper.h"
#include "platform.h"

// The three Fortran names of a routine are one function: `lower_` is defined in the entry's file, and
// `lower` and `UPPER` become further names of that same code.
#define KOVRA_FORTRAN_ALIASES(lower, UPPER)                                           \
  extern "C" KOVRA_EXPORT decltype(lower##_) lower __attribute__((alias(#lower "_"))); \
  extern "C" KOVRA_EXPORT decltype(lower##_) UPPER __attribute__((alias(#lower "_")))

namespace kovra::interface {

// A scalar passed by address: a real value, or a complex one as its (real, imaginary) pair. Both parts
// are read here, at the entry, before the routine tests anything.
template <typename T>
inline T load_scalar(const void* address) {
  const auto* parts = static_cast<const real_t<T>*>(address);
  if constexpr (is_complex_v<T>) return T(parts[0], parts[1]);
  else return parts[0];
}

}  // namespace kovra::interface
