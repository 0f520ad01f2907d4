// Single-precision results are the same to the last bit as before the library was made fast. They
// were recorded from the plain version, by a program that printed `computeResults()`; the orders of
// operations that they depend on are part of the library's contract.

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <string>
#include <vector>

#include "testing/recorded_results.h"

namespace norv {
namespace {

TEST(RecordedResults, AreTheSameToTheLastBit) {
  std::ifstream file(CAMERA_PARAMETERS_SOURCE_DIR "/tests/data/recorded_results.txt");
  const std::vector<std::string> results = testing::computeResults();
  ASSERT_GT(results.size(), 200U);
  std::string recorded;
  for (std::size_t i = 0; i < results.size(); ++i) {
    ASSERT_TRUE(std::getline(file, recorded)) << "line " << i + 1;
    EXPECT_EQ(results[i], recorded) << "line " << i + 1;
  }
  EXPECT_FALSE(std::getline(file, recorded));
}

}  // namespace
}  // namespace norv
