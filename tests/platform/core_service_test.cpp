// The core service: the module load (in processes of their own, since the load is made once per
// process), the messages, the lock, the environment and the exit.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "orv/orv_serv.h"

namespace {

using ::testing::ExitedWithCode;

class CoreService : public ::testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// One handle, from many threads that all ask for it first at the same time.
TEST_F(CoreService, LoadsTheDefaultModuleOnceFromManyThreads) {
  EXPECT_EXIT(
      {
        unsetenv("TESSEL_ESTIMATOR_MODULE");
        std::vector<void*> handles(16);
        std::vector<std::thread> threads;
        for (auto& h : handles) {
          threads.emplace_back([&h] { h = orv_serv_load_qdn(); });
        }
        bool same = true;
        for (std::size_t k = 0; k < handles.size(); ++k) {
          threads[k].join();
          same = same && handles[k] == handles[0];
        }
        Dl_info info{};
        dladdr(dlsym(handles[0], "_ksudSSBasic"), &info);
        std::fprintf(stderr, "loaded %s\n", info.dli_fname);
        std::exit(same && orv_serv_load_qdn() == handles[0] ? 0 : 1);
      },
      ExitedWithCode(0), "loaded .*/" TESSEL_ESTIMATOR_FILE_NAME);
  EXPECT_EXIT(
      {
        setenv("TESSEL_ESTIMATOR_MODULE", TESSEL_ESTIMATOR_NO_DMINMAX_PATH, 1);
        void* handle = orv_serv_load_qdn();
        std::exit(handle != nullptr && dlsym(handle, "_ksudSSMinmax") == nullptr ? 0 : 1);
      },
      ExitedWithCode(0), "");
}

TEST_F(CoreService, MissingModuleGivesNullAndMessage771SaysWhy) {
  EXPECT_EXIT(
      {
        setenv("TESSEL_ESTIMATOR_MODULE", "/nonexistent/libnothing.so", 1);
        const bool null_twice = orv_serv_load_qdn() == nullptr && orv_serv_load_qdn() == nullptr;
        orv_serv_print(1, 771, 0);
        std::exit(null_twice ? 0 : 1);
      },
      ExitedWithCode(0),
      "tessel: fatal error 771: the estimator module could not be loaded from "
      "'/nonexistent/libnothing.so': .*No such file");
  EXPECT_EXIT(
      {
        orv_serv_print(1, 771, 0);
        std::exit(0);
      },
      ExitedWithCode(0), "error 771: the estimator module has not been loaded yet");
}

// Messages with their values; without its value 772 still prints, reading nothing not passed.
TEST_F(CoreService, Messages) {
  const auto printed = [](void (*print)()) {
    ::testing::internal::CaptureStderr();
    print();
    return ::testing::internal::GetCapturedStderr();
  };
  const std::string m772 = printed([] { orv_serv_print(1, 772, 1, "_ksudSSMinmax"); });
  EXPECT_EQ(m772.rfind("tessel: fatal error 772: the estimator module ", 0), 0u) << m772;
  EXPECT_NE(m772.find("has no entry named '_ksudSSMinmax'\n"), std::string::npos) << m772;
  EXPECT_NE(printed([] { orv_serv_print(1, 772, 0); }).find("(name not given)"), std::string::npos);
  EXPECT_EQ(printed([] { orv_serv_print(0, 3, 1, "'omp_get_interop_int'"); }),
            "tessel: error 3: the OpenMP offload runtime does not provide the entry "
            "'omp_get_interop_int'\n");
  EXPECT_EQ(printed([] { orv_serv_print(0, 12345, 2, "a", "b"); }),
            "tessel: error 12345: no text is known for this message number\n");
}

TEST_F(CoreService, LockExcludesOtherThreads) {
  volatile int word = 0;
  long counter = 0;  // plain: only the lock keeps the increments apart
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&] {
      for (int k = 0; k < 20000; ++k) {
        orv_serv_lock(&word);
        counter = counter + 1;
        orv_serv_unlock(&word);
      }
    });
  }
  for (auto& t : threads) {
    t.join();
  }
  EXPECT_EQ(counter, 8 * 20000);
  EXPECT_EQ(static_cast<int>(word), 0);
  orv_serv_lock(nullptr);
  orv_serv_unlock(nullptr);
}

TEST_F(CoreService, GetenvCopiesTheValueTruncated) {
  const struct {
    const char* value;  // null: unset
    int size, length;
    const char* copied;
  } cases[] = {{"10", 10, 2, "10"},
               {"0123456789abcdef", 10, 9, "012345678"},
               {"", 10, 0, ""},
               {nullptr, 10, 0, nullptr},
               {"10", 0, 0, nullptr}};
  for (const auto& c : cases) {
    char buffer[10] = {};
    c.value != nullptr ? setenv("TESSEL_TEST_VALUE", c.value, 1) : unsetenv("TESSEL_TEST_VALUE");
    EXPECT_EQ(orv_serv_getenv("TESSEL_TEST_VALUE", buffer, c.size), c.length) << c.length;
    EXPECT_STREQ(buffer, c.copied != nullptr ? c.copied : "");
  }
  char buffer[10];
  EXPECT_EQ(orv_serv_getenv(nullptr, buffer, 10), 0);
  EXPECT_EQ(orv_serv_getenv("PATH", nullptr, 10), 0);
}

// The process ends with the code and nothing else runs: no exit handler prints.
TEST_F(CoreService, ExitEndsTheProcessAtOnce) {
  EXPECT_EXIT(
      {
        std::atexit([] { std::fputs("exit handler ran", stderr); });
        orv_serv_exit(2);
      },
      ExitedWithCode(2), "^$");
  EXPECT_EXIT(orv_serv_exit(0), ExitedWithCode(0), "^$");
}

}  // namespace
