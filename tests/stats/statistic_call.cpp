#include "statistic_call.hpp"

namespace tessel::test {
namespace {

struct statistic_facts {
  const char* name;
  std::size_t outputs;
  bool user_mean_form;
  bool method2;
};

// In the order of the enumeration.
constexpr statistic_facts facts[] = {
    {"raw_sum", 4, false, true},    {"raw_moment", 4, false, true},    {"mean", 1, false, true},
    {"central_sum", 3, true, true}, {"central_moment", 3, true, true}, {"variation", 1, true, true},
    {"skewness", 1, true, true},    {"kurtosis", 1, true, true},       {"min", 1, false, false},
    {"max", 1, false, false},       {"min_max", 2, false, false}};

const statistic_facts& of(statistic s) {
  return facts[static_cast<std::size_t>(s)];
}

}  // namespace

std::string name_of(statistic s) {
  return of(s).name;
}
std::size_t output_count(statistic s) {
  return of(s).outputs;
}
bool has_user_mean_form(statistic s) {
  return of(s).user_mean_form;
}
bool has_method2(statistic s) {
  return of(s).method2;
}

}  // namespace tessel::test
