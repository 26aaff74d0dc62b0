// Groups: the id bitmap, the static pool of 32 records, the task count and its reference on the group,
// and the owning handle. A group's life ends with its last reference, which may be the launcher's
// group_ptr or the task count of tasks still in flight after the launcher has gone.
#include <bit>
#include <cstddef>
#include <new>

#include <vesk/exceptions.h>
#include <vesk/task.h>

#include "runtime_internal.h"

namespace vesk::internal {
namespace {

// The set of group ids in use, as a chain of fixed bitmaps that grows on demand (and never shrinks), so
// that any number of groups can be alive at once. The first 32 ids, which name the pool slots, are the
// first word of the first chunk.
class id_bitmap {
 public:
  std::uint32_t set_first();
  void reset(std::uint32_t id);

 private:
  static constexpr std::uint32_t word_bits = 32;
  static constexpr std::uint32_t chunk_words = 32;
  static constexpr std::uint32_t chunk_ids = word_bits * chunk_words;
  struct chunk {
    std::atomic<std::uint32_t> words[chunk_words]{};
    std::atomic<chunk*> next{nullptr};
  };
  chunk m_first;
};

std::uint32_t id_bitmap::set_first() {
  std::uint32_t base = 0;
  for (chunk* c = &m_first;; base += chunk_ids) {
    for (std::uint32_t w = 0; w < chunk_words; ++w) {
      std::uint32_t bits = c->words[w].load(std::memory_order_relaxed);
      while (bits != ~0u) {
        const std::uint32_t bit = static_cast<std::uint32_t>(std::countr_one(bits));
        if (c->words[w].compare_exchange_weak(bits, bits | (1u << bit), std::memory_order_acquire))
          return base + w * word_bits + bit;
      }
    }
    chunk* next = c->next.load(std::memory_order_acquire);
    if (next == nullptr) {
      // The flags word has room for ids up to id_mask.
      if (base + 2 * chunk_ids - 1 > group::id_mask) throw std::bad_alloc();
      chunk* fresh = new chunk;
      if (c->next.compare_exchange_strong(next, fresh, std::memory_order_acq_rel))
        next = fresh;
      else
        delete fresh;  // another thread linked one first; `next` now holds it
    }
    c = next;
  }
}

void id_bitmap::reset(std::uint32_t id) {
  chunk* c = &m_first;
  for (std::uint32_t n = id / chunk_ids; n > 0; --n) c = c->next.load(std::memory_order_acquire);
  const std::uint32_t in_chunk = id % chunk_ids;
  c->words[in_chunk / word_bits].fetch_and(~(1u << (in_chunk % word_bits)), std::memory_order_release);
}

id_bitmap s_ids;

struct pool_slot {
  alignas(group) std::byte storage[sizeof(group)];
};
pool_slot s_allocator[group::pool_slots];

}  // namespace

void group::add_task() {
  if (m_tasks.fetch_add(1) == 0) m_refs.fetch_add(1);
}

void group::task_done() {
  if (m_tasks.fetch_sub(1) != 1) return;
  // The count's reference keeps the group alive until the end of this function, although its waiter
  // may return as soon as the count is zero.
  m_tasks.notify_all();
  if (m_helper_sleeping.load()) wake_sleeping_helper();
  release_group(this);
}

void group::remove_unsent_task() { task_done(); }

void group::wait() {
  if (on_worker_thread())
    help_until_done(*this);
  else
    block_until_done(*this);
  if (m_has_exception.load(std::memory_order_acquire)) std::rethrow_exception(m_exception);
}

void group::store_exception(std::exception_ptr e) {
  if (!m_has_exception.exchange(true)) m_exception = std::move(e);
}

group_ptr group_ptr::create() {
  const std::uint32_t id = s_ids.set_first();
  group* g;
  if (id < group::pool_slots) {
    g = new (s_allocator[id].storage) group(id);
  } else {
    try {
      g = new group(id);
    } catch (...) {
      s_ids.reset(id);
      throw;
    }
  }
  g->m_refs.fetch_add(1);
  return group_ptr(g);
}

group* group_ptr::operator->() const {
  if (m_group == nullptr) throw api_exception("null group pointer.", "vesk/groupptr", 103, "operator->");
  return m_group;
}

void group_ptr::reset() noexcept {
  if (m_group == nullptr) return;
  release_group(m_group);
  m_group = nullptr;
}

void release_group(group* g) {
  if (g->m_refs.fetch_sub(1) != 1) return;
  const std::uint32_t id = g->id();
  if (id < group::pool_slots)
    g->~group();
  else
    delete g;
  // Only now may another launch take the id, and with it the pool slot.
  s_ids.reset(id);
}

}  // namespace vesk::internal
