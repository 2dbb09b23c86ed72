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
  text += fmt::format("computed: {}\n", info_of(result.method).description);
  if (!result.weights.empty()) {
    text += fmt::format("weights: {}\n", result.weights);
  }
  if (!result.user_mean.empty()) {
    text += fmt::format("central statistics about the user mean from {}\n", result.user_mean);
  }
  if (result.missing_values > 0 || result.missing_weights > 0) {
    text += fmt::format("missing: {} values, left out of their dimensions", result.missing_values);
    if (result.missing_weights > 0) {
      text +=
          fmt::format("; {} weights, their observations left out of all", result.missing_weights);
    }
    text += '\n';
  }
  return text;
}

// A name with a line break or other control byte would tear the table apart.
std::string printable(std::string_view name) {
  std::string text(name);
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
      c = ' ';
    }
  }
  return text;
}

// A number split where its decimal point stands, or would stand: the integer digits to the left,
// the fraction and exponent to the right.
struct aligned_cell {
  std::string left, right;
};

aligned_cell split_at_point(const std::string& text) {
  std::size_t point = text.find('.');
  if (point == std::string::npos) {
    point = text.find('e');
  }
  if (point == std::string::npos) {
    point = text.size();
  }
  return {text.substr(0, point), text.substr(point)};
}

struct column {
  std::string heading;
  std::vector<aligned_cell> cells;
  std::size_t left = 0, right = 0;
  std::size_t width() const { return std::max(heading.size(), left + right); }
  std::string cell(std::size_t row) const {
    const aligned_cell& c = cells[row];
    return fmt::format("{:>{}}{:<{}}", c.left, left, c.right, right);
  }
};

}  // namespace

std::string format_table(const describe_result& result, std::size_t width, int digits) {
  const std::vector<statistic_info> rows = result.statistics();
  std::size_t label_width = 0;
  for (const statistic_info& row : rows) {
    label_width = std::max(label_width, row.label.size());
  }

  std::vector<column> columns;
  for (const dimension_summary& dimension : result.dimensions) {
    column next{printable(dimension.name), {}, 0, 0};
    for (const statistic_info& row : rows) {
      next.cells.push_back(split_at_point(format_value(result, dimension, row.id, digits)));
      next.left = std::max(next.left, next.cells.back().left.size());
      next.right = std::max(next.right, next.cells.back().right.size());
    }
    columns.push_back(std::move(next));
  }

  std::string text = preamble(result);
  if (columns.empty()) {
    return text + "no dimension selected\n";
  }
  auto out = std::back_inserter(text);
  for (std::size_t first = 0; first < columns.size();) {
    // At least one column per block, however narrow the terminal.
    std::size_t used = label_width + gap + columns[first].width();
    std::size_t last = first + 1;
    while (last < columns.size() && (width == 0 || used + gap + columns[last].width() <= width)) {
      used += gap + columns[last].width();
      ++last;
    }
    text += '\n';
    fmt::format_to(out, "{:<{}}", "", label_width);
    for (std::size_t c = first; c < last; ++c) {
      fmt::format_to(out, "{:>{}}{:>{}}", "", gap, columns[c].heading, columns[c].width());
    }
    text += '\n';
    for (std::size_t r = 0; r < rows.size(); ++r) {
      fmt::format_to(out, "{:<{}}", rows[r].label, label_width);
      for (std::size_t c = first; c < last; ++c) {
        fmt::format_to(out, "{:>{}}{:>{}}", "", gap, columns[c].cell(r), columns[c].width());
      }
      text.erase(text.find_last_not_of(' ') + 1);
      text += '\n';
    }
    first = last;
  }
  return text;
}

}  // namespace tessel
