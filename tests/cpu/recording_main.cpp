// Every test of this program binds the engine to the recording module: the core service reads
// the variable on its first load, and each death test's process runs this main again.
#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char** argv) {
  setenv("TESSEL_ESTIMATOR_MODULE", TESSEL_RECORDING_MODULE_PATH, 1);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
