/// The choice of loops by the environment, each in a process of its own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/camera/kernels.h"
#include "testing/run_program.h"

namespace norv::internal {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

testing::ProgramResult runWith(const std::string& environment) {
  return testing::runProgram("unset NORV_CPU; " + environment + " '" CAMERA_PARAMETERS_PROGRAM "'");
}

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }
std::string rest(const std::string& text) { return text.substr(text.find('\n')); }

std::vector<std::string> runnableNames() {
  std::vector<std::string> names;
  for (const Kernels* one : runnableKernels()) {
    if (one != nullptr) names.emplace_back(one->name);
  }
  return names;
}

TEST(KernelChoice, IsTheFastest) {
  const testing::ProgramResult result = runWith("");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(firstLine(result.output), runnableNames().back());
  EXPECT_THAT(result.errors, IsEmpty());
}

TEST(KernelChoice, IsWhatTheEnvironmentNames) {
  const std::string expected = rest(runWith("").output);
  for (const std::string& name : runnableNames()) {
    const testing::ProgramResult result = runWith("NORV_CPU=" + name);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(firstLine(result.output), name);
    EXPECT_EQ(rest(result.output), expected) << name;
    EXPECT_THAT(result.errors, IsEmpty());
  }
}

TEST(KernelChoice, EmptyIsAsUnset) {
  const testing::ProgramResult result = runWith("NORV_CPU=");
  EXPECT_EQ(result.output, runWith("").output);
  EXPECT_THAT(result.errors, IsEmpty());
}

TEST(KernelChoice, WarnsOfWhatNamesNothing) {
  const std::string fastest = runnableNames().back();
  const std::string expected = runWith("").output;
  std::string list;
  for (const std::string& name : runnableNames()) list += (list.empty() ? "" : ", ") + name;
  for (const std::string name : {"nonsense", "AVX2", "avx2 "}) {
    const testing::ProgramResult result = runWith("NORV_CPU='" + name + "'");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, expected);
    EXPECT_THAT(result.errors,
                HasSubstr("NORV_CPU=" + name + " names nothing that this processor runs (" + list +
                          "); using " + fastest + "\n"));
    EXPECT_THAT(result.errors, HasSubstr("camera_parameters"));
  }
}

}  // namespace
}  // namespace norv::internal
