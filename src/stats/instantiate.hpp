// Every entry exists for both element types and both layouts: INSTANTIATE(M, T, L) is expanded for
// the four combinations of one method.
#pragma once

#define TESSEL_STATS_FOR_TYPES_AND_LAYOUTS(INSTANTIATE, M) \
  INSTANTIATE(M, float, layout::row_major)                 \
  INSTANTIATE(M, float, layout::col_major)                 \
  INSTANTIATE(M, double, layout::row_major)                \
  INSTANTIATE(M, double, layout::col_major)
