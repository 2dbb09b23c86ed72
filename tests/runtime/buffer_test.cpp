// Buffers and accessors: write-back, ranges, placeholders, host accessors, and the order that
// accessor conflicts impose on commands.

#include <algorithm>
#include <numeric>

#include "devices.hpp"
#include "gate.hpp"

namespace tessel::test {
namespace {

// Kernels capture accessors by copy, and a GPU backend reads them from the kernel's bytes.
static_assert(std::is_trivially_copyable_v<sycl::accessor<double, 1, sycl::access_mode::read>>);
static_assert(std::is_trivially_copyable_v<
              sycl::accessor<int, 1, sycl::access_mode::read_write, sycl::target::device,
                             sycl::access::placeholder::true_t>>);
static_assert(std::is_trivially_copyable_v<sycl::local_accessor<double, 1>>);

template <typename T>
void add_on_host(sycl::queue& q, sycl::buffer<T>& b, T value) {
  q.submit([&](sycl::handler& cgh) {
    sycl::accessor a(b, cgh, sycl::read_write);
    cgh.host_task([=] { a[0] = a[0] + value; });
  });
}

// Write-back when the last copy goes, also when that copy is a task's, after the commands that use
// the buffer; none for const data or when switched off; elsewhere when told.
TEST(Buffers, WriteBackWhenTheLastCopyGoesAfterItsCommands) {
  std::vector<int> host(8, 1);
  const std::vector<int> source(4, 2);
  std::vector<int> kept(4, 2), redirected(4, 0);
  sycl::queue q(sycl::cpu_selector_v);
  gate g;
  std::thread opener;
  {
    sycl::buffer<int> outer(host.data(), sycl::range<1>(host.size()));
    {
      sycl::buffer<int> copy = outer;  // shares the storage
      q.submit([&](sycl::handler& cgh) {
        sycl::accessor a(copy, cgh, sycl::write_only);
        cgh.host_task([=, &g] {
          g.pass();
          a[5] = 15;
        });
      });
    }
    EXPECT_EQ(host[5], 1);  // outer still holds the data
    sycl::buffer<int> from_const(source.data(), sycl::range<1>(4));
    sycl::buffer<int> off(kept.data(), sycl::range<1>(4));
    off.set_write_back(false);
    sycl::buffer<int> elsewhere(kept.data(), sycl::range<1>(4));
    elsewhere.set_final_data(redirected.data());
    for (auto* b : {&from_const, &off, &elsewhere}) {
      add_on_host(q, *b, 40);
    }
    opener = std::thread([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      g.open();
    });
  }  // waits for the blocked task
  opener.join();
  EXPECT_EQ(host[5], 15);
  EXPECT_EQ(source[0], 2);
  EXPECT_EQ(kept[0], 2);
  EXPECT_EQ(redirected, (std::vector<int>{42, 2, 2, 2}));
  // The task's copy of a buffer may be the last one.
  sycl::event done;
  {
    sycl::buffer<int> b(host.data(), sycl::range<1>(4));
    done = q.submit([&](sycl::handler& cgh) {
      sycl::accessor a(b, cgh, sycl::write_only);
      cgh.host_task([a, keep = b] { a[1] = 9; });
    });
  }
  done.wait();
  EXPECT_EQ(host[1], 9);
}

TEST(Accessors, RangedAccessStaysInsideItsRangeAndTheBuffer) {
  std::vector<int> host(10);
  std::iota(host.begin(), host.end(), 0);
  sycl::buffer<int> b(host.data(), sycl::range<1>(10));
  sycl::queue q(sycl::cpu_selector_v);
  q.submit([&](sycl::handler& cgh) {
    sycl::accessor a(b, cgh, sycl::range<1>(3), sycl::id<1>(4), sycl::read_write);
    cgh.host_task([=] {
      for (int& x : a) {
        x = -x;
      }
    });
  });
  {
    sycl::host_accessor h(b, sycl::read_only);
    EXPECT_EQ(std::vector<int>(h.begin() + 3, h.begin() + 8), (std::vector<int>{3, -4, -5, -6, 7}));
  }
  q.submit(
      [&](sycl::handler& cgh) { sycl::accessor a(b, cgh, sycl::range<1>(3), sycl::id<1>(7)); });
  EXPECT_EQ(expect_sycl_error([&] {
              q.submit([&](sycl::handler& cgh) {
                sycl::accessor a(b, cgh, sycl::range<1>(3), sycl::id<1>(8));
              });
            }).code(),
            sycl::errc::invalid);
}

class BufferOnDevice : public on_each_device {};

TEST_P(BufferOnDevice, PlaceholderIsBoundByRequire) {
  sycl::queue q(GetParam());
  std::vector<int> host(16, 0);
  {
    sycl::buffer<int> b(host.data(), sycl::range<1>(host.size()));
    sycl::accessor<int, 1, sycl::access_mode::read_write, sycl::target::device,
                   sycl::access::placeholder::true_t>
        p(b);
    for (int round = 0; round < 3; ++round) {
      q.submit([&](sycl::handler& cgh) {
        cgh.require(p);
        cgh.parallel_for(sycl::range<1>(16),
                         [=](sycl::id<1> i) { p[i] += static_cast<int>(i[0]); });
      });
    }
  }
  EXPECT_EQ(host[5], 15);
}

// Each command reads what the one before it wrote, through the accessors alone: a missing edge
// shows as a wrong sum.
TEST_P(BufferOnDevice, ConflictingAccessesRunInSubmissionOrder) {
  sycl::queue q(GetParam());
  constexpr std::size_t n = 64;
  sycl::buffer<long> data{sycl::range<1>(n)};
  sycl::buffer<long> snapshot{sycl::range<1>(n)};
  for (long round = 1; round <= 5; ++round) {
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
        for (std::size_t i = 0; i < n; ++i) {
          d[i] = s[i] + round;
        }
      });
    });
  }
  sycl::host_accessor result(data, sycl::read_only);
  EXPECT_EQ(std::count(result.begin(), result.end(), 15), static_cast<long>(n));
}

