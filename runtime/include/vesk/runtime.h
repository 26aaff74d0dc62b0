/* Start and stop of the vesk task runtime (libvesk-cpu), which KOVRA runs its parallel work on.
 *
 * The runtime starts itself when it is loaded, with one worker per online processor (the environment
 * variable VESK_WORKERS sets another count), so a program that only calls the BLAS needs none of this.
 * These calls are for applications and tests that want a given worker count or no workers at all.
 * They must not be called from inside a running task, and not while other threads are launching work. */
#ifndef VESK_RUNTIME_H
#define VESK_RUNTIME_H

#ifdef __cplusplus
extern "C" {
#endif

/* Starts the runtime with `workers` workers (below 1: the count of VESK_WORKERS if it is a positive
 * integer, else one per online processor). Returns 0, or -1 if the runtime is already running, the call
 * came from inside a task, or the worker threads could not be made (the runtime then stays stopped). */
int vesk_start(int workers);

/* Stops the runtime: waits for queued tasks, ends every worker (running their per-worker storage
 * clean-up). Returns 0, or -1 if the call came from inside a task. Stopping a stopped runtime does nothing. */
int vesk_stop(void);

/* The number of workers while the runtime runs, 0 while it is stopped. */
int vesk_worker_count(void);

#ifdef __cplusplus
}

namespace vesk {
/* The same in C++: misuse throws vesk::api_exception (<vesk/exceptions.h>) instead of returning -1. */
void start(int workers);
void stop();
int worker_count();
}  // namespace vesk
#endif

#endif
