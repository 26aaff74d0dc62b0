// Small aligned allocators for per-call arrays (partial results, conjugated copies): memalign with
// alignment 64, released with free. A failure is reported through kovra_error and the null pointer is
// returned; callers do not test it.
#pragma once

#include <cstddef>

namespace kovra::helper {

inline constexpr std::size_t aligned_helper_alignment = 64;

// count elements of `width` bytes (4, 8 or 16). A count whose byte size size_t cannot hold, or a
// negative one, is reported and gives null like a failed memalign.
void* aligned_elements(int count, std::size_t width);

template <typename T> inline T* aligned_array(int count) {
  static_assert(sizeof(T) == 4 || sizeof(T) == 8 || sizeof(T) == 16, "element widths are 4, 8 or 16 bytes");
  return static_cast<T*>(aligned_elements(count, sizeof(T)));
}

}  // namespace kovra::helper
