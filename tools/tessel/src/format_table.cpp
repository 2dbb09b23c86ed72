#include <algorithm>
#include <iterator>

#include <fmt/format.h>

#include "format.hpp"

namespace tessel {
namespace {

constexpr std::size_t gap = 2;

std::string preamble(const describe_result& result) {
  std::string text = fmt::format("{}: {} observations of {} dimensions, {} in {}, on {}\n",
                                 result.source, result.n_observations, result.n_dims,
                                 name_of(result.type), name_of(result.layout), result.device);
  if (!result.weights.empty())
    text += fmt::format("weights: {}\n", result.weights);
  if (!result.user_mean.empty()) {
    text += fmt::format("central statistics about the user mean from {}\n", result.user_mean);
  }
  return text;
}

// A name with a line break or other control byte would tear the table apart.
std::string printable(std::string_view name) {
  std::string text(name);
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
      c = ' ';
  }
  return text;
}

struct column {
  std::string heading;
  std::vector<std::string> cells;
  std::size_t width = 0;
};

}  // namespace

std::string format_table(const describe_result& result, std::size_t width) {
  const std::vector<statistic_info> rows = result.statistics();
  std::size_t label_width = 0;
  for (const statistic_info& row : rows)
    label_width = std::max(label_width, row.label.size());

  std::vector<column> columns;
  for (const dimension_summary& dimension : result.dimensions) {
    column next{printable(dimension.name), {}, 0};
    next.width = next.heading.size();
    for (const statistic_info& row : rows) {
      next.cells.push_back(format_value(result, dimension, row.id));
      next.width = std::max(next.width, next.cells.back().size());
    }
    columns.push_back(std::move(next));
  }

  std::string text = preamble(result);
  if (columns.empty())
    return text + "no dimension selected\n";
  auto out = std::back_inserter(text);
  for (std::size_t first = 0; first < columns.size();) {
    // At least one column per block, however narrow the terminal.
    std::size_t used = label_width + gap + columns[first].width;
    std::size_t last = first + 1;
    while (last < columns.size() && (width == 0 || used + gap + columns[last].width <= width)) {
      used += gap + columns[last].width;
      ++last;
    }
    text += '\n';
    fmt::format_to(out, "{:<{}}", "", label_width);
    for (std::size_t c = first; c < last; ++c) {
      fmt::format_to(out, "{:>{}}{:>{}}", "", gap, columns[c].heading, columns[c].width);
    }
    text += '\n';
    for (std::size_t r = 0; r < rows.size(); ++r) {
      fmt::format_to(out, "{:<{}}", rows[r].label, label_width);
      for (std::size_t c = first; c < last; ++c) {
        fmt::format_to(out, "{:>{}}{:>{}}", "", gap, columns[c].cells[r], columns[c].width);
      }
      text += '\n';
    }
    first = last;
  }
  return text;
}

}  // namespace tessel
