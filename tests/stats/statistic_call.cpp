#include "statistic_call.hpp"

namespace tessel::test {

std::string name_of(statistic s) {
  switch (s) {
    case statistic::raw_sum:
      return "raw_sum";
    case statistic::raw_moment:
      return "raw_moment";
    case statistic::mean:
      return "mean";
    case statistic::central_sum:
      return "central_sum";
    case statistic::central_moment:
      return "central_moment";
    case statistic::variation:
      return "variation";
    case statistic::skewness:
      return "skewness";
    case statistic::kurtosis:
      return "kurtosis";
    case statistic::min:
      return "min";
    case statistic::max:
      return "max";
    case statistic::min_max:
      return "min_max";
  }
  return "?";
}

std::size_t output_count(statistic s) {
  switch (s) {
    case statistic::raw_sum:
    case statistic::raw_moment:
      return 4;
    case statistic::central_sum:
    case statistic::central_moment:
      return 3;
    case statistic::min_max:
      return 2;
    default:
      return 1;
  }
}

bool has_user_mean_form(statistic s) {
  switch (s) {
    case statistic::central_sum:
    case statistic::central_moment:
    case statistic::variation:
    case statistic::skewness:
    case statistic::kurtosis:
      return true;
    default:
      return false;
  }
}

bool has_method2(statistic s) {
  return s != statistic::min && s != statistic::max && s != statistic::min_max;
}

}  // namespace tessel::test
