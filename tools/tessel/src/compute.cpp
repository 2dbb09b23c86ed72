#include "compute.hpp"

#include <cmath>
#include <cstdint>
#include <future>
#include <limits>
#include <map>
#include <memory>
#include <vector>

#include <vorlex/orv/stats.hpp>

#include "moments.hpp"
#include "observation_groups.hpp"
#include "order_statistics.hpp"
#include "parallel.hpp"
#include "usm_resource.hpp"

namespace tessel {
namespace {

namespace stats = vorlex::orv::stats;
constexpr auto fast = stats::method::fast;

// One array of the library's, in shared memory.
template <class T>
class usm_array {
 public:
  usm_array(sycl::queue& queue, std::size_t count)
      : queue_(queue), data_(sycl::malloc_shared<T>(std::max<std::size_t>(count, 1), queue)) {
    if (data_ == nullptr) {
      throw std::bad_alloc();
    }
    std::fill(data_, data_ + std::max<std::size_t>(count, 1), T{0});
  }
  usm_array(const usm_array&) = delete;
  usm_array& operator=(const usm_array&) = delete;
  ~usm_array() { sycl::free(data_, queue_); }

  T* get() const { return data_; }

 private:
  sycl::queue& queue_;
  T* data_;
};

// Waits for everything on the queue before the arrays it writes are freed, also when a statistic
// throws after others were submitted.
class drain_on_exit {
 public:
  explicit drain_on_exit(sycl::queue& queue) : queue_(queue) {}
  drain_on_exit(const drain_on_exit&) = delete;
  drain_on_exit& operator=(const drain_on_exit&) = delete;
  ~drain_on_exit() { queue_.wait(); }

 private:
  sycl::queue& queue_;
};

// Arrays the library fills on the way to the printed statistics: the mean that raw_moment gives
// beside its moments, and on the about-mean road the shifted centre and the sum of squares about
// it.
enum class auxiliary { raw_mean, shifted_centre, sum2_about_shifted };

// Printed as the library gives them.
constexpr statistic raw_statistics[] = {
    statistic::raw_sum,     statistic::raw_sum2,    statistic::raw_sum3,   statistic::raw_sum4,
    statistic::raw_moment2, statistic::raw_moment3, statistic::raw_moment4};
constexpr statistic central_sums_statistics[] = {statistic::central_sum2, statistic::central_sum3,
                                                 statistic::central_sum4};
constexpr statistic one_pass_statistics[] = {statistic::variance,
                                             statistic::central_moment3,
                                             statistic::central_moment4,
                                             statistic::variation,
                                             statistic::skewness,
                                             statistic::kurtosis,
                                             statistic::min,
                                             statistic::max};

// The library's outputs of one group, one element per dimension of its dataset, in arrays made on
// first use.
template <class T>
class outputs {
 public:
  outputs(sycl::queue& queue, std::size_t n_dims) : queue_(queue), n_dims_(n_dims) {}

  T* operator[](statistic s) { return array(statistics_[s]); }
  T* operator[](auxiliary a) { return array(auxiliaries_[a]); }
  long double at(statistic s, std::size_t d) const { return value(statistics_.at(s), d); }
  long double at(auxiliary a, std::size_t d) const { return value(auxiliaries_.at(a), d); }

 private:
  using owned = std::unique_ptr<usm_array<T>>;

  T* array(owned& slot) {
    if (!slot) {
      slot = std::make_unique<usm_array<T>>(queue_, n_dims_);
    }
    return slot->get();
  }
  static long double value(const owned& slot, std::size_t d) {
    return static_cast<long double>(slot->get()[d]);
  }

