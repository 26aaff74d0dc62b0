// Per-worker storage on POSIX thread keys (their destructors run the clean-up when a worker ends), and
// aligned memory from the C library.
#include <vesk/storage.h>

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "failure_plan.h"

namespace vesk::internal {

int sls_key_create(storage_key* key, void (*cleanup)(void*)) { return pthread_key_create(&key->key, cleanup); }

void* sls_get_specific(storage_key key) { return pthread_getspecific(key.key); }

void sls_set_specific(storage_key key, const void* value) { pthread_setspecific(key.key, value); }

void* vesk_aligned_malloc(unsigned alignment, unsigned size) {
  if (aligned_allocation_failures.next_call_fails()) return nullptr;
  // posix_memalign wants a power of two no smaller than a pointer.
  if (alignment > (1u << 31)) return nullptr;
  const std::size_t align = std::bit_ceil(std::max<std::size_t>(alignment, sizeof(void*)));
  void* p = nullptr;
  return posix_memalign(&p, align, size) == 0 ? p : nullptr;
}

void vesk_aligned_free(void* p) { std::free(p); }

}  // namespace vesk::internal
