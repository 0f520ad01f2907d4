#include <gtest/gtest.h>

#include <string>

#include "support/file.h"

namespace norv {
namespace {

// Linked into one program with the library: objects of a shared one are initialised ahead of the
// program's in any case.

/// Read by a global object's constructor, before main.
std::string readEarly() {
  std::string contents;
  File::readFileToString(EmbeddedFile::kEmbeddedPrefix + "calibration/default_head_cal.txt",
                         &contents);
  return contents;
}
const std::string early_contents = readEarly();

TEST(EmbeddedFile, UsableFromStaticInitialisers) {
  std::string contents;
  ASSERT_TRUE(File::readFileToString(
      EmbeddedFile::kEmbeddedPrefix + "calibration/default_head_cal.txt", &contents));
  EXPECT_FALSE(contents.empty());
  EXPECT_EQ(early_contents, contents);
}

}  // namespace
}  // namespace norv
