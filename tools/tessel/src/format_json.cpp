#include <cmath>

#include <nlohmann/json.hpp>

#include "format.hpp"
#include "number.hpp"

namespace tessel {
namespace {

// Members keep the order they are written in.
using json = nlohmann::ordered_json;

// The shortest text that reads back as the same float, as a double, so that the JSON carries 0.1
// and not 0.100000001490116 for a float 0.1.
json json_number(const describe_result& result, const dimension_summary& dimension,
                 statistic which) {
  const double value = dimension[which];
  if (which == statistic::count) {
    return static_cast<std::int64_t>(value);
  }
  if (!std::isfinite(value)) {
    return nullptr;
  }
  if (result.type == element_type::f64) {
    return value;
  }
  return parse_number<double>(format_value(result, dimension, which)).value;
}

json text_or_null(const std::string& text) {
  return text.empty() ? json(nullptr) : json(text);
}

}  // namespace

std::string format_json(const describe_result& result) {
  json document = {
      {"source", result.source},
      {"device", result.device},
      {"type", name_of(result.type)},
      {"layout", name_of(result.layout)},
      {"observations", result.n_observations},
      {"dimensions_in_file", result.n_dims},
      {"weights_from", text_or_null(result.weights)},
      {"user_mean_from", text_or_null(result.user_mean)},
      {"method", info_of(result.method).key},
      {"missing_values", result.missing_values},
      {"missing_weights", result.missing_weights},
  };
  json& dimensions = document["dimensions"] = json::array();
  const std::vector<statistic_info> columns = result.statistics();
  for (const dimension_summary& dimension : result.dimensions) {
    json entry = {{"index", dimension.index}, {"name", dimension.name}};
    for (const statistic_info& column : columns) {
      entry[std::string(column.key)] = json_number(result, dimension, column.id);
    }
    dimensions.push_back(std::move(entry));
  }
  // A header name need not be UTF-8; such bytes become U+FFFD rather than an exception.
  return document.dump(2, ' ', false, json::error_handler_t::replace) + '\n';
}

}  // namespace tessel
