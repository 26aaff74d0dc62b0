// Per-thread storage and aligned memory of the vesk runtime.
#pragma once

#include <pthread.h>

namespace vesk::internal {

// A storage slot with a separate value for each thread that runs tasks. The clean-up function runs on a
// worker's non-null value when that worker ends; on an application thread's (which runs tasks of its own
// calls while it waits for them) when the thread ends, or at its first task after the runtime restarted,
// so that its tasks find no value of an earlier run, as a new worker's tasks find none.
struct storage_key {
  pthread_key_t key;
};

int sls_key_create(storage_key* key, void (*cleanup)(void*));  // 0 on success
void* sls_get_specific(storage_key key);                         // null if this thread set nothing
void sls_set_specific(storage_key key, const void* value);

// Alignment first, then size; null on failure. Memory from it goes back through vesk_aligned_free.
void* vesk_aligned_malloc(unsigned alignment, unsigned size);
void vesk_aligned_free(void* p);

}  // namespace vesk::internal
