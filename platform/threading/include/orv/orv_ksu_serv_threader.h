/* Threading service: parallel loops over one process-wide pool of threads.
 *
 * The pool has one thread fewer than the machine has hardware threads (or than the
 * TESSEL_NUM_THREADS environment variable asks for, read once at first use), because the
 * calling thread always works in its own loop. That is also why a loop never waits for a free
 * thread: loops may be started from many threads at once and from inside another loop's body,
 * and each one finishes even if no pool thread ever joins it.
 *
 * Bodies run on the caller's thread and on pool threads, in any order, and must not throw.
 * Every entry returns when all the work it was given has run; whatever the bodies wrote is
 * then visible to the caller. */
#ifndef ORV_KSU_SERV_THREADER_H
#define ORV_KSU_SERV_THREADER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define ORV_KSU_SERV_THREADER_API __attribute__((visibility("default")))

/* Body of a loop: called once for every index in [0, count). thread_index tells the
 * participants of one loop apart: it lies in [0, orv_ksu_serv_threader_get_num_threads_limit())
 * and is 0 on the calling thread. */
typedef void (*orv_ksu_serv_threader_for_body)(void* context, int64_t index, int thread_index);

/* One iteration of an ordered loop, as handed to its body. */
typedef struct orv_ksu_serv_threader_iteration orv_ksu_serv_threader_iteration;

typedef void (*orv_ksu_serv_threader_for_ordered_body)(void* context, int64_t index,
                                                       int thread_index,
                                                       orv_ksu_serv_threader_iteration* iteration);

/* A piece of work that takes only its context: a section, or the ordered part of an
 * iteration. */
typedef void (*orv_ksu_serv_threader_task)(void* context);

typedef struct orv_ksu_serv_threader_section {
  orv_ksu_serv_threader_task run;
  void* context;
} orv_ksu_serv_threader_section;

/* Runs body(context, i, thread) for every i in [0, count), on at most max_threads threads
 * (max_threads <= 0: as many as the pool allows). count <= 0 or a null body does nothing. */
ORV_KSU_SERV_THREADER_API void orv_ksu_serv_threader_for(int64_t count, int max_threads,
                                                         void* context,
                                                         orv_ksu_serv_threader_for_body body);

/* As orv_ksu_serv_threader_for, and in addition the bodies may each call
 * orv_ksu_serv_threader_ordered once with their iteration: those ordered parts run one at a
 * time, in increasing index order. */
ORV_KSU_SERV_THREADER_API void orv_ksu_serv_threader_for_ordered(
    int64_t count, int max_threads, void* context, orv_ksu_serv_threader_for_ordered_body body);

/* Runs sections[k].run(sections[k].context) for every k in [0, count), in parallel, on at most
 * max_threads threads. Sections whose run is null are skipped. */
ORV_KSU_SERV_THREADER_API void orv_ksu_serv_threader_sections(
    int64_t count, int max_threads, const orv_ksu_serv_threader_section* sections);

/* Called by the body of an ordered loop for its own iteration: waits until the ordered parts
 * of all lower indices have run (or their bodies have ended without one), then runs
 * section(context). An iteration whose body returns without calling it passes its turn on
 * by itself. A null iteration, or a second call for the same iteration, does nothing. */
ORV_KSU_SERV_THREADER_API void orv_ksu_serv_threader_ordered(
    orv_ksu_serv_threader_iteration* iteration, void* context, orv_ksu_serv_threader_task section);

/* The most threads that one loop can run on: the pool's threads and the caller. */
ORV_KSU_SERV_THREADER_API int orv_ksu_serv_threader_get_num_threads_limit(void);

/* Types of the five entries, for those who receive their addresses in a table. */
typedef void (*orv_ksu_serv_threader_for_fn)(int64_t, int, void*, orv_ksu_serv_threader_for_body);
typedef void (*orv_ksu_serv_threader_for_ordered_fn)(int64_t, int, void*,
                                                     orv_ksu_serv_threader_for_ordered_body);
typedef void (*orv_ksu_serv_threader_sections_fn)(int64_t, int,
                                                  const orv_ksu_serv_threader_section*);
typedef void (*orv_ksu_serv_threader_ordered_fn)(orv_ksu_serv_threader_iteration*, void*,
                                                 orv_ksu_serv_threader_task);
typedef int (*orv_ksu_serv_threader_get_num_threads_limit_fn)(void);

#ifdef __cplusplus
}
#endif

#endif
