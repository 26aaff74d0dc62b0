// kovra::threading::scratch: the one fixed block of memory that each worker owns. Tile bodies carve it
// up by their own arithmetic (packed blocks, edge tiles, gathered vectors); tiles never allocate.
#pragma once

#include <cstddef>

namespace kovra::threading {

inline constexpr std::size_t scratch_bytes = 1048576;
inline constexpr std::size_t scratch_alignment = 4096;

struct alignas(scratch_alignment) scratch {
  std::byte storage[scratch_bytes];
};
static_assert(sizeof(scratch) == scratch_bytes);

// The calling worker's block, created (4096-aligned, zeroed once) on the worker's first task and
// freed by the runtime's per-worker storage clean-up when the worker ends. Throws std::bad_alloc if the
// block cannot be had; the next task on that worker tries again.
scratch* get_scratch();

}  // namespace kovra::threading
