/* The stand-in OpenMP offload runtime (libomptarget.so, tests only): its interop objects are
 * plain records that a test fills, and its two entry points answer from them.
 *
 *   __tgt_get_interop_property(object, n, &value): status 0 and property[n] when bit n of
 *     `readable` is set, status 1 otherwise.
 *   omp_get_interop_int(object, -1, &code): foreign_runtime, with code = foreign_runtime_code;
 *     property 10: immediate, with code 0; any other: 0, with code -1.
 *
 * Each call counts in `reads`. The build without omp_get_interop_int stands for a runtime that
 * lacks it. */
#ifndef STAND_IN_INTEROP_H
#define STAND_IN_INTEROP_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { STAND_IN_PROPERTIES = 10 };

typedef struct stand_in_interop {
  int32_t foreign_runtime;      /* 3 OpenCL, 4 SYCL, 6 Level Zero */
  int32_t foreign_runtime_code; /* 0: the runtime has a foreign runtime number to give */
  int32_t immediate;            /* property 10 */
  uint32_t readable;            /* bit n: property n can be read */
  void* property[STAND_IN_PROPERTIES];
  uint8_t nowait;       /* what a maker points property 2 at */
  int32_t backend_kind; /* what a maker points property 8 at */
  int reads;
} stand_in_interop;

/* An object of the SYCL road with a queue of its own on the emulated GPU ("gpu") or the host
 * CPU ("cpu"), waiting (nowait 0) or with completion called when the work is done; null for an
 * unknown device. */
stand_in_interop* stand_in_sycl_interop(const char* device, int nowait,
                                        void (*completion)(void* interop));
void stand_in_release(stand_in_interop* interop);

#ifdef __cplusplus
}
#endif

#endif
