// The core service: the module load (each case in a process of its own, since the load is
// made once per process), the messages, the lock, the environment and the exit.
#include "orv/orv_serv.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

using ::testing::ExitedWithCode;

class CoreService : public ::testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

std::string module_file_of(void* handle, const char* entry) {
  Dl_info info{};
  void* address = dlsym(handle, entry);
  if (address == nullptr || dladdr(address, &info) == 0)
    return "";
  return info.dli_fname;
}

// One handle, from many threads that all ask for it first at the same time.
TEST_F(CoreService, LoadsTheDefaultModuleOnceFromManyThreads) {
  EXPECT_EXIT(
      {
        unsetenv("TESSEL_ESTIMATOR_MODULE");
        std::vector<void*> handles(16);
        std::vector<std::thread> threads;
        for (auto& h : handles)
          threads.emplace_back([&h] { h = orv_serv_load_qdn(); });
        for (auto& t : threads)
          t.join();
        bool same = handles[0] != nullptr;
        for (void* h : handles)
          same &= h == handles[0];
        same &= orv_serv_load_qdn() == handles[0];
        const std::string file = module_file_of(handles[0], "_ksudSSBasic");
        std::fprintf(stderr, "loaded %s\n", file.c_str());
        std::exit(same ? 0 : 1);
      },
      ExitedWithCode(0), "loaded .*/" TESSEL_ESTIMATOR_FILE_NAME);
}

TEST_F(CoreService, EnvironmentNamesAnotherModule) {
  EXPECT_EXIT(
      {
        setenv("TESSEL_ESTIMATOR_MODULE", TESSEL_ESTIMATOR_NO_DMINMAX_PATH, 1);
        void* handle = orv_serv_load_qdn();
        const bool right = handle != nullptr && dlsym(handle, "_ksusSSMinmax") != nullptr &&
                           dlsym(handle, "_ksudSSMinmax") == nullptr;
        std::exit(right ? 0 : 1);
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
}

TEST_F(CoreService, Message771BeforeAnyLoad) {
  EXPECT_EXIT(
      {
        orv_serv_print(1, 771, 0);
        std::exit(0);
      },
      ExitedWithCode(0), "error 771: the estimator module has not been loaded yet");
}

std::string printed(void (*print)()) {
  ::testing::internal::CaptureStderr();
  print();
  return ::testing::internal::GetCapturedStderr();
}

TEST_F(CoreService, Message772NamesTheMissingEntry) {
  EXPECT_EQ(printed([] {
              orv_serv_print(1, 772, 1, "_ksudSSMinmax");
            }).rfind("tessel: fatal error 772: the estimator module ", 0),
            0u);
  EXPECT_NE(printed([] {
              orv_serv_print(1, 772, 1, "_ksudSSMinmax");
            }).find("has no entry named '_ksudSSMinmax'\n"),
            std::string::npos);
  // Without its value the message still prints, and reads nothing that was not passed.
  EXPECT_NE(printed([] { orv_serv_print(1, 772, 0); }).find("(name not given)"), std::string::npos);
}

TEST_F(CoreService, OtherMessages) {
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
  for (auto& t : threads)
    t.join();
  EXPECT_EQ(counter, 8 * 20000);
  EXPECT_EQ(static_cast<int>(word), 0);
  orv_serv_lock(nullptr);
  orv_serv_unlock(nullptr);
}

TEST_F(CoreService, GetenvCopiesTheValue) {
  char buffer[10] = {};
  setenv("TESSEL_TEST_VALUE", "10", 1);
  EXPECT_EQ(orv_serv_getenv("TESSEL_TEST_VALUE", buffer, sizeof buffer), 2);
  EXPECT_STREQ(buffer, "10");
  setenv("TESSEL_TEST_VALUE", "0123456789abcdef", 1);
  EXPECT_EQ(orv_serv_getenv("TESSEL_TEST_VALUE", buffer, sizeof buffer), 9);
  EXPECT_STREQ(buffer, "012345678");
  setenv("TESSEL_TEST_VALUE", "", 1);
  EXPECT_EQ(orv_serv_getenv("TESSEL_TEST_VALUE", buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "");
  unsetenv("TESSEL_TEST_VALUE");
  EXPECT_EQ(orv_serv_getenv("TESSEL_TEST_VALUE", buffer, sizeof buffer), 0);
  EXPECT_EQ(orv_serv_getenv(nullptr, buffer, sizeof buffer), 0);
  EXPECT_EQ(orv_serv_getenv("PATH", nullptr, 10), 0);
  EXPECT_EQ(orv_serv_getenv("PATH", buffer, 0), 0);
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
