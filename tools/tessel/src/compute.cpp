#include "compute.hpp"

#include <cmath>
#include <cstdint>
#include <vector>

#include <vorlex/orv/stats.hpp>

namespace tessel {
namespace {

namespace stats = vorlex::orv::stats;
constexpr auto fast = stats::method::fast;

// One result array of the library, one element per dimension, in shared memory.
template <class T>
class usm_array {
 public:
  usm_array(sycl::queue& queue, std::int64_t count)
      : queue_(queue), data_(sycl::malloc_shared<T>(static_cast<std::size_t>(count), queue)) {
    if (data_ == nullptr)
      throw std::bad_alloc();
  }
  usm_array(const usm_array&) = delete;
  usm_array& operator=(const usm_array&) = delete;
  ~usm_array() { sycl::free(data_, queue_); }

  T* get() const { return data_; }
  double operator[](std::size_t d) const { return static_cast<double>(data_[d]); }

 private:
  sycl::queue& queue_;
  T* data_;
};

// Waits for everything on the queue before the arrays it writes are freed, also when a
// statistic throws after others were submitted.
class drain_on_exit {
 public:
  explicit drain_on_exit(sycl::queue& queue) : queue_(queue) {}
  drain_on_exit(const drain_on_exit&) = delete;
  drain_on_exit& operator=(const drain_on_exit&) = delete;
  ~drain_on_exit() { queue_.wait(); }

 private:
  sycl::queue& queue_;
};

template <class T, stats::layout L>
class describer {
 public:
  describer(describe_input& input, sycl::queue& queue)
      : input_(input),
        queue_(queue),
        n_dims_(input.data.n_dims),
        data_(n_dims_, input.data.n_observations, input.data.values.as<T>(),
              input.weights.empty() ? nullptr : input.weights.as<T>(),
              input.selection.empty() ? nullptr : input.selection.as<std::int64_t>()),
        user_mean_(input.user_mean.empty() ? nullptr : input.user_mean.as<T>()) {}

  void run() {
    const bool all = input_.result.all;
    usm_array<T> mean(queue_, n_dims_), variance(queue_, n_dims_), variation(queue_, n_dims_),
        skewness(queue_, n_dims_), kurtosis(queue_, n_dims_), min(queue_, n_dims_),
        max(queue_, n_dims_), moment3(queue_, n_dims_), moment4(queue_, n_dims_),
        sum(queue_, n_dims_), sum2(queue_, n_dims_), sum3(queue_, n_dims_), sum4(queue_, n_dims_),
        raw_mean(queue_, n_dims_), raw2(queue_, n_dims_), raw3(queue_, n_dims_),
        raw4(queue_, n_dims_), central2(queue_, n_dims_), central3(queue_, n_dims_),
        central4(queue_, n_dims_);
    {
      const drain_on_exit drain(queue_);
      stats::mean<fast, T, L>(queue_, data_, mean.get());
      stats::min_max<fast, T, L>(queue_, data_, min.get(), max.get());
      T* const m3 = all ? moment3.get() : nullptr;
      T* const m4 = all ? moment4.get() : nullptr;
      if (user_mean_) {
        stats::central_moment<fast, T, L>(queue_, user_mean_, data_, variance.get(), m3, m4);
        stats::variation<fast, T, L>(queue_, user_mean_, data_, variation.get());
        stats::skewness<fast, T, L>(queue_, user_mean_, data_, skewness.get());
        stats::kurtosis<fast, T, L>(queue_, user_mean_, data_, kurtosis.get());
      } else {
        stats::central_moment<fast, T, L>(queue_, data_, variance.get(), m3, m4);
        stats::variation<fast, T, L>(queue_, data_, variation.get());
        stats::skewness<fast, T, L>(queue_, data_, skewness.get());
        stats::kurtosis<fast, T, L>(queue_, data_, kurtosis.get());
      }
      if (all) {
        stats::raw_sum<fast, T, L>(queue_, data_, sum.get(), sum2.get(), sum3.get(), sum4.get());
        stats::raw_moment<fast, T, L>(queue_, data_, raw_mean.get(), raw2.get(), raw3.get(),
                                      raw4.get());
        if (user_mean_) {
          stats::central_sum<fast, T, L>(queue_, user_mean_, data_, central2.get(), central3.get(),
                                         central4.get());
        } else {
          stats::central_sum<fast, T, L>(queue_, data_, central2.get(), central3.get(),
                                         central4.get());
        }
      }
      queue_.wait_and_throw();
    }

    for (dimension_summary& summary : input_.result.dimensions) {
      const auto d = static_cast<std::size_t>(summary.index);
      summary[statistic::count] = static_cast<double>(input_.data.n_observations);
      summary[statistic::mean] = mean[d];
      if (user_mean_)
        summary[statistic::user_mean] = static_cast<double>(user_mean_[d]);
      summary[statistic::variance] = variance[d];
      summary[statistic::std_dev] = static_cast<double>(std::sqrt(variance.get()[d]));
      summary[statistic::variation] = variation[d];
      summary[statistic::skewness] = skewness[d];
      summary[statistic::kurtosis] = kurtosis[d];
      summary[statistic::min] = min[d];
      summary[statistic::max] = max[d];
      if (!all)
        continue;
      summary[statistic::raw_sum] = sum[d];
      summary[statistic::raw_sum2] = sum2[d];
      summary[statistic::raw_sum3] = sum3[d];
      summary[statistic::raw_sum4] = sum4[d];
      summary[statistic::raw_moment2] = raw2[d];
      summary[statistic::raw_moment3] = raw3[d];
      summary[statistic::raw_moment4] = raw4[d];
      summary[statistic::central_sum2] = central2[d];
      summary[statistic::central_sum3] = central3[d];
      summary[statistic::central_sum4] = central4[d];
      summary[statistic::central_moment3] = moment3[d];
      summary[statistic::central_moment4] = moment4[d];
    }
  }

 private:
  describe_input& input_;
  sycl::queue& queue_;
  std::int64_t n_dims_;
  stats::dataset<L, T*> data_;
  T* user_mean_;
};

template <class T>
void compute_as(describe_input& input, sycl::queue& queue) {
  if (input.data.layout == matrix_layout::row_major) {
    describer<T, stats::layout::row_major>(input, queue).run();
  } else {
    describer<T, stats::layout::col_major>(input, queue).run();
  }
}

}  // namespace

void compute(describe_input& input, sycl::queue& queue) {
  if (input.data.type == element_type::f32) {
    compute_as<float>(input, queue);
  } else {
    compute_as<double>(input, queue);
  }
}

}  // namespace tessel
