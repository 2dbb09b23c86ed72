// The exception classes: how the text is composed, and that a caller catches them by kind
// across the library boundary.
#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <vorlex/orv/stats.hpp>

namespace {

using vorlex::orv::exception;

TEST(ExceptionText, ComposesDomainFunctionAndInfo) {
  EXPECT_STREQ(exception("stats", "mean", "info").what(), "vorlex::orv::stats::mean: info");
  EXPECT_STREQ(exception("stats", "", "info").what(), "vorlex::orv::stats: info");
  EXPECT_STREQ(exception("", "mean", "info").what(), "vorlex::orv::mean: info");
  EXPECT_STREQ(exception("", "", "info").what(), "vorlex::orv: info");
  EXPECT_STREQ(exception("", "", "").what(), "vorlex::orv");
  EXPECT_STREQ(exception("stats", "mean", "").what(), "vorlex::orv::stats::mean");
}

TEST(ExceptionText, DerivedKindsPrefixTheirInfo) {
  EXPECT_STREQ(vorlex::orv::invalid_argument("stats", "mean", "mean is nullptr").what(),
               "vorlex::orv::stats::mean: invalid argument: mean is nullptr");
  EXPECT_STREQ(vorlex::orv::invalid_argument("stats", "mean", "").what(),
               "vorlex::orv::stats::mean: invalid argument");
  EXPECT_STREQ(vorlex::orv::invalid_argument("", "", "").what(), "vorlex::orv: invalid argument");
  EXPECT_STREQ(vorlex::orv::unimplemented("stats", "central_sum", "for this method").what(),
               "vorlex::orv::stats::central_sum: unimplemented functionality: for this method");
  EXPECT_STREQ(vorlex::orv::unimplemented("stats", "kurtosis", "").what(),
               "vorlex::orv::stats::kurtosis: unimplemented functionality");
  EXPECT_STREQ(vorlex::orv::computation_error("stats", "", "").what(),
               "vorlex::orv::stats: computation error");
  EXPECT_STREQ(vorlex::orv::computation_error("stats", "", "status").what(),
               "vorlex::orv::stats: computation error: status");
}

TEST(ExceptionText, DeviceKindsNameTheDevice) {
  const sycl::device device{sycl::default_selector_v};
  const std::string name = device.get_info<sycl::info::device::name>();
  EXPECT_EQ(std::string(vorlex::orv::unsupported_device("stats", "min", device).what()),
            "vorlex::orv::stats::min: unsupported device: " + name);
  // Allocation failures report the domain "rng", whatever the statistic.
  EXPECT_EQ(std::string(vorlex::orv::device_bad_alloc("rng", "central_sum", device).what()),
            "vorlex::orv::rng::central_sum: cannot allocate memory on " + name);
}

TEST(ExceptionText, CopiesKeepTheText) {
  const vorlex::orv::invalid_argument original("stats", "max", "max is nullptr");
  const vorlex::orv::invalid_argument copy = original;
  EXPECT_STREQ(copy.what(), original.what());
  vorlex::orv::exception base("a", "b", "c");
  base = copy;
  EXPECT_STREQ(base.what(), "vorlex::orv::stats::max: invalid argument: max is nullptr");
}

// Thrown inside the library, caught here by its own kind, by the common base and as a standard
// exception.
template <typename Caught>
bool caught_from_library() {
  sycl::queue queue{sycl::default_selector_v};
  try {
    vorlex::orv::stats::mean<vorlex::orv::stats::method::fast, float,
                             vorlex::orv::stats::layout::row_major>(
        queue,
        vorlex::orv::stats::dataset<vorlex::orv::stats::layout::row_major, float*>(1, 1, nullptr),
        nullptr);
  } catch (const Caught&) {
    return true;
  }
  return false;
}

TEST(ExceptionKinds, CaughtByTypeAcrossTheLibraryBoundary) {
  EXPECT_TRUE(caught_from_library<vorlex::orv::invalid_argument>());
  EXPECT_TRUE(caught_from_library<vorlex::orv::exception>());
  EXPECT_TRUE(caught_from_library<std::exception>());
  EXPECT_THROW(caught_from_library<vorlex::orv::unimplemented>(), vorlex::orv::invalid_argument);
}

}  // namespace
