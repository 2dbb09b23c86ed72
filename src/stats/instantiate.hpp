// Every entry exists for both element types and both layouts: INSTANTIATE(M, T, L) is expanded for
// the four combinations of one method.
#pragma once

#define TESSEL_STATS_FOR_TYPES_AND_LAYOUTS(INSTANTIATE, M) \
  INSTANTIATE(M, float, layout::row_major)                 \
  INSTANTIATE(M, float, layout::col_major)                 \
  INSTANTIATE(M, double, layout::row_major)                \
  INSTANTIATE(M, double, layout::col_major)

// The central sums and moments also exist for method::estimator, the estimator's own method, which
// a GPU queue refuses; their user-mean form only for method::fast.
#define TESSEL_STATS_FOR_CENTRAL_METHODS(PLAIN, USER_MEAN)     \
  TESSEL_STATS_FOR_TYPES_AND_LAYOUTS(PLAIN, method::fast)      \
  TESSEL_STATS_FOR_TYPES_AND_LAYOUTS(PLAIN, method::estimator) \
  TESSEL_STATS_FOR_TYPES_AND_LAYOUTS(USER_MEAN, method::fast)