  sycl::queue& queue_;
  std::size_t n_dims_;
  std::map<statistic, owned> statistics_;
  std::map<auxiliary, owned> auxiliaries_;
};

// A group of dimensions that share their observations, as one dataset of the library.
template <class T>
struct group_data {
  observation_group group;
  std::int64_t n_dims = 0;          // of the dataset
  std::int64_t n_observations = 0;  // of the dataset
  matrix_layout layout = matrix_layout::col_major;
  T* values = nullptr;
  T* weights = nullptr;
  std::vector<std::size_t> dataset_dims;  // where each of group.dims stands in the dataset
  block selection;                        // n_dims std::int64_t, or empty: all
  block user_mean;                        // of a gathered group's dimensions
  T* user_means = nullptr;                // n_dims of them, or null
  weight_totals weights_total;
  gathered_group gathered;
};

template <class T>
class describer {
 public:
  describer(describe_input& input, sycl::queue& queue, bool one_pass)
      : input_(input), queue_(queue), memory_(queue) {
    const bool gpu_road = !queue.get_device().is_cpu();
    method_ = one_pass                              ? compute_method::one_pass
              : gpu_road && input.user_mean.empty() ? compute_method::about_mean
                                                    : compute_method::moments;
  }

  void run() {
    input_.result.method = method_;
    make_groups();
    std::future<std::vector<order_statistics>> ordered = std::async(
        std::launch::async,
        [sets = column_sets()] { return find_order_statistics(sets, available_cores()); });
    std::vector<std::unique_ptr<outputs<T>>> results;
    {
      const drain_on_exit drain(queue_);
      for (group_data<T>& group : groups_) {
        results.push_back(std::make_unique<outputs<T>>(queue_, group.n_dims));
        if (group.n_observations > 0) {
          compute_group(group, *results.back());
        }
      }
      queue_.wait_and_throw();
    }
    const std::vector<order_statistics> order = ordered.get();
    std::size_t column = 0;
    for (std::size_t g = 0; g < groups_.size(); ++g) {
      for (std::size_t k = 0; k < groups_[g].group.dims.size(); ++k) {
        fill(groups_[g], k, *results[g], order[column++]);
      }
    }
  }

 private:
  void make_groups() {
    matrix& data = input_.data;
    std::vector<std::int64_t> selection(static_cast<std::size_t>(data.n_dims), 0);
    for (const dimension_summary& summary : input_.result.dimensions) {
      selection[static_cast<std::size_t>(summary.index)] = 1;
    }
    for (observation_group& group :
         group_by_missing(data, input_.weights, input_.missing_weights, selection)) {
      group_data<T> next;
      if (group.absent.empty()) {
        next.n_dims = data.n_dims;
        next.n_observations = data.n_observations;
        next.layout = data.layout;
        next.values = data.values.template as<T>();
        next.weights = input_.weights.empty() ? nullptr : input_.weights.template as<T>();
        next.dataset_dims = group.dims;
        if (group.dims.size() != static_cast<std::size_t>(data.n_dims)) {
          next.selection = block(memory_, selection.size() * sizeof(std::int64_t));
          std::int64_t* const chosen = next.selection.template as<std::int64_t>();
          std::fill(chosen, chosen + selection.size(), 0);
          for (const std::size_t d : group.dims) {
            chosen[d] = 1;
          }
        }
        next.user_means = input_.user_mean.empty() ? nullptr : input_.user_mean.template as<T>();
      } else {
        next.gathered = gather_group(data, input_.weights, group, memory_);
        next.n_dims = static_cast<std::int64_t>(group.dims.size());
        next.n_observations = static_cast<std::int64_t>(next.gathered.count);
        next.layout = matrix_layout::row_major;
        next.values = next.gathered.values.template as<T>();
        next.weights = next.gathered.weights.template as<T>();
        for (std::size_t k = 0; k < group.dims.size(); ++k) {
          next.dataset_dims.push_back(k);
        }
        if (!input_.user_mean.empty()) {
          next.user_mean = block(memory_, group.dims.size() * sizeof(T));
          for (std::size_t k = 0; k < group.dims.size(); ++k) {
            next.user_mean.template as<T>()[k] = input_.user_mean.template as<T>()[group.dims[k]];
          }
          next.user_means = next.user_mean.template as<T>();
        }
      }
      next.weights_total =
          total_weights(next.weights, static_cast<std::size_t>(next.n_observations));
      next.group = std::move(group);
      groups_.push_back(std::move(next));
    }
  }

