// Cells that stand for a missing value, and what the readers do with them.
#pragma once

#include <string_view>

namespace tessel {

// skip: a missing value is left out of its dimension's statistics; error: it is refused.
enum class missing_policy { skip, error };

// Empty text, a marker that spreadsheets and data frames write for a missing value (NA, N/A, n/a,
// #N/A, <NA>, null, NULL, None), or a spelling of NaN.
bool is_missing(std::string_view text);

}  // namespace tessel