TEST_P(BufferOnDevice, AWriteWaitsForTheReadsBeforeIt) {
  sycl::queue q(GetParam());
  int value = 1, seen = 0;
  gate g;
  {
    sycl::buffer<int> b(&value, sycl::range<1>(1));
    q.submit([&](sycl::handler& cgh) {
      sycl::accessor r(b, cgh, sycl::read_only);
      cgh.host_task([=, &g, &seen] {
        g.pass();
        seen = r[0];
      });
    });
    q.submit([&](sycl::handler& cgh) {
      sycl::accessor w(b, cgh, sycl::write_only);
      cgh.single_task([=] { w[0] = 2; });
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    g.open();
  }
  EXPECT_EQ(seen, 1);
  EXPECT_EQ(value, 2);
}

TEST_P(BufferOnDevice, HostAccessorHoldsTheBufferUntilItGoes) {
  sycl::queue q(GetParam());
  sycl::buffer<int> b(sycl::range<1>(1));
  std::atomic<bool> ran{false};
  sycl::event later;
  {
    sycl::host_accessor h(b);
    h[0] = 41;
    later = q.submit([&](sycl::handler& cgh) {
      sycl::accessor a(b, cgh);
      cgh.host_task([=, &ran] {
        a[0] += 1;
        ran = true;
      });
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(ran.load());
  }
  later.wait();
  EXPECT_EQ(sycl::host_accessor(b, sycl::read_only)[0], 42);
}

TEST_P(BufferOnDevice, HandlerCopyAndFill) {
  sycl::queue q(GetParam());
  std::vector<double> in{1, 2, 3, 4}, out(4, 0);
  sycl::buffer<double> a(sycl::range<1>(4)), b(sycl::range<1>(6));
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
  EXPECT_EQ(expect_sycl_error([&] {
              q.submit([&](sycl::handler& cgh) {
                cgh.copy(sycl::accessor(b, cgh, sycl::read_only),
                         sycl::accessor(a, cgh, sycl::write_only));
              });
            }).code(),
            sycl::errc::invalid);
}

INSTANTIATE_TEST_SUITE_P(Devices, BufferOnDevice, testing::ValuesIn(all_devices()), device_label);

}  // namespace
}  // namespace tessel::test
