#include "tools/input/line_reading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace norv::tools {
namespace {

using ::testing::ElementsAre;

struct Close {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

/// An open file with these bytes.
std::unique_ptr<std::FILE, Close> fileOf(const std::string& bytes) {
  std::unique_ptr<std::FILE, Close> file(std::tmpfile());
  std::fwrite(bytes.data(), 1, bytes.size(), file.get());
  std::rewind(file.get());
  return file;
}

std::vector<std::string> linesOf(const std::string& bytes) {
  const auto file = fileOf(bytes);
  LineReader reader(file.get(), 5);
  std::vector<std::string> lines;
  for (std::string line; reader.read(&line);) {
    EXPECT_EQ(reader.number(), static_cast<int>(lines.size()) + 1);
    lines.push_back(reader.isTooLong() ? "too long" : line);
  }
  EXPECT_FALSE(reader.failed());
  return lines;
}

TEST(LineReading, EndsOfLines) {
  EXPECT_THAT(linesOf(""), ElementsAre());
  EXPECT_THAT(linesOf("\n"), ElementsAre(""));
  EXPECT_THAT(linesOf("a\nb"), ElementsAre("a", "b"));
  EXPECT_THAT(linesOf("a\r\n\r\nb\r"), ElementsAre("a", "", "b"));
  EXPECT_THAT(linesOf(std::string("a\0b\n", 4)), ElementsAre(std::string("a\0b", 3)));
}

TEST(LineReading, LinesThatAreTooLong) {
  EXPECT_THAT(linesOf("12345\n123456\n" + std::string(100000, 'x') + "\nend"),
              ElementsAre("12345", "too long", "too long", "end"));
  EXPECT_THAT(linesOf("12345\r\n"), ElementsAre("12345"));
}

}  // namespace
}  // namespace norv::tools
