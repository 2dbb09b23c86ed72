// sycl::exception, its error codes, and the list that asynchronous handlers get.
#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

#include "sycl/defines.hpp"

namespace sycl {

class context;

enum class errc {
  success = 0,
  runtime = 1,
  kernel = 2,
  accessor = 3,
  nd_range = 4,
  event = 5,
  kernel_argument = 6,
  build = 7,
  invalid = 8,
  memory_allocation = 9,
  platform = 10,
  profiling = 11,
  feature_not_supported = 12,
  kernel_not_supported = 13,
  backend_mismatch = 14,
};

TESSEL_SYCL_API const std::error_category& sycl_category() noexcept;

inline std::error_code make_error_code(errc e) noexcept {
  return {static_cast<int>(e), sycl_category()};
}

class TESSEL_SYCL_API exception : public virtual std::exception {
 public:
  exception(std::error_code ec, const std::string& what_arg);
  exception(std::error_code ec, const char* what_arg);
  exception(std::error_code ec);
  exception(int ev, const std::error_category& category, const std::string& what_arg);
  exception(int ev, const std::error_category& category, const char* what_arg);
  exception(int ev, const std::error_category& category);
  exception(context ctx, std::error_code ec, const std::string& what_arg);
  exception(context ctx, std::error_code ec, const char* what_arg);
  exception(context ctx, std::error_code ec);
  exception(context ctx, int ev, const std::error_category& category, const std::string& what_arg);
  exception(context ctx, int ev, const std::error_category& category, const char* what_arg);
  exception(context ctx, int ev, const std::error_category& category);

  exception(const exception&);
  exception& operator=(const exception&);
  ~exception() override;

  const std::error_code& code() const noexcept;
  const std::error_category& category() const noexcept;
  const char* what() const noexcept override;
  bool has_context() const noexcept;
  // Throws errc::invalid when the exception has no context.
  context get_context() const;

 private:
  struct state;
  std::shared_ptr<const state> state_;
};

// The errors that reach an asynchronous handler in one call.
class TESSEL_SYCL_API exception_list {
 public:
  using value_type = std::exception_ptr;
  using reference = value_type&;
  using const_reference = const value_type&;
  using size_type = std::size_t;
  using iterator = std::vector<std::exception_ptr>::const_iterator;
  using const_iterator = std::vector<std::exception_ptr>::const_iterator;

  exception_list() = default;
  explicit exception_list(std::vector<std::exception_ptr> errors) : errors_(std::move(errors)) {}

  size_type size() const { return errors_.size(); }
  iterator begin() const { return errors_.begin(); }
  iterator end() const { return errors_.end(); }

 private:
  std::vector<std::exception_ptr> errors_;
};

using async_handler = std::function<void(sycl::exception_list)>;

}  // namespace sycl

namespace std {
template <>
struct is_error_code_enum<sycl::errc> : true_type {};
}  // namespace std
