// What the parts of the runtime need of each other, beyond the public headers.
#pragma once

namespace vesk::internal {

class group;

// Task memory around fork(): the depot's lock is held across it, so the child finds it free.
void task_memory_before_fork();
void task_memory_after_fork();
// Frees the cached task blocks of the depot and of the calling thread (at unload, after the stop).
void release_cached_task_memory();

// group::wait's two ways of waiting: helping on a worker, spinning then sleeping elsewhere.
void help_until_done(group& g);
void block_until_done(group& g);
// Wakes the worker that sleeps in help_until_done for a group that has just finished.
void wake_sleeping_helper();

// Runs the clean-up of every storage slot (vesk/storage.h) on the calling thread's values and clears them.
void clean_up_thread_storage();

}  // namespace vesk::internal
