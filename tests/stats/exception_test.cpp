// The exception classes' texts. That a caller catches them by kind across the library boundary is
// the errors tests' to show, and that their type information is exported the symbols test's.
#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <utility>
#include <vorlex/orv/stats.hpp>

namespace {

using vorlex::orv::exception;

// How each kind composes its text from domain, function and information.
TEST(ExceptionText, Composition) {
  using namespace vorlex::orv;
  const sycl::device device{sycl::default_selector_v};
  const std::string name = device.get_info<sycl::info::device::name>();
  const std::pair<std::string, std::string> cases[] = {
      {exception("stats", "mean", "info").what(), "vorlex::orv::stats::mean: info"},
      {exception("stats", "", "info").what(), "vorlex::orv::stats: info"},
      {exception("", "mean", "info").what(), "vorlex::orv::mean: info"},
      {exception("", "", "").what(), "vorlex::orv"},
      {exception("stats", "mean", "").what(), "vorlex::orv::stats::mean"},
      {invalid_argument("stats", "mean", "mean is nullptr").what(),
       "vorlex::orv::stats::mean: invalid argument: mean is nullptr"},
      {invalid_argument("stats", "mean", "").what(), "vorlex::orv::stats::mean: invalid argument"},
      {invalid_argument("", "", "").what(), "vorlex::orv: invalid argument"},
      {unimplemented("stats", "kurtosis", "").what(),
       "vorlex::orv::stats::kurtosis: unimplemented functionality"},
      {computation_error("stats", "", "status").what(),
       "vorlex::orv::stats: computation error: status"},
      {unsupported_device("stats", "min", device).what(),
       "vorlex::orv::stats::min: unsupported device: " + name},
      {device_bad_alloc("rng", "central_sum", device).what(),
       "vorlex::orv::rng::central_sum: cannot allocate memory on " + name},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(text, expected);
  }
}

// Copies, the base's assignment included, keep the text.
TEST(ExceptionText, CopiesKeepTheText) {
  const vorlex::orv::invalid_argument original("stats", "max", "max is nullptr");
  const vorlex::orv::invalid_argument copy = original;
  vorlex::orv::exception base("a", "b", "c");
  base = copy;
  EXPECT_STREQ(base.what(), "vorlex::orv::stats::max: invalid argument: max is nullptr");
}

}  // namespace
