#include "selection.hpp"

#include <algorithm>

#include <fmt/format.h>

#include "column_ref.hpp"
#include "errors.hpp"

namespace tessel {
namespace {

std::string_view trim(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::size_t checked_index(std::string_view item, std::size_t value, std::size_t n_dims) {
  if (value >= n_dims) {
    throw usage_error(fmt::format("--dims: {} is past the last dimension, {} (counted from 0)",
                                  quoted_excerpt(item), n_dims - 1));
  }
  return value;
}

}  // namespace

std::vector<std::int64_t> parse_selection(std::string_view list,
                                          const std::vector<std::string>& names) {
  const std::size_t n_dims = names.size();
  std::vector<std::int64_t> selection(n_dims, 0);
  std::size_t start = 0;
  for (;;) {
    const std::size_t comma = std::min(list.find(',', start), list.size());
    const std::string_view item = trim(list.substr(start, comma - start));
    if (item.empty()) {
      throw usage_error("--dims: an empty item in the list");
    }
    if (const auto named = std::find(names.begin(), names.end(), item); named != names.end()) {
      selection[static_cast<std::size_t>(named - names.begin())] = 1;
    } else if (const auto index = parse_index(item)) {
      selection[checked_index(item, *index, n_dims)] = 1;
    } else {
      const std::size_t dash = item.find('-');
      const auto first = parse_index(trim(item.substr(0, dash)));
      const auto last =
          dash == std::string_view::npos ? std::nullopt : parse_index(trim(item.substr(dash + 1)));
      if (!first || !last) {
        throw usage_error(
            fmt::format("--dims: {} is neither a dimension's name nor an index or "
                        "a range like 2-5",
                        quoted_excerpt(item)));
      }
      if (*first > *last) {
        throw usage_error(fmt::format("--dims: the range {} runs backwards", quoted_excerpt(item)));
      }
      checked_index(item, *last, n_dims);
      std::fill(selection.begin() + static_cast<std::ptrdiff_t>(*first),
                selection.begin() + static_cast<std::ptrdiff_t>(*last) + 1, 1);
    }
    if (comma == list.size()) {
      break;
    }
    start = comma + 1;
  }
  return selection;
}

}  // namespace tessel
