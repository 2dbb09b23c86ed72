// Buffers and accessors: storage, write-back, ranges, placeholders, host
// accessors, and the order that accessor conflicts impose on commands.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <numeric>
#include <sycl/sycl.hpp>
#include <thread>
#include <type_traits>
#include <vector>

#include "devices.hpp"
#include "gate.hpp"

namespace {

class BufferOnDevice : public tessel_test::on_each_device {};

static_assert(std::is_trivially_copyable_v<sycl::accessor<double, 1, sycl::access_mode::read>>);
static_assert(std::is_trivially_copyable_v<
              sycl::accessor<float, 1, sycl::access_mode::write, sycl::target::host_task>>);
static_assert(std::is_trivially_copyable_v<
              sycl::accessor<int, 1, sycl::access_mode::read_write, sycl::target::device,
                             sycl::access::placeholder::true_t>>);
static_assert(std::is_trivially_copyable_v<sycl::local_accessor<double, 1>>);
static_assert(std::is_same_v<sycl::buffer<double, 1>,
                             sycl::buffer<double, 1, sycl::buffer_allocator<double>>>);

using tessel_test::gate;

TEST(Buffers, WriteBackOnDestructionOfTheLastCopy) {
  std::vector<int> host(8, 1);
  sycl::queue q(sycl::cpu_selector_v);
  {
    sycl::buffer<int> outer(host.data(), sycl::range<1>(host.size()));
    {
      sycl::buffer<int> copy = outer;  // shares the storage
      q.submit([&](sycl::handler& cgh) {
        sycl::accessor a(copy, cgh, sycl::write_only);
        cgh.host_task([=] {
          for (std::size_t i = 0; i < a.size(); ++i)
            a[i] = static_cast<int>(i) * 3;
        });
      });
      EXPECT_EQ(copy, outer);
    }
    // The copy is gone but outer still holds the data: no write-back yet.
    q.wait();
    EXPECT_EQ(host[5], 1);
    sycl::host_accessor view(outer, sycl::read_only);
    EXPECT_EQ(view[5], 15);
  }
  for (std::size_t i = 0; i < host.size(); ++i)
    EXPECT_EQ(host[i], static_cast<int>(i) * 3);
}

TEST(Buffers, DestructionWaitsForTheCommandsThatUseIt) {
  std::vector<double> host(4, 0.0);
  sycl::queue q(sycl::cpu_selector_v);
  gate g;
  std::thread opener;
  {
    sycl::buffer<double> b(host.data(), sycl::range<1>(4));
    q.submit([&](sycl::handler& cgh) {
      sycl::accessor a(b, cgh, sycl::write_only);
      cgh.host_task([=, &g] {
        g.pass();
        a[2] = 7.5;
      });
    });
    opener = std::thread([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      g.open();
    });
  }
  EXPECT_EQ(host[2], 7.5);
  opener.join();
}

TEST(Buffers, LastHandleMayGoWithTheHostTaskThatUsesIt) {
  std::vector<int> host(2, 0);
  sycl::queue q(sycl::cpu_selector_v);
  sycl::event done;
  {
    sycl::buffer<int> b(host.data(), sycl::range<1>(2));
    done = q.submit([&](sycl::handler& cgh) {
      sycl::accessor a(b, cgh, sycl::write_only);
      cgh.host_task([a, keep = b] { a[1] = 9; });
    });
    // b's handle goes here; the task's copy is now the last one.
  }
  done.wait();
  EXPECT_EQ(host[1], 9);
}

TEST(Buffers, NoWriteBackForConstDataOrWhenSwitchedOff) {
  const std::vector<int> source(4, 2);
  std::vector<int> kept(4, 2);
  std::vector<int> redirected(4, 0);
  sycl::queue q(sycl::cpu_selector_v);
  {
    sycl::buffer<int> from_const(source.data(), sycl::range<1>(4));
    sycl::buffer<int> off(kept.data(), sycl::range<1>(4));
    off.set_write_back(false);
    sycl::buffer<int> elsewhere(kept.data(), sycl::range<1>(4));
    elsewhere.set_final_data(redirected.data());
    for (auto* b : {&from_const, &off, &elsewhere}) {
      q.submit([&](sycl::handler& cgh) {
        sycl::accessor a(*b, cgh, sycl::read_write);
        cgh.host_task([=] { a[0] = a[0] + 40; });
      });
    }
  }
  EXPECT_EQ(source[0], 2);
  EXPECT_EQ(kept[0], 2);
  EXPECT_EQ(redirected[0], 42);
  EXPECT_EQ(redirected[1], 2);
}

TEST(Buffers, ConstructionFormsAndSizes) {
  std::vector<float> v{1.f, 2.f, 3.f};
  {
    sycl::buffer from_container(v);
    static_assert(std::is_same_v<decltype(from_container), sycl::buffer<float, 1>>);
    EXPECT_EQ(from_container.size(), 3u);
    EXPECT_EQ(from_container.byte_size(), 3 * sizeof(float));
    EXPECT_EQ(from_container.get_range(), sycl::range<1>(3));
    sycl::host_accessor a(from_container);
    a[1] = 20.f;
  }
  EXPECT_EQ(v[1], 20.f);
  sycl::buffer from_iterators(v.begin(), v.end());
  sycl::host_accessor it(from_iterators, sycl::read_only);
  EXPECT_EQ(it[2], 3.f);
  sycl::buffer<double> fresh(sycl::range<1>(5));
  sycl::host_accessor zero(fresh, sycl::read_only);
  EXPECT_EQ(std::accumulate(zero.begin(), zero.end(), 0.0), 0.0);
  sycl::buffer<double> empty(sycl::range<1>(0));
  EXPECT_EQ(empty.size(), 0u);
}

TEST(Buffers, UseHostPtrSharesTheCallersMemory) {
  std::vector<int> host(3, 5);
  sycl::buffer<int> b(host.data(), sycl::range<1>(3), sycl::property::buffer::use_host_ptr{});
  EXPECT_TRUE(b.has_property<sycl::property::buffer::use_host_ptr>());
  sycl::host_accessor a(b);
  EXPECT_EQ(a.get_pointer(), host.data());
}

TEST(Accessors, RangedAccessIndexesFromItsOffset) {
  std::vector<int> host(10);
  std::iota(host.begin(), host.end(), 0);
  sycl::buffer<int> b(host.data(), sycl::range<1>(10));
  sycl::queue q(sycl::cpu_selector_v);
  q.submit([&](sycl::handler& cgh) {
    sycl::accessor a(b, cgh, sycl::range<1>(3), sycl::id<1>(4), sycl::read_write);
    EXPECT_EQ(a.size(), 3u);
    EXPECT_EQ(a.get_offset(), sycl::id<1>(4));
    cgh.host_task([=] {
      for (int& x : a)
        x = -x;
    });
  });
  sycl::host_accessor h(b, sycl::read_only);
  EXPECT_EQ(h[3], 3);
  EXPECT_EQ(h[4], -4);
  EXPECT_EQ(h[6], -6);
  EXPECT_EQ(h[7], 7);
}

TEST(Accessors, RangeOutsideTheBufferThrows) {
  sycl::buffer<int> b(sycl::range<1>(4));
  sycl::queue q(sycl::cpu_selector_v);
  try {
    q.submit(
        [&](sycl::handler& cgh) { sycl::accessor a(b, cgh, sycl::range<1>(3), sycl::id<1>(2)); });
    FAIL() << "a range past the end was accepted";
  } catch (const sycl::exception& e) {
    EXPECT_EQ(e.code(), sycl::errc::invalid);
  }
}

TEST(Accessors, DeducedTypes) {
  sycl::buffer<double> b(sycl::range<1>(2));
  sycl::queue q(sycl::cpu_selector_v);
  q.submit([&](sycl::handler& cgh) {
    sycl::accessor rw(b, cgh);
    sycl::accessor ro(b, cgh, sycl::read_only);
    sycl::accessor wo(b, cgh, sycl::write_only_host_task);
    static_assert(
        std::is_same_v<decltype(rw), sycl::accessor<double, 1, sycl::access_mode::read_write>>);
    static_assert(std::is_same_v<typename decltype(ro)::value_type, const double>);
    static_assert(std::is_same_v<decltype(wo), sycl::accessor<double, 1, sycl::access_mode::write,
                                                              sycl::target::host_task>>);
    EXPECT_FALSE(rw.is_placeholder());
    const sycl::accessor copy = rw;
    EXPECT_EQ(copy, rw);
    EXPECT_NE(sycl::accessor(b, cgh), rw);  // each construction has a tag of its own
  });
}

TEST_P(BufferOnDevice, PlaceholderIsBoundByRequire) {
  sycl::queue q(GetParam());
  std::vector<int> host(16, 0);
  {
    sycl::buffer<int> b(host.data(), sycl::range<1>(host.size()));
    sycl::accessor<int, 1, sycl::access_mode::read_write, sycl::target::device,
                   sycl::access::placeholder::true_t>
        p(b);
    EXPECT_TRUE(p.is_placeholder());
    for (int round = 0; round < 3; ++round) {
      q.submit([&](sycl::handler& cgh) {
        cgh.require(p);
        cgh.parallel_for(sycl::range<1>(16),
                         [=](sycl::id<1> i) { p[i] += static_cast<int>(i[0]); });
      });
    }
  }
  for (std::size_t i = 0; i < host.size(); ++i)
    EXPECT_EQ(host[i], 3 * static_cast<int>(i));
}

// Each command reads what the one before it wrote, through the accessors
// alone: a missing edge shows as a wrong sum.
TEST_P(BufferOnDevice, ConflictingAccessesRunInSubmissionOrder) {
  sycl::queue q(GetParam());
  constexpr std::size_t n = 64;
  sycl::buffer<long> data{sycl::range<1>(n)};
  sycl::buffer<long> snapshot{sycl::range<1>(n)};
  for (long round = 1; round <= 5; ++round) {
    // read-after-write of the previous round's data, write-after-read of
    // snapshot by the copy below
    q.submit([&](sycl::handler& cgh) {
      sycl::accessor d(data, cgh, sycl::read_only);
      sycl::accessor s(snapshot, cgh, sycl::write_only);
      cgh.parallel_for(sycl::range<1>(n), [=](sycl::id<1> i) { s[i] = d[i]; });
    });
    q.submit([&](sycl::handler& cgh) {
      sycl::accessor d(data, cgh, sycl::write_only);
      sycl::accessor s(snapshot, cgh, sycl::read_only);
      cgh.host_task([=] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        for (std::size_t i = 0; i < n; ++i)
          d[i] = s[i] + round;
      });
    });
  }
  sycl::host_accessor result(data, sycl::read_only);
  for (std::size_t i = 0; i < n; ++i)
    EXPECT_EQ(result[i], 15);
}

