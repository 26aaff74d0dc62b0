// The launchers: every parallel path of the library describes its work as a record with a tile body,
//
//     void run_tile(scratch* s, int m_begin, int m_end, int n_begin, int n_end) const;
//
// and hands it to one of these. Each cuts the iteration space (split.h), makes one task per tile in a new
// group, sends it to the runtime and waits for the group. The record is shared by pointer, never copied.
//
//   launch_grid   at most one tile per worker; keep one dimension whole (grain = extent, or n = 1)
//   launch_tiles  one dimension; a tile's second range is (tile number, tile number + 1), for reductions
//   launch_blocks one tile per fixed-size run, however many that is
//
// A task whose memory cannot be had is dropped without a report; the call then returns with that part of
// the work not done. A stopped runtime makes the first task's constructor throw vesk::api_exception,
// which reaches the caller without a wait.
#pragma once

#include <new>

#include <vesk/task.h>

#include "threading/split.h"
#include "threading/task_object.h"

namespace kovra::threading {

template <typename Body>
void send_tile(vesk::internal::group_ptr& group, const tile_range& tile, const Body* body) {
  group->add_task();
  void* memory = vesk::internal::task_allocator::allocate(sizeof(task_object<Body>));
  if (memory == nullptr) {
    group->remove_unsent_task();
    return;
  }
  task_object<Body>* task;
  try {
    task = new (memory) task_object<Body>(group.get(), tile, body);
  } catch (...) {
    vesk::internal::task_allocator::deallocate(memory);
    group->remove_unsent_task();
    throw;
  }
  vesk::internal::send_to_runtime(task, nullptr);
}

template <typename Body>
void launch_grid(int m, int mgrain, int n, int ngrain, const Body* body) {
  grid_split split(m, mgrain, n, ngrain, vesk::internal::num_exec_ctx());
  auto group = vesk::internal::group_ptr::create();
  for (tile_range tile; split.next(tile);) send_tile(group, tile, body);
  group->wait();
  group.reset();
}

// Returns the number of tiles made (dropped ones included): the length of the caller's result array.
template <typename Body>
int launch_tiles(int n, int grain, const Body* body) {
  const int workers = vesk::internal::num_exec_ctx();
  if (workers < 1) return workers;
  grid_split split(n, grain, 1, 1, workers);
  auto group = vesk::internal::group_ptr::create();
  int tiles = 0;
  for (tile_range tile; split.next(tile); ++tiles) {
    tile.n_begin = tiles;
    tile.n_end = tiles + 1;
    send_tile(group, tile, body);
  }
  group->wait();
  group.reset();
  return tiles;
}

template <typename Body>
void launch_blocks(int m, int mstep, int n, int nstep, const Body* body) {
  block_split split(m, mstep, n, nstep);
  auto group = vesk::internal::group_ptr::create();
  for (tile_range tile; split.next(tile);) send_tile(group, tile, body);
  group->wait();
  group.reset();
}

}  // namespace kovra::threading