  std::vector<column_set<T>> column_sets() const {
    std::vector<column_set<T>> sets;
    for (const group_data<T>& group : groups_) {
      column_set<T> set;
      set.first = group.values;
      set.count = static_cast<std::size_t>(group.n_observations);
      const bool row_major = group.layout == matrix_layout::row_major;
      set.step = row_major ? 1 : static_cast<std::size_t>(group.n_dims);
      for (const std::size_t d : group.dataset_dims) {
        set.offsets.push_back(row_major ? d * set.count : d);
      }
      sets.push_back(std::move(set));
    }
    return sets;
  }

  void compute_group(group_data<T>& group, outputs<T>& out) {
    if (group.layout == matrix_layout::row_major) {
      compute_group_as<stats::layout::row_major>(group, out);
    } else {
      compute_group_as<stats::layout::col_major>(group, out);
    }
  }

  template <stats::layout L>
  void compute_group_as(group_data<T>& group, outputs<T>& out) {
    const stats::dataset<L, T*> data(
        group.n_dims, group.n_observations, group.values, group.weights,
        group.selection.empty() ? nullptr : group.selection.template as<std::int64_t>());
    T* const user_mean = group.user_means;
    const bool all = input_.result.all;
    const sycl::event mean = stats::mean<fast, T, L>(queue_, data, out[statistic::mean]);
    if (all) {
      stats::raw_sum<fast, T, L>(queue_, data, out[statistic::raw_sum], out[statistic::raw_sum2],
                                 out[statistic::raw_sum3], out[statistic::raw_sum4]);
      stats::raw_moment<fast, T, L>(queue_, data, out[auxiliary::raw_mean],
                                    out[statistic::raw_moment2], out[statistic::raw_moment3],
                                    out[statistic::raw_moment4]);
    }
    if (method_ == compute_method::about_mean) {
      about_mean<L>(group, data, mean, out);
      return;
    }
    T* const m3 = out[statistic::central_moment3];
    T* const m4 = out[statistic::central_moment4];
    if (user_mean) {
      stats::central_moment<fast, T, L>(queue_, user_mean, data, out[statistic::variance], m3, m4);
      if (all) {
        stats::central_sum<fast, T, L>(queue_, user_mean, data, out[statistic::central_sum2],
                                       out[statistic::central_sum3], out[statistic::central_sum4]);
      }
    } else {
      stats::central_moment<fast, T, L>(queue_, data, out[statistic::variance], m3, m4);
      if (all) {
        stats::central_sum<fast, T, L>(queue_, data, out[statistic::central_sum2],
                                       out[statistic::central_sum3], out[statistic::central_sum4]);
      }
    }
    if (method_ != compute_method::one_pass) {
      return;
    }
    stats::min_max<fast, T, L>(queue_, data, out[statistic::min], out[statistic::max]);
    if (user_mean) {
      stats::variation<fast, T, L>(queue_, user_mean, data, out[statistic::variation]);
      stats::skewness<fast, T, L>(queue_, user_mean, data, out[statistic::skewness]);
      stats::kurtosis<fast, T, L>(queue_, user_mean, data, out[statistic::kurtosis]);
    } else {
      stats::variation<fast, T, L>(queue_, data, out[statistic::variation]);
      stats::skewness<fast, T, L>(queue_, data, out[statistic::skewness]);
      stats::kurtosis<fast, T, L>(queue_, data, out[statistic::kurtosis]);
    }
  }

  // Sums of deviations from the computed mean c, then the sum of squares about c plus about one
  // standard deviation, which tells how far c is from the mean (see recentre).
  template <stats::layout L>
  void about_mean(group_data<T>& group, const stats::dataset<L, T*>& data, const sycl::event& mean,
                  outputs<T>& out) {
    T* const centre = out[statistic::mean];
    stats::central_sum<fast, T, L>(queue_, centre, data, out[statistic::central_sum2],
                                   out[statistic::central_sum3], out[statistic::central_sum4],
                                   {mean})
        .wait_and_throw();
    const weight_totals& weights = group.weights_total;
    T* const shifted = out[auxiliary::shifted_centre];
    for (const std::size_t d : group.dataset_dims) {
      const long double spread = std::sqrt(out.at(statistic::central_sum2, d) / weights.w);
      shifted[d] = static_cast<T>(static_cast<long double>(centre[d]) + spread);
    }
    stats::central_sum<fast, T, L>(queue_, shifted, data, out[auxiliary::sum2_about_shifted],
                                   nullptr, nullptr)
        .wait_and_throw();
  }