TEST_P(BufferOnDevice, HostAccessorHoldsTheBufferUntilItGoes) {
  sycl::queue q(GetParam());
  sycl::buffer<int> b(sycl::range<1>(1));
  std::atomic<bool> kernel_ran{false};
  sycl::event later;
  {
    sycl::host_accessor h(b);
    h[0] = 41;
    later = q.submit([&](sycl::handler& cgh) {
      sycl::accessor a(b, cgh);
      cgh.host_task([=, &kernel_ran] {
        a[0] += 1;
        kernel_ran = true;
      });
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(kernel_ran.load());
    EXPECT_NE(later.get_info<sycl::info::event::command_execution_status>(),
              sycl::info::event_command_status::complete);
  }
  later.wait();
  EXPECT_TRUE(kernel_ran.load());
  sycl::host_accessor h(b, sycl::read_only);
  EXPECT_EQ(h[0], 42);
}

TEST_P(BufferOnDevice, HandlerCopyAndFill) {
  sycl::queue q(GetParam());
  std::vector<double> in{1, 2, 3, 4};
  std::vector<double> out(4, 0);
  sycl::buffer<double> a(sycl::range<1>(4));
  sycl::buffer<double> b(sycl::range<1>(6));
  q.submit(
      [&](sycl::handler& cgh) { cgh.copy(in.data(), sycl::accessor(a, cgh, sycl::write_only)); });
  q.submit([&](sycl::handler& cgh) { cgh.fill(sycl::accessor(b, cgh, sycl::write_only), -1.0); });
  q.submit([&](sycl::handler& cgh) {
    cgh.copy(sycl::accessor(a, cgh, sycl::read_only),
             sycl::accessor(b, cgh, sycl::range<1>(4), sycl::id<1>(1), sycl::write_only));
  });
  q.submit([&](sycl::handler& cgh) {
     cgh.copy(sycl::accessor(b, cgh, sycl::range<1>(4), sycl::id<1>(2), sycl::read_only),
              out.data());
   }).wait();
  EXPECT_EQ(out, (std::vector<double>{2, 3, 4, -1}));
  try {
    q.submit([&](sycl::handler& cgh) {
      cgh.copy(sycl::accessor(b, cgh, sycl::read_only), sycl::accessor(a, cgh, sycl::write_only));
    });
    FAIL() << "a copy into a smaller accessor was accepted";
  } catch (const sycl::exception& e) {
    EXPECT_EQ(e.code(), sycl::errc::invalid);
  }
}

INSTANTIATE_TEST_SUITE_P(Devices, BufferOnDevice, testing::ValuesIn(tessel_test::all_devices()),
                         tessel_test::device_label);

}  // namespace
