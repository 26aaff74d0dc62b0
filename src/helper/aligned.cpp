// The aligned helpers: memalign with alignment 64, released with free.
#include "helper/aligned.h"

#include <malloc.h>

#include "error/error.h"

namespace kovra::helper {

void* aligned_elements(int count, std::size_t width) {
  // A byte count that size_t cannot hold (a negative count, or an overflow where size_t has 32 bits)
  // would otherwise wrap to a small request and hand back a block far too short; it fails like any
  // other impossible allocation instead.
  std::size_t bytes = 0;
  void* block = nullptr;
  if (count >= 0 && !__builtin_mul_overflow(static_cast<std::size_t>(count), width, &bytes))
    block = memalign(aligned_helper_alignment, bytes);
  if (block == nullptr) error::kovra_error("Aligned memory allocation failed!");
  return block;
}

}  // namespace kovra::helper
