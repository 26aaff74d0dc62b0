// kovra::threading::scratch: the one fixed block of memory that each worker owns. Tile bodies carve it
// up by the scratch plan (helper/scratch_plan.h: packed blocks, edge tiles, packed vectors); tiles
// never allocate.
#pragma once

#include <cstddef>

#include "helper/scratch_plan.h"

namespace kovra::threading {

using helper::scratch_alignment;
using helper::scratch_bytes;

struct alignas(scratch_alignment) scratch {
  std::byte storage[scratch_bytes];
};
static_assert(sizeof(scratch) == scratch_bytes);

// The calling worker's block, created (4096-aligned, zeroed once) on the worker's first task and
// freed by the runtime's per-worker storage clean-up when the worker ends. Throws std::bad_alloc if the
// block cannot be had; the next task on that worker tries again.
//
// A tile body may not keep anything in its scratch across a nested launch (a gemm<T> inside a tile,
// say): while it waits, its worker runs other tiles, which may be tiles of another call that lays the
// same block out afresh. Whatever must survive the nested call lives on the stack or in the caller's
// memory, or is packed again after it.
scratch* get_scratch();

}  // namespace kovra::threading
