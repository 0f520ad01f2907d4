#include "tools/input/stream_reading.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <thread>
#include <utility>

#include "testing/temporary_folder.h"

namespace norv::tools {
namespace {

using testing::TemporaryFolder;

/// Makes a FIFO and writes to it, once somebody reads, from a thread of its own.
class FifoWriter {
 public:
  FifoWriter(const std::string& path, std::string text) : path_(path), text_(std::move(text)) {
    EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
    writer_ = std::thread([this] { std::ofstream(path_, std::ios::binary) << text_; });
  }
  FifoWriter(const FifoWriter&) = delete;
  FifoWriter& operator=(const FifoWriter&) = delete;
  ~FifoWriter() { writer_.join(); }

 private:
  std::string path_;
  std::string text_;
  std::thread writer_;
};

/// While it lives, standard input is another file, or closed.
class ScopedStandardInput {
 public:
  explicit ScopedStandardInput(int fd) : before_(::dup(STDIN_FILENO)) {
    ::close(STDIN_FILENO);
    EXPECT_TRUE(fd < 0 || ::dup2(fd, STDIN_FILENO) == STDIN_FILENO);
  }
  ScopedStandardInput(const ScopedStandardInput&) = delete;
  ScopedStandardInput& operator=(const ScopedStandardInput&) = delete;
  ~ScopedStandardInput() {
    ::close(STDIN_FILENO);
    if (before_ < 0) return;
    EXPECT_EQ(::dup2(before_, STDIN_FILENO), STDIN_FILENO);
    ::close(before_);
  }

 private:
  int before_;
};

TEST(StreamReading, WhatIsAStream) {
  const TemporaryFolder folder;
  ASSERT_EQ(::mkfifo(folder.path("fifo").c_str(), 0600), 0);
  EXPECT_TRUE(isStream(folder.path("fifo")));
  EXPECT_TRUE(isStream("/dev/null"));
  EXPECT_FALSE(isStream(folder.write("file", "")));
  EXPECT_FALSE(isStream(folder.path()));
  EXPECT_FALSE(isStream(folder.path("missing")));
}

TEST(StreamReading, FifoIsReadToItsEnd) {
  const TemporaryFolder folder;
  std::string text;
  while (text.size() < 1'000'000) text += std::string("line\0of ", 8) + std::to_string(text.size());
  const FifoWriter writer(folder.path("fifo"), text);
  std::string contents;
  std::string reason;
  EXPECT_TRUE(readStream(folder.path("fifo"), &contents, &reason));
  EXPECT_TRUE(contents == text);
  EXPECT_EQ(reason, "");
}

TEST(StreamReading, LimitOfSize) {
  const TemporaryFolder folder;
  for (const int size : {1000, 1001}) {
    const std::string path = folder.path(std::to_string(size));
    const FifoWriter writer(path, std::string(static_cast<std::size_t>(size), 'x'));
    std::string contents = "before";
    std::string reason;
    EXPECT_EQ(readStream(path, &contents, &reason, 1000), size == 1000);
    EXPECT_EQ(contents, size == 1000 ? std::string(1000, 'x') : "before");
    EXPECT_EQ(reason, size == 1000 ? "" : "Larger than 1000 bytes");
  }
}

TEST(StreamReading, DevicesWithoutAnEndAreRefused) {
  for (const char* path : {"/dev/zero", "/dev/urandom", "/dev/full"}) {
    std::string contents = "before";
    std::string reason;
    EXPECT_FALSE(readStream(path, &contents, &reason)) << path;
    EXPECT_EQ(reason, "A device that may have no end");
    EXPECT_EQ(contents, "before");
  }
  std::string contents = "before";
  std::string reason;
  EXPECT_TRUE(readStream("/dev/null", &contents, &reason));
  EXPECT_EQ(contents, "");
}

TEST(StreamReading, MissingFile) {
  std::string contents = "before";
  std::string reason;
  EXPECT_FALSE(readStream("/nonexistent/fifo", &contents, &reason));
  EXPECT_EQ(reason, "No such file or directory");
  EXPECT_EQ(contents, "before");
}

TEST(StreamReading, StandardInput) {
  const TemporaryFolder folder;
  const int fd = ::open(folder.write("file", "first second").c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(::lseek(fd, 6, SEEK_SET), 6);
  const ScopedStandardInput input(fd);
  std::string contents;
  std::string reason;
  EXPECT_TRUE(readStandardInput(&contents, &reason));
  EXPECT_EQ(contents, "second");
  ::close(fd);
}

TEST(StreamReading, ClosedStandardInput) {
  const ScopedStandardInput input(-1);
  std::string contents = "before";
  std::string reason;
  EXPECT_FALSE(readStandardInput(&contents, &reason));
  EXPECT_EQ(reason, "Bad file descriptor");
  EXPECT_EQ(contents, "before");
}

}  // namespace
}  // namespace norv::tools
