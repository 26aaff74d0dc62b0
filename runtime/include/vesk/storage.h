// Per-worker storage and aligned memory of the vesk runtime.
#pragma once

#include <pthread.h>

namespace vesk::internal {

// A storage slot with a separate value for each worker. The clean-up function runs on a worker's
// non-null value when that worker ends.
struct storage_key {
  pthread_key_t key;
};

int sls_key_create(storage_key* key, void (*cleanup)(void*));  // 0 on success
void* sls_get_specific(storage_key key);                         // null if this worker set nothing
void sls_set_specific(storage_key key, const void* value);

// Alignment first, then size; null on failure. Memory from it goes back through vesk_aligned_free.
void* vesk_aligned_malloc(unsigned alignment, unsigned size);
void vesk_aligned_free(void* p);

}  // namespace vesk::internal
