/* The summary-statistics task record shared by the estimator module and its callers, the
 * estimate mask, and the types of the module's entries (looked up by name with dlsym).
 *
 * The record is a sequence of 8-byte words at fixed byte positions: readers outside the module
 * read it at those positions, so they are part of the interface. Float and double records
 * have the same layout; the element type of the arrays follows from the entry (s or d). */
#ifndef ORV_SS_TASK_H
#define ORV_SS_TASK_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct ss_task {
  int32_t int_width;        /*   0: 0 = counts and storage word are int32_t, otherwise int64_t */
  int32_t unused_4;         /*   4 */
  int64_t element_size;     /*   8: the module's own: sizeof the element type the record was
                             *      made for by NewTask; 0 (a record made elsewhere) is not checked */
  const void* dims;         /*  16: number of dimensions */
  const void* obs_count;    /*  24: number of observations */
  const void* indices;      /*  32: selection, one element per dimension, non-zero selects,
                             *      or null; the module reads int64_t elements */
  const void* observations; /*  40: the matrix */
  const void* weights;      /*  48: one weight per observation, or null */
  void* unused_56;          /*  56 */
  const void* storage;      /*  64: storage word, SS_STORAGE_ROW_MAJOR or SS_STORAGE_COL_MAJOR */
  void* unused_72;          /*  72 */
  void* unused_80;          /*  80 */
  void* mean;               /*  88: result, or input for SS_METHOD_USER_MEAN */
  void* raw2;               /*  96 */
  void* raw3;               /* 104 */
  void* raw4;               /* 112 */
  void* central2;           /* 120 */
  void* central3;           /* 128 */
  void* central4;           /* 136 */
  void* sum;                /* 144 */
  void* raw_sum2;           /* 152 */
  void* raw_sum3;           /* 160 */
  void* raw_sum4;           /* 168 */
  void* central_sum2;       /* 176 */
  void* central_sum3;       /* 184 */
  void* central_sum4;       /* 192 */
  void* kurtosis;           /* 200 */
  void* skewness;           /* 208 */
  void* variation;          /* 216 */
  void* min;                /* 224 */
  void* max;                /* 232 */
} ss_task;

#ifdef __cplusplus
#define SS_TASK_STATIC_ASSERT static_assert
#else
#define SS_TASK_STATIC_ASSERT _Static_assert
#endif
SS_TASK_STATIC_ASSERT(offsetof(ss_task, int_width) == 0, "int_width");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, dims) == 16, "dims");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, obs_count) == 24, "obs_count");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, indices) == 32, "indices");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, observations) == 40, "observations");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, weights) == 48, "weights");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, storage) == 64, "storage");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, mean) == 88, "mean");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, raw2) == 96, "raw2");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, raw3) == 104, "raw3");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, raw4) == 112, "raw4");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, central2) == 120, "central2");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, central3) == 128, "central3");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, central4) == 136, "central4");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, sum) == 144, "sum");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, raw_sum2) == 152, "raw_sum2");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, raw_sum3) == 160, "raw_sum3");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, raw_sum4) == 168, "raw_sum4");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, central_sum2) == 176, "central_sum2");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, central_sum3) == 184, "central_sum3");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, central_sum4) == 192, "central_sum4");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, kurtosis) == 200, "kurtosis");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, skewness) == 208, "skewness");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, variation) == 216, "variation");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, min) == 224, "min");
SS_TASK_STATIC_ASSERT(offsetof(ss_task, max) == 232, "max");
#undef SS_TASK_STATIC_ASSERT

/* Storage words. */
#define SS_STORAGE_ROW_MAJOR INT64_C(0x10000) /* x[d * n_obs + i] */
#define SS_STORAGE_COL_MAJOR INT64_C(0x20000) /* x[d + i * n_dims] */

/* Method values of a stage: two passes (the mean, then sums about it); one pass of mergeable
 * updates; or central estimates about the caller's means, given in `mean`, which is then
 * input, read and never written (SS_MEAN asks for nothing). */
#define SS_METHOD_TWO_PASS INT64_C(1)
#define SS_METHOD_ONE_PASS INT64_C(2)
#define SS_METHOD_USER_MEAN INT64_C(256)

/* Bits of the estimate mask. */
#define SS_MEAN UINT64_C(0x1)
#define SS_RAW_MOMENT2 UINT64_C(0x2)
#define SS_RAW_MOMENT3 UINT64_C(0x4)
#define SS_RAW_MOMENT4 UINT64_C(0x8)
#define SS_CENTRAL_MOMENT2 UINT64_C(0x10) /* the variance */
#define SS_CENTRAL_MOMENT3 UINT64_C(0x20)
#define SS_CENTRAL_MOMENT4 UINT64_C(0x40)
#define SS_KURTOSIS UINT64_C(0x80)
#define SS_SKEWNESS UINT64_C(0x100)
#define SS_VARIATION UINT64_C(0x200)
#define SS_MIN UINT64_C(0x400)
#define SS_MAX UINT64_C(0x800)
#define SS_SUM UINT64_C(0x2000000)
#define SS_RAW_SUM2 UINT64_C(0x4000000)
#define SS_RAW_SUM3 UINT64_C(0x8000000)
#define SS_RAW_SUM4 UINT64_C(0x10000000)
#define SS_CENTRAL_SUM2 UINT64_C(0x20000000)
#define SS_CENTRAL_SUM3 UINT64_C(0x40000000)
#define SS_CENTRAL_SUM4 UINT64_C(0x80000000)

