// Per-thread storage on POSIX thread keys (their destructors run the clean-up when a thread ends; an
// application thread's values are also cleaned up by the scheduler at its first task after a restart),
// and aligned memory from the C library.
#include <vesk/storage.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <climits>
#include <cstdlib>

#include "failure_plan.h"
#include "runtime_internal.h"

namespace vesk::internal {
namespace {

// The slots made so far with their clean-ups, for clean_up_thread_storage. Entries are written once,
// under the lock, before the count that publishes them. The table has room for every key the system
// can make, since slots are never deleted.
struct slot_entry {
  pthread_key_t key;
  void (*cleanup)(void*);
};
constexpr int max_slots = PTHREAD_KEYS_MAX;
slot_entry s_slots[max_slots];
std::atomic<int> s_slot_count{0};
pthread_mutex_t s_slots_lock = PTHREAD_MUTEX_INITIALIZER;

}  // namespace

int sls_key_create(storage_key* key, void (*cleanup)(void*)) {
  pthread_mutex_lock(&s_slots_lock);
  const int status = pthread_key_create(&key->key, cleanup);
  const int count = s_slot_count.load(std::memory_order_relaxed);
  if (status == 0 && count < max_slots) {
    s_slots[count] = {key->key, cleanup};
    s_slot_count.store(count + 1, std::memory_order_release);
  }
  pthread_mutex_unlock(&s_slots_lock);
  return status;
}

void* sls_get_specific(storage_key key) { return pthread_getspecific(key.key); }

void sls_set_specific(storage_key key, const void* value) { pthread_setspecific(key.key, value); }

void clean_up_thread_storage() {
  const int count = s_slot_count.load(std::memory_order_acquire);
  for (int i = 0; i < count; ++i) {
    void* value = pthread_getspecific(s_slots[i].key);
    if (value == nullptr) continue;
    pthread_setspecific(s_slots[i].key, nullptr);
    if (s_slots[i].cleanup != nullptr) s_slots[i].cleanup(value);
  }
}

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
