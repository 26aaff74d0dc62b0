// The per-worker scratch block and the one storage slot that holds it for every element type.
#include "threading/scratch.h"

#include <cstring>
#include <new>

#include <vesk/exceptions.h>
#include <vesk/storage.h>

namespace kovra::threading {
namespace {

void free_scratch(void* block) {
  if (block != nullptr) vesk::internal::vesk_aligned_free(block);
}

// Created at load time, before any call can run a task. Its destructor leaves the blocks alone: the
// workers' storage clean-up frees them.
struct scratch_slot {
  vesk::internal::storage_key key{};
  scratch_slot() {
    if (vesk::internal::sls_key_create(&key, free_scratch) != 0)
      throw vesk::tls_exception("Unable to allocate storage key.", "vesk/scopedstorage", 141, "init_key");
  }
};

scratch_slot slot;

}  // namespace

scratch* get_scratch() {
  if (void* block = vesk::internal::sls_get_specific(slot.key)) return static_cast<scratch*>(block);
  void* block = vesk::internal::vesk_aligned_malloc(scratch_alignment, scratch_bytes);
  if (block == nullptr) throw std::bad_alloc();
  std::memset(block, 0, scratch_bytes);
  vesk::internal::sls_set_specific(slot.key, block);
  return static_cast<scratch*>(block);
}

}  // namespace kovra::threading