/* The bits of each stage, as a dispatcher routes a mask. */
#define SS_STAGE_MISSING_VALUES UINT64_C(0x400000)
#define SS_STAGE_MINMAX UINT64_C(0xC00)
#define SS_STAGE_SORT UINT64_C(0x8000000000)
#define SS_STAGE_BASIC UINT64_C(0x1FE0033FF)
#define SS_STAGE_MAD UINT64_C(0x600000000)
#define SS_STAGE_POOLED_COVARIANCE UINT64_C(0x180000C000)
#define SS_STAGE_OUTLIERS_DETECTION UINT64_C(0x80000)
#define SS_STAGE_ROBUST_COVARIANCE UINT64_C(0x40000)
#define SS_STAGE_PARTIAL_COVARIANCE UINT64_C(0x300000)
#define SS_STAGE_QUANTILES UINT64_C(0x30000)
#define SS_STAGE_STREAM_QUANTILES UINT64_C(0x1000000)
#define SS_STAGE_COR_PARAMETRIZATION UINT64_C(0x800000)
/* Masks with one of these bits need no observations. */
#define SS_NO_OBSERVATIONS_NEEDED UINT64_C(0x1B00000)

/* Field numbers of the EditTask entries. */
#define SS_FIELD_MEAN 7
#define SS_FIELD_KURTOSIS 14
#define SS_FIELD_SKEWNESS 15
#define SS_FIELD_MIN 16
#define SS_FIELD_MAX 17
#define SS_FIELD_VARIATION 18

/* Statuses: 0 is success, every failure is negative. */
#define SS_STATUS_OK 0
#define SS_STATUS_BAD_DIMENSIONS (-4001)        /* dims null or below 1 */
#define SS_STATUS_BAD_OBSERVATION_COUNT (-4002) /* obs_count null or below 1 */
#define SS_STATUS_BAD_STORAGE (-4003)           /* storage word not a known layout */
#define SS_STATUS_NULL_TASK (-4031)             /* no task, or no place for one */
#define SS_STATUS_NULL_OBSERVATIONS (-4032)
#define SS_STATUS_NULL_STORAGE (-4044)
#define SS_STATUS_NULL_RESULT (-4050) /* a wanted estimate has no array (or no mean to use) */
#define SS_STATUS_BAD_METHOD (-4051)
#define SS_STATUS_BAD_FIELD (-4052)  /* EditTask with a field number not in use */
#define SS_STATUS_WRONG_TYPE (-4053) /* a float entry given a double task, or the reverse */
#define SS_STATUS_NO_MEMORY (-4054)
#define SS_STATUS_NOT_PROVIDED (-4099) /* a stage or an estimate this module does not compute */

/* The threading table handed to a stage: 15 addresses, three rows of the five threading
 * service entries in this order. A stage casts each to its type in orv_ksu_serv_threader.h. */
typedef void (*ss_threading_entry)(void);
enum {
  SS_THREADER_FOR = 0,
  SS_THREADER_FOR_ORDERED = 1,
  SS_THREADER_SECTIONS = 2,
  SS_THREADER_ORDERED = 3,
  SS_THREADER_GET_NUM_THREADS_LIMIT = 4,
  SS_THREADING_TABLE_SIZE = 15
};

/* Types of the module's entries. Counts and the storage word are read as int_width says. */
typedef int32_t (*ss_new_task_s_fn)(ss_task** place, const void* dims, const void* obs_count,
                                    const void* storage, const float* observations,
                                    const float* weights, const int64_t* indices,
                                    int64_t int_width);
typedef int32_t (*ss_new_task_d_fn)(ss_task** place, const void* dims, const void* obs_count,
                                    const void* storage, const double* observations,
                                    const double* weights, const int64_t* indices,
                                    int64_t int_width);
typedef int32_t (*ss_delete_task_fn)(ss_task** place);
typedef int32_t (*ss_edit_task_s_fn)(ss_task* task, int64_t field, float* values);
typedef int32_t (*ss_edit_task_d_fn)(ss_task* task, int64_t field, double* values);
typedef int32_t (*ss_edit_moments_s_fn)(ss_task* task, float* mean, float* raw2, float* raw3,
                                        float* raw4, float* central2, float* central3,
                                        float* central4);
typedef int32_t (*ss_edit_moments_d_fn)(ss_task* task, double* mean, double* raw2, double* raw3,
                                        double* raw4, double* central2, double* central3,
                                        double* central4);
typedef int32_t (*ss_edit_sums_s_fn)(ss_task* task, float* sum, float* raw_sum2, float* raw_sum3,
                                     float* raw_sum4, float* central_sum2, float* central_sum3,
                                     float* central_sum4);
typedef int32_t (*ss_edit_sums_d_fn)(ss_task* task, double* sum, double* raw_sum2, double* raw_sum3,
                                     double* raw_sum4, double* central_sum2, double* central_sum3,
                                     double* central_sum4);
/* A stage: computes the estimates of its group that the mask asks for. */
typedef int32_t (*ss_stage_fn)(ss_task* task, uint64_t estimate_mask, intptr_t method,
                               const ss_threading_entry* threading_table);

#ifdef __cplusplus
}
#endif

#endif
