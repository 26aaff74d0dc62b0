// task_object<Body>: the unit of work of every launch. It holds the tile's ranges and a pointer to the
// call's shared record; running it fetches the worker's scratch and calls the record's tile body.
#pragma once

#include <vesk/task.h>

#include "threading/scratch.h"
#include "threading/split.h"

namespace kovra::threading {

template <typename Body>
class task_object final : public vesk::internal::task {
 public:
  task_object(vesk::internal::group* owner, const tile_range& tile, const Body* record)
      : task(owner), m_begin(tile.m_begin), m_end(tile.m_end), body(record), n_begin(tile.n_begin),
        n_end(tile.n_end) {}

  // Every task fetches the scratch first, also when its body never touches it, so a worker that ran
  // only Level 1 tiles owns a block too.
  void run() override { body->run_tile(get_scratch(), m_begin, m_end, n_begin, n_end); }

  int m_begin;
  int m_end;
  const Body* body;
  int n_begin;
  int n_end;
};

}  // namespace kovra::threading