  void fill(const group_data<T>& group, std::size_t k, const outputs<T>& out,
            const order_statistics& order) {
    dimension_summary& summary = summary_of(group.group.dims[k]);
    const std::size_t d = group.dataset_dims[k];
    summary.values.fill(std::numeric_limits<double>::quiet_NaN());
    summary[statistic::count] = static_cast<double>(group.n_observations);
    if (group.user_means) {
      summary[statistic::user_mean] = static_cast<double>(group.user_means[d]);
    }
    summary[statistic::min] = order.min;
    summary[statistic::q1] = order.q1;
    summary[statistic::median] = order.median;
    summary[statistic::q3] = order.q3;
    summary[statistic::max] = order.max;
    if (group.n_observations == 0) {
      return;
    }

    const auto in_t = [](long double value) { return static_cast<double>(static_cast<T>(value)); };
    const auto take = [&](const auto& statistics) {
      for (const statistic s : statistics) {
        summary[s] = in_t(out.at(s, d));
      }
    };
    summary[statistic::mean] = in_t(out.at(statistic::mean, d));
    if (input_.result.all) {
      take(raw_statistics);
    }
    shape_statistics shape;
    if (order.min == order.max && !group.user_means && method_ != compute_method::one_pass) {
      // A constant dimension: its deviations from its mean are all zero, whatever rounding the
      // computed mean and the sums about it carry.
      central_sums none;
      none.mean = static_cast<long double>(order.min);
      shape = from_sums(none, group.weights_total);
      summary[statistic::mean] = order.min;
      if (input_.result.all) {
        for (const statistic s : central_sums_statistics) {
          summary[s] = 0;
        }
      }
    } else if (method_ == compute_method::about_mean) {
      const central_sums sums = recentre(
          group.weights_total, out.at(statistic::mean, d), out.at(statistic::central_sum2, d),
          out.at(statistic::central_sum3, d), out.at(statistic::central_sum4, d),
          out.at(auxiliary::shifted_centre, d), out.at(auxiliary::sum2_about_shifted, d));
      shape = from_sums(sums, group.weights_total);
      summary[statistic::mean] = in_t(sums.mean);
      summary[statistic::central_sum2] = in_t(sums.c2);
      summary[statistic::central_sum3] = in_t(sums.c3);
      summary[statistic::central_sum4] = in_t(sums.c4);
    } else {
      const long double centre = group.user_means ? static_cast<long double>(group.user_means[d])
                                                  : out.at(statistic::mean, d);
      shape = from_moments(centre, out.at(statistic::variance, d),
                           out.at(statistic::central_moment3, d),
                           out.at(statistic::central_moment4, d));
      if (input_.result.all) {
        take(central_sums_statistics);
      }
    }
    summary[statistic::variance] = in_t(shape.variance);
    summary[statistic::std_dev] = in_t(shape.std_dev);
    summary[statistic::variation] = in_t(shape.variation);
    summary[statistic::skewness] = in_t(shape.skewness);
    summary[statistic::kurtosis] = in_t(shape.kurtosis);
    summary[statistic::central_moment3] = in_t(shape.moment3);
    summary[statistic::central_moment4] = in_t(shape.moment4);
    if (method_ == compute_method::one_pass) {
      take(one_pass_statistics);
    }
  }

  dimension_summary& summary_of(std::size_t d) {
    for (dimension_summary& summary : input_.result.dimensions) {
      if (static_cast<std::size_t>(summary.index) == d) {
        return summary;
      }
    }
    throw std::logic_error("tessel: a described dimension has no summary");
  }

  describe_input& input_;
  sycl::queue& queue_;
  usm_resource memory_;
  compute_method method_;
  std::vector<group_data<T>> groups_;
};

}  // namespace

void compute(describe_input& input, sycl::queue& queue, bool one_pass) {
  if (input.data.type == element_type::f32) {
    describer<float>(input, queue, one_pass).run();
  } else {
    describer<double>(input, queue, one_pass).run();
  }
}

}  // namespace tessel
