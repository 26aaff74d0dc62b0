// Task memory. Tasks of the usual size live in fixed blocks kept in per-thread caches, so a launch
// takes no lock and makes no general-heap call in the common case. A launching thread allocates and the
// thread that runs the task frees: a block of a task that the caller ran itself goes back to the caller's
// cache, but the others pile up in the workers' caches; full batches of them travel back through a
// shared depot, which is the only lock on this path and is visited once per batch.
//
// Every allocation starts with a small header that records its size, so that the worker that frees a
// task needs no knowledge of its type. Requests larger than a block go to the heap behind the same header.
#include <pthread.h>

#include <cstddef>
#include <cstdlib>
#include <new>

#include <vesk/task.h>

#include "failure_plan.h"
#include "runtime_internal.h"

namespace vesk::internal {
namespace {

// 16 bytes keep the task as aligned as anything malloc would return on the targets.
constexpr std::size_t header_bytes = 16;
// A task of the library is 32 bytes (ARM) to 48 bytes (64-bit hosts); a block leaves room for test tasks
// and bodies with a few more fields.
constexpr std::size_t block_bytes = 128;
// Blocks start on a cache line, so tasks that run on different workers never share a line.
constexpr std::size_t block_alignment = 64;
// Blocks move between a thread's cache and the depot in batches of this many.
constexpr unsigned batch_blocks = 32;
// A cache holds up to two batches; one more block sends a batch to the depot.
constexpr unsigned cache_limit = 2 * batch_blocks;
// Above this the depot gives blocks back to the heap: enough for many threads' launches in flight.
constexpr unsigned depot_limit = 64 * batch_blocks;

// A cached block, linked through its payload; the header keeps its size while the block waits.
struct free_block {
  free_block* next;
};

struct block_list {
  free_block* head = nullptr;
  unsigned count = 0;

  void push(free_block* b) {
    b->next = head;
    head = b;
    ++count;
  }
  free_block* pop() {
    free_block* b = head;
    head = b->next;
    --count;
    return b;
  }
  // Moves up to n blocks to `to`.
  void move_to(block_list& to, unsigned n) {
    for (; n > 0 && head != nullptr; --n) to.push(pop());
  }
  void free_all();
};

std::size_t& header_of(void* block) { return *static_cast<std::size_t*>(block); }

void* payload_of(void* block) { return static_cast<char*>(block) + header_bytes; }

void* block_of(void* payload) { return static_cast<char*>(payload) - header_bytes; }

// Returns the payload of a new heap block of `bytes` bytes in all, or null.
void* heap_block(std::size_t bytes) {
  void* block = nullptr;
  if (posix_memalign(&block, block_alignment, bytes) != 0) return nullptr;
  header_of(block) = bytes;
  return payload_of(block);
}

void block_list::free_all() {
  while (head != nullptr) std::free(block_of(pop()));
}

// The shared depot. Its lock is taken around fork() so that the child finds it free.
pthread_mutex_t depot_lock = PTHREAD_MUTEX_INITIALIZER;
block_list depot;

// This thread's cache. Plain data, so that no constructor or destructor order matters; a thread key's
// destructor hands the blocks to the depot when the thread ends.
struct thread_cache {
  block_list blocks;
  bool registered = false;
};
thread_local constinit thread_cache t_cache;

pthread_key_t cache_owner_key;
pthread_once_t cache_owner_once = PTHREAD_ONCE_INIT;

void return_batch_to_depot(block_list& from, unsigned n) {
  block_list batch;
  from.move_to(batch, n);
  pthread_mutex_lock(&depot_lock);
  const unsigned room = depot.count < depot_limit ? depot_limit - depot.count : 0;
  batch.move_to(depot, room);
  pthread_mutex_unlock(&depot_lock);
  batch.free_all();
}

void flush_thread_cache(void* cache) {
  block_list& blocks = static_cast<thread_cache*>(cache)->blocks;
  return_batch_to_depot(blocks, blocks.count);
  static_cast<thread_cache*>(cache)->registered = false;
}

thread_cache& cache() {
  thread_cache& c = t_cache;
  if (!c.registered) {
    pthread_once(&cache_owner_once, [] { pthread_key_create(&cache_owner_key, flush_thread_cache); });
    pthread_setspecific(cache_owner_key, &c);
    c.registered = true;
  }
  return c;
}

}  // namespace

void* task_allocator::allocate(unsigned size) {
  if (task_allocation_failures.next_call_fails()) return nullptr;
  if (size > block_bytes - header_bytes) return heap_block(header_bytes + size);
  thread_cache& c = cache();
  if (c.blocks.head == nullptr) {
    pthread_mutex_lock(&depot_lock);
    depot.move_to(c.blocks, batch_blocks);
    pthread_mutex_unlock(&depot_lock);
  }
  return c.blocks.head != nullptr ? static_cast<void*>(c.blocks.pop()) : heap_block(block_bytes);
}

void task_allocator::deallocate(void* p) {
  if (p == nullptr) return;
  if (header_of(block_of(p)) != block_bytes) {
    std::free(block_of(p));
    return;
  }
  thread_cache& c = cache();
  c.blocks.push(static_cast<free_block*>(p));
  if (c.blocks.count > cache_limit) return_batch_to_depot(c.blocks, batch_blocks);
}

void task_memory_before_fork() { pthread_mutex_lock(&depot_lock); }

void task_memory_after_fork() { pthread_mutex_unlock(&depot_lock); }

void release_cached_task_memory() {
  if (t_cache.registered) flush_thread_cache(&t_cache);
  pthread_mutex_lock(&depot_lock);
  depot.free_all();
  pthread_mutex_unlock(&depot_lock);
}

}  // namespace vesk::internal
