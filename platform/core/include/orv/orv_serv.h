/* Core service: loading of the estimator module, numbered messages, lock words, the
 * environment and the end of the process. */
#ifndef ORV_SERV_H
#define ORV_SERV_H

#ifdef __cplusplus
extern "C" {
#endif

#define ORV_SERV_API __attribute__((visibility("default")))

/* Message numbers of orv_serv_print, with the values that follow each one. */
enum {
  ORV_SERV_MSG_RUNTIME_ENTRY_MISSING = 3,    /* one value: const char*, the entry's name */
  ORV_SERV_MSG_ESTIMATOR_NOT_LOADED = 771,   /* no value */
  ORV_SERV_MSG_ESTIMATOR_ENTRY_MISSING = 772 /* one value: const char*, the entry's name */
};

/* Loads the estimator module on the first call and returns its dlopen handle, the same one on
 * every later call, from any thread; null if it could not be loaded (the first attempt is the
 * only one). The module is the file named by the environment variable
 * TESSEL_ESTIMATOR_MODULE if that is set and not empty, else libtessel_estimator.so in the
 * directory of this library. It is never unloaded. */
ORV_SERV_API void* orv_serv_load_qdn(void);

/* Writes message number `message` to standard error as one line:
 *   "tessel: error 772: <text>" for severity 0, "tessel: fatal error 772: <text>" otherwise.
 * `count` is the number of values that follow; each message reads at most the values listed
 * above, and only as many as `count` says. Message 771 names the file of the failed load and
 * the loader's reason. An unknown number prints a line that says so. */
ORV_SERV_API void orv_serv_print(int severity, int message, int count, ...);

/* A lock on an int word that is 0 when free: spins, then yields, until it can set the word
 * to 1. A null word is ignored. Not recursive. */
ORV_SERV_API void orv_serv_lock(volatile int* word);
ORV_SERV_API void orv_serv_unlock(volatile int* word);

/* Copies the value of the environment variable `name` into buffer, cut to size - 1 bytes and
 * ended by a null byte. Returns the number of bytes stored before the null byte: 0 when the
 * variable is not set, is empty, or an argument is unusable (null, size < 1). */
ORV_SERV_API int orv_serv_getenv(const char* name, char* buffer, int size);

/* Ends the process at once with the exit code: no handlers, no destructors, no flushing. */
ORV_SERV_API void orv_serv_exit(int code) __attribute__((noreturn));

#ifdef __cplusplus
}
#endif

#endif
