#include "sycl/exception.hpp"

#include <string>

#include "sycl/context.hpp"

namespace sycl {
namespace {

class sycl_error_category final : public std::error_category {
 public:
  const char* name() const noexcept override { return "sycl"; }
  std::string message(int condition) const override {
    switch (static_cast<errc>(condition)) {
      case errc::success:
        return "success";
      case errc::runtime:
        return "runtime error";
      case errc::kernel:
        return "kernel error";
      case errc::accessor:
        return "accessor error";
      case errc::nd_range:
        return "invalid nd_range";
      case errc::event:
        return "event error";
      case errc::kernel_argument:
        return "invalid kernel argument";
      case errc::build:
        return "build error";
      case errc::invalid:
        return "invalid object";
      case errc::memory_allocation:
        return "memory allocation failed";
      case errc::platform:
        return "platform error";
      case errc::profiling:
        return "profiling error";
      case errc::feature_not_supported:
        return "feature not supported";
      case errc::kernel_not_supported:
        return "kernel not supported";
      case errc::backend_mismatch:
        return "backend mismatch";
    }
    return "unknown sycl error";
  }
};

}  // namespace

const std::error_category& sycl_category() noexcept {
  static const sycl_error_category category;
  return category;
}

struct exception::state {
  std::error_code code;
  std::string what;
  std::shared_ptr<context> ctx;
};

exception::exception(std::error_code ec, const std::string& what_arg)
    : state_(std::make_shared<const state>(state{ec, what_arg, nullptr})) {}
exception::exception(std::error_code ec, const char* what_arg)
    : exception(ec, std::string(what_arg)) {}
exception::exception(std::error_code ec) : exception(ec, std::string()) {}
exception::exception(int ev, const std::error_category& category, const std::string& what_arg)
    : exception(std::error_code(ev, category), what_arg) {}
exception::exception(int ev, const std::error_category& category, const char* what_arg)
    : exception(std::error_code(ev, category), std::string(what_arg)) {}
exception::exception(int ev, const std::error_category& category)
    : exception(std::error_code(ev, category), std::string()) {}
exception::exception(context ctx, std::error_code ec, const std::string& what_arg)
    : state_(std::make_shared<const state>(
          state{ec, what_arg, std::make_shared<context>(std::move(ctx))})) {}
exception::exception(context ctx, std::error_code ec, const char* what_arg)
    : exception(std::move(ctx), ec, std::string(what_arg)) {}
exception::exception(context ctx, std::error_code ec)
    : exception(std::move(ctx), ec, std::string()) {}
exception::exception(context ctx, int ev, const std::error_category& category,
                     const std::string& what_arg)
    : exception(std::move(ctx), std::error_code(ev, category), what_arg) {}
exception::exception(context ctx, int ev, const std::error_category& category, const char* what_arg)
    : exception(std::move(ctx), std::error_code(ev, category), std::string(what_arg)) {}
exception::exception(context ctx, int ev, const std::error_category& category)
    : exception(std::move(ctx), std::error_code(ev, category), std::string()) {}

exception::exception(const exception&) = default;
exception& exception::operator=(const exception&) = default;
exception::~exception() = default;

const std::error_code& exception::code() const noexcept {
  return state_->code;
}
const std::error_category& exception::category() const noexcept {
  return state_->code.category();
}
const char* exception::what() const noexcept {
  return state_->what.c_str();
}
bool exception::has_context() const noexcept {
  return state_->ctx != nullptr;
}
context exception::get_context() const {
  if (!state_->ctx) {
    throw exception(make_error_code(errc::invalid), "The exception has no context");
  }
  return *state_->ctx;
}

}  // namespace sycl
